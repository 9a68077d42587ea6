#pragma once

#include <cstdint>
#include <vector>

#include "ObservationTimelinePort.h"
#include "TimelineMoment.h"

namespace RecentWorkTimelineCore {

// Condenses the observations of a time range into moments: fixed-size
// buckets, each shown by its earliest observation, the number of observations
// in it and its ten most frequent entities.
//
// Borrows the port, which must outlive the use case.
class RecentWorkTimelineUseCase {
public:
    // The most observations one timeline reads; beyond it the oldest of the
    // range are left out.
    static constexpr std::int64_t kFetchLimit = 5000;
    static constexpr std::int64_t kDefaultBucketSize = 300;
    static constexpr std::size_t kTopEntityLimit = 10;

    // `bucketSize` in seconds; a value below 1 means the default of 300.
    RecentWorkTimelineUseCase(ObservationTimelinePort& timelinePort, std::int64_t bucketSize);

    // The moments of [from, to] (seconds since 1970 UTC) in ascending
    // bucketStart order; empty when nothing was observed. An observation
    // whose time is not finite, or whose bucket does not fit 64-bit seconds,
    // is left out. Rethrows the port's database error.
    std::vector<TimelineMoment> execute(double from, double to);

    std::int64_t bucketSize() const { return bucketSize_; }

private:
    ObservationTimelinePort& timelinePort_;
    const std::int64_t bucketSize_;
};

}  // namespace RecentWorkTimelineCore
