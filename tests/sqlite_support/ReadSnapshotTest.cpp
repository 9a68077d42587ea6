#include "ReadSnapshot.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "RecorderSchema.h"
#include "TemporaryDirectory.h"

using VarnholtSQLiteSupport::ReadSnapshot;

namespace {

std::int64_t count(sqlite3* handle) {
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(handle, "SELECT count(*) FROM t", -1, &statement, nullptr);
    sqlite3_step(statement);
    const std::int64_t rows = sqlite3_column_int64(statement, 0);
    sqlite3_finalize(statement);
    return rows;
}

class ReadSnapshotTest : public ::testing::Test {
protected:
    void SetUp() override {
        writer_ = VarnholtSampleData::openWritableDatabase(directory_.file("varnholt.db"));
        VarnholtSampleData::execWritable(writer_, "PRAGMA journal_mode = WAL; CREATE TABLE t (x); INSERT INTO t VALUES (1);");
        sqlite3_open_v2(directory_.file("varnholt.db").c_str(), &reader_, SQLITE_OPEN_READONLY, nullptr);
    }
    void TearDown() override {
        sqlite3_close(reader_);
        sqlite3_close(writer_);
    }

    VarnholtTestSupport::TemporaryDirectory directory_;
    sqlite3* writer_ = nullptr;
    sqlite3* reader_ = nullptr;
};

}  // namespace

TEST_F(ReadSnapshotTest, StatementsInsideSeeTheDatabaseAsTheFirstOneFoundIt) {
    {
        const ReadSnapshot snapshot(reader_);
        EXPECT_EQ(count(reader_), 1);
        VarnholtSampleData::execWritable(writer_, "INSERT INTO t VALUES (2);");
        EXPECT_EQ(count(reader_), 1);
    }
    EXPECT_EQ(count(reader_), 2);
    EXPECT_NE(sqlite3_get_autocommit(reader_), 0);
}

TEST_F(ReadSnapshotTest, AnOpenTransactionIsUsedAndLeftOpen) {
    sqlite3_exec(reader_, "BEGIN", nullptr, nullptr, nullptr);
    { const ReadSnapshot snapshot(reader_); }
    EXPECT_EQ(sqlite3_get_autocommit(reader_), 0);
    sqlite3_exec(reader_, "ROLLBACK", nullptr, nullptr, nullptr);
}

TEST_F(ReadSnapshotTest, NoHandleIsHarmless) { const ReadSnapshot snapshot(nullptr); }
