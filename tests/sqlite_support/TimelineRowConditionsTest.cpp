#include "TimelineRowConditions.h"

#include <sqlite3.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace VarnholtSQLiteSupport;

namespace {

// The ids of the rows of a small observations table that `conditions` keep,
// in id order.
std::vector<std::string> keptIds(const std::string& conditions) {
    sqlite3* handle = nullptr;
    EXPECT_EQ(sqlite3_open(":memory:", &handle), SQLITE_OK);
    const char* rows =
        "CREATE TABLE observations (id TEXT, vlm_description TEXT, recording_id TEXT);"
        "INSERT INTO observations VALUES"
        " ('a', 'Editing code', NULL), ('b', NULL, NULL), ('c', '', NULL), ('d', '   ', ''),"
        " ('e', 'Reading mail', ''), ('f', 'In a call', 'rec-1'), ('g', ' x ', NULL), ('h', NULL, 'rec-2');";
    EXPECT_EQ(sqlite3_exec(handle, rows, nullptr, nullptr, nullptr), SQLITE_OK);
    std::vector<std::string> ids;
    const std::string query = "SELECT id FROM observations o WHERE " + conditions + " ORDER BY id";
    sqlite3_stmt* statement = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(handle, query.c_str(), -1, &statement, nullptr), SQLITE_OK) << query;
    while (sqlite3_step(statement) == SQLITE_ROW) {
        ids.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(statement, 0)));
    }
    sqlite3_finalize(statement);
    sqlite3_close(handle);
    return ids;
}

}  // namespace

TEST(TimelineRowConditionsTest, AUsableDescriptionIsNotBlank) {
    EXPECT_EQ(keptIds(kUsableDescription), (std::vector<std::string>{"a", "e", "f", "g"}));
}

TEST(TimelineRowConditionsTest, NoSeparateRecordingIsNullOrEmpty) {
    EXPECT_EQ(keptIds(kNoSeparateRecording), (std::vector<std::string>{"a", "b", "c", "d", "e", "g"}));
}

TEST(TimelineRowConditionsTest, TheTimelinesRowsMeetBoth) {
    EXPECT_EQ(keptIds(std::string(kUsableDescription) + " AND " + kNoSeparateRecording),
              (std::vector<std::string>{"a", "e", "g"}));
}
