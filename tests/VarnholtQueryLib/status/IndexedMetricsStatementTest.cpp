#include "status/IndexedMetricsStatement.h"

#include <gtest/gtest.h>

#include "QueryPlanDatabases.h"

using VarnholtTestSupport::QueryPlanDatabases;

namespace VarnholtQueryLib {
namespace {

// Counting all rows of a table still walks one index from end to end: the
// two totals. Everything else seeks: a range of frames(analyzed), the ends
// and the recent range of frames(timestamp), and per recording_id value the
// ends and the recent range of observations(recording_id, timestamp), each
// range ending below the first text time.
TEST(IndexedMetricsStatementTest, PlanOnTheRecordersSchema) {
    QueryPlanDatabases databases;
    EXPECT_EQ(databases.planOnRecorderSchema(indexedMetricsStatement()),
              QueryPlanDatabases::joined({
                  {
                      "SCAN CONSTANT ROW",
                      "SCALAR SUBQUERY 11",
                      "SCAN frames USING COVERING INDEX idx_frames_timestamp",
                      "SCALAR SUBQUERY 12",
                      "SEARCH frames USING COVERING INDEX idx_frames_analyzed (analyzed=?)",
                      "SCALAR SUBQUERY 13",
                      "SEARCH frames USING COVERING INDEX idx_frames_timestamp (timestamp<?)",
                      "SCALAR SUBQUERY 14",
                      "SEARCH frames USING COVERING INDEX idx_frames_timestamp (timestamp>? AND timestamp<?)",
                      "SCALAR SUBQUERY 15",
                      "SCAN observations USING COVERING INDEX idx_observations_tb",
                      "SCALAR SUBQUERY 16",
                      "MATERIALIZE per_recording",
                  },
                  QueryPlanDatabases::recordingGroupsPlan("MATERIALIZE"),
                  {
                      "SCAN g",
                      "CORRELATED SCALAR SUBQUERY 7",
                      "SEARCH o USING COVERING INDEX idx_observations_recording_timestamp (recording_id=? AND timestamp<?)",
                      "CORRELATED SCALAR SUBQUERY 8",
                      "SEARCH o USING COVERING INDEX idx_observations_recording_timestamp (recording_id=? AND timestamp<?)",
                      "CORRELATED SCALAR SUBQUERY 9",
                      "SEARCH o USING COVERING INDEX idx_observations_recording_timestamp (recording_id=? AND timestamp>? AND timestamp<?)",
                      "SEARCH per_recording",
                      "SCALAR SUBQUERY 17",
                      "SEARCH per_recording",
                      "SCALAR SUBQUERY 18",
                      "SCAN per_recording",
                  },
              }));
}

TEST(IndexedMetricsStatementTest, PlanWithStatisticsReadsIndexesOnly) {
    QueryPlanDatabases databases;
    const auto plan = databases.planWithStatistics(indexedMetricsStatement());
    EXPECT_FALSE(plan.empty());
    // The two totals count an index's entries; nothing reads a table row.
    for (const std::string& scan : QueryPlanDatabases::tableScans(plan)) {
        EXPECT_NE(scan.find("USING COVERING INDEX"), std::string::npos) << scan;
    }
    for (const std::string& line : plan) {
        if (line.rfind("SEARCH", 0) == 0 && line.find(" USING ") != std::string::npos) {
            EXPECT_NE(line.find("COVERING INDEX"), std::string::npos) << line;
        }
    }
}

}  // namespace
}  // namespace VarnholtQueryLib
