#include "search/SQLiteObservationSearch.h"

#include <sqlite3.h>

#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "LiteralFallback.h"
#include "NamedParameters.h"
#include "ObservationEntities.h"
#include "PageWarming.h"
#include "QueryPlan.h"
#include "ReadSnapshot.h"
#include "ScatteredReads.h"
#include "SQLiteReadConnection.h"
#include "SQLiteStatement.h"
#include "search/BM25WithCopies.h"
#include "search/FTS5Keyword.h"
#include "search/IndexedSearchStatement.h"
#include "search/RepeatedAlternatives.h"

namespace VarnholtQueryLib {

using namespace VarnholtSQLiteSupport;

namespace {

// Everything up to the first condition. Each observation's entities come from
// a correlated sub-select, so one statement answers the whole search; an
// entity whose kind or value is NULL or a BLOB names nothing and is left
// out. Only numbers are times: text or a BLOB in a time column counts as no
// time, as NULL does (a number sorts below every text and BLOB).
constexpr const char* kStatementHead =
    "    SELECT\n"
    "        o.id,\n"
    "        o.vlm_description,\n"
    "        o.apps,\n"
    "        o.image_path,\n"
    "        COALESCE(CASE WHEN f.timestamp < '' THEN f.timestamp END,\n"
    "                 CASE WHEN o.timestamp < '' THEN o.timestamp END) AS frame_timestamp,\n"
    "        (SELECT json_group_array(json_object('kind', entity_kind, 'value', entity_value))\n"
    "         FROM observation_entities WHERE observation_id = o.id\n"
    "           AND typeof(entity_kind) NOT IN ('null', 'blob')\n"
    "           AND typeof(entity_value) NOT IN ('null', 'blob')) AS entities_json\n"
    "    FROM observations o\n"
    "    JOIN observations_fts fts ON fts.rowid = o.rowid\n"
    "    LEFT JOIN frames f ON o.frame_id = f.id\n"
    "    WHERE observations_fts MATCH ?\n"
    "      AND ";

constexpr const char* kConditionSeparator = "\n  AND ";
constexpr const char* kDescribedCondition = "o.vlm_description IS NOT NULL";
// Whole-entry comparison: "Code" must not match an app named "VS Code".
// Text that is not JSON (a damaged row, "Slack, Zoom", nesting too deep for
// SQLite) lists no application, as the results decode it; handed to
// json_each it would fail the whole search.
constexpr const char* kApplicationCondition =
    "EXISTS (SELECT 1 FROM json_each(CASE WHEN json_valid(o.apps) THEN o.apps END)\n"
    "          WHERE lower(value) = lower(?))";
constexpr const char* kLowerBoundCondition =
    "COALESCE(CASE WHEN f.timestamp < '' THEN f.timestamp END,\n"
    "           CASE WHEN o.timestamp < '' THEN o.timestamp END) >= ?";
constexpr const char* kUpperBoundCondition =
    "COALESCE(CASE WHEN f.timestamp < '' THEN f.timestamp END,\n"
    "           CASE WHEN o.timestamp < '' THEN o.timestamp END) <= ?";
// Equal BM25 scores are common for near-identical descriptions; the newer
// observation is the more useful one then.
constexpr const char* kRelevanceOrder = "bm25(observations_fts) ASC, frame_timestamp DESC";
constexpr const char* kNewestFirstOrder = "frame_timestamp DESC";

// The entity list of one row from its json_group_array text, read as the
// timeline and summary read theirs (parseEntities): never throws, since a
// damaged entity row must not cost the user the observation itself.
std::vector<SearchResultEntity> decodeEntities(const std::optional<std::string>& text) {
    std::vector<SearchResultEntity> entities;
    for (auto& [kind, value] : RecentWorkTimelineCore::parseEntities(text)) {
        entities.push_back({std::move(kind), std::move(value)});
    }
    return entities;
}

// Both statements give these columns in this order.
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

std::vector<ObservationSearchResult> stepAll(sqlite3* handle, sqlite3_stmt* statement) {
    std::vector<ObservationSearchResult> results;
    stepRows(handle, statement, [&results](sqlite3_stmt* row) { results.push_back(decodeRow(row)); });
    return results;
}

// How many window frames are counted at most to choose between confining
// the match to the window's rowids and letting it run over all of them.
// Counting walks index entries only, some nanoseconds each.
constexpr std::int64_t kEstimateCap = 1'000'000;

// The number the one-column `sql` counts, up to `cap`; absent when the
// statement fails (the literal statement then reports the failure).
std::optional<std::int64_t> countUpTo(sqlite3* handle, const std::string& sql, std::int64_t cap,
                                      const std::function<void(sqlite3_stmt*)>& bind) {
    sqlite3_stmt* statement = prepareOrNull(handle, sql);
    if (statement == nullptr) return std::nullopt;
    FinalizeOnExit finalize(statement);
    bind(statement);
    bindNamedInt64(statement, ":cap", cap);
    if (sqlite3_step(statement) != SQLITE_ROW) return std::nullopt;
    return sqlite3_column_int64(statement, 0);
}

void bindWindow(sqlite3_stmt* statement, const ObservationSearchParams& params) {
    if (params.fromTs) bindNamedDouble(statement, ":from", *params.fromTs);
    if (params.toTs) bindNamedDouble(statement, ":to", *params.toTs);
}

struct RowidRange {
    std::int64_t lo = std::numeric_limits<std::int64_t>::min();
    std::int64_t hi = std::numeric_limits<std::int64_t>::max();
};

// The rowids to confine the match to: those of the window's observations
// when finding them is cheaper than testing every match against the window
// (there are fewer frames in the window than matches), else all rowids.
// Absent when a statement fails.
std::optional<RowidRange> rowidRangeFor(sqlite3* handle, const std::string& matchText,
                                        const ObservationSearchParams& params) {
    if (!params.fromTs && !params.toTs) return RowidRange();
    const auto frames = countUpTo(handle, windowFrameCountStatement(params), kEstimateCap,
                                  [&](sqlite3_stmt* statement) { bindWindow(statement, params); });
    if (!frames) return std::nullopt;
    // Matches are counted only as far as the decision needs: a keyword of
    // thousands of words costs FTS5 time for every match it counts.
    const auto matches = countUpTo(handle, kMatchCountStatement, *frames + 1, [&](sqlite3_stmt* statement) {
        bindNamedText(statement, ":match", matchText);
    });
    if (!matches) return std::nullopt;
    if (*frames >= *matches) return RowidRange();

    sqlite3_stmt* statement = prepareOrNull(handle, windowRowidRangeStatement(params));
    if (statement == nullptr) return std::nullopt;
    FinalizeOnExit finalize(statement);
    bindWindow(statement, params);
    if (sqlite3_step(statement) != SQLITE_ROW) return std::nullopt;
    if (sqlite3_column_type(statement, 0) == SQLITE_NULL) return RowidRange{1, 0};  // nothing in the window
    return RowidRange{sqlite3_column_int64(statement, 0), sqlite3_column_int64(statement, 1)};
}

// Whether FTS5 accepts `matchText` as a query: it parses the expression
// when the match starts, so finding the first match is enough. A busy
// database is no reason to think otherwise; its failure is `locked`.
bool acceptsMatch(sqlite3* handle, const std::string& matchText) {
    try {
        sqlite3_stmt* statement = prepareStatement(
            handle, "SELECT 1 FROM observations_fts WHERE observations_fts MATCH ? LIMIT 1");
        FinalizeOnExit finalize(statement);
        bindText(statement, 1, matchText);
        stepRows(handle, statement, [](sqlite3_stmt*) {});
        return true;
    } catch (const DatabaseError& failure) {
        if (failure.errorCase() == DatabaseError::Case::locked) throw;
        return false;
    }
}

// The rowids the observations hold, from the ends of the table's b-tree;
// absent for an empty table or a failed statement.
std::optional<RowidRange> storedRowids(sqlite3* handle) {
    sqlite3_stmt* statement = prepareOrNull(handle, "SELECT min(rowid), max(rowid) FROM observations");
    if (statement == nullptr) return std::nullopt;
    FinalizeOnExit finalize(statement);
    if (sqlite3_step(statement) != SQLITE_ROW || sqlite3_column_type(statement, 0) == SQLITE_NULL) {
        return std::nullopt;
    }
    return RowidRange{sqlite3_column_int64(statement, 0), sqlite3_column_int64(statement, 1)};
}

// The helpers' share of a windowed search: slices of the rowids the match
// is confined to, or of every stored rowid when it runs over all of them
// (each match is then tested against the window, which is most of the
// reading). They score with plain bm25, which reads the same pages as the
// answer's ranking (bm25_with_copies lives only on the answer's connection).
WarmingPlan warmingPlanFor(sqlite3* handle, const ObservationSearchParams& params,
                           const std::vector<OrderTerm>& tieOrder, const std::string& matching,
                           RowidRange range) {
    WarmingPlan plan;
    if (!params.fromTs && !params.toTs) return plan;
    if (range.lo == RowidRange().lo && range.hi == RowidRange().hi) {
        const auto stored = storedRowids(handle);
        if (!stored) return plan;
        range = *stored;
    }
    if (range.lo > range.hi) return plan;
    WarmingLookup lookup{indexedSearchStatement(params, tieOrder, ScoreFunction::bm25),
                         {{":match", matching}, {":limit", params.limit}}};
    if (params.appFilter) lookup.parameters.emplace_back(":app", *params.appFilter);
    if (params.fromTs) lookup.parameters.emplace_back(":from", *params.fromTs);
    if (params.toTs) lookup.parameters.emplace_back(":to", *params.toTs);
    plan.lookups.push_back(std::move(lookup));
    plan.from = static_cast<double>(range.lo);
    plan.to = static_cast<double>(range.hi);
    plan.lower = ":lo";
    plan.upper = ":hi";
    plan.wholeNumbers = true;
    return plan;
}

}  // namespace

SQLiteObservationSearch::SQLiteObservationSearch(const SQLiteReadConnection& connection, IndexCatalogue indexes)
    : handle_(connection.handle()), warming_(connection.warming()), indexes_(std::move(indexes)) {}

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
    if (params.allWords) {
        // Every term quoted: nothing in it is FTS5 syntax, so there is no
        // other form to fall back to. A keyword without any term searches as
        // it would without all words, and fails the same way.
        const std::string allWordsText = FTS5Keyword::allWords(params.keyword, repeated);
        if (!allWordsText.empty()) return searchMatching(allWordsText, params);
    }
    const std::string matchText = FTS5Keyword::transformed(params.keyword, repeated);
    // Ordinary words such as "node.js" or "feature-flag" are FTS5 syntax
    // errors; taken literally they are what the user meant. FTS5 is asked
    // first, so that the statements run once, with the text it accepts. When
    // neither form works, the keyword as given runs and its failure is the
    // one reported.
    if (!acceptsMatch(handle_, groupedAlternatives(matchText))) {
        const std::string literalText = FTS5Keyword::literal(params.keyword, repeated);
        if (!literalText.empty() && literalText != matchText &&
            acceptsMatch(handle_, groupedAlternatives(literalText))) {
            try {
                return searchMatching(literalText, params);
            } catch (const DatabaseError& failure) {
                // What went wrong with the keyword as given explains it best.
                if (failure.errorCase() == DatabaseError::Case::locked) throw;
            }
        }
    }
    return searchMatching(matchText, params);
}

std::vector<ObservationSearchResult> SQLiteObservationSearch::searchMatching(
    const std::string& matchText, const ObservationSearchParams& params) {
    return withLiteralFallback([&] { return searchIndexed(matchText, params); },
                               [&] { return searchLiteral(matchText, params); });
}

std::vector<ObservationSearchResult> SQLiteObservationSearch::searchLiteral(
    const std::string& matchText, const ObservationSearchParams& params) {
    sqlite3_stmt* statement = prepareStatement(handle_, statementFor(params));
    FinalizeOnExit finalize(statement);

    int position = 1;
    bindText(statement, position++, matchText);
    if (params.appFilter) bindText(statement, position++, *params.appFilter);
    if (params.fromTs) sqlite3_bind_double(statement, position++, *params.fromTs);
    if (params.toTs) sqlite3_bind_double(statement, position++, *params.toTs);
    bindInt32(statement, position, params.limit);
    return stepAll(handle_, statement);
}

std::optional<std::vector<ObservationSearchResult>> SQLiteObservationSearch::searchIndexed(
    const std::string& matchText, const ObservationSearchParams& params) {
    if (!servesIndexedSearch(indexes_)) return std::nullopt;
    const auto plan = explainQueryPlan(handle_, statementFor(params));
    if (!plan) return std::nullopt;
    const auto tieOrder = observationScanOrder(*plan, indexes_);
    if (!tieOrder) return std::nullopt;
    readScatteredPages(handle_);
    // Ranked by BM25, a pasted text's repeated words would each cost FTS5 a
    // pass over their rows; the distinct ones match the same rows, and
    // bm25_with_copies gives the scores of every copy from them.
    std::optional<RepeatedAlternatives> repeats;
    if (!params.latestOnly) repeats = repeatedAlternatives(matchText);
    if (repeats && !registerBM25WithCopies(handle_)) repeats.reset();
    // Grouped, the alternatives of a pasted text cost FTS5 time linear in
    // their number to parse, not quadratic; the literal statement, the
    // reference, gets the flat text.
    const std::string matching = groupedAlternatives(repeats ? repeats->distinctMatchText : matchText);
    // The rowid range and the match must see the same rows.
    const ReadSnapshot snapshot(handle_);
    const auto range = rowidRangeFor(handle_, matching, params);
    if (!range) return std::nullopt;

    const ScoreFunction score = repeats ? ScoreFunction::bm25WithCopies : ScoreFunction::bm25;
    sqlite3_stmt* statement = prepareOrNull(handle_, indexedSearchStatement(params, *tieOrder, score));
    if (statement == nullptr) return std::nullopt;
    FinalizeOnExit finalize(statement);
    bindNamedText(statement, ":match", matching);
    if (repeats) bindNamedText(statement, ":copies", copiesArgument(repeats->copyOf));
    bindNamedInt64(statement, ":lo", range->lo);
    bindNamedInt64(statement, ":hi", range->hi);
    if (params.appFilter) bindNamedText(statement, ":app", *params.appFilter);
    bindWindow(statement, params);
    bindNamedInt32(statement, ":limit", params.limit);
    const WarmingScope warming(warming_, handle_, warmingPlanFor(handle_, params, *tieOrder, matching, *range));
    return stepAll(handle_, statement);
}

std::string SQLiteObservationSearch::transformFTS5Keyword(const std::string& keyword) {
    return FTS5Keyword::transformed(keyword);
}

}  // namespace VarnholtQueryLib
