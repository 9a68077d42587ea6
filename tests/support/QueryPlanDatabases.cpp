#include "QueryPlanDatabases.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "QueryPlan.h"
#include "RecorderSchema.h"
#include "SampleDatabase.h"

namespace VarnholtTestSupport {

namespace {

// 2026-04-01T16:00:00Z, as the benchmark's database ends.
constexpr double kSampleEnd = 1775059200.0;

}  // namespace

std::vector<std::string> QueryPlanDatabases::planOnRecorderSchema(const std::string& sql) {
    const std::string path = directory_.file("recorder.db");
    if (!recorderSchemaBuilt_) {
        sqlite3* handle = VarnholtSampleData::openWritableDatabase(path);
        VarnholtSampleData::createRecorderSchema(handle);
        sqlite3_close(handle);
        recorderSchemaBuilt_ = true;
    }
    return planOn(path, sql);
}

std::vector<std::string> QueryPlanDatabases::planWithStatistics(const std::string& sql) {
    const std::string path = directory_.file("analyzed.db");
    if (!statisticsBuilt_) {
        VarnholtSampleData::SampleDatabaseOptions options;
        options.days = 2;
        options.seed = 2;
        options.endTime = kSampleEnd;
        options.homeForImagePaths = directory_.path();
        VarnholtSampleData::writeSampleDatabase(path, options);
        sqlite3* handle = VarnholtSampleData::openWritableDatabase(path);
        VarnholtSampleData::execWritable(handle, "ANALYZE");
        sqlite3_close(handle);
        statisticsBuilt_ = true;
    }
    return planOn(path, sql);
}

std::vector<std::string> QueryPlanDatabases::planOn(const std::string& path, const std::string& sql) {
    sqlite3* handle = nullptr;
    sqlite3_open_v2(path.c_str(), &handle, SQLITE_OPEN_READONLY, nullptr);
    const auto plan = VarnholtSQLiteSupport::explainQueryPlan(handle, sql);
    if (!plan) ADD_FAILURE() << "cannot explain: " << sqlite3_errmsg(handle) << "\n" << sql;
    sqlite3_close(handle);
    return plan.value_or(std::vector<std::string>());
}

std::vector<std::string> QueryPlanDatabases::recordingGroupsPlan(const std::string& use) {
    return {
        use + " recording_groups",
        "COMPOUND QUERY",
        "LEFT-MOST SUBQUERY",
        "SCAN CONSTANT ROW",
        "UNION ALL",
        use + " recording_ids",
        "SETUP",
        "CO-ROUTINE (subquery-1)",
        "SEARCH observations USING COVERING INDEX idx_observations_recording_timestamp (recording_id>?)",
        "SCAN (subquery-1)",
        "RECURSIVE STEP",
        "SCAN recording_ids",
        "CORRELATED SCALAR SUBQUERY 3",
        "SEARCH later USING COVERING INDEX idx_observations_recording_timestamp (recording_id>?)",
        "SCAN recording_ids",
    };
}

std::vector<std::string> QueryPlanDatabases::joined(const std::vector<std::vector<std::string>>& parts) {
    std::vector<std::string> lines;
    for (const auto& part : parts) lines.insert(lines.end(), part.begin(), part.end());
    return lines;
}

std::vector<std::string> QueryPlanDatabases::tableScans(const std::vector<std::string>& plan) {
    static const std::vector<std::string> recorderTables = {"frames", "observations", "observation_entities",
                                                            "o", "f", "oe", "w", "later"};
    std::vector<std::string> scans;
    for (const std::string& line : plan) {
        for (const std::string& table : recorderTables) {
            const std::string scan = "SCAN " + table;
            if (line == scan || line.rfind(scan + " ", 0) == 0) scans.push_back(line);
        }
    }
    return scans;
}

}  // namespace VarnholtTestSupport
