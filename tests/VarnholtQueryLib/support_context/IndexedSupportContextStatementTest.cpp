#include "support_context/IndexedSupportContextStatement.h"

#include <gtest/gtest.h>

#include "QueryPlanDatabases.h"

using VarnholtSQLiteSupport::OrderTerm;
using VarnholtTestSupport::QueryPlanDatabases;

namespace VarnholtQueryLib {
namespace {

const std::vector<OrderTerm> kRowidOrder = {{"o.rowid", "BINARY", false}};

// The recent frames through frames(timestamp) and their observations
// through observations(frame_id); the self-dated rows of every recording_id
// value through observations(recording_id, timestamp); only the window's
// rows are sorted.
TEST(IndexedSupportContextStatementTest, PlanOnTheRecordersSchema) {
    QueryPlanDatabases databases;
    EXPECT_EQ(databases.planOnRecorderSchema(indexedSupportContextStatement(kRowidOrder)),
              QueryPlanDatabases::joined({
                  {
                      "CO-ROUTINE recent",
                      "COMPOUND QUERY",
                      "LEFT-MOST SUBQUERY",
                      "SEARCH f USING INDEX idx_frames_timestamp (timestamp>? AND timestamp<?)",
                      "SEARCH o USING INDEX idx_observations_frame (frame_id=?)",
                      "UNION ALL",
                  },
                  QueryPlanDatabases::recordingGroupsPlan("CO-ROUTINE"),
                  {
                      "SCAN g",
                      "SEARCH o USING INDEX idx_observations_recording_timestamp (recording_id=? AND timestamp>? AND timestamp<?)",
                      "LIST SUBQUERY 8",
                      "SEARCH w USING INDEX idx_frames_timestamp (timestamp>? AND timestamp<?)",
                      "SEARCH f USING INDEX sqlite_autoindex_frames_1 (id=?) LEFT-JOIN",
                      "SCAN recent",
                      "USE TEMP B-TREE FOR ORDER BY",
                  },
              }));
}

TEST(IndexedSupportContextStatementTest, PlanWithStatisticsWalksNoWholeTable) {
    QueryPlanDatabases databases;
    const auto plan = databases.planWithStatistics(indexedSupportContextStatement(kRowidOrder));
    EXPECT_FALSE(plan.empty());
    EXPECT_EQ(QueryPlanDatabases::tableScans(plan), std::vector<std::string>{});
}

}  // namespace
}  // namespace VarnholtQueryLib
