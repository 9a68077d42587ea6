#pragma once

#include <cstdint>
#include <optional>

namespace RecentWorkTimelineCore {

// The start of the bucket holding `timestamp` (seconds since 1970 UTC): its
// whole seconds divided by `bucketSize` rounding toward minus infinity (so
// times before 1970 fall into the bucket below, like all others),
// multiplied back. Absent for a time that is not finite, or whose bucket
// does not fit 64-bit seconds from start to end: the recorder only writes
// finite times near the present, and one damaged row must not cost the user
// the rest of an answer. REQUIRES: bucketSize > 0.
std::optional<std::int64_t> bucketStartOf(double timestamp, std::int64_t bucketSize);

}  // namespace RecentWorkTimelineCore
