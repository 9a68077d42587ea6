#pragma once

#include <string>
#include <vector>

#include "TemporaryDirectory.h"

namespace VarnholtTestSupport {

// Databases to explain the index-driven statements on, so that a test can
// hold each statement's plan and a later edit cannot fall back to walking a
// whole table unnoticed: the recorder's schema as it comes (no rows, no
// statistics), and two days of sample activity after ANALYZE, when SQLite
// plans with statistics. Each is built on first use.
class QueryPlanDatabases {
public:
    // The EXPLAIN QUERY PLAN detail lines of `sql`; fails the test (and
    // gives no lines) when SQLite cannot explain it.
    std::vector<std::string> planOnRecorderSchema(const std::string& sql);
    std::vector<std::string> planWithStatistics(const std::string& sql);

    // The plan lines of kRecordingGroups (EffectiveTimeWindow.h) on the
    // recorder's schema, with `use` ("CO-ROUTINE" or "MATERIALIZE") as SQLite
    // reports how it keeps the two tables; and `parts` joined in order.
    static std::vector<std::string> recordingGroupsPlan(const std::string& use);
    static std::vector<std::string> joined(const std::vector<std::vector<std::string>>& parts);

    // The lines of `plan` that walk a whole recorder table ("SCAN frames",
    // "SCAN o", ...), which an index-driven statement must not contain.
    static std::vector<std::string> tableScans(const std::vector<std::string>& plan);

private:
    std::vector<std::string> planOn(const std::string& path, const std::string& sql);

    TemporaryDirectory directory_;
    bool recorderSchemaBuilt_ = false;
    bool statisticsBuilt_ = false;
};

}  // namespace VarnholtTestSupport
