#include "MomentBuckets.h"

#include <cmath>
#include <limits>

namespace RecentWorkTimelineCore {

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
    // overflow is undefined (ISO C++ has no checked arithmetic).
    constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
    constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
    if (quotient > kMax / bucketSize || quotient < kMin / bucketSize) return std::nullopt;
    const std::int64_t start = quotient * bucketSize;
    if (start > kMax - bucketSize) return std::nullopt;
    return start;
}

}  // namespace RecentWorkTimelineCore
