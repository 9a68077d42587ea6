#include "ScatteredReads.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "RecorderSchema.h"
#include "TemporaryDirectory.h"

namespace {

std::int64_t pragma(sqlite3* handle, const char* sql) {
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(handle, sql, -1, &statement, nullptr);
    sqlite3_step(statement);
    const std::int64_t size = sqlite3_column_int64(statement, 0);
    sqlite3_finalize(statement);
    return size;
}

}  // namespace

TEST(ScatteredReadsTest, TheConnectionStopsReadingThroughTheMemoryMap) {
    VarnholtTestSupport::TemporaryDirectory directory;
    sqlite3* handle = VarnholtSampleData::openWritableDatabase(directory.file("varnholt.db"));
    sqlite3_exec(handle, "PRAGMA mmap_size = 1048576", nullptr, nullptr, nullptr);
    ASSERT_EQ(pragma(handle, "PRAGMA mmap_size"), 1048576);
    VarnholtSQLiteSupport::readScatteredPages(handle);
    EXPECT_EQ(pragma(handle, "PRAGMA mmap_size"), 0);
    VarnholtSQLiteSupport::readScatteredPages(nullptr);  // harmless
    sqlite3_close(handle);
}

TEST(ScatteredReadsTest, SortsAndIntermediateResultsStayInMemory) {
    VarnholtTestSupport::TemporaryDirectory directory;
    sqlite3* handle = VarnholtSampleData::openWritableDatabase(directory.file("varnholt.db"));
    sqlite3_exec(handle, "PRAGMA temp_store = FILE", nullptr, nullptr, nullptr);
    ASSERT_EQ(pragma(handle, "PRAGMA temp_store"), 1);
    VarnholtSQLiteSupport::readScatteredPages(handle);
    EXPECT_EQ(pragma(handle, "PRAGMA temp_store"), 2);  // MEMORY
    sqlite3_close(handle);
}
