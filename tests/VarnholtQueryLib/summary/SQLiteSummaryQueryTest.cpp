#include "summary/SQLiteSummaryQuery.h"

#include <sqlite3.h>

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "FixtureDatabase.h"
#include "SQLiteObservationTimeline.h"
#include "SQLiteReadConnection.h"
#include "StatementLog.h"
#include "TemporaryDirectory.h"
#include "TestInstants.h"

namespace VarnholtQueryLib {
namespace {

using VarnholtSQLiteSupport::SQLiteReadConnection;
using VarnholtTestSupport::StatementChoice;
using VarnholtTestSupport::StatementLog;

// 2026-04-01T10:00:00Z.
using VarnholtTestSupport::kT;

// Records what a scan hands over.
class RecordingSink final : public ActivityRowSink {
public:
    void restart() override {
        ++restarts;
        rows.clear();
    }
    void add(ActivityRow row) override {
        if (!rows.empty() && row.time < rows.back().time) ADD_FAILURE() << "row " << row.id << " out of order";
        rows.push_back(std::move(row));
    }

    int restarts = 0;
    std::vector<ActivityRow> rows;
};

// Frames F1 (kT), F2 (kT + 60), a frame without a time (loose schema only),
// and observations: framed, frameless, of a pruned frame, blank, of a
// separate recording, with odd apps and entities.
constexpr const char* kRows = R"SQL(
    INSERT INTO frames (id, display_id, captured_at, timestamp, image_path, analyzed) VALUES
        ('F1', 'main', 'x', 1775037600.0, '/f1.png', 1),
        ('F2', 'main', 'x', 1775037660.0, '/f2.png', 1),
        ('F3', 'main', 'x', 1775037720.0, '/f3.png', 0),
        ('F4', 'main', 'x', 1775037780.0, '/f4.png', 2),
        ('F5', 'main', 'x', 1775037840.0, '/f5.png', 7),
        ('F6', 'main', 'x', 'pending', '/f6.png', 1),
        ('F7', 'main', 'x', 1775041200.0, '/f7.png', 0);
    INSERT INTO observations (id, recording_id, frame_id, type, timestamp, vlm_description, apps, created_at) VALUES
        ('A', NULL, 'F1', 'visual', 1775037601.0, 'Editing the parser', '["Xcode","xcode"]', 'x'),
        ('B', '', 'F2', 'visual', 1775037000.0, 'Reading mail', '["Mail"]', 'x'),
        ('C', NULL, NULL, 'visual', 1775037630.0, 'Frameless note', '{"app":"Mail"}', 'x'),
        ('D', NULL, 'F-PRUNED', 'visual', 1775037690.0, 'Pruned frame', NULL, 'x'),
        ('E', NULL, NULL, 'visual', 1775037640.0, '   ', '["Hidden"]', 'x'),
        ('G', 'rec-1', NULL, 'visual', 1775037650.0, 'Imported recording', '[]', 'x'),
        ('H', NULL, 'F6', 'visual', 1775037700.0, 'Frame without a number time', '["Slack",2]', 'x'),
        ('I', NULL, 'F2', 'visual', 1775037660.0, 'Same frame as B', '["Safari"]', 'x'),
        ('J', NULL, NULL, 'visual', 1775050000.0, 'Outside the range', '[]', 'x');
    INSERT INTO observation_entities (entity_id, observation_id, entity_kind, entity_value, confidence, created_at) VALUES
        ('e1', 'A', 'app', 'Xcode', 0.9, 0),
        ('e2', 'A', 'language', 'Swift', 0.9, 0),
        ('e3', 'C', 'app', 'Notes', 0.9, 0);
)SQL";

struct Row {
    std::string id;
    double time;
    std::vector<std::string> apps;
    std::vector<EntityPair> entities;

    bool operator==(const Row&) const = default;
};

class SQLiteSummaryQueryTest : public ::testing::TestWithParam<StatementChoice> {
protected:
    SQLiteSummaryQueryTest() { VarnholtTestSupport::createFixtureDatabase(path(), kRows); }

    std::string path() const { return directory_.file("varnholt.db"); }

    // The rows of [from, to] by time and id, and whether the literal
    // statement gave them.
    std::vector<Row> scan(double from, double to, RecordingSink& sink, const ActivityNeeds& needs = {}) {
        SQLiteReadConnection connection(path());
        SQLiteSummaryQuery query(connection, VarnholtTestSupport::indexesFor(GetParam(), connection.handle()));
        StatementLog log(connection.handle());
        query.scanActivity(from, to, needs, sink);
        const bool literal = GetParam() == StatementChoice::literal;
        EXPECT_EQ(log.ran(SQLiteSummaryQuery::kActivityStatement), literal && !needs.rowids);
        EXPECT_EQ(log.ran(SQLiteSummaryQuery::kActivityWithRowidStatement), literal && needs.rowids);
        std::vector<Row> rows;
        for (const ActivityRow& row : sink.rows) rows.push_back({row.id, row.time, row.apps, row.entities});
        std::sort(rows.begin(), rows.end(), [](const Row& a, const Row& b) {
            return a.time != b.time ? a.time < b.time : a.id < b.id;
        });
        return rows;
    }

private:
    VarnholtTestSupport::TemporaryDirectory directory_;
};

TEST(SQLiteSummaryQueryStatementTest, TheRowsAreTheTimelinesWithoutItsLimit) {
    std::string timeline = RecentWorkTimelineSQLite::SQLiteObservationTimeline::kStatement;
    const std::string limit = "        LIMIT ?\n";
    ASSERT_NE(timeline.find(limit), std::string::npos);
    timeline.erase(timeline.find(limit), limit.size());
    EXPECT_EQ(SQLiteSummaryQuery::kActivityStatement, timeline);
}

TEST_P(SQLiteSummaryQueryTest, ScansTheTimelinesRowsOfTheRange) {
    RecordingSink sink;
    const std::vector<Row> rows = scan(kT, kT + 3600, sink);
    EXPECT_EQ(sink.restarts, 1);
    EXPECT_EQ(rows, (std::vector<Row>{
                        {"A", kT, {"Xcode", "xcode"}, {{"app", "Xcode"}, {"language", "Swift"}}},
                        {"C", kT + 30, {}, {{"app", "Notes"}}},
                        {"B", kT + 60, {"Mail"}, {}},
                        {"I", kT + 60, {"Safari"}, {}},
                        {"D", kT + 90, {}, {}},
                        {"H", kT + 100, {}, {}},
                    }));
}

TEST(SQLiteSummaryQueryStatementTest, TheRowidStatementIsTheRowsStatementWithTheRowid) {
    std::string withRowid = SQLiteSummaryQuery::kActivityWithRowidStatement;
    for (const std::string added : {",\n               o.rowid AS rid", ", rid"}) {
        ASSERT_NE(withRowid.find(added), std::string::npos) << added;
        withRowid.erase(withRowid.find(added), added.size());
    }
    EXPECT_EQ(withRowid, SQLiteSummaryQuery::kActivityStatement);
}

TEST_P(SQLiteSummaryQueryTest, RowsCarryTheirRowidWhenAskedFor) {
    RecordingSink sink;
    const std::vector<Row> rows = scan(kT, kT + 3600, sink, {true});
    ASSERT_EQ(rows.size(), 6u);
    std::vector<std::pair<std::string, std::optional<std::int64_t>>> rowids;
    for (const ActivityRow& row : sink.rows) rowids.emplace_back(row.id, row.rowid);
    std::sort(rowids.begin(), rowids.end());
    EXPECT_EQ(rowids, (std::vector<std::pair<std::string, std::optional<std::int64_t>>>{
                          {"A", 1}, {"B", 2}, {"C", 3}, {"D", 4}, {"H", 7}, {"I", 8}}));
}

TEST_P(SQLiteSummaryQueryTest, RowsWithoutEntitiesWhenNoneAreNeeded) {
    RecordingSink sink;
    const std::vector<Row> rows = scan(kT, kT + 10, sink, {false, false});
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].apps, (std::vector<std::string>{"Xcode", "xcode"}));
    // The literal statement reads them anyway.
    EXPECT_EQ(rows[0].entities.empty(), GetParam() == StatementChoice::indexed);
}

TEST_P(SQLiteSummaryQueryTest, RowByRowOnlyTheRowsAskedForCarryTheirEntities) {
    RecordingSink sink;
    ActivityNeeds needs;
    std::vector<std::string> askedAbout;
    needs.entitiesFor = [&askedAbout](const ActivityRow& row) {
        askedAbout.push_back(row.id);
        // Asked before the entities are read, with the rest of the row.
        EXPECT_TRUE(row.entities.empty()) << row.id;
        return row.id == "A";
    };
    const std::vector<Row> rows = scan(kT, kT + 3600, sink, needs);
    const bool indexed = GetParam() == StatementChoice::indexed;
    // The literal statement reads every row's entities anyway.
    EXPECT_EQ(askedAbout.size(), indexed ? 6u : 0u);
    EXPECT_EQ(rows, (std::vector<Row>{
                        {"A", kT, {"Xcode", "xcode"}, {{"app", "Xcode"}, {"language", "Swift"}}},
                        {"C", kT + 30, {}, indexed ? std::vector<EntityPair>{} : std::vector<EntityPair>{{"app", "Notes"}}},
                        {"B", kT + 60, {"Mail"}, {}},
                        {"I", kT + 60, {"Safari"}, {}},
                        {"D", kT + 90, {}, {}},
                        {"H", kT + 100, {}, {}},
                    }));
}

TEST_P(SQLiteSummaryQueryTest, BothEndsOfTheRangeAreIncluded) {
    RecordingSink sink;
    const std::vector<Row> rows = scan(kT + 60, kT + 90, sink);
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(rows.front().id, "B");
    EXPECT_EQ(rows.back().id, "D");
}

TEST_P(SQLiteSummaryQueryTest, LiteralRowsCarryTheirDescriptionIndexedRowsTheirRowid) {
    RecordingSink sink;
    scan(kT, kT + 10, sink);
    ASSERT_EQ(sink.rows.size(), 1u);
    const ActivityRow& row = sink.rows.front();
    if (GetParam() == StatementChoice::literal) {
        EXPECT_EQ(row.description, "Editing the parser");
        EXPECT_EQ(row.sequence, 0);
    } else {
        EXPECT_EQ(row.description, std::nullopt);
        SQLiteReadConnection connection(path());
        SQLiteSummaryQuery query(connection, {});
        EXPECT_EQ(query.descriptionOf(row.sequence), "Editing the parser");
    }
}

TEST_P(SQLiteSummaryQueryTest, EveryRowCarriesItsDescriptionWhenAskedFor) {
    RecordingSink sink;
    scan(kT, kT + 3600, sink, {.rowids = true, .descriptions = true});
    ASSERT_EQ(sink.rows.size(), 6u);
    for (const ActivityRow& row : sink.rows) {
        ASSERT_TRUE(row.description.has_value()) << row.id;
        SQLiteReadConnection connection(path());
        SQLiteSummaryQuery query(connection, {});
        EXPECT_EQ(*row.description, query.descriptionOf(*row.rowid)) << row.id;
    }
    EXPECT_EQ(sink.rows.front().description, "Editing the parser");
}

TEST_P(SQLiteSummaryQueryTest, CountsTheFramesOfTheRangeByAnalysisState) {
    SQLiteReadConnection connection(path());
    SQLiteSummaryQuery query(connection, VarnholtTestSupport::indexesFor(GetParam(), connection.handle()));
    StatementLog log(connection.handle());
    // F1 to F5: analysed, analysed, pending, failed, something else; F6's
    // time is text, F7 lies outside.
    EXPECT_EQ(query.countFrames(kT, kT + 3000), (FrameCounts{5, 2, 1, 1}));
    EXPECT_EQ(log.ran(SQLiteSummaryQuery::kFrameCountsStatement), GetParam() == StatementChoice::literal);
    EXPECT_EQ(query.countFrames(kT + 3000, kT + 3600), (FrameCounts{1, 0, 1, 0}));
    EXPECT_EQ(query.countFrames(kT - 100, kT - 1), (FrameCounts{}));
}

TEST_P(SQLiteSummaryQueryTest, ScansFrameTimesInOrderNumbersOnly) {
    SQLiteReadConnection connection(path());
    SQLiteSummaryQuery query(connection, VarnholtTestSupport::indexesFor(GetParam(), connection.handle()));
    std::vector<double> times;
    query.scanFrameTimes(kT + 60, kT + 1e6, [&times](double time) { times.push_back(time); });
    EXPECT_EQ(times, (std::vector<double>{kT + 60, kT + 120, kT + 180, kT + 240, kT + 3600}));
}

TEST_P(SQLiteSummaryQueryTest, ADescriptionThatIsGoneIsEmpty) {
    SQLiteReadConnection connection(path());
    SQLiteSummaryQuery query(connection, VarnholtTestSupport::indexesFor(GetParam(), connection.handle()));
    EXPECT_EQ(query.descriptionOf(999), "");
}

INSTANTIATE_TEST_SUITE_P(BothStatements, SQLiteSummaryQueryTest,
                         ::testing::Values(StatementChoice::literal, StatementChoice::indexed),
                         [](const auto& info) { return VarnholtTestSupport::nameOf(info.param); });

}  // namespace
}  // namespace VarnholtQueryLib
