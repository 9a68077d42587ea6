#include "support_context/SQLiteSupportContextQuery.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "DatabaseError.h"
#include "RecorderSchema.h"
#include "SQLiteReadConnection.h"
#include "StatementLog.h"
#include "TemporaryDirectory.h"

using namespace VarnholtQueryLib;
using VarnholtSQLiteSupport::DatabaseError;
using VarnholtSQLiteSupport::SQLiteReadConnection;
using VarnholtTestSupport::StatementChoice;
using VarnholtTestSupport::StatementLog;

namespace {

// Frames F1 (09:00:00.5) and F2 with a NULL-free time; observations that use
// them, one without a frame, one pointing at a pruned frame, and one outside
// the window.
constexpr const char* kFixture = R"SQL(
INSERT INTO frames (id, display_id, captured_at, timestamp, image_path, analyzed) VALUES
  ('F1', '1', '2026-04-01T09:00:00Z', 1775034000.5, '/f/1.png', 1),
  ('F2', '1', '2026-04-01T09:30:00Z', 1775035800.0, '/f/2.png', 1);
INSERT INTO observations (id, frame_id, type, timestamp, vlm_description, apps, created_at) VALUES
  ('O1', 'F1', 'visual', 1775000000.0, 'Reviewing a pull request', '["GitHub Desktop","Safari"]', 'x'),
  ('O2', NULL, 'visual', 1775036400.25, NULL, NULL, 'x'),
  ('O3', 'PRUNED', 'visual', 1775035000.0, '  Writing the release notes  ', '{"not":"a list"}', 'x'),
  ('O4', 'F2', 'visual', 1775035800.0, 'Debugging the importer', '[]', 'x'),
  ('O5', NULL, 'visual', 1775020000.0, 'Long ago', '["Mail"]', 'x');
)SQL";

class SQLiteSupportContextQueryTest : public ::testing::TestWithParam<StatementChoice> {
protected:
    void SetUp() override {
        sqlite3* handle = VarnholtSampleData::openWritableDatabase(path_);
        VarnholtSampleData::createRecorderSchema(handle);
        VarnholtSampleData::execWritable(handle, kFixture);
        sqlite3_close(handle);
    }
    std::vector<SupportContextObservation> since(double instant) {
        SQLiteReadConnection connection(path_);
        SQLiteSupportContextQuery query(connection,
                                        VarnholtTestSupport::indexesFor(GetParam(), connection.handle()));
        StatementLog log(connection.handle());
        auto rows = query.findRecentObservations(instant);
        EXPECT_EQ(log.ran(SQLiteSupportContextQuery::kStatement), GetParam() == StatementChoice::literal);
        return rows;
    }

    VarnholtTestSupport::TemporaryDirectory directory_;
    std::string path_ = directory_.file("varnholt.db");
};

}  // namespace

TEST_P(SQLiteSupportContextQueryTest, NewestFirstDatedByFrameElseOwnTime) {
    const std::vector<SupportContextObservation> expected = {
        {1775036400.25, "", {}},                                               // O2: own time, NULLs
        {1775035800.0, "Debugging the importer", {}},                          // O4: frame F2
        {1775035000.0, "  Writing the release notes  ", {}},                   // O3: pruned frame
        {1775034000.5, "Reviewing a pull request", {"GitHub Desktop", "Safari"}},  // O1: frame F1
    };
    EXPECT_EQ(since(1775030000.0), expected);
}

TEST_P(SQLiteSupportContextQueryTest, WindowStartIsInclusiveAndUsesTheEffectiveTime) {
    // O1's own time is far older, but its frame's time is in the window.
    const auto rows = since(1775034000.5);
    ASSERT_EQ(rows.size(), 4u);
    EXPECT_EQ(rows.back().vlmDescription, "Reviewing a pull request");
    EXPECT_EQ(since(1775034000.75).size(), 3u);
}

TEST_P(SQLiteSupportContextQueryTest, NothingInTheWindowGivesNoRows) {
    EXPECT_TRUE(since(1775040000.0).empty());
}

TEST_P(SQLiteSupportContextQueryTest, ReturnsEveryRowWithoutALimit) {
    sqlite3* handle = VarnholtSampleData::openWritableDatabase(path_);
    std::string inserts = "BEGIN;\n";
    for (int i = 0; i < 250; ++i) {
        inserts += "INSERT INTO observations (id, type, timestamp, vlm_description, created_at) "
                   "VALUES ('R" + std::to_string(i) + "', 'visual', " +
                   std::to_string(1775037000 + i) + ", 'Same', 'x');\n";
    }
    inserts += "COMMIT;\n";
    VarnholtSampleData::execWritable(handle, inserts);
    sqlite3_close(handle);
    EXPECT_EQ(since(1775037000.0).size(), 250u);
}

TEST_P(SQLiteSupportContextQueryTest, ATimeOfTextOrBlobIsNoTime) {
    // Text sorts after every number, so it used to be inside a window open
    // at the top, and newest. O6's frame time is text: its own time dates it.
    sqlite3* handle = VarnholtSampleData::openWritableDatabase(path_);
    VarnholtSampleData::execWritable(handle, R"SQL(
INSERT INTO frames (id, display_id, captured_at, timestamp, image_path, analyzed) VALUES
  ('F-TEXT', '1', 'x', 'pending', '/f/t.png', 1);
INSERT INTO observations (id, frame_id, type, timestamp, vlm_description, apps, created_at) VALUES
  ('O6', 'F-TEXT', 'visual', 1775036000.0, 'Dated by itself', '[]', 'x'),
  ('O7', NULL, 'visual', '2026-04-01T10:00:00Z', 'Text time', '[]', 'x'),
  ('O8', 'F-TEXT', 'visual', x'00', 'No time at all', '[]', 'x');
)SQL");
    sqlite3_close(handle);
    const std::vector<SupportContextObservation> expected = {
        {1775036400.25, "", {}},
        {1775036000.0, "Dated by itself", {}},
        {1775035800.0, "Debugging the importer", {}},
    };
    EXPECT_EQ(since(1775035800.0), expected);
}

TEST_P(SQLiteSupportContextQueryTest, MissingTableIsAQueryFailure) {
    sqlite3* handle = VarnholtSampleData::openWritableDatabase(path_);
    VarnholtSampleData::execWritable(handle, "DROP TABLE frames;");
    sqlite3_close(handle);
    try {
        since(0);
        FAIL() << "expected a DatabaseError";
    } catch (const DatabaseError& error) {
        EXPECT_EQ(error.errorCase(), DatabaseError::Case::queryFailed);
        EXPECT_EQ(error.message(), "no such table: frames");
    }
}

INSTANTIATE_TEST_SUITE_P(BothStatements, SQLiteSupportContextQueryTest,
                         ::testing::Values(StatementChoice::literal, StatementChoice::indexed),
                         [](const auto& info) { return VarnholtTestSupport::nameOf(info.param); });
