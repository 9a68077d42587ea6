#include "support_context/SQLiteSupportContextQuery.h"

#include <sqlite3.h>

#include "EffectiveTimeWindow.h"
#include "LiteralFallback.h"
#include "NamedParameters.h"
#include "QueryPlan.h"
#include "ScatteredReads.h"
#include "SQLiteReadConnection.h"
#include "SQLiteStatement.h"
#include "support_context/IndexedSupportContextStatement.h"

namespace VarnholtQueryLib {

using namespace VarnholtSQLiteSupport;

// No LIMIT: repeats are collapsed afterwards, and a limit here could cut the
// window off inside a run of repeats. Only numbers are times: text or a BLOB
// in a time column counts as no time, as NULL does; without the "< ''" text
// would sort after every number and be inside the open window.
const char* const SQLiteSupportContextQuery::kStatement =
    "    SELECT COALESCE(CASE WHEN f.timestamp < '' THEN f.timestamp END,\n"
    "                    CASE WHEN o.timestamp < '' THEN o.timestamp END) AS t,\n"
    "           o.vlm_description, o.apps\n"
    "    FROM observations o\n"
    "    LEFT JOIN frames f ON o.frame_id = f.id\n"
    "    WHERE COALESCE(CASE WHEN f.timestamp < '' THEN f.timestamp END,\n"
    "                   CASE WHEN o.timestamp < '' THEN o.timestamp END) >= ?\n"
    "    ORDER BY t DESC";

namespace {

// Both statements answer these columns in this order.
std::vector<SupportContextObservation> stepAll(sqlite3* handle, sqlite3_stmt* statement) {
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

}  // namespace

SQLiteSupportContextQuery::SQLiteSupportContextQuery(SQLiteReadConnection& connection,
                                                     IndexCatalogue indexes)
    : connection_(connection), indexes_(std::move(indexes)) {}

std::vector<SupportContextObservation> SQLiteSupportContextQuery::findRecentObservations(
    double since) {
    return withLiteralFallback([&] { return findIndexed(since); }, [&] { return findLiteral(since); });
}

std::vector<SupportContextObservation> SQLiteSupportContextQuery::findLiteral(double since) {
    sqlite3* handle = connection_.handle();
    sqlite3_stmt* statement = prepareStatement(handle, kStatement);
    FinalizeOnExit finalize(statement);
    sqlite3_bind_double(statement, 1, since);
    return stepAll(handle, statement);
}

std::optional<std::vector<SupportContextObservation>> SQLiteSupportContextQuery::findIndexed(double since) {
    sqlite3* handle = connection_.handle();
    if (!servesEffectiveTimeWindows(indexes_)) return std::nullopt;
    const auto plan = explainQueryPlan(handle, kStatement);
    if (!plan) return std::nullopt;
    const auto tieOrder = observationScanOrder(*plan, indexes_);
    if (!tieOrder) return std::nullopt;
    readScatteredPages(handle);
    sqlite3_stmt* statement = prepareOrNull(handle, indexedSupportContextStatement(*tieOrder));
    if (statement == nullptr) return std::nullopt;
    FinalizeOnExit finalize(statement);
    bindNamedDouble(statement, ":from", since);
    return stepAll(handle, statement);
}

}  // namespace VarnholtQueryLib
