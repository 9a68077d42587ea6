#include "search/SQLiteObservationSearch.h"

#include <sqlite3.h>

#include <optional>

#include <nlohmann/json.hpp>

#include "SQLiteReadConnection.h"
#include "SQLiteStatement.h"
#include "search/FTS5Keyword.h"

namespace VarnholtQueryLib {

using namespace VarnholtSQLiteSupport;

namespace {

// Everything up to the first condition. Each observation's entities come from
// a correlated sub-select, so one statement answers the whole search.
constexpr const char* kStatementHead =
    "    SELECT\n"
    "        o.id,\n"
    "        o.vlm_description,\n"
    "        o.apps,\n"
    "        o.image_path,\n"
    "        COALESCE(f.timestamp, o.timestamp) AS frame_timestamp,\n"
    "        (SELECT json_group_array(json_object('kind', entity_kind, 'value', entity_value))\n"
    "         FROM observation_entities WHERE observation_id = o.id) AS entities_json\n"
    "    FROM observations o\n"
    "    JOIN observations_fts fts ON fts.rowid = o.rowid\n"
    "    LEFT JOIN frames f ON o.frame_id = f.id\n"
    "    WHERE observations_fts MATCH ?\n"
    "      AND ";

constexpr const char* kConditionSeparator = "\n  AND ";
constexpr const char* kDescribedCondition = "o.vlm_description IS NOT NULL";
// Whole-entry comparison: "Code" must not match an app named "VS Code".
constexpr const char* kApplicationCondition =
    "EXISTS (SELECT 1 FROM json_each(o.apps) WHERE lower(value) = lower(?))";
constexpr const char* kLowerBoundCondition = "COALESCE(f.timestamp, o.timestamp) >= ?";
constexpr const char* kUpperBoundCondition = "COALESCE(f.timestamp, o.timestamp) <= ?";
// Equal BM25 scores are common for near-identical descriptions; the newer
// observation is the more useful one then.
constexpr const char* kRelevanceOrder = "bm25(observations_fts) ASC, frame_timestamp DESC";
constexpr const char* kNewestFirstOrder = "frame_timestamp DESC";

// The entity list of one row from its json_group_array text. Anything that
// is not an array of objects gives no entities; an object without string
// "kind" and "value" members is skipped. Never throws: a damaged entity row
// must not cost the user the observation itself.
std::vector<SearchResultEntity> decodeEntities(const std::optional<std::string>& text) {
    std::vector<SearchResultEntity> entities;
    if (!text) return entities;
    const nlohmann::json parsed = nlohmann::json::parse(*text, nullptr, /*allow_exceptions=*/false);
    if (parsed.is_discarded() || !parsed.is_array()) return entities;
    for (const auto& element : parsed) {
        if (!element.is_object()) return {};
    }
    for (const auto& element : parsed) {
        const auto kind = element.find("kind");
        const auto value = element.find("value");
        if (kind == element.end() || value == element.end()) continue;
        if (!kind->is_string() || !value->is_string()) continue;
        entities.push_back({kind->get<std::string>(), value->get<std::string>()});
    }
    return entities;
}

ObservationSearchResult decodeRow(sqlite3_stmt* statement) {
    ObservationSearchResult result;
    result.observationId = columnText(statement, 0);
    result.vlmDescription = columnOptionalText(statement, 1).value_or("");
    result.apps = SQLiteReadConnection::parseJsonArray(columnOptionalText(statement, 2).value_or("[]"));
    result.imagePath = columnOptionalText(statement, 3);
    result.frameTimestamp = sqlite3_column_double(statement, 4);
    result.entities = decodeEntities(columnOptionalText(statement, 5));
    return result;
}

}  // namespace

SQLiteObservationSearch::SQLiteObservationSearch(const SQLiteReadConnection& connection)
    : handle_(connection.handle()) {}

std::string SQLiteObservationSearch::statementFor(const ObservationSearchParams& params) {
    std::string sql = kStatementHead;
    sql += kDescribedCondition;
    if (params.appFilter) sql += std::string(kConditionSeparator) + kApplicationCondition;
    if (params.fromTs) sql += std::string(kConditionSeparator) + kLowerBoundCondition;
    if (params.toTs) sql += std::string(kConditionSeparator) + kUpperBoundCondition;
    sql += "\n    ORDER BY ";
    sql += params.latestOnly ? kNewestFirstOrder : kRelevanceOrder;
    sql += "\n    LIMIT ?";
    return sql;
}

std::vector<ObservationSearchResult> SQLiteObservationSearch::search(
    const ObservationSearchParams& params) {
    // Newest first, the rows that match decide the answer alone; under BM25
    // every copy of a repeated term adds its weight again.
    const FTS5Keyword::RepeatedTerms repeated =
        params.latestOnly ? FTS5Keyword::RepeatedTerms::drop : FTS5Keyword::RepeatedTerms::keep;
    const std::string matchText = FTS5Keyword::transformed(params.keyword, repeated);
    try {
        return searchMatching(params, matchText);
    } catch (const DatabaseError& failure) {
        // Ordinary words such as "node.js" or "feature-flag" are FTS5 syntax
        // errors; taken literally they are what the user meant. A busy
        // database is no reason to ask again, and when the literal form
        // fails too, the first failure is the one that explains the keyword.
        if (failure.errorCase() == DatabaseError::Case::locked) throw;
        const std::string literalText = FTS5Keyword::literal(params.keyword, repeated);
        if (literalText.empty() || literalText == matchText) throw;
        try {
            return searchMatching(params, literalText);
        } catch (const DatabaseError&) {
            throw failure;
        }
    }
}

std::vector<ObservationSearchResult> SQLiteObservationSearch::searchMatching(
    const ObservationSearchParams& params, const std::string& matchText) {
    sqlite3_stmt* statement = prepareStatement(handle_, statementFor(params));
    FinalizeOnExit finalize(statement);

    int position = 1;
    bindText(statement, position++, matchText);
    if (params.appFilter) bindText(statement, position++, *params.appFilter);
    if (params.fromTs) sqlite3_bind_double(statement, position++, *params.fromTs);
    if (params.toTs) sqlite3_bind_double(statement, position++, *params.toTs);
    bindInt32(statement, position, params.limit);

    std::vector<ObservationSearchResult> results;
    stepRows(handle_, statement,
             [&results](sqlite3_stmt* row) { results.push_back(decodeRow(row)); });
    return results;
}

std::string SQLiteObservationSearch::transformFTS5Keyword(const std::string& keyword) {
    return FTS5Keyword::transformed(keyword);
}

}  // namespace VarnholtQueryLib
