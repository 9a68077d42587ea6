#include "ScatteredReads.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "RecorderSchema.h"
#include "TemporaryDirectory.h"

namespace {

class ScatteredReadsTest : public ::testing::Test {
protected:
    void SetUp() override { handle_ = VarnholtSampleData::openWritableDatabase(directory_.file("varnholt.db")); }
    void TearDown() override { sqlite3_close(handle_); }

    void execute(const char* sql) { sqlite3_exec(handle_, sql, nullptr, nullptr, nullptr); }

    std::int64_t pragma(const char* sql) {
        sqlite3_stmt* statement = nullptr;
        sqlite3_prepare_v2(handle_, sql, -1, &statement, nullptr);
        sqlite3_step(statement);
        const std::int64_t value = sqlite3_column_int64(statement, 0);
        sqlite3_finalize(statement);
        return value;
    }

    VarnholtTestSupport::TemporaryDirectory directory_;
    sqlite3* handle_ = nullptr;
};

TEST_F(ScatteredReadsTest, SortsAndIntermediateResultsStayInMemory) {
    execute("PRAGMA temp_store = FILE");
    ASSERT_EQ(pragma("PRAGMA temp_store"), 1);
    VarnholtSQLiteSupport::readScatteredPages(handle_);
    EXPECT_EQ(pragma("PRAGMA temp_store"), 2);  // MEMORY
    VarnholtSQLiteSupport::readScatteredPages(nullptr);  // harmless
}

TEST_F(ScatteredReadsTest, AlsoInsideTheReadTransactionOfAnAnswer) {
    execute("CREATE TABLE t (x); INSERT INTO t VALUES (1); PRAGMA temp_store = FILE; BEGIN");
    ASSERT_EQ(pragma("SELECT count(*) FROM t"), 1);
    VarnholtSQLiteSupport::readScatteredPages(handle_);
    EXPECT_EQ(pragma("PRAGMA temp_store"), 2);
    execute("ROLLBACK");
}

}  // namespace
