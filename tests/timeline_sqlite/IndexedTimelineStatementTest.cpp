#include "IndexedTimelineStatement.h"

#include <gtest/gtest.h>

#include "QueryPlanDatabases.h"

using RecentWorkTimelineSQLite::indexedTimelineStatement;
using RecentWorkTimelineSQLite::kFrameAtPositionStatement;
using VarnholtSQLiteSupport::OrderTerm;
using VarnholtTestSupport::QueryPlanDatabases;

namespace {

// The walk order the literal statement gets with the recorder's indexes.
const std::vector<OrderTerm> kRecorderTieOrder = {
    {"(o.recording_id IS NOT NULL)", "BINARY", false}, {"o.\"timestamp\"", "BINARY", false}, {"o.rowid", "BINARY", false}};

}  // namespace

// Frames of the range newest first through frames(timestamp), their
// observations through observations(frame_id); the self-dated parts through
// observations(recording_id, timestamp) with the window's frame ids in a
// list; the three merged in order and cut at the limit; descriptions and
// entities read by rowid for the rows kept.
TEST(IndexedTimelineStatementTest, PlanOnTheRecordersSchema) {
    QueryPlanDatabases databases;
    EXPECT_EQ(databases.planOnRecorderSchema(indexedTimelineStatement(kRecorderTieOrder)),
              (std::vector<std::string>{
                  "CO-ROUTINE newest",
                  "MERGE (UNION ALL)",
                  "LEFT",
                  "MERGE (UNION ALL)",
                  "LEFT",
                  "SEARCH f USING INDEX idx_frames_timestamp (timestamp>? AND timestamp<?)",
                  "SEARCH o USING INDEX idx_observations_frame (frame_id=?)",
                  "USE TEMP B-TREE FOR RIGHT PART OF ORDER BY",
                  "RIGHT",
                  "SEARCH o USING INDEX idx_observations_recording_timestamp (recording_id=? AND timestamp>? AND timestamp<?)",
                  "LIST SUBQUERY 2",
                  "SEARCH w USING INDEX idx_frames_timestamp (timestamp>? AND timestamp<?)",
                  "SEARCH f USING INDEX sqlite_autoindex_frames_1 (id=?) LEFT-JOIN",
                  "USE TEMP B-TREE FOR RIGHT PART OF ORDER BY",
                  "RIGHT",
                  "SEARCH o USING INDEX idx_observations_recording_timestamp (recording_id=? AND timestamp>? AND timestamp<?)",
                  "LIST SUBQUERY 4",
                  "SEARCH w USING INDEX idx_frames_timestamp (timestamp>? AND timestamp<?)",
                  "SEARCH f USING INDEX sqlite_autoindex_frames_1 (id=?) LEFT-JOIN",
                  "USE TEMP B-TREE FOR RIGHT PART OF ORDER BY",
                  "SCAN n",
                  "SEARCH o USING INTEGER PRIMARY KEY (rowid=?)",
                  "CORRELATED SCALAR SUBQUERY 7",
                  "SEARCH observation_entities USING COVERING INDEX sqlite_autoindex_observation_entities_2 (observation_id=?)",
                  "USE TEMP B-TREE FOR ORDER BY",
              }));
}

TEST(IndexedTimelineStatementTest, PlanWithStatisticsWalksNoWholeTable) {
    QueryPlanDatabases databases;
    const auto plan = databases.planWithStatistics(indexedTimelineStatement(kRecorderTieOrder));
    EXPECT_FALSE(plan.empty());
    EXPECT_EQ(QueryPlanDatabases::tableScans(plan), std::vector<std::string>{});
}

TEST(IndexedTimelineStatementTest, TheCutOffGuessReadsOnlyTheFrameTimeIndex) {
    QueryPlanDatabases databases;
    const std::vector<std::string> plan = {
        "SEARCH frames USING COVERING INDEX idx_frames_timestamp (timestamp>? AND timestamp<?)"};
    EXPECT_EQ(databases.planOnRecorderSchema(kFrameAtPositionStatement), plan);
    EXPECT_EQ(databases.planWithStatistics(kFrameAtPositionStatement), plan);
}

TEST(IndexedTimelineStatementTest, TieTermsBecomeColumnsAndOrderKeys) {
    const std::string sql = indexedTimelineStatement(kRecorderTieOrder);
    EXPECT_NE(sql.find("(o.recording_id IS NOT NULL) AS k0, o.\"timestamp\" AS k1, o.rowid AS k2"), std::string::npos);
    EXPECT_NE(sql.find("ORDER BY t COLLATE BINARY DESC, k0 COLLATE BINARY ASC, k1 COLLATE BINARY ASC, "
                       "k2 COLLATE BINARY ASC\n      LIMIT :limit"),
              std::string::npos);
    EXPECT_NE(sql.find("ORDER BY n.t COLLATE BINARY ASC, n.k0 COLLATE BINARY ASC, n.k1 COLLATE BINARY ASC, "
                       "n.k2 COLLATE BINARY ASC"),
              std::string::npos);
}
