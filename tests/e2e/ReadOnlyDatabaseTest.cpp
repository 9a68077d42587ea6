// The recorder's files as every database command leaves them: the database
// and its write-ahead log keep every byte, the journal mode stays what the
// recorder chose, whatever state the recorder left them in and whoever runs
// the tool, and the answers still come from them. Only the log's
// shared-memory index (-shm) is the readers' to write, as SQLite intends.

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "ErrorEnvelope.h"
#include "FixtureDatabase.h"
#include "RecorderSchema.h"
#include "SQLiteShellProcess.h"
#include "TemporaryHome.h"

namespace read_only_database_test {

using namespace VarnholtTestSupport;

namespace {

// Wednesday 2026-04-01 10:00:00 UTC; the fixture's activity ends here.
constexpr const char* kNow = "2026-04-01 10:00:00";

// Every command that reads the database.
const std::vector<std::vector<std::string>> kDatabaseCommands = {
    {"today"},
    {"yesterday"},
    {"this-week"},
    {"last-active-day"},
    {"recent", "--since", "2h"},
    {"range", "--from", "2026-03-31", "--to", "2026-04-01"},
    {"search", "invoice"},
    {"search", "invoice", "--latest"},
    {"search", "node.js"},
    {"entities"},
    {"status", "--json"},
    {"support-context"},
};

// A day and a half of activity, one observation a minute, enough pages that
// a rewrite of every description spills out of a small page cache.
constexpr const char* kFixture = R"SQL(
WITH RECURSIVE minute(n) AS (SELECT 0 UNION ALL SELECT n + 1 FROM minute WHERE n < 1999)
INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at)
SELECT printf('O-%04d', n), 'visual', 1775037600.0 - 60 * n,
       printf('Drafting invoice %d for the quarterly report in Pages, checking totals and the ' ||
              'customer address before sending it out by mail', n),
       '["Pages","Mail"]', '2026-04-01T10:00:00Z'
FROM minute;
INSERT INTO observation_entities
SELECT printf('E-%04d', n), printf('O-%04d', n), 'app', 'Pages', 0.9, 1775037600.0 - 60 * n
FROM (WITH RECURSIVE minute(n) AS (SELECT 0 UNION ALL SELECT n + 1 FROM minute WHERE n < 1999)
      SELECT n FROM minute);
)SQL";

// A row written by a recorder that has not checkpointed it yet, the newest.
constexpr const char* kPendingRow =
    "INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at) VALUES "
    "('O-PENDING', 'visual', 1775037600.5, 'Pending invoice still in the log', '[]', "
    "'2026-04-01T10:00:00Z');";

// The bytes of a regular file; nothing for anything else (reading a pipe
// would wait for a writer).
std::optional<std::string> contentOf(const std::string& path) {
    if (!std::filesystem::is_regular_file(path)) return std::nullopt;
    std::ifstream file(path, std::ios::binary);
    if (!file) return std::nullopt;
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

// Header bytes 18 and 19: 1 for a rollback journal, 2 for write-ahead logging.
std::string journalModeBytes(const std::optional<std::string>& database) {
    if (!database || database->size() < 20) return "<no header>";
    return std::to_string(static_cast<int>((*database)[18])) + "/" +
           std::to_string(static_cast<int>((*database)[19]));
}

std::string commandLine(const std::vector<std::string>& words) {
    std::string line;
    for (const auto& word : words) line += (line.empty() ? "" : " ") + word;
    return line;
}

// What the recorder keeps beside its database, by content; absent files have
// no content.
struct RecorderFiles {
    std::optional<std::string> database;
    std::optional<std::string> log;
    std::optional<std::string> journal;
};

class ReadOnlyDatabaseTest : public ::testing::Test {
protected:
    void SetUp() override {
        home_.varnholtDirectory();
        createFixtureDatabase(path(), kFixture);
    }

    std::string path() const { return home_.databasePath(); }

    RecorderFiles files() const {
        return {contentOf(path()), contentOf(path() + "-wal"), contentOf(path() + "-journal")};
    }

    static InvocationOptions frozen(bool unprivileged = false) {
        InvocationOptions options;
        options.frozenTime = kNow;
        options.unprivileged = unprivileged;
        return options;
    }

    // Writes the pending row the way a recorder that stops without closing
    // leaves it: in the write-ahead log, with its index, not checkpointed.
    void writePendingRow() const {
        sqlite3* handle = VarnholtSampleData::openWritableDatabase(path());
        sqlite3_db_config(handle, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
        try {
            VarnholtSampleData::execWritable(handle, "PRAGMA wal_autocheckpoint = 0;");
            VarnholtSampleData::execWritable(handle, kPendingRow);
        } catch (...) {
            sqlite3_close(handle);
            throw;
        }
        sqlite3_close(handle);
        ASSERT_GT(std::filesystem::file_size(path() + "-wal"), 0u);
    }

    // The files left by a recorder that died in the middle of a transaction
    // in rollback-journal mode: changed pages already in the database, their
    // originals in a hot journal that no process holds a lock on.
    void leaveHotJournal() const {
        sqlite3* handle = VarnholtSampleData::openWritableDatabase(path());
        const std::string database = path(), copy = path() + ".crashed";
        try {
            VarnholtSampleData::execWritable(handle, "PRAGMA journal_mode = DELETE;");
            VarnholtSampleData::execWritable(handle,
                                             "PRAGMA cache_size = 2; BEGIN; UPDATE observations "
                                             "SET vlm_description = vlm_description || ' again';");
            std::filesystem::copy_file(database, copy);
            std::filesystem::copy_file(database + "-journal", copy + "-journal");
            VarnholtSampleData::execWritable(handle, "ROLLBACK;");
        } catch (...) {
            sqlite3_close(handle);
            throw;
        }
        sqlite3_close(handle);
        std::filesystem::rename(copy, database);
        std::filesystem::rename(copy + "-journal", database + "-journal");
    }

    // The database's files are unchanged from `before`. A log that did not
    // exist may now exist empty: a reader of a WAL database opens the log
    // and its index, creating them when the recorder removed them on a clean
    // exit, and an empty log holds nothing.
    void expectUnchanged(const RecorderFiles& before, const std::string& label) const {
        const RecorderFiles after = files();
        EXPECT_TRUE(after.database == before.database) << label << ": the database changed";
        if (before.log) {
            EXPECT_TRUE(after.log == before.log) << label << ": the log changed";
        } else {
            EXPECT_TRUE(!after.log || after.log->empty()) << label << ": a log was written";
        }
        EXPECT_TRUE(after.journal == before.journal) << label << ": the journal changed";
        EXPECT_EQ(journalModeBytes(after.database), journalModeBytes(before.database)) << label;
    }

    // Runs every database command; each answers and leaves the files alone.
    // Returns what `search invoice --latest` printed.
    std::string expectEveryCommandAnswersAndWritesNothing(const InvocationOptions& options) const {
        std::string latest;
        for (const auto& command : kDatabaseCommands) {
            const RecorderFiles before = files();
            const ProcessResult result = home_.run(command, options);
            EXPECT_EQ(result.exitStatus, 0) << commandLine(command) << "\n" << result.standardOutput
                                            << result.standardError;
            expectUnchanged(before, commandLine(command));
            if (commandLine(command) == "search invoice --latest") latest = result.standardOutput;
        }
        return latest;
    }

    // Runs every database command; each fails with the same envelope and
    // leaves the files alone.
    void expectEveryCommandFails(const std::string& code, const std::string& message,
                                 const InvocationOptions& options) const {
        for (const auto& command : kDatabaseCommands) {
            const RecorderFiles before = files();
            const ProcessResult result = home_.run(command, options);
            EXPECT_EQ(result.exitStatus, 1) << commandLine(command);
            EXPECT_EQ(result.standardOutput, errorEnvelope(code, message)) << commandLine(command);
            EXPECT_EQ(result.standardError, "") << commandLine(command);
            expectUnchanged(before, commandLine(command));
        }
    }

    // Makes the home reachable for the unprivileged user; `owner` gets the
    // recorder's directory, the files stay root's unless chowned later.
    void openHomeTo(uid_t owner) const {
        ASSERT_EQ(chmod(home_.path().c_str(), 0755), 0);
        ASSERT_EQ(chown(home_.varnholtDirectory().c_str(), owner, owner), 0);
    }

    static bool canRunUnprivileged() { return geteuid() == 0; }

    TemporaryHome home_;
};

bool mentionsPendingRow(const std::string& output) {
    return output.find("\"observation_id\" : \"O-PENDING\"") != std::string::npos;
}

}  // namespace

TEST_F(ReadOnlyDatabaseTest, ACleanlyClosedDatabaseIsOnlyRead) {
    ASSERT_FALSE(std::filesystem::exists(path() + "-wal"));
    expectEveryCommandAnswersAndWritesNothing(frozen());
}

TEST_F(ReadOnlyDatabaseTest, APendingLogOfAStoppedRecorderStaysPending) {
    writePendingRow();
    const std::string latest = expectEveryCommandAnswersAndWritesNothing(frozen());
    // The answer comes from the log as well.
    EXPECT_TRUE(mentionsPendingRow(latest)) << latest;
}

TEST_F(ReadOnlyDatabaseTest, APendingLogWithoutItsIndexStaysPending) {
    writePendingRow();
    ASSERT_TRUE(std::filesystem::remove(path() + "-shm"));
    const std::string latest = expectEveryCommandAnswersAndWritesNothing(frozen());
    EXPECT_TRUE(mentionsPendingRow(latest)) << latest;
}

TEST_F(ReadOnlyDatabaseTest, TheLogOfAConnectedAndThenKilledRecorderIsLeftAlone) {
    SQLiteShellProcess recorder(path(),
                                std::string("PRAGMA wal_autocheckpoint = 0;\n") + kPendingRow +
                                    "\nSELECT 'written';\n",
                                "written");
    std::string latest = expectEveryCommandAnswersAndWritesNothing(frozen());
    EXPECT_TRUE(mentionsPendingRow(latest)) << latest;

    recorder.kill();
    ASSERT_GT(std::filesystem::file_size(path() + "-wal"), 0u);
    latest = expectEveryCommandAnswersAndWritesNothing(frozen());
    EXPECT_TRUE(mentionsPendingRow(latest)) << latest;
}

TEST_F(ReadOnlyDatabaseTest, ARollbackJournalDatabaseKeepsItsJournalMode) {
    writeToDatabase(path(), "PRAGMA journal_mode = DELETE;");
    ASSERT_EQ(journalModeBytes(files().database), "1/1");
    expectEveryCommandAnswersAndWritesNothing(frozen());
    EXPECT_EQ(journalModeBytes(files().database), "1/1");
    EXPECT_FALSE(std::filesystem::exists(path() + "-wal"));
}

TEST_F(ReadOnlyDatabaseTest, AHotJournalIsLeftForTheRecorderToRollBack) {
    leaveHotJournal();
    ASSERT_GT(std::filesystem::file_size(path() + "-journal"), 0u);
    // Reading would mean rolling the journal back into the database first,
    // which only a writer may do.
    expectEveryCommandFails("UNKNOWN_ERROR",
                            "The recorder's last write was interrupted: its rollback journal must be "
                            "played back before the database can be read, and this tool only reads. "
                            "Starting the recorder recovers the database; then try again.",
                            frozen());
}

TEST_F(ReadOnlyDatabaseTest, SymbolicLinksInALoopAreNamedAsTheReason) {
    const std::string loop = home_.varnholtDirectory() + "/loop.db";
    std::filesystem::remove(path());
    std::filesystem::create_symlink("loop.db", path());
    std::filesystem::create_symlink("varnholt.db", loop);
    const std::string expected = errorEnvelope(
        "DB_NOT_FOUND", "Database not found at " + escapedSlashes(path()) +
                            ": its symbolic links lead in a loop. Point the link at the recorder's database.");
    for (const auto& command : kDatabaseCommands) {
        const ProcessResult result = home_.run(command, frozen());
        EXPECT_EQ(result.exitStatus, 1) << commandLine(command);
        EXPECT_EQ(result.standardOutput, expected) << commandLine(command);
    }
    // Nothing was created beside the links.
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(home_.varnholtDirectory())) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"loop.db", "varnholt.db"}));
}

TEST_F(ReadOnlyDatabaseTest, AnEmptyFileIsSchemaZeroAndTheLogBesideItStays) {
    std::filesystem::resize_file(path(), 0);
    std::filesystem::remove(path() + "-shm");
    std::ofstream(path() + "-wal", std::ios::binary) << "a log that belongs to nobody we know";
    expectEveryCommandFails("SCHEMA_MISMATCH", "Database schema version 0, expected >= 24",
                            frozen());
    EXPECT_EQ(contentOf(path() + "-wal"), "a log that belongs to nobody we know");
}

TEST_F(ReadOnlyDatabaseTest, ADirectoryOrAPipeIsNoDatabase) {
    std::filesystem::remove(path());
    ASSERT_TRUE(std::filesystem::create_directory(path()));
    expectEveryCommandFails("DB_NOT_FOUND", "unable to open database file", frozen());

    std::filesystem::remove(path());
    // Opening a pipe for reading would wait for a writer forever.
    ASSERT_EQ(mkfifo(path().c_str(), 0644), 0);
    expectEveryCommandFails("DB_NOT_FOUND", "unable to open database file", frozen());
}

TEST_F(ReadOnlyDatabaseTest, ReadOnlyFilesAreNotWrittenEvenWhenPermissionsWouldAllowIt) {
    // As root, modes do not stop a write; the tool must not try one.
    writePendingRow();
    ASSERT_EQ(chmod(path().c_str(), 0444), 0);
    ASSERT_EQ(chmod(home_.varnholtDirectory().c_str(), 0555), 0);
    const std::string latest = expectEveryCommandAnswersAndWritesNothing(frozen());
    EXPECT_TRUE(mentionsPendingRow(latest)) << latest;
    chmod(home_.varnholtDirectory().c_str(), 0755);
}

TEST_F(ReadOnlyDatabaseTest, AnUnprivilegedUserOwningTheFilesWritesNothing) {
    if (!canRunUnprivileged()) GTEST_SKIP() << "needs root to run as another user";
    writePendingRow();
    openHomeTo(TemporaryHome::kUnprivilegedUserId);
    for (const std::string suffix : {"", "-wal", "-shm"}) {
        ASSERT_EQ(chown((path() + suffix).c_str(), TemporaryHome::kUnprivilegedUserId,
                        TemporaryHome::kUnprivilegedUserId),
                  0);
    }
    const std::string latest = expectEveryCommandAnswersAndWritesNothing(frozen(true));
    EXPECT_TRUE(mentionsPendingRow(latest)) << latest;
}

TEST_F(ReadOnlyDatabaseTest, AReadOnlyDatabaseFileIsReadByAnUnprivilegedUser) {
    if (!canRunUnprivileged()) GTEST_SKIP() << "needs root to run as another user";
    // The directory is the user's, the files are root's and only readable:
    // the log's index cannot be written, so SQLite reads the log into the
    // reader's own memory instead, and the pending row is still found.
    writePendingRow();
    openHomeTo(TemporaryHome::kUnprivilegedUserId);
    ASSERT_EQ(chmod(path().c_str(), 0444), 0);
    const std::string latest = expectEveryCommandAnswersAndWritesNothing(frozen(true));
    EXPECT_TRUE(mentionsPendingRow(latest)) << latest;
}

TEST_F(ReadOnlyDatabaseTest, AReadOnlyDirectoryIsReadByAnUnprivilegedUser) {
    if (!canRunUnprivileged()) GTEST_SKIP() << "needs root to run as another user";
    writePendingRow();
    openHomeTo(0);
    const std::string latest = expectEveryCommandAnswersAndWritesNothing(frozen(true));
    EXPECT_TRUE(mentionsPendingRow(latest)) << latest;
}

TEST_F(ReadOnlyDatabaseTest, ALogWeMayNotReadIsNamed) {
    if (!canRunUnprivileged()) GTEST_SKIP() << "needs root to run as another user";
    // The recorder's files are root's: the database may be read by all, its
    // log only by root, as when the recorder runs as another user.
    writePendingRow();
    openHomeTo(TemporaryHome::kUnprivilegedUserId);
    ASSERT_EQ(chmod((path() + "-wal").c_str(), 0600), 0);
    expectEveryCommandFails("UNKNOWN_ERROR",
                            "Cannot read " + escapedSlashes(path()) +
                                "-wal, the recorder's write-ahead log, which holds its latest writes: "
                                "Permission denied. Run this tool as the user the recorder runs as.",
                            frozen(true));
    // An unreadable database is SQLite's to report, as before.
    ASSERT_EQ(chmod((path() + "-wal").c_str(), 0644), 0);
    ASSERT_EQ(chmod(path().c_str(), 0600), 0);
    expectEveryCommandFails("DB_NOT_FOUND", "unable to open database file", frozen(true));
}

TEST_F(ReadOnlyDatabaseTest, ALogThatCannotBeIndexedInAReadOnlyDirectoryIsReportedAsToday) {
    if (!canRunUnprivileged()) GTEST_SKIP() << "needs root to run as another user";
    // Without its index, and with no right to create one, SQLite cannot read
    // the log; without a log, it cannot create an empty one. Both are
    // reported as before the tool was read-only.
    writePendingRow();
    openHomeTo(0);
    ASSERT_TRUE(std::filesystem::remove(path() + "-shm"));
    expectEveryCommandFails("UNKNOWN_ERROR", "unable to open database file", frozen(true));

    ASSERT_TRUE(std::filesystem::remove(path() + "-wal"));
    expectEveryCommandFails("UNKNOWN_ERROR", "attempt to write a readonly database", frozen(true));
}

}  // namespace read_only_database_test
