#include "entities/SQLiteEntityQuery.h"

#include <sqlite3.h>

#include "LiteralFallback.h"
#include "NamedParameters.h"
#include "PageWarming.h"
#include "ScatteredReads.h"
#include "SQLiteReadConnection.h"
#include "SQLiteStatement.h"
#include "entities/IndexedEntityStatement.h"

namespace VarnholtQueryLib {

using namespace VarnholtSQLiteSupport;

namespace {

// The statement text is fixed down to its whitespace, so that every run sends
// the same bytes and tests can compare them. The head ends with a line break
// and four spaces and the tail begins with a line break.
//
// Only numbers are times: text or a BLOB in a time column counts as no
// time, as NULL does (a number sorts below every text and BLOB). A mention
// whose kind or value is NULL or a BLOB names nothing and is not counted.
constexpr const char* kHead =
    "    SELECT oe.entity_kind, oe.entity_value,\n"
    "           COUNT(*) AS occurrence_count,\n"
    "           MIN(COALESCE(CASE WHEN f.timestamp < '' THEN f.timestamp END,\n"
    "                        CASE WHEN o.timestamp < '' THEN o.timestamp END)) AS first_seen,\n"
    "           MAX(COALESCE(CASE WHEN f.timestamp < '' THEN f.timestamp END,\n"
    "                        CASE WHEN o.timestamp < '' THEN o.timestamp END)) AS last_seen\n"
    "    FROM observation_entities oe\n"
    "    JOIN observations o ON oe.observation_id = o.id\n"
    "    LEFT JOIN frames f ON f.id = o.frame_id\n"
    "    WHERE typeof(oe.entity_kind) NOT IN ('null', 'blob')\n"
    "      AND typeof(oe.entity_value) NOT IN ('null', 'blob')";

constexpr const char* kTail =
    "\n"
    "    GROUP BY oe.entity_kind, oe.entity_value\n"
    "    ORDER BY occurrence_count DESC, entity_kind ASC, entity_value ASC\n"
    "    LIMIT ?";

constexpr const char* kFromCondition =
    "COALESCE(CASE WHEN f.timestamp < '' THEN f.timestamp END,\n"
    "               CASE WHEN o.timestamp < '' THEN o.timestamp END) >= ?";
constexpr const char* kToCondition =
    "COALESCE(CASE WHEN f.timestamp < '' THEN f.timestamp END,\n"
    "               CASE WHEN o.timestamp < '' THEN o.timestamp END) <= ?";
constexpr const char* kKindCondition = "oe.entity_kind = ?";

// Both statements answer these columns in this order.
std::vector<EntityAggregation> stepAll(sqlite3* handle, sqlite3_stmt* statement) {
    std::vector<EntityAggregation> rows;
    stepRows(handle, statement, [&rows](sqlite3_stmt* row) {
        EntityAggregation aggregation;
        aggregation.kind = columnText(row, 0);
        aggregation.value = columnText(row, 1);
        aggregation.count = sqlite3_column_int(row, 2);
        aggregation.firstSeen = sqlite3_column_double(row, 3);
        aggregation.lastSeen = sqlite3_column_double(row, 4);
        rows.push_back(std::move(aggregation));
    });
    return rows;
}

}  // namespace

SQLiteEntityQuery::SQLiteEntityQuery(const SQLiteReadConnection& connection, IndexCatalogue indexes)
    : handle_(connection.handle()), warming_(connection.warming()), indexes_(std::move(indexes)) {}

std::string SQLiteEntityQuery::composeSQL(const EntityQueryParams& params) {
    std::string filter;
    const auto addCondition = [&filter](const char* condition) {
        filter += "\n      AND ";
        filter += condition;
    };
    if (params.fromTs) addCondition(kFromCondition);
    if (params.toTs) addCondition(kToCondition);
    if (params.kind) addCondition(kKindCondition);
    return std::string(kHead) + filter + kTail;
}

std::vector<EntityAggregation> SQLiteEntityQuery::aggregate(const EntityQueryParams& params) {
    return withLiteralFallback([&] { return aggregateIndexed(params); },
                               [&] { return aggregateLiteral(params); });
}

std::vector<EntityAggregation> SQLiteEntityQuery::aggregateLiteral(const EntityQueryParams& params) {
    sqlite3_stmt* statement = prepareStatement(handle_, composeSQL(params));
    FinalizeOnExit finalize(statement);
    int position = 1;
    if (params.fromTs) sqlite3_bind_double(statement, position++, *params.fromTs);
    if (params.toTs) sqlite3_bind_double(statement, position++, *params.toTs);
    if (params.kind) bindText(statement, position++, *params.kind);
    bindInt32(statement, position, params.limit);
    return stepAll(handle_, statement);
}

std::optional<std::vector<EntityAggregation>> SQLiteEntityQuery::aggregateIndexed(
    const EntityQueryParams& params) {
    // Without a bound there is no window to walk: every mention counts, and
    // the literal statement reads them in the cheapest order.
    if ((!params.fromTs && !params.toTs) || !servesIndexedEntities(indexes_)) return std::nullopt;
    readScatteredPages(handle_);
    const std::string sql = indexedEntityStatement(params);
    sqlite3_stmt* statement = prepareOrNull(handle_, sql);
    if (statement == nullptr) return std::nullopt;
    FinalizeOnExit finalize(statement);
    WarmingPlan plan;
    if (params.fromTs && params.toTs) {
        WarmingLookup lookup{sql, {{":limit", params.limit}}};
        if (params.kind) lookup.parameters.emplace_back(":kind", *params.kind);
        plan.lookups.push_back(std::move(lookup));
        plan.from = *params.fromTs;
        plan.to = *params.toTs;
    }
    const WarmingScope warming(warming_, handle_, plan);
    if (params.fromTs) bindNamedDouble(statement, ":from", *params.fromTs);
    if (params.toTs) bindNamedDouble(statement, ":to", *params.toTs);
    if (params.kind) bindNamedText(statement, ":kind", *params.kind);
    bindNamedInt32(statement, ":limit", params.limit);
    return stepAll(handle_, statement);
}

}  // namespace VarnholtQueryLib
