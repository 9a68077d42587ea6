#include "QueryPlan.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

using VarnholtSQLiteSupport::explainQueryPlan;

namespace {

class QueryPlanTest : public ::testing::Test {
protected:
    void SetUp() override {
        sqlite3_open(":memory:", &handle_);
        sqlite3_exec(handle_, "CREATE TABLE t (a, b); CREATE INDEX t_a ON t(a);", nullptr, nullptr, nullptr);
    }
    void TearDown() override { sqlite3_close(handle_); }

    sqlite3* handle_ = nullptr;
};

}  // namespace

TEST_F(QueryPlanTest, GivesTheDetailLinesInOrder) {
    EXPECT_EQ(explainQueryPlan(handle_, "SELECT b FROM t WHERE a = ?"),
              (std::vector<std::string>{"SEARCH t USING INDEX t_a (a=?)"}));
    EXPECT_EQ(explainQueryPlan(handle_, "SELECT a FROM t ORDER BY b"),
              (std::vector<std::string>{"SCAN t", "USE TEMP B-TREE FOR ORDER BY"}));
}

TEST_F(QueryPlanTest, NothingWhenTheStatementCannotBePrepared) {
    EXPECT_EQ(explainQueryPlan(handle_, "SELECT missing FROM t"), std::nullopt);
    EXPECT_EQ(explainQueryPlan(nullptr, "SELECT 1"), std::nullopt);
}
