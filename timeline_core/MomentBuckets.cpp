#include "MomentBuckets.h"

#include <cmath>

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
    std::int64_t start = 0;
    std::int64_t end = 0;
    if (__builtin_mul_overflow(quotient, bucketSize, &start) ||
        __builtin_add_overflow(start, bucketSize, &end)) {
        return std::nullopt;
    }
    return start;
}

}  // namespace RecentWorkTimelineCore
