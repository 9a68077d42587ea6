#include "summary/IndexedSummaryStatements.h"

#include <gtest/gtest.h>

#include "QueryPlanDatabases.h"
#include "summary/SQLiteSummaryQuery.h"

namespace VarnholtQueryLib {
namespace {

using VarnholtTestSupport::QueryPlanDatabases;

// Each part walks its index in time order: nothing is sorted (no temporary
// B-tree), so rows stream from the first one on and nothing is held; the
// entities of each row come from the covering index on observation_id.
const std::vector<std::string> kFrameDatedPlan = {
    "SEARCH f USING INDEX idx_frames_timestamp (timestamp>? AND timestamp<?)",
    "SEARCH o USING INDEX idx_observations_frame (frame_id=?)",
    "CORRELATED SCALAR SUBQUERY 1",
    "SEARCH observation_entities USING COVERING INDEX sqlite_autoindex_observation_entities_2 (observation_id=?)",
};
// A self-dated candidate with a frame at its own time is ruled out by one
// seek in frames(timestamp); no list of the window's frame ids is built.
const std::vector<std::string> kSelfDatedPlan = {
    "SEARCH o USING INDEX idx_observations_recording_timestamp (recording_id=? AND timestamp>? AND timestamp<?)",
    "CORRELATED SCALAR SUBQUERY 2",
    "SEARCH s USING INDEX idx_frames_timestamp (timestamp=?)",
    "SEARCH f USING INDEX sqlite_autoindex_frames_1 (id=?) LEFT-JOIN",
    "CORRELATED SCALAR SUBQUERY 1",
    "SEARCH observation_entities USING COVERING INDEX sqlite_autoindex_observation_entities_2 (observation_id=?)",
};

TEST(IndexedSummaryStatementsTest, EachPartWalksItsIndexInTimeOrder) {
    QueryPlanDatabases databases;
    const std::vector<std::string> parts = indexedActivityStatements();
    ASSERT_EQ(parts.size(), 3u);
    EXPECT_EQ(databases.planOnRecorderSchema(parts[0]), kFrameDatedPlan);
    EXPECT_EQ(databases.planOnRecorderSchema(parts[1]), kSelfDatedPlan);
    EXPECT_EQ(databases.planOnRecorderSchema(parts[2]), kSelfDatedPlan);
    for (const std::string& part : parts) {
        const auto plan = databases.planWithStatistics(part);
        EXPECT_FALSE(plan.empty());
        EXPECT_EQ(QueryPlanDatabases::tableScans(plan), std::vector<std::string>{});
        EXPECT_EQ(std::count(plan.begin(), plan.end(), "USE TEMP B-TREE FOR ORDER BY"), 0);
    }
}

// A timesheet reads every row's description with the row: the same parts,
// walked the same way, with one more column.
TEST(IndexedSummaryStatementsTest, WithDescriptionsThePartsAreTheSameWithOneMoreColumn) {
    QueryPlanDatabases databases;
    const std::vector<std::string> parts = indexedActivityStatements();
    const std::vector<std::string> described = indexedActivityStatements(true, true);
    ASSERT_EQ(described.size(), parts.size());
    for (std::size_t i = 0; i < parts.size(); ++i) {
        std::string without = described[i];
        const std::string column = ", o.vlm_description";
        ASSERT_NE(without.find(column), std::string::npos);
        without.erase(without.find(column), column.size());
        EXPECT_EQ(without, parts[i]);
        EXPECT_EQ(databases.planOnRecorderSchema(described[i]), databases.planOnRecorderSchema(parts[i]));
    }
}

TEST(IndexedSummaryStatementsTest, WithoutEntitiesNoEntityIsRead) {
    QueryPlanDatabases databases;
    const std::vector<std::string> parts = indexedActivityStatements(false);
    ASSERT_EQ(parts.size(), 3u);
    const std::vector<std::string> frameDated(kFrameDatedPlan.begin(), kFrameDatedPlan.begin() + 2);
    EXPECT_EQ(databases.planOnRecorderSchema(parts[0]), frameDated);
    EXPECT_EQ(databases.planOnRecorderSchema(parts[1]),
              (std::vector<std::string>{kSelfDatedPlan[0], "CORRELATED SCALAR SUBQUERY 1", kSelfDatedPlan[2],
                                        kSelfDatedPlan[3]}));
    for (const std::string& part : parts) {
        EXPECT_EQ(part.find("observation_entities"), std::string::npos);
        EXPECT_NE(part.find("'[]' AS entities_json"), std::string::npos);
    }
}

TEST(IndexedSummaryStatementsTest, OneRowsEntitiesComeFromTheCoveringIndex) {
    // The "table" o is the one bound id; its entities are one seek in the
    // index the parts' subquery uses.
    QueryPlanDatabases databases;
    EXPECT_EQ(databases.planOnRecorderSchema(observationEntitiesStatement()),
              (std::vector<std::string>{"CO-ROUTINE o", "SCAN CONSTANT ROW", "SCAN o", "CORRELATED SCALAR SUBQUERY 1",
                                        kFrameDatedPlan.back()}));
}

TEST(IndexedSummaryStatementsTest, TheSelfDatedPartsAreThoseOfNoSeparateRecording) {
    const std::vector<std::string> parts = indexedActivityStatements();
    EXPECT_NE(parts[0].find("(o.recording_id IS NULL OR o.recording_id = '')"), std::string::npos);
    EXPECT_NE(parts[1].find("WHERE o.recording_id IS NULL\n"), std::string::npos);
    EXPECT_NE(parts[2].find("WHERE o.recording_id = ''\n"), std::string::npos);
}

TEST(IndexedSummaryStatementsTest, FramesAreCountedAndTimedFromIndexesAlone) {
    QueryPlanDatabases databases;
    const std::vector<std::string> counts = {
        "SCAN CONSTANT ROW",
        "SCALAR SUBQUERY 1",
        "SEARCH frames USING COVERING INDEX idx_frames_timestamp (timestamp>? AND timestamp<?)",
        "SCALAR SUBQUERY 2",
        "SEARCH frames USING COVERING INDEX idx_frames_analyzed_timestamp (analyzed=? AND timestamp>? AND timestamp<?)",
        "SCALAR SUBQUERY 3",
        "SEARCH frames USING COVERING INDEX idx_frames_analyzed_timestamp (analyzed=? AND timestamp>? AND timestamp<?)",
        "SCALAR SUBQUERY 4",
        "SEARCH frames USING COVERING INDEX idx_frames_analyzed_timestamp (analyzed=? AND timestamp>? AND timestamp<?)",
    };
    EXPECT_EQ(databases.planOnRecorderSchema(kIndexedFrameCountsStatement), counts);
    EXPECT_EQ(databases.planWithStatistics(kIndexedFrameCountsStatement), counts);
    const std::vector<std::string> times = {
        "SEARCH frames USING COVERING INDEX idx_frames_timestamp (timestamp>? AND timestamp<?)"};
    EXPECT_EQ(databases.planOnRecorderSchema(SQLiteSummaryQuery::kFrameTimesStatement), times);
    EXPECT_EQ(databases.planWithStatistics(SQLiteSummaryQuery::kFrameTimesStatement), times);
}

}  // namespace
}  // namespace VarnholtQueryLib
