#include "RecentWorkTimelineUseCase.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include <nlohmann/json.hpp>

namespace RecentWorkTimelineCore {

namespace {

// An entity as counted: kind and value, compared exactly (case-sensitive).
using EntityKey = std::pair<std::string, std::string>;

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

// The start of the bucket holding `timestamp`: its whole seconds divided by
// the bucket size rounding toward minus infinity (so times before 1970 fall
// into the bucket below, like all others), multiplied back. Nothing for a
// time that is not finite, or whose bucket does not fit 64-bit seconds from
// start to end: the recorder only writes finite times near the present, and
// one damaged row must not cost the user the rest of the timeline.
std::optional<std::int64_t> bucketStartOf(double timestamp, std::int64_t bucketSize) {
    if (!std::isfinite(timestamp)) return std::nullopt;
    const double seconds = std::floor(timestamp);
    // 2^63 is exactly representable; every double below it and at or above
    // -2^63 converts without overflow.
    constexpr double kLimit = 9223372036854775808.0;
    if (seconds < -kLimit || seconds >= kLimit) return std::nullopt;
    const auto whole = static_cast<std::int64_t>(seconds);
    std::int64_t quotient = whole / bucketSize;
    if (whole % bucketSize != 0 && whole < 0) --quotient;
    // The bounds are checked before multiplying and adding, since a signed
    // overflow is undefined; bucketSize is positive.
    constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
    constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
    if (quotient > kMax / bucketSize || quotient < kMin / bucketSize) return std::nullopt;
    const std::int64_t start = quotient * bucketSize;
    if (start > kMax - bucketSize) return std::nullopt;
    return start;
}

// The (kind, value) pairs of one observation's entity text. Tolerant: absent
// or unreadable text gives nothing, and an element without a text "kind" and
// a text "value" is skipped on its own. The text must be an array of
// objects, as the database builds it; anything else gives nothing.
std::vector<EntityKey> parseEntities(const std::optional<std::string>& text) {
    std::vector<EntityKey> pairs;
    if (!text) return pairs;
    const nlohmann::json parsed = nlohmann::json::parse(*text, nullptr, /*allow_exceptions=*/false);
    if (!parsed.is_array()) return pairs;
    for (const auto& element : parsed) {
        if (!element.is_object()) return {};
    }
    for (const auto& element : parsed) {
        const auto kind = element.find("kind");
        const auto value = element.find("value");
        if (kind == element.end() || value == element.end()) continue;
        if (!kind->is_string() || !value->is_string()) continue;
        pairs.emplace_back(kind->get<std::string>(), value->get<std::string>());
    }
    return pairs;
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
