#include "summary/RowCovers.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace VarnholtQueryLib {
namespace {

ActivityRow sequencedRow(double time, const std::string& id, std::int64_t sequence = 0) {
    ActivityRow activity;
    activity.time = time;
    activity.id = id;
    activity.sequence = sequence;
    return activity;
}

// The rows as counted: id and cover, in the order counted.
class RowCoversTest : public ::testing::Test {
protected:
    RowCovers covers(double idle, double coverEnd) {
        return RowCovers(idle, coverEnd, [this](ActivityRow& counted, double cover) {
            counted_.push_back({counted.id, cover});
        });
    }

    std::vector<std::pair<std::string, double>> counted_;
};

TEST_F(RowCoversTest, EachRowCoversUntilTheNextAtMostTheIdleGap) {
    RowCovers rule = covers(300, 10000);
    rule.add(sequencedRow(1000, "A"));
    rule.add(sequencedRow(1060, "B"));
    rule.add(sequencedRow(2000, "C"));
    EXPECT_EQ(counted_.size(), 2u);  // C waits for the row after it
    rule.close();
    EXPECT_EQ(counted_, (std::vector<std::pair<std::string, double>>{{"A", 60}, {"B", 300}, {"C", 300}}));
}

TEST_F(RowCoversTest, TheLastRowCoversUntilTheEndNeverLessThanNothing) {
    RowCovers rule = covers(300, 1090.5);
    rule.add(sequencedRow(1000, "A"));
    rule.close();
    RowCovers after = covers(300, 900);
    after.add(sequencedRow(1000, "B"));
    after.close();
    EXPECT_EQ(counted_, (std::vector<std::pair<std::string, double>>{{"A", 90.5}, {"B", 0}}));
}

TEST_F(RowCoversTest, OfEqualTimesTheLastByIdThenSequenceCovers) {
    RowCovers rule = covers(300, 10000);
    rule.add(sequencedRow(1000, "E", 1));
    rule.add(sequencedRow(1000, "D", 7));
    rule.add(sequencedRow(1000, "D", 3));
    rule.add(sequencedRow(1100, "F"));
    rule.close();
    EXPECT_EQ(counted_,
              (std::vector<std::pair<std::string, double>>{{"D", 0}, {"D", 0}, {"E", 100}, {"F", 300}}));
}

TEST_F(RowCoversTest, RestartForgetsTheWaitingRows) {
    RowCovers rule = covers(300, 10000);
    rule.add(sequencedRow(1000, "A"));
    rule.restart();
    rule.add(sequencedRow(500, "B"));
    rule.close();
    EXPECT_EQ(counted_, (std::vector<std::pair<std::string, double>>{{"B", 300}}));
}

TEST_F(RowCoversTest, ARowEarlierThanTheOneBeforeIsRefused) {
    RowCovers rule = covers(300, 10000);
    rule.add(sequencedRow(1000, "A"));
    EXPECT_THROW(rule.add(sequencedRow(999, "B")), std::logic_error);
}

}  // namespace
}  // namespace VarnholtQueryLib
