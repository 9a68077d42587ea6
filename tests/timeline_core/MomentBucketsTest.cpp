#include "MomentBuckets.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace RecentWorkTimelineCore;

TEST(MomentBucketsTest, WholeSecondsFloorIntoTheirBucket) {
    // 2026-04-01T10:00:00Z is a whole multiple of five minutes.
    EXPECT_EQ(bucketStartOf(1775037600.0, 300), 1775037600);
    EXPECT_EQ(bucketStartOf(1775037899.999, 300), 1775037600);
    EXPECT_EQ(bucketStartOf(1775037900.0, 300), 1775037900);
}

TEST(MomentBucketsTest, TimesBefore1970FallIntoTheBucketBelow) {
    EXPECT_EQ(bucketStartOf(-0.5, 300), -300);
    EXPECT_EQ(bucketStartOf(-300.0, 300), -300);
    EXPECT_EQ(bucketStartOf(-301.0, 300), -600);
}

TEST(MomentBucketsTest, TimesWithoutABucketHaveNone) {
    EXPECT_EQ(bucketStartOf(std::numeric_limits<double>::infinity(), 300), std::nullopt);
    EXPECT_EQ(bucketStartOf(std::nan(""), 300), std::nullopt);
    EXPECT_EQ(bucketStartOf(1e300, 300), std::nullopt);
    EXPECT_EQ(bucketStartOf(9223372036854775808.0, 300), std::nullopt);  // 2^63 seconds
    // The bucket's end would pass 64 bits.
    EXPECT_EQ(bucketStartOf(9.2e18, 2000000000000000000), std::nullopt);
    EXPECT_EQ(bucketStartOf(9223372036854774784.0, 300), 9223372036854774600);
}
