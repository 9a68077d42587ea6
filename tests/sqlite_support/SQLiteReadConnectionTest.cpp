#include "SQLiteReadConnection.h"

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <stdexcept>

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

// An in-memory database for the statement conventions. A test's statements
// are declared after it, so their FinalizeOnExit runs first: a connection
// closed while a statement is still open stays open, and leaks.
class InMemoryDatabase {
public:
    InMemoryDatabase() {
        if (sqlite3_open(":memory:", &handle_) != SQLITE_OK) {
            throw std::runtime_error("cannot open an in-memory database");
        }
    }
    ~InMemoryDatabase() { sqlite3_close(handle_); }
    InMemoryDatabase(const InMemoryDatabase&) = delete;
    InMemoryDatabase& operator=(const InMemoryDatabase&) = delete;

    sqlite3* handle() const { return handle_; }

private:
    sqlite3* handle_ = nullptr;
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

TEST_F(SQLiteReadConnectionTest, SymbolicLinksInALoopAreNamedAsTheReason) {
    const std::string path = directory_.file("varnholt.db");
    std::filesystem::create_symlink("other.db", path);
    std::filesystem::create_symlink("varnholt.db", directory_.file("other.db"));
    const DatabaseError error = openingFailure(path);
    EXPECT_EQ(error.errorCase(), DatabaseError::Case::notFound);
    EXPECT_EQ(error.message(), "Database not found at " + path +
                                   ": its symbolic links lead in a loop. Point the link at the recorder's "
                                   "database.");
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

TEST_F(SQLiteReadConnectionTest, OneStateForTheConnectionIsTheStateItsSchemaCheckRead) {
    const std::string path = makeDatabase(24);
    SQLiteReadConnection answer(path, SQLiteReadConnection::States::oneForTheConnection);
    SQLiteReadConnection latest(path);
    // The recorder migrates and writes after both connections checked the
    // schema.
    sqlite3* recorder = VarnholtSampleData::openWritableDatabase(path);
    ASSERT_EQ(sqlite3_exec(recorder,
                           "PRAGMA user_version = 30; INSERT INTO frames (id, display_id, captured_at, timestamp,"
                           " image_path) VALUES ('F', '1', 'x', 1.0, '/f.png')",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    sqlite3_close(recorder);
    EXPECT_EQ(singleText(answer.handle(), "PRAGMA user_version"), "24");
    EXPECT_EQ(singleText(answer.handle(), "SELECT count(*) FROM frames"), "0");
    EXPECT_EQ(singleText(latest.handle(), "PRAGMA user_version"), "30");
    EXPECT_EQ(singleText(latest.handle(), "SELECT count(*) FROM frames"), "1");
}

TEST_F(SQLiteReadConnectionTest, ReadsWithoutAMemoryMap) {
    // Through a map, every page fault reads the readahead window around the
    // page: a cold start would read much of the file for a few pages.
    SQLiteReadConnection connection(makeDatabase(24));
    EXPECT_EQ(singleText(connection.handle(), "PRAGMA mmap_size"), "0");
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

TEST_F(SQLiteReadConnectionTest, TheConnectionIsReadOnly) {
    SQLiteReadConnection connection(makeDatabase(24));
    EXPECT_EQ(sqlite3_db_readonly(connection.handle(), "main"), 1);
}

TEST_F(SQLiteReadConnectionTest, ARollbackJournalDatabaseKeepsItsJournalMode) {
    const std::string path = makeDatabase(24);
    sqlite3* handle = VarnholtSampleData::openWritableDatabase(path);
    VarnholtSampleData::execWritable(handle, "PRAGMA journal_mode = DELETE");
    sqlite3_close(handle);
    SQLiteReadConnection connection(path);
    EXPECT_EQ(singleText(connection.handle(), "PRAGMA journal_mode"), "delete");
}

TEST_F(SQLiteReadConnectionTest, WhatIsNoRegularFileCannotBeOpened) {
    const std::string directory = directory_.file("a-directory.db");
    const std::string pipe = directory_.file("a-pipe.db");
    ASSERT_TRUE(std::filesystem::create_directory(directory));
    ASSERT_EQ(mkfifo(pipe.c_str(), 0644), 0);
    for (const std::string& path : {directory, pipe}) {
        const DatabaseError error = openingFailure(path);
        EXPECT_EQ(error.errorCase(), DatabaseError::Case::connectionFailed) << path;
        EXPECT_EQ(error.message(), "unable to open database file") << path;
    }
}

TEST_F(SQLiteReadConnectionTest, AnEmptyFileIsSchemaZeroAndItsLogIsKept) {
    const std::string path = directory_.file("empty.db");
    std::ofstream(path, std::ios::binary).close();
    std::ofstream(path + "-wal", std::ios::binary) << "frames";
    const DatabaseError error = openingFailure(path);
    EXPECT_EQ(error.errorCase(), DatabaseError::Case::schemaMismatch);
    EXPECT_EQ(error.currentVersion(), 0);
    EXPECT_EQ(std::filesystem::file_size(path), 0u);
    EXPECT_EQ(std::filesystem::file_size(path + "-wal"), 6u);
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

// Arrays put together from the pieces a recorder, or a damaged database,
// can write, read both ways: the direct reading must never give another
// result than the JSON document.
TEST(ParseJsonArrayTest, EveryTextReadsAsItsJSONDocumentDoes) {
    const std::vector<std::string> elements = {
        R"("Xcode")", R"("Google Chrome")", "\"caf\xC3\xA9\"", "\"\xF0\x9F\x98\x80\"", R"("")", R"("a\"b")",
        R"("a\/b")", R"("\u00e9")", "\"\xC3\"", "\"\xED\xA0\x80\"", "\"a\x01\"", "1", "null", "[\"a\"]", R"({"a":"b"})"};
    const std::vector<std::string> spaces = {"", "", "", " ", "\n", "\t", "\r", "\v"};
    std::mt19937 random(20261126);
    const auto pick = [&](std::size_t count) { return std::uniform_int_distribution<std::size_t>(0, count - 1)(random); };
    std::size_t nonEmpty = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string text = spaces[pick(spaces.size())] + "[";
        for (std::size_t count = pick(5), i = 0; i < count; ++i) {
            if (i > 0) text += spaces[pick(spaces.size())] + ",";
            text += spaces[pick(spaces.size())];
            // Mostly the names a recorder writes.
            text += elements[pick(4) == 0 ? pick(elements.size()) : pick(4)];
        }
        text += spaces[pick(spaces.size())] + "]" + spaces[pick(spaces.size())];
        if (pick(20) == 0) text.insert(pick(text.size() + 1), pick(2) ? "," : "x");
        const auto expected = SQLiteReadConnection::parseJsonArrayAsJSON(text);
        if (!expected.empty()) ++nonEmpty;
        ASSERT_EQ(SQLiteReadConnection::parseJsonArray(text), expected) << "text " << testing::PrintToString(text);
    }
    // The pieces must make readable arrays often enough to test anything.
    EXPECT_GT(nonEmpty, 4000u);
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
    InMemoryDatabase database;
    sqlite3_stmt* statement = prepareStatement(database.handle(), "SELECT ?");
    FinalizeOnExit finalize(statement);
    bindInt32(statement, 1, 2147483647);
    EXPECT_DEATH(bindInt32(statement, 1, 2147483648LL), "32 bits");
}

TEST(StatementConventionsTest, IllFormedTextIsRepaired) {
    InMemoryDatabase database;
    sqlite3_stmt* statement =
        prepareStatement(database.handle(), "SELECT CAST(x'4772fc7373' AS TEXT)");
    FinalizeOnExit finalize(statement);
    ASSERT_EQ(sqlite3_step(statement), SQLITE_ROW);
    // Latin-1 "Grüss" stored as is: the ü byte becomes U+FFFD.
    EXPECT_EQ(columnText(statement, 0), "Gr\uFFFDss");
    EXPECT_EQ(columnOptionalText(statement, 0), "Gr\uFFFDss");
}

TEST(StatementConventionsTest, TextEndsAtTheFirstNul) {
    InMemoryDatabase database;
    sqlite3_stmt* statement = prepareStatement(
        database.handle(),
        "SELECT CAST(x'610062' AS TEXT), CAST(x'00410042' AS TEXT), x'43004400', NULL");
    FinalizeOnExit finalize(statement);
    ASSERT_EQ(sqlite3_step(statement), SQLITE_ROW);
    EXPECT_EQ(columnText(statement, 0), "a");
    EXPECT_EQ(columnOptionalText(statement, 0), "a");
    EXPECT_EQ(columnText(statement, 1), "");
    EXPECT_EQ(columnOptionalText(statement, 1), "");
    EXPECT_EQ(columnText(statement, 2), "C");
    EXPECT_FALSE(columnOptionalText(statement, 3).has_value());
}

TEST(StatementConventionsTest, NullReadsAsEmptyTextWhereTextIsExpected) {
    InMemoryDatabase database;
    sqlite3_stmt* statement = prepareStatement(database.handle(), "SELECT NULL");
    FinalizeOnExit finalize(statement);
    ASSERT_EQ(sqlite3_step(statement), SQLITE_ROW);
    EXPECT_EQ(columnText(statement, 0), "");
}
