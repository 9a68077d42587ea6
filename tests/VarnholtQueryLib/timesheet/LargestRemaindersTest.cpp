#include "timesheet/LargestRemainders.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>
#include <vector>

namespace VarnholtQueryLib {
namespace {

using Seconds = std::vector<std::int64_t>;

TEST(LargestRemaindersTest, WholePartsStayAsTheyAre) {
    EXPECT_EQ(largestRemainders({60, 0, 120}, 180), (Seconds{60, 0, 120}));
}

TEST(LargestRemaindersTest, TheLargestFractionsGetTheMissingSeconds) {
    // 10.2 + 20.7 + 5.6 = 36.5, printed 37: the cuts lost 2 seconds.
    EXPECT_EQ(largestRemainders({10.2, 20.7, 5.6}, 37), (Seconds{10, 21, 6}));
}

TEST(LargestRemaindersTest, HalvesThatMeetAddUpToThePrintedTotal) {
    // Three covers of x.5 seconds: 1.5 + 2.5 + 3.5 = 7.5, printed 8. Each
    // half would round up to 2 + 3 + 4 = 9; the earlier parts among equal
    // fractions get the two seconds.
    EXPECT_EQ(largestRemainders({1.5, 2.5, 3.5}, 8), (Seconds{2, 3, 3}));
    EXPECT_EQ(largestRemainders({3.5, 2.5, 1.5}, 8), (Seconds{4, 3, 1}));
}

TEST(LargestRemaindersTest, SmallFractionsCanStillGetTheSecond) {
    // 0.3 three times is 0.9, printed 1: the first part takes it.
    EXPECT_EQ(largestRemainders({0.3, 0.3, 0.3}, 1), (Seconds{1, 0, 0}));
}

TEST(LargestRemaindersTest, TheSumIsAlwaysTheTotal) {
    const std::vector<double> parts = {299.75, 0.125, 17.5, 3599.999, 0, 42.42};
    const double exact = std::accumulate(parts.begin(), parts.end(), 0.0);
    const auto total = static_cast<std::int64_t>(std::llround(exact));
    const Seconds whole = largestRemainders(parts, total);
    EXPECT_EQ(std::accumulate(whole.begin(), whole.end(), std::int64_t{0}), total);
    for (std::size_t i = 0; i < parts.size(); ++i) {
        EXPECT_LT(std::abs(static_cast<double>(whole[i]) - parts[i]), 1.0) << i;
    }
}

TEST(LargestRemaindersTest, ATotalBelowTheWholePartsTakesFromTheSmallestFractions) {
    EXPECT_EQ(largestRemainders({2.9, 3.1, 0.0}, 4), (Seconds{2, 2, 0}));
}

TEST(LargestRemaindersTest, NoPartsGiveNothing) {
    EXPECT_EQ(largestRemainders({}, 0), Seconds{});
    EXPECT_EQ(largestRemainders({}, 3), Seconds{});
}

}  // namespace
}  // namespace VarnholtQueryLib
