#include "SQLiteReadConnection.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <functional>

#include "DatabaseError.h"
#include "DatabaseLockHolder.h"
#include "RecorderSchema.h"
#include "SQLiteStatement.h"
#include "TemporaryDirectory.h"

using namespace VarnholtSQLiteSupport;
using VarnholtTestSupport::DatabaseLockHolder;
using VarnholtTestSupport::TemporaryDirectory;

namespace {

class SQLiteReadConnectionTest : public ::testing::Test {
protected:
    // A recorder database stamped with `version`.
    std::string makeDatabase(std::int32_t version) {
        const std::string path = directory_.file("varnholt.db");
        sqlite3* handle = VarnholtSampleData::openWritableDatabase(path);
        VarnholtSampleData::createRecorderSchema(handle, version);
        sqlite3_close(handle);
        return path;
    }

    // The error opening `path` throws.
    DatabaseError openingFailure(const std::string& path) {
        try {
            SQLiteReadConnection connection(path);
        } catch (const DatabaseError& error) {
            return error;
        }
        ADD_FAILURE() << "opening " << path << " succeeded";
        return DatabaseError::queryFailed("<none>");
    }

    TemporaryDirectory directory_;
};

std::string singleText(sqlite3* handle, const std::string& sql) {
    sqlite3_stmt* statement = prepareStatement(handle, sql);
    FinalizeOnExit finalize(statement);
    std::string text;
    stepRows(handle, statement, [&](sqlite3_stmt* row) { text = columnText(row, 0); });
    return text;
}

}  // namespace

TEST_F(SQLiteReadConnectionTest, MissingFileIsNotFoundAndNotCreated) {
    const std::string path = directory_.file("missing.db");
    const DatabaseError error = openingFailure(path);
    EXPECT_EQ(error.errorCase(), DatabaseError::Case::notFound);
    EXPECT_EQ(error.message(), "Database not found at " + path);
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(SQLiteReadConnectionTest, OlderSchemasAreRefused) {
    for (const std::int32_t version : {23, 0}) {
        const std::string path = makeDatabase(version);
        const DatabaseError error = openingFailure(path);
        EXPECT_EQ(error.errorCase(), DatabaseError::Case::schemaMismatch);
        EXPECT_EQ(error.currentVersion(), version);
        EXPECT_EQ(error.expectedVersion(), 24);
        std::filesystem::remove(path);
        std::filesystem::remove(path + "-wal");
        std::filesystem::remove(path + "-shm");
    }
}

TEST_F(SQLiteReadConnectionTest, CurrentAndNewerSchemasOpen) {
    for (const std::int32_t version : {24, 30}) {
        const std::string path = makeDatabase(version);
        SQLiteReadConnection connection(path);
        EXPECT_NE(connection.handle(), nullptr);
        EXPECT_EQ(singleText(connection.handle(), "PRAGMA journal_mode"), "wal");
        std::filesystem::remove(path);
        std::filesystem::remove(path + "-wal");
        std::filesystem::remove(path + "-shm");
    }
}

TEST_F(SQLiteReadConnectionTest, ReadsThroughAMemoryMap) {
    SQLiteReadConnection connection(makeDatabase(24));
    EXPECT_GT(std::stoll(singleText(connection.handle(), "PRAGMA mmap_size")), 0);
}

TEST_F(SQLiteReadConnectionTest, ConnectionIsQueryOnly) {
    SQLiteReadConnection connection(makeDatabase(24));
    try {
        SQLiteReadConnection::exec(connection.handle(), "DELETE FROM frames");
        FAIL() << "a write went through";
    } catch (const DatabaseError& error) {
        EXPECT_EQ(error.errorCase(), DatabaseError::Case::queryFailed);
        EXPECT_EQ(error.message(), "attempt to write a readonly database");
    }
}

TEST_F(SQLiteReadConnectionTest, ANonDatabaseFileFailsToOpen) {
    const std::string path = directory_.file("not-a-database.db");
    FILE* file = std::fopen(path.c_str(), "w");
    std::fputs("this is not SQLite, just text long enough to have a header of sorts........", file);
    std::fclose(file);
    const DatabaseError error = openingFailure(path);
    EXPECT_EQ(error.errorCase(), DatabaseError::Case::queryFailed);
    EXPECT_EQ(error.message(), "file is not a database");
}

TEST_F(SQLiteReadConnectionTest, ExecReportsSQLiteMessages) {
    SQLiteReadConnection connection(makeDatabase(24));
    try {
        SQLiteReadConnection::exec(connection.handle(), "SELECT * FROM no_such_table");
        FAIL();
    } catch (const DatabaseError& error) {
        EXPECT_EQ(error.errorCase(), DatabaseError::Case::queryFailed);
        EXPECT_EQ(error.message(), "no such table: no_such_table");
    }
}

TEST_F(SQLiteReadConnectionTest, LockHeldBeforeOpeningIsReportedAsLocked) {
    const std::string path = makeDatabase(24);
    DatabaseLockHolder recorder(path);
    const DatabaseError error = openingFailure(path);
    EXPECT_EQ(error.errorCase(), DatabaseError::Case::locked);
    EXPECT_EQ(error.message(), "Database is locked by the recorder. Try again in a moment.");
}

TEST(ParseJsonArrayTest, StringsInOrder) {
    EXPECT_EQ(SQLiteReadConnection::parseJsonArray(R"(["VS Code","Google Chrome"])"),
              (std::vector<std::string>{"VS Code", "Google Chrome"}));
    EXPECT_EQ(SQLiteReadConnection::parseJsonArray(R"([ "Grüße", "a\/b" ])"),
              (std::vector<std::string>{"Grüße", "a/b"}));
}

TEST(ParseJsonArrayTest, AnythingElseIsEmpty) {
    for (const char* text : {"[]", "{}", R"({"a":"b"})", "[1]", R"(["a",1])", R"(["a",null])",
                             R"([["a"]])", "not json", "", "\"a\"", "42", "[\"a\"", "[\"a\"] x"}) {
        EXPECT_TRUE(SQLiteReadConnection::parseJsonArray(text).empty()) << text;
    }
}

TEST(StatementConventionsTest, BusyIsLockedAndOtherFailuresAreQueryFailed) {
    EXPECT_EQ(stepFailure(nullptr, SQLITE_BUSY).errorCase(), DatabaseError::Case::locked);
    // SQLITE_LOCKED is a conflict inside our own connection, not the recorder's lock.
    const DatabaseError lockedInside = stepFailure(nullptr, SQLITE_LOCKED);
    EXPECT_EQ(lockedInside.errorCase(), DatabaseError::Case::queryFailed);
    EXPECT_EQ(lockedInside.message(), "unknown");
}

TEST(StatementConventionsTest, PrepareOnANullHandleFails) {
    try {
        prepareStatement(nullptr, "SELECT 1");
        FAIL();
    } catch (const DatabaseError& error) {
        EXPECT_EQ(error.errorCase(), DatabaseError::Case::queryFailed);
        EXPECT_EQ(error.message(), "unknown");
    }
}

TEST(StatementConventionsTest, BindInt32StopsOnValuesBeyond32Bits) {
    sqlite3* handle = nullptr;
    ASSERT_EQ(sqlite3_open(":memory:", &handle), SQLITE_OK);
    sqlite3_stmt* statement = prepareStatement(handle, "SELECT ?");
    bindInt32(statement, 1, 2147483647);
    EXPECT_DEATH(bindInt32(statement, 1, 2147483648LL), "32 bits");
    sqlite3_finalize(statement);
    sqlite3_close(handle);
}

TEST(StatementConventionsTest, IllFormedTextIsRepaired) {
    sqlite3* handle = nullptr;
    ASSERT_EQ(sqlite3_open(":memory:", &handle), SQLITE_OK);
    sqlite3_stmt* statement = prepareStatement(handle, "SELECT CAST(x'4772fc7373' AS TEXT)");
    FinalizeOnExit finalize(statement);
    ASSERT_EQ(sqlite3_step(statement), SQLITE_ROW);
    // Latin-1 "Grüss" stored as is: the ü byte becomes U+FFFD.
    EXPECT_EQ(columnText(statement, 0), "Gr\uFFFDss");
    EXPECT_EQ(columnOptionalText(statement, 0), "Gr\uFFFDss");
    sqlite3_close(handle);
}

TEST(StatementConventionsTest, TextKeepsEmbeddedNul) {
    sqlite3* handle = nullptr;
    ASSERT_EQ(sqlite3_open(":memory:", &handle), SQLITE_OK);
    sqlite3_stmt* statement = prepareStatement(handle, "SELECT CAST(x'610062' AS TEXT), NULL");
    FinalizeOnExit finalize(statement);
    ASSERT_EQ(sqlite3_step(statement), SQLITE_ROW);
    EXPECT_EQ(columnText(statement, 0), std::string("a\0b", 3));
    EXPECT_FALSE(columnOptionalText(statement, 1).has_value());
    sqlite3_close(handle);
}
