#include "support_context/SQLiteSupportContextQuery.h"

#include <sqlite3.h>

#include "SQLiteReadConnection.h"
#include "SQLiteStatement.h"

namespace VarnholtQueryLib {

using namespace VarnholtSQLiteSupport;

namespace {

// No LIMIT: repeats are collapsed afterwards, and a limit here could cut the
// window off inside a run of repeats.
constexpr const char* kRecentObservationsSQL =
    "    SELECT COALESCE(f.timestamp, o.timestamp), o.vlm_description, o.apps\n"
    "    FROM observations o\n"
    "    LEFT JOIN frames f ON o.frame_id = f.id\n"
    "    WHERE COALESCE(f.timestamp, o.timestamp) >= ?\n"
    "    ORDER BY COALESCE(f.timestamp, o.timestamp) DESC";

}  // namespace

SQLiteSupportContextQuery::SQLiteSupportContextQuery(SQLiteReadConnection& connection)
    : connection_(connection) {}

std::vector<SupportContextObservation> SQLiteSupportContextQuery::findRecentObservations(
    double since) {
    sqlite3* handle = connection_.handle();
    sqlite3_stmt* statement = prepareStatement(handle, kRecentObservationsSQL);
    FinalizeOnExit finalize(statement);
    sqlite3_bind_double(statement, 1, since);

    std::vector<SupportContextObservation> observations;
    stepRows(handle, statement, [&](sqlite3_stmt* row) {
        SupportContextObservation observation;
        observation.timestamp = sqlite3_column_double(row, 0);
        observation.vlmDescription = columnOptionalText(row, 1).value_or("");
        observation.applications =
            SQLiteReadConnection::parseJsonArray(columnOptionalText(row, 2).value_or("[]"));
        observations.push_back(std::move(observation));
    });
    return observations;
}

}  // namespace VarnholtQueryLib
