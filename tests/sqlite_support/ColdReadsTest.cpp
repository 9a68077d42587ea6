#include "ColdReads.h"

#include <gtest/gtest.h>

#include <cstdint>

using VarnholtSQLiteSupport::ColdReads;

namespace {

// A blocks-read counter the test moves by hand between checks.
class HandCounter {
public:
    ColdReads::BlocksRead counter() {
        return [this] { return blocks_; };
    }
    void read(std::int64_t blocks) { blocks_ += blocks; }

private:
    std::int64_t blocks_ = 1000;
};

class ColdReadsTest : public ::testing::Test {
protected:
    HandCounter disk_;
};

TEST_F(ColdReadsTest, ACounterThatNeverMovesIsNeverCold) {
    ColdReads cold(disk_.counter());
    for (int i = 0; i < 1000; ++i) EXPECT_FALSE(cold.check()) << "check " << i;
}

TEST_F(ColdReadsTest, ReadsBetweenChecksWithoutReadsNeverBecomeCold) {
    // Pages that went out and come back one region at a time: every other
    // check sees a great many blocks, the ones between see none.
    ColdReads cold(disk_.counter());
    for (int i = 0; i < 200; ++i) {
        disk_.read(i % 2 == 0 ? 100000 : 0);
        EXPECT_FALSE(cold.check()) << "check " << i;
    }
}

TEST_F(ColdReadsTest, ARunOfReadingChecksBelowTheThresholdIsNotCold) {
    ColdReads cold(disk_.counter(), 8, 256);
    for (int i = 0; i < 8; ++i) {
        disk_.read(31);  // 248 blocks after eight checks
        EXPECT_FALSE(cold.check()) << "check " << i;
    }
    disk_.read(8);  // the ninth check of the run brings it to 256
    EXPECT_TRUE(cold.check());
}

TEST_F(ColdReadsTest, TheRunIsColdOnTheCheckThatReachesTheThreshold) {
    ColdReads cold(disk_.counter(), 8, 256);
    for (int i = 0; i < 7; ++i) {
        disk_.read(32);
        EXPECT_FALSE(cold.check()) << "check " << i;
    }
    disk_.read(32);  // eighth check, 256 blocks in all
    EXPECT_TRUE(cold.check());
}

TEST_F(ColdReadsTest, ManyBlocksInFewerChecksThanTheRunAreNotCold) {
    ColdReads cold(disk_.counter(), 8, 256);
    for (int i = 0; i < 7; ++i) {
        disk_.read(100000);
        EXPECT_FALSE(cold.check()) << "check " << i;
    }
    disk_.read(1);
    EXPECT_TRUE(cold.check());
}

TEST_F(ColdReadsTest, ACheckWithoutReadsStartsTheRunAgain) {
    ColdReads cold(disk_.counter(), 8, 256);
    for (int i = 0; i < 7; ++i) {
        disk_.read(100);
        EXPECT_FALSE(cold.check());
    }
    EXPECT_FALSE(cold.check());  // nothing read: the run of seven is gone
    for (int i = 0; i < 7; ++i) {
        disk_.read(100);
        EXPECT_FALSE(cold.check()) << "check " << i << " of the new run";
    }
    disk_.read(100);
    EXPECT_TRUE(cold.check());
}

TEST_F(ColdReadsTest, OnceColdStaysCold) {
    ColdReads cold(disk_.counter(), 2, 10);
    disk_.read(10);
    EXPECT_FALSE(cold.check());
    disk_.read(10);
    ASSERT_TRUE(cold.check());
    for (int i = 0; i < 20; ++i) EXPECT_TRUE(cold.check()) << "check " << i << " without reads";
    disk_.read(-5000);
    EXPECT_TRUE(cold.check());
}

TEST_F(ColdReadsTest, ACounterThatGoesBackwardsCountsAsNoReads) {
    ColdReads cold(disk_.counter(), 2, 1);
    disk_.read(10);
    EXPECT_FALSE(cold.check());
    disk_.read(-5);  // backwards: no reads, and the run starts again
    EXPECT_FALSE(cold.check());
    disk_.read(3);  // read from the lower value on
    EXPECT_FALSE(cold.check());
    disk_.read(3);
    EXPECT_TRUE(cold.check());
}

TEST_F(ColdReadsTest, TheDefaultRuleIsEightChecksAnd256Blocks) {
    ColdReads cold(disk_.counter());
    for (int i = 0; i < ColdReads::kRun - 1; ++i) {
        disk_.read(ColdReads::kThreshold);
        EXPECT_FALSE(cold.check()) << "check " << i;
    }
    disk_.read(1);
    EXPECT_TRUE(cold.check());
    EXPECT_EQ(ColdReads::kRun, 8);
    EXPECT_EQ(ColdReads::kThreshold, 256);
}

TEST_F(ColdReadsTest, TheCounterIsReadWhenTheRuleIsMadeAndAtEveryCheck) {
    // Reads before the rule exists are not the answer's.
    int calls = 0;
    std::int64_t blocks = 5000;
    ColdReads cold(
        [&] {
            ++calls;
            return blocks;
        },
        1, 1);
    EXPECT_EQ(calls, 1);
    EXPECT_FALSE(cold.check());
    EXPECT_EQ(calls, 2);
    blocks += 1;
    EXPECT_TRUE(cold.check());
}

}  // namespace
