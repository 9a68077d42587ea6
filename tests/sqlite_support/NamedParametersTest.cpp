#include "NamedParameters.h"

#include <gtest/gtest.h>

#include "SQLiteStatement.h"

using namespace VarnholtSQLiteSupport;

namespace {

class NamedParametersTest : public ::testing::Test {
protected:
    void SetUp() override { sqlite3_open(":memory:", &handle_); }
    void TearDown() override { sqlite3_close(handle_); }
    sqlite3* handle_ = nullptr;
};

}  // namespace

TEST_F(NamedParametersTest, EveryUseOfANameGetsTheValueAndAbsentNamesAreIgnored) {
    sqlite3_stmt* statement = prepareOrNull(handle_, "SELECT :from + :from, :to, typeof(:text), :count");
    ASSERT_NE(statement, nullptr);
    FinalizeOnExit finalize(statement);
    bindNamedDouble(statement, ":from", 1.5);
    bindNamedInt64(statement, ":to", std::int64_t{1} << 40);
    bindNamedText(statement, ":text", "words");
    bindNamedInt32(statement, ":count", 7);
    bindNamedDouble(statement, ":absent", 2.0);
    ASSERT_EQ(sqlite3_step(statement), SQLITE_ROW);
    EXPECT_EQ(sqlite3_column_double(statement, 0), 3.0);
    EXPECT_EQ(sqlite3_column_int64(statement, 1), std::int64_t{1} << 40);
    EXPECT_EQ(columnText(statement, 2), "text");
    EXPECT_EQ(sqlite3_column_int(statement, 3), 7);
}

TEST_F(NamedParametersTest, ARefusedStatementIsNullAndLeavesNothingBehind) {
    EXPECT_EQ(prepareOrNull(handle_, "SELECT FROM nowhere"), nullptr);
    EXPECT_EQ(prepareOrNull(nullptr, "SELECT 1"), nullptr);
}

TEST(NamedParametersDeathTest, ALimitBeyond32BitsStopsTheProcessEvenUnderAnAbsentName) {
    sqlite3* handle = nullptr;
    sqlite3_open(":memory:", &handle);
    sqlite3_stmt* statement = prepareOrNull(handle, "SELECT 1");
    EXPECT_DEATH(bindNamedInt32(statement, ":limit", std::int64_t{1} << 31), "32 bits");
    sqlite3_finalize(statement);
    sqlite3_close(handle);
}
