#include "entities/IndexedEntityStatement.h"

#include <gtest/gtest.h>

#include "QueryPlanDatabases.h"
#include "EntityTestParams.h"

using VarnholtTestSupport::QueryPlanDatabases;

namespace VarnholtQueryLib {
namespace {

// The window's frames and their observations, the self-dated observations
// of every recording_id value, and the mentions of each through the covering
// (observation_id, entity_kind, entity_value) index, the kind tested on its
// entries; only the window's mentions are grouped.
TEST(IndexedEntityStatementTest, PlanOnTheRecordersSchemaWithKindAndBothBounds) {
    QueryPlanDatabases databases;
    EXPECT_EQ(databases.planOnRecorderSchema(indexedEntityStatement(params(1.0, 2.0, "app"))),
              QueryPlanDatabases::joined({
                  {
                      "CO-ROUTINE mentions",
                      "COMPOUND QUERY",
                      "LEFT-MOST SUBQUERY",
                      "SEARCH f USING INDEX idx_frames_timestamp (timestamp>? AND timestamp<?)",
                      "SEARCH o USING INDEX idx_observations_frame (frame_id=?)",
                      "SEARCH oe USING COVERING INDEX sqlite_autoindex_observation_entities_2 (observation_id=?)",
                      "UNION ALL",
                  },
                  QueryPlanDatabases::recordingGroupsPlan("CO-ROUTINE"),
                  {
                      "SCAN g",
                      "SEARCH o USING INDEX idx_observations_recording_timestamp (recording_id=? AND timestamp>? AND timestamp<?)",
                      "LIST SUBQUERY 8",
                      "SEARCH w USING INDEX idx_frames_timestamp (timestamp>? AND timestamp<?)",
                      "SEARCH f USING INDEX sqlite_autoindex_frames_1 (id=?) LEFT-JOIN",
                      "SEARCH oe USING COVERING INDEX sqlite_autoindex_observation_entities_2 (observation_id=?)",
                      "SCAN mentions",
                      "USE TEMP B-TREE FOR GROUP BY",
                      "USE TEMP B-TREE FOR ORDER BY",
                  },
              }));
}

TEST(IndexedEntityStatementTest, PlanOnTheRecordersSchemaForTheDefaultWindow) {
    QueryPlanDatabases databases;
    const auto plan = databases.planOnRecorderSchema(indexedEntityStatement(params(1.0, std::nullopt, std::nullopt)));
    EXPECT_EQ(plan.at(3), "SEARCH f USING INDEX idx_frames_timestamp (timestamp>? AND timestamp<?)");
    EXPECT_EQ(plan.at(5), "SEARCH oe USING COVERING INDEX sqlite_autoindex_observation_entities_2 (observation_id=?)");
    EXPECT_EQ(QueryPlanDatabases::tableScans(plan), std::vector<std::string>{});
}

TEST(IndexedEntityStatementTest, PlansWithStatisticsWalkNoWholeTable) {
    QueryPlanDatabases databases;
    for (const auto& query : {params(1.0, std::nullopt, std::nullopt), params(1.0, 2.0, "app"),
                              params(std::nullopt, 2.0, std::nullopt)}) {
        const auto plan = databases.planWithStatistics(indexedEntityStatement(query));
        EXPECT_FALSE(plan.empty());
        EXPECT_EQ(QueryPlanDatabases::tableScans(plan), std::vector<std::string>{});
    }
}

}  // namespace
}  // namespace VarnholtQueryLib
