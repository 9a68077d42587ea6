#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "TemporaryHome.h"
#include "TestPrograms.h"
#include "FileBytes.h"

using namespace VarnholtTestSupport;

namespace {

// Wednesday 2026-04-01 16:00:00 UTC.
const std::string kEndText = "1775059200";
constexpr const char* kUsagePrefix = "Usage: varnholt-sample-db [--days N]";

ProcessResult runGenerator(const TemporaryHome& home, const std::vector<std::string>& arguments) {
    return home.runProgram(kSampleDbBinary, arguments);
}

using VarnholtTestSupport::fileBytes;

// The first row of `sql` in the database at `path`, columns joined by '|'.
std::string firstRow(const std::string& path, const std::string& sql) {
    sqlite3* handle = nullptr;
    sqlite3_open_v2(path.c_str(), &handle, SQLITE_OPEN_READONLY, nullptr);
    sqlite3_stmt* statement = nullptr;
    std::string row = "<no row>";
    if (sqlite3_prepare_v2(handle, sql.c_str(), -1, &statement, nullptr) == SQLITE_OK &&
        sqlite3_step(statement) == SQLITE_ROW) {
        row.clear();
        for (int column = 0; column < sqlite3_column_count(statement); ++column) {
            if (column > 0) row += '|';
            const auto* text = sqlite3_column_text(statement, column);
            row += text != nullptr ? reinterpret_cast<const char*>(text) : "NULL";
        }
    }
    sqlite3_finalize(statement);
    sqlite3_close(handle);
    return row;
}

}  // namespace

TEST(VarnholtSampleDbCommandTest, WritesADatabaseAtThePathGiven) {
    TemporaryHome home;
    const std::string path = home.path() + "/sample.db";
    const ProcessResult result = runGenerator(home, {"--days", "2", "--seed", "9", "--end", kEndText, path});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardError,
              "Created a sample recorder database with 2 days of activity at " + path + "\n");
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_EQ(firstRow(path, "PRAGMA user_version"), "24");
    EXPECT_EQ(firstRow(path, "SELECT max(timestamp) <= " + kEndText +
                                 ", count(DISTINCT date(timestamp, 'unixepoch')) "
                                 "FROM frames"),
              "1|2");
}

TEST(VarnholtSampleDbCommandTest, WorkingHoursFollowTheTimeZone) {
    TemporaryHome home;
    InvocationOptions brisbane;
    brisbane.timeZone = "Australia/Brisbane";  // UTC+10 all year
    const std::string path = home.path() + "/brisbane.db";
    ASSERT_EQ(home.runProgram(kSampleDbBinary, {"--days", "3", "--end", kEndText, path}, brisbane).exitStatus,
              0);
    // The end is 02:00 in Brisbane; before the session that runs until it,
    // all work falls between 08:00 and 19:00 there, which is the UTC night.
    EXPECT_EQ(firstRow(path, "SELECT count(*) FROM frames WHERE timestamp < " + kEndText +
                                 " - 7200 AND strftime('%H', timestamp + 36000, 'unixepoch') "
                                 "NOT BETWEEN '08' AND '18'"),
              "0");
    EXPECT_NE(firstRow(path, "SELECT count(*) FROM frames WHERE strftime('%H', timestamp, 'unixepoch') < '08'"),
              "0");
}

TEST(VarnholtSampleDbCommandTest, RefusesToOverwriteAnExistingFile) {
    TemporaryHome home;
    const std::string path = home.path() + "/important.db";
    home.writeFile("important.db", "keep me\n");
    const ProcessResult result = runGenerator(home, {"--days", "1", "--end", kEndText, path});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardError, "varnholt-sample-db: Refusing to overwrite existing file " + path + "\n");
    EXPECT_EQ(fileBytes(path), "keep me\n");
}

TEST(VarnholtSampleDbCommandTest, DefaultLocationCreatesTheDatabaseOnceAndThenLeavesItAlone) {
    TemporaryHome home;
    const std::string path = home.databasePath();
    ASSERT_FALSE(std::filesystem::exists(home.path() + "/.varnholt"));

    const ProcessResult first = runGenerator(home, {"--default-location", "--days", "1", "--end", kEndText});
    EXPECT_EQ(first.exitStatus, 0);
    EXPECT_EQ(first.standardError,
              "Created a sample recorder database with 1 day of activity at " + path + "\n");
    ASSERT_TRUE(std::filesystem::exists(path));
    // The home came from the password database, not from $HOME.
    EXPECT_EQ(firstRow(path, "SELECT count(*) = 0 FROM frames WHERE image_path NOT LIKE '" + home.path() +
                                 "/.varnholt/frames/2026-04-01/%.jpg'"),
              "1");
    const std::string before = fileBytes(path);

    const ProcessResult second = runGenerator(home, {"--default-location", "--days", "3", "--end", kEndText});
    EXPECT_EQ(second.exitStatus, 0);
    EXPECT_EQ(second.standardError, "Recorder database exists at " + path + "; left untouched\n");
    EXPECT_EQ(fileBytes(path), before);
}

TEST(VarnholtSampleDbCommandTest, BadArgumentsPrintUsageAndCreateNothing) {
    TemporaryHome home;
    const std::string path = home.path() + "/x.db";
    const std::vector<std::vector<std::string>> cases = {
        {},
        {"--days", "0", path},
        {"--days", "many", path},
        {"--seed", "-1", path},
        {"--end", "yesterday", path},
        {path, "--days"},
        {"--default-location", path},
        {"--frobnicate", path},
        {path, home.path() + "/y.db"},
    };
    for (const auto& arguments : cases) {
        const ProcessResult result = runGenerator(home, arguments);
        std::string shown;
        for (const auto& argument : arguments) shown += argument + " ";
        EXPECT_EQ(result.exitStatus, 2) << shown;
        EXPECT_EQ(result.standardError.rfind(kUsagePrefix, 0), 0u) << shown << result.standardError;
        EXPECT_FALSE(std::filesystem::exists(path)) << shown;
    }
    EXPECT_FALSE(std::filesystem::exists(home.path() + "/.varnholt"));
}
