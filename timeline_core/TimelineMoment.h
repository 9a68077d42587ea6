#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "TimelineObservation.h"

namespace RecentWorkTimelineCore {

// How often one entity (kind and value, compared exactly) was seen in a
// moment.
struct EntityCount {
    std::string kind;
    std::string value;
    std::int64_t count = 0;

    bool operator==(const EntityCount&) const = default;
};

// One fixed-size slice of the timeline (five minutes in production), shown by
// its earliest observation.
struct TimelineMoment {
    // Start of the bucket in seconds since 1970 UTC, a whole multiple of the
    // bucket size.
    double bucketStart = 0;
    // bucketStart plus the bucket size; exclusive.
    double bucketEnd = 0;
    // Observations in the bucket after adjacent repeats were collapsed.
    std::int64_t observationCount = 0;
    // The earliest observation of the bucket.
    TimelineObservation representative;
    // At most ten, most frequent first, then by kind and value.
    std::vector<EntityCount> topEntities;

    bool operator==(const TimelineMoment&) const = default;
};

}  // namespace RecentWorkTimelineCore
