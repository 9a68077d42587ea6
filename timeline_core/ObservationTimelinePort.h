#pragma once

#include <cstdint>
#include <vector>

#include "TimelineObservation.h"

namespace RecentWorkTimelineCore {

// Where the timeline reads its observations from. The SQLite adapter is the
// one implementation; tests use fakes.
class ObservationTimelinePort {
public:
    virtual ~ObservationTimelinePort() = default;

    // The observations with a usable description whose effective time lies in
    // [from, to] (both inclusive, seconds since 1970 UTC) and that belong to no
    // separate recording: at most `limit` of them, the newest ones when more
    // qualify, returned oldest first. An empty range gives an empty list.
    // Throws the database layer's error (locked, query failed) unchanged.
    virtual std::vector<TimelineObservation> fetchTimeline(double from, double to,
                                                           std::int64_t limit) = 0;

protected:
    ObservationTimelinePort() = default;
    ObservationTimelinePort(const ObservationTimelinePort&) = delete;
    ObservationTimelinePort& operator=(const ObservationTimelinePort&) = delete;
};

}  // namespace RecentWorkTimelineCore
