#include "timeline/RecentResponse.h"

#include <algorithm>

#include "platform/LocalCalendar.h"
#include "redaction/DeduplicationService.h"
#include "redaction/PIIFilter.h"

namespace VarnholtQueryLib {

using RecentWorkTimelineCore::TimelineMoment;
using RecentWorkTimelineCore::TimelineObservation;

namespace {

// Application lists shown per representative; longer lists are cut and
// flagged, so an agent knows the screen held more.
constexpr std::size_t kApplicationLimit = 10;

JSON representativeObject(const TimelineObservation& observation, bool images, bool compact) {
    const DeduplicatedList applications =
        DeduplicationService::deduplicate(observation.apps, kApplicationLimit);
    JSON representative = {
        {"observation_id", observation.id},
        {"timestamp", observation.timestamp},
        {"timestamp_iso", formatUTCInternetDateTime(observation.timestamp)},
        {"applications", applications.items},
    };
    if (applications.truncated) representative["applications_truncated"] = true;
    if (!compact) representative["vlm_description"] = PIIFilter::redact(observation.vlmDescription);
    if (images) {
        representative["image_path"] =
            observation.imagePath ? JSON(*observation.imagePath) : JSON(nullptr);
    }
    return representative;
}

JSON momentObject(const TimelineMoment& moment, bool images, bool compact) {
    JSON entities = JSON::array();
    for (const auto& entity : moment.topEntities) {
        entities.push_back({{"kind", entity.kind}, {"value", entity.value}, {"count", entity.count}});
    }
    return {
        {"bucket_start_iso", formatUTCInternetDateTime(moment.bucketStart)},
        {"bucket_end_iso", formatUTCInternetDateTime(moment.bucketEnd)},
        {"observation_count", moment.observationCount},
        {"representative", representativeObject(moment.representative, images, compact)},
        {"entities", std::move(entities)},
    };
}

// How many of `total` moments are emitted under `limit`.
std::size_t emittedCount(std::size_t total, std::optional<std::int64_t> limit) {
    if (!limit) return total;
    if (*limit <= 0) return 0;
    return std::min(total, static_cast<std::size_t>(*limit));
}

}  // namespace

JSON makeRecentResponse(const std::vector<TimelineMoment>& moments, const TimeRange& timeRange,
                        bool images, bool compact, std::optional<std::int64_t> limit,
                        const LocalCalendar& calendar, double now) {
    const std::size_t returned = emittedCount(moments.size(), limit);

    JSON momentObjects = JSON::array();
    for (std::size_t i = 0; i < returned; ++i) {
        momentObjects.push_back(momentObject(moments[i], images, compact));
    }

    const auto returnedMoments = static_cast<std::int64_t>(returned);
    const auto totalMoments = static_cast<std::int64_t>(moments.size());
    JSON meta = {
        {"query",
         {{"preset", timeRange.preset},
          {"from", formatUTCInternetDateTime(timeRange.from)},
          {"to", formatUTCInternetDateTime(timeRange.to)}}},
        {"timezone", calendar.timeZoneIdentifier()},
        {"current_date", calendar.localDate(now)},
        {"current_datetime", calendar.localInternetDateTime(now)},
        {"returned_moments", returnedMoments},
        {"total_moments", totalMoments},
        {"has_more", returnedMoments < totalMoments},
    };

    return {
        {"ok", true},
        {"api_version", 2},
        {"data", {{"moments", std::move(momentObjects)}}},
        {"error", nullptr},
        {"meta", std::move(meta)},
    };
}

}  // namespace VarnholtQueryLib
