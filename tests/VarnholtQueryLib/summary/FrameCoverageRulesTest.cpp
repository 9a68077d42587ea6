#include "summary/FrameCoverageRules.h"

#include <gtest/gtest.h>

#include <vector>

#include "TestInstants.h"

namespace VarnholtQueryLib {
namespace {

using VarnholtTestSupport::kT;
constexpr double kHalfHour = 1800;

std::vector<FrameGap> gapsOf(double from, double to, const std::vector<double>& frames) {
    FrameGapFinder finder(from, to);
    for (double time : frames) finder.add(time);
    return finder.close();
}

TEST(FrameGapFinderTest, AWindowWithoutFramesIsOneGap) {
    EXPECT_EQ(gapsOf(kT, kT + 7200, {}), (std::vector<FrameGap>{{kT, kT + 7200}}));
}

TEST(FrameGapFinderTest, AShortWindowWithoutFramesHasNoGap) {
    EXPECT_TRUE(gapsOf(kT, kT + kHalfHour - 1, {}).empty());
}

TEST(FrameGapFinderTest, GapsOfHalfAnHourOrMoreBeforeBetweenAndAfterFrames) {
    const std::vector<FrameGap> gaps =
        gapsOf(kT, kT + 20000, {kT + kHalfHour, kT + kHalfHour + 10, kT + 2 * kHalfHour + 9.75, kT + 9000});
    EXPECT_EQ(gaps, (std::vector<FrameGap>{{kT, kT + kHalfHour},
                                           {kT + 2 * kHalfHour + 9.75, kT + 9000},
                                           {kT + 9000, kT + 20000}}));
}

TEST(FrameGapFinderTest, FramesAtTheEndsLeaveNoGapThere) {
    EXPECT_EQ(gapsOf(kT, kT + 4000, {kT, kT + 4000}), (std::vector<FrameGap>{{kT, kT + 4000}}));
    EXPECT_TRUE(gapsOf(kT, kT + 4000, {kT, kT + 1500, kT + 3000, kT + 4000}).empty());
}

TEST(FrameGapFinderTest, AWindowThatEndsBeforeItStartsHasNoGap) {
    EXPECT_TRUE(gapsOf(kT, kT - 10000, {}).empty());
}

TEST(CoverageVerdictTest, RowsNeedNoVerdict) {
    EXPECT_EQ(coverageVerdict(3, FrameCounts{}), std::nullopt);
    EXPECT_EQ(coverageVerdict(1, FrameCounts{10, 0, 10, 0}), std::nullopt);
}

TEST(CoverageVerdictTest, WithoutRowsTheFramesExplainWhy) {
    EXPECT_EQ(coverageVerdict(0, FrameCounts{}), kNoFramesVerdict);
    EXPECT_EQ(coverageVerdict(0, FrameCounts{10, 6, 3, 1}), kAnalysisBehindVerdict);
    EXPECT_EQ(coverageVerdict(0, FrameCounts{10, 9, 0, 1}), kNoUsableDescriptionsVerdict);
    EXPECT_EQ(coverageVerdict(0, FrameCounts{4, 0, 0, 4}), kNoUsableDescriptionsVerdict);
}

TEST(CoverageVerdictTest, TheVerdictsAreTheseTexts) {
    EXPECT_STREQ(kNoFramesVerdict,
                 "No frames were captured in this range: the recorder was not capturing the screen.");
    EXPECT_STREQ(kAnalysisBehindVerdict,
                 "Frames were captured in this range but are not analysed yet: the model is behind. Ask "
                 "again later.");
    EXPECT_STREQ(kNoUsableDescriptionsVerdict,
                 "Frames in this range were analysed, but none gave a usable description.");
}

}  // namespace
}  // namespace VarnholtQueryLib
