#include "EffectiveTimeWindow.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <string>
#include <vector>

#include "NamedParameters.h"
#include "RecorderSchema.h"
#include "SQLiteStatement.h"

using namespace VarnholtSQLiteSupport;

namespace {

// Frames with and without time, one with text and one with a BLOB for a
// time; observations of them, of pruned frames and of none, in every
// recording group, two with text or a BLOB for their own time.
constexpr const char* kRows = R"SQL(
CREATE TABLE frames (id TEXT PRIMARY KEY, timestamp REAL);
CREATE TABLE observations (id TEXT PRIMARY KEY, recording_id TEXT, frame_id TEXT, timestamp REAL);
CREATE INDEX frames_time ON frames(timestamp);
CREATE INDEX observations_frame ON observations(frame_id);
CREATE INDEX observations_recording_time ON observations(recording_id, timestamp);
INSERT INTO frames VALUES ('F10', 10), ('F20', 20), ('F30', 30), ('FNULL', NULL), ('FTEXT', 'later'), ('FBLOB', x'00');
INSERT INTO observations VALUES
  ('a', NULL, 'F10', 10), ('b', NULL, 'F20', 99), ('c', '', 'F30', 1), ('d', 'R', 'F20', 20),
  ('e', NULL, 'FNULL', 15), ('f', 'R', 'FNULL', 40), ('g', NULL, 'GONE', 25), ('h', '', NULL, 5),
  ('i', 'S', NULL, 30), ('j', NULL, 'FTEXT', 12), ('k', NULL, 'F10', 10), ('l', 'R', 'GONE', 'text'),
  ('m', NULL, 'FBLOB', 17), ('n', '', NULL, x'01');
)SQL";

class EffectiveTimeWindowTest : public ::testing::Test {
protected:
    void SetUp() override {
        sqlite3_open(":memory:", &handle_);
        VarnholtSampleData::execWritable(handle_, kRows);
    }
    void TearDown() override { sqlite3_close(handle_); }

    // "id time" of each row of `sql` with the window bound, sorted.
    std::vector<std::string> rows(const std::string& sql, const WindowBounds& bounds, double from, double to) {
        sqlite3_stmt* statement = prepareStatement(handle_, sql);
        FinalizeOnExit finalize(statement);
        if (bounds.from) bindNamedDouble(statement, ":from", from);
        if (bounds.to) bindNamedDouble(statement, ":to", to);
        std::vector<std::string> found;
        stepRows(handle_, statement, [&](sqlite3_stmt* row) {
            found.push_back(columnText(row, 0) + " " + columnOptionalText(row, 1).value_or("NULL"));
        });
        std::sort(found.begin(), found.end());
        return found;
    }

    // The rows the literal statements filter: the LEFT JOIN by effective time.
    std::vector<std::string> literalRows(const WindowBounds& bounds, double from, double to) {
        return rows(std::string("SELECT o.id, ") + kEffectiveTime +
                        " FROM observations o LEFT JOIN frames f ON o.frame_id = f.id WHERE " +
                        windowCondition(kEffectiveTime, bounds),
                    bounds, from, to);
    }

    std::vector<std::string> windowRows(const WindowBounds& bounds, double from, double to,
                                        FramedCandidates framed = FramedCandidates::windowFrameList) {
        WindowSelect select;
        select.columns = "o.id, {time}";
        select.bounds = bounds;
        select.framedCandidates = framed;
        return rows(everyRecordingWindow("window", select) + "    SELECT * FROM window", bounds, from, to);
    }

    sqlite3* handle_ = nullptr;
};

}  // namespace

TEST_F(EffectiveTimeWindowTest, ThePartsHoldExactlyTheRowsOfTheLeftJoinWithTheirTimes) {
    for (const auto& [from, to] : std::vector<std::pair<double, double>>{
             {0, 100}, {10, 10}, {11, 29}, {20, 40}, {-1e9, 1e9}, {50, 60}, {15, 15}}) {
        SCOPED_TRACE(std::to_string(from) + ".." + std::to_string(to));
        EXPECT_EQ(windowRows({true, true}, from, to), literalRows({true, true}, from, to));
        EXPECT_EQ(windowRows({true, false}, from, to), literalRows({true, false}, from, to));
        EXPECT_EQ(windowRows({false, true}, from, to), literalRows({false, true}, from, to));
    }
    // j's frame has text for a time and m's a BLOB: their own 12 and 17
    // date them. l and n have no time at all, and no window holds them, not
    // even one open at the top (text and BLOBs sort after every number).
    EXPECT_EQ(windowRows({true, true}, 10, 20),
              (std::vector<std::string>{"a 10.0", "b 20.0", "d 20.0", "e 15.0", "j 12.0", "k 10.0", "m 17.0"}));
    EXPECT_EQ(windowRows({true, false}, 1e9, 0), std::vector<std::string>{});
    EXPECT_EQ(literalRows({true, false}, 1e9, 0), std::vector<std::string>{});
}

TEST_F(EffectiveTimeWindowTest, FramedCandidatesFoundByTheirOwnTimeGiveTheSameRows) {
    for (const auto& [from, to] : std::vector<std::pair<double, double>>{
             {0, 100}, {10, 10}, {11, 29}, {20, 40}, {-1e9, 1e9}, {50, 60}, {15, 15}}) {
        SCOPED_TRACE(std::to_string(from) + ".." + std::to_string(to));
        for (const WindowBounds bounds : {WindowBounds{true, true}, WindowBounds{true, false}, WindowBounds{false, true}}) {
            EXPECT_EQ(windowRows(bounds, from, to, FramedCandidates::frameAtOwnTime), literalRows(bounds, from, to));
        }
    }
    WindowSelect select;
    select.columns = "o.id";
    select.bounds = {true, true};
    select.framedCandidates = FramedCandidates::frameAtOwnTime;
    const std::string sql = selfDatedRows(select, "o.recording_id IS NULL");
    EXPECT_NE(sql.find("NOT EXISTS (SELECT 1 FROM frames s WHERE s.timestamp = o.timestamp AND +s.id = o.frame_id)"),
              std::string::npos);
    EXPECT_EQ(sql.find("NOT IN"), std::string::npos);
}

TEST_F(EffectiveTimeWindowTest, OnePartPerRecordingValueWhenAskedForOne) {
    WindowSelect select;
    select.columns = "o.id, {time}";
    select.bounds = {true, true};
    EXPECT_EQ(rows(selfDatedRows(select, "o.recording_id = ''"), select.bounds, 0, 100),
              (std::vector<std::string>{"h 5.0"}));
    EXPECT_EQ(rows(frameDatedRows(select), select.bounds, 0, 100),
              (std::vector<std::string>{"a 10.0", "b 20.0", "c 30.0", "d 20.0", "k 10.0"}));
}

TEST_F(EffectiveTimeWindowTest, ConditionsNameOnlyThePresentBounds) {
    EXPECT_EQ(windowCondition("f.timestamp", {true, true}), "f.timestamp >= :from AND f.timestamp <= :to");
    // Open at the top, the window keeps only numbers.
    EXPECT_EQ(windowCondition("t", {true, false}), "t >= :from AND t < ''");
    EXPECT_EQ(windowCondition("t", {false, true}), "t <= :to");
}

TEST_F(EffectiveTimeWindowTest, TheRecordersIndexesServeTheWindow) {
    sqlite3* recorder = nullptr;
    sqlite3_open(":memory:", &recorder);
    VarnholtSampleData::createRecorderTables(recorder);
    EXPECT_FALSE(servesEffectiveTimeWindows(IndexCatalogue::read(recorder)));
    VarnholtSampleData::completeRecorderSchema(recorder);
    EXPECT_TRUE(servesEffectiveTimeWindows(IndexCatalogue::read(recorder)));
    VarnholtSampleData::execWritable(recorder, "DROP INDEX idx_observations_recording_timestamp");
    EXPECT_FALSE(servesEffectiveTimeWindows(IndexCatalogue::read(recorder)));
    sqlite3_close(recorder);
}
