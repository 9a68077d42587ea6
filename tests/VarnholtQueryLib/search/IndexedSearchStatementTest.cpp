#include "search/IndexedSearchStatement.h"

#include <gtest/gtest.h>

#include "QueryPlanDatabases.h"

using VarnholtSQLiteSupport::OrderTerm;
using VarnholtTestSupport::QueryPlanDatabases;

namespace VarnholtQueryLib {
namespace {

const std::vector<OrderTerm> kRowidOrder = {{"o.rowid", "BINARY", false}};

ObservationSearchParams params(std::optional<double> fromTs, std::optional<double> toTs, bool latest,
                               std::optional<std::string> application = std::nullopt) {
    ObservationSearchParams search;
    search.keyword = "error";
    search.fromTs = fromTs;
    search.toTs = toTs;
    search.latestOnly = latest;
    search.appFilter = std::move(application);
    return search;
}

// FTS5 takes the rowid range itself ("><" after the match), each match is
// dated through its observation and frame, and only the kept rows read
// their entities.
TEST(IndexedSearchStatementTest, PlanOnTheRecordersSchema) {
    QueryPlanDatabases databases;
    EXPECT_EQ(databases.planOnRecorderSchema(indexedSearchStatement(params(1.0, std::nullopt, false), kRowidOrder)),
              (std::vector<std::string>{
                  "CO-ROUTINE ranked",
                  "SCAN fts VIRTUAL TABLE INDEX 0:M1><",
                  "SEARCH o USING INTEGER PRIMARY KEY (rowid=?)",
                  "SEARCH f USING INDEX sqlite_autoindex_frames_1 (id=?) LEFT-JOIN",
                  "USE TEMP B-TREE FOR ORDER BY",
                  "SCAN r",
                  "SEARCH o USING INTEGER PRIMARY KEY (rowid=?)",
                  "CORRELATED SCALAR SUBQUERY 2",
                  "SEARCH observation_entities USING COVERING INDEX sqlite_autoindex_observation_entities_2 (observation_id=?)",
                  "USE TEMP B-TREE FOR ORDER BY",
              }));
}

TEST(IndexedSearchStatementTest, PlanForTheLatestMatchOfAnApplication) {
    QueryPlanDatabases databases;
    EXPECT_EQ(databases.planOnRecorderSchema(indexedSearchStatement(params(1.0, 2.0, true, "Slack"), kRowidOrder)),
              (std::vector<std::string>{
                  "CO-ROUTINE ranked",
                  "SCAN fts VIRTUAL TABLE INDEX 0:M1><",
                  "SEARCH o USING INTEGER PRIMARY KEY (rowid=?)",
                  "CORRELATED SCALAR SUBQUERY 1",
                  "SCAN json_each VIRTUAL TABLE INDEX 1:",
                  "SEARCH f USING INDEX sqlite_autoindex_frames_1 (id=?) LEFT-JOIN",
                  "USE TEMP B-TREE FOR ORDER BY",
                  "SCAN r",
                  "SEARCH o USING INTEGER PRIMARY KEY (rowid=?)",
                  "CORRELATED SCALAR SUBQUERY 3",
                  "SEARCH observation_entities USING COVERING INDEX sqlite_autoindex_observation_entities_2 (observation_id=?)",
                  "USE TEMP B-TREE FOR ORDER BY",
              }));
}

// Finding the window's rowids: the window's frames and their observations
// (covering observations(frame_id)), and the observations' own times per
// recording_id value (covering observations(recording_id, timestamp)).
TEST(IndexedSearchStatementTest, TheWindowsRowidsComeFromIndexesOnly) {
    QueryPlanDatabases databases;
    const auto plan = databases.planOnRecorderSchema(windowRowidRangeStatement(params(1.0, 2.0, false)));
    EXPECT_EQ(plan.at(3), "SEARCH f USING INDEX idx_frames_timestamp (timestamp>? AND timestamp<?)");
    EXPECT_EQ(plan.at(4), "SEARCH o USING COVERING INDEX idx_observations_frame (frame_id=?)");
    EXPECT_EQ(plan.at(plan.size() - 2),
              "SEARCH o USING COVERING INDEX idx_observations_recording_timestamp "
              "(recording_id=? AND timestamp>? AND timestamp<?)");
    EXPECT_EQ(QueryPlanDatabases::tableScans(plan), std::vector<std::string>{});
}

TEST(IndexedSearchStatementTest, TheEstimatesCountIndexEntriesOnly) {
    QueryPlanDatabases databases;
    EXPECT_EQ(databases.planOnRecorderSchema(kMatchCountStatement),
              (std::vector<std::string>{"CO-ROUTINE (subquery-1)", "SCAN observations_fts VIRTUAL TABLE INDEX 0:M1",
                                        "SCAN (subquery-1)"}));
    EXPECT_EQ(databases.planOnRecorderSchema(windowFrameCountStatement(params(1.0, 2.0, false))),
              (std::vector<std::string>{
                  "CO-ROUTINE (subquery-1)",
                  "SEARCH frames USING COVERING INDEX idx_frames_timestamp (timestamp>? AND timestamp<?)",
                  "SCAN (subquery-1)"}));
}

TEST(IndexedSearchStatementTest, PlansWithStatisticsWalkNoWholeTable) {
    QueryPlanDatabases databases;
    for (const auto& search : {params(1.0, std::nullopt, false), params(1.0, 2.0, true, "Slack"),
                               params(std::nullopt, 2.0, false)}) {
        for (const std::string& sql : {indexedSearchStatement(search, kRowidOrder), windowRowidRangeStatement(search),
                                       windowFrameCountStatement(search)}) {
            const auto plan = databases.planWithStatistics(sql);
            EXPECT_FALSE(plan.empty());
            EXPECT_EQ(QueryPlanDatabases::tableScans(plan), std::vector<std::string>{}) << sql;
        }
    }
}

}  // namespace
}  // namespace VarnholtQueryLib
