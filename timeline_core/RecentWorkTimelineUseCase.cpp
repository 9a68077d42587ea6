#include "RecentWorkTimelineUseCase.h"

#include "MomentBuckets.h"
#include "ObservationEntities.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <utility>

namespace RecentWorkTimelineCore {

namespace {

// Runs of the same description are the recorder describing an unchanged
// screen; only the first of each adjacent run counts. The same text coming
// back after something else is new activity and is kept.
std::vector<TimelineObservation> collapseAdjacentRepeats(std::vector<TimelineObservation> rows) {
    std::vector<TimelineObservation> kept;
    kept.reserve(rows.size());
    for (auto& row : rows) {
        if (!kept.empty() && kept.back().vlmDescription == row.vlmDescription) continue;
        kept.push_back(std::move(row));
    }
    return kept;
}

std::vector<EntityCount> topEntitiesOf(const std::vector<TimelineObservation>& rows,
                                       std::size_t limit) {
    std::map<EntityKey, std::int64_t> counts;
    for (const auto& row : rows) {
        for (auto& key : parseEntities(row.entitiesJson)) ++counts[std::move(key)];
    }
    std::vector<EntityCount> entities;
    entities.reserve(counts.size());
    for (const auto& [key, count] : counts) entities.push_back({key.first, key.second, count});
    // Most frequent first; ties by kind, then value, as plain byte order so the
    // result never depends on the user's locale.
    std::sort(entities.begin(), entities.end(), [](const EntityCount& a, const EntityCount& b) {
        if (a.count != b.count) return a.count > b.count;
        if (a.kind != b.kind) return a.kind < b.kind;
        return a.value < b.value;
    });
    if (entities.size() > limit) entities.resize(limit);
    return entities;
}

}  // namespace

RecentWorkTimelineUseCase::RecentWorkTimelineUseCase(ObservationTimelinePort& timelinePort,
                                                     std::int64_t bucketSize)
    : timelinePort_(timelinePort), bucketSize_(bucketSize < 1 ? kDefaultBucketSize : bucketSize) {}

std::vector<TimelineMoment> RecentWorkTimelineUseCase::execute(double from, double to) {
    const auto rows = collapseAdjacentRepeats(timelinePort_.fetchTimeline(from, to, kFetchLimit));

    // Ordered by start, so the moments come out ascending; rows keep their
    // (ascending) order inside each bucket. A row whose time has no bucket is
    // left out.
    std::map<std::int64_t, std::vector<TimelineObservation>> buckets;
    for (const auto& row : rows) {
        if (const auto start = bucketStartOf(row.timestamp, bucketSize_)) {
            buckets[*start].push_back(row);
        }
    }

    std::vector<TimelineMoment> moments;
    moments.reserve(buckets.size());
    for (const auto& [start, bucketRows] : buckets) {
        TimelineMoment moment;
        moment.bucketStart = static_cast<double>(start);
        moment.bucketEnd = static_cast<double>(start + bucketSize_);
        moment.observationCount = static_cast<std::int64_t>(bucketRows.size());
        moment.representative = bucketRows.front();
        moment.topEntities = topEntitiesOf(bucketRows, kTopEntityLimit);
        moments.push_back(std::move(moment));
    }
    return moments;
}

}  // namespace RecentWorkTimelineCore
