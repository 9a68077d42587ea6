#include "search/SQLiteObservationSearch.h"

#include <sqlite3.h>
#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <functional>
#include <limits>
#include <memory>
#include <optional>

#include <nlohmann/json.hpp>

#include "LiteralFallback.h"
#include "NamedParameters.h"
#include "QueryPlan.h"
#include "ReadSnapshot.h"
#include "ScatteredReads.h"
#include "SQLiteReadConnection.h"
#include "SQLiteStatement.h"
#include "search/IndexedSearchStatement.h"

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

// Blanks and tabs in the Unicode sense (space separators and TAB), not
// newlines.
bool isBlankOrTab(UChar32 codePoint) { return u_isblank(codePoint) != 0; }

icu::UnicodeString trimmedOfBlanks(const icu::UnicodeString& term) {
    int32_t start = 0;
    int32_t end = term.length();
    while (start < end && isBlankOrTab(term.char32At(start))) start = term.moveIndex32(start, 1);
    while (end > start) {
        const int32_t previous = term.moveIndex32(end, -1);
        if (!isBlankOrTab(term.char32At(previous))) break;
        end = previous;
    }
    return icu::UnicodeString(term, start, end - start);
}

bool isFTS5Operator(const icu::UnicodeString& term) {
    icu::UnicodeString upper(term);
    upper.toUpper(icu::Locale::getRoot());
    return upper == icu::UnicodeString(u"AND") || upper == icu::UnicodeString(u"OR") ||
           upper == icu::UnicodeString(u"NOT") || upper == icu::UnicodeString(u"NEAR") ||
           upper.startsWith(icu::UnicodeString(u"NEAR/"));
}

// The keyword split into terms: runs of non-whitespace, with double-quoted
// phrases kept whole (their inner whitespace included). An unclosed phrase
// runs to the end of the keyword, opening quote and all.
std::vector<icu::UnicodeString> splitTerms(const icu::UnicodeString& keyword) {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::BreakIterator> characters(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    if (U_FAILURE(status) || !characters) {
        invariantViolated("ICU cannot segment text into characters");
    }
    characters->setText(keyword);

    std::vector<icu::UnicodeString> terms;
    icu::UnicodeString current;
    bool inQuote = false;
    int32_t start = characters->first();
    for (int32_t end = characters->next(); end != icu::BreakIterator::DONE;
         start = end, end = characters->next()) {
        const icu::UnicodeString character(keyword, start, end - start);
        if (character == icu::UnicodeString(u"\"")) {
            current += character;
            if (inQuote) {
                terms.push_back(trimmedOfBlanks(current));
                current.remove();
            }
            inQuote = !inQuote;
        } else if (inQuote || !u_isUWhiteSpace(character.char32At(0))) {
            current += character;
        } else {
            if (!current.isEmpty()) terms.push_back(current);
            current.remove();
        }
    }
    if (!current.isEmpty()) terms.push_back(current);
    return terms;
}

// How many matches and window frames are counted at most to choose between
// confining the match to the window's rowids and letting it run over all of
// them. Counting walks index entries only, some nanoseconds each.
constexpr std::int64_t kEstimateCap = 1'000'000;

// The number the one-column `sql` counts, up to `cap`; absent when the
// statement fails (the literal statement then reports the failure).
std::optional<std::int64_t> countUpTo(sqlite3* handle, const std::string& sql,
                                      const std::function<void(sqlite3_stmt*)>& bind) {
    sqlite3_stmt* statement = prepareOrNull(handle, sql);
    if (statement == nullptr) return std::nullopt;
    FinalizeOnExit finalize(statement);
    bind(statement);
    bindNamedInt64(statement, ":cap", kEstimateCap);
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
    const auto matches = countUpTo(handle, kMatchCountStatement, [&](sqlite3_stmt* statement) {
        bindNamedText(statement, ":match", matchText);
    });
    const auto frames = countUpTo(handle, windowFrameCountStatement(params),
                                  [&](sqlite3_stmt* statement) { bindWindow(statement, params); });
    if (!matches || !frames) return std::nullopt;
    if (*frames >= *matches) return RowidRange();

    sqlite3_stmt* statement = prepareOrNull(handle, windowRowidRangeStatement(params));
    if (statement == nullptr) return std::nullopt;
    FinalizeOnExit finalize(statement);
    bindWindow(statement, params);
    if (sqlite3_step(statement) != SQLITE_ROW) return std::nullopt;
    if (sqlite3_column_type(statement, 0) == SQLITE_NULL) return RowidRange{1, 0};  // nothing in the window
    return RowidRange{sqlite3_column_int64(statement, 0), sqlite3_column_int64(statement, 1)};
}

}  // namespace

SQLiteObservationSearch::SQLiteObservationSearch(const SQLiteReadConnection& connection, IndexCatalogue indexes)
    : handle_(connection.handle()), indexes_(std::move(indexes)) {}

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
    return searchMatching(transformFTS5Keyword(params.keyword), params);
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
    // The rowid range and the match must see the same rows.
    const ReadSnapshot snapshot(handle_);
    const auto range = rowidRangeFor(handle_, matchText, params);
    if (!range) return std::nullopt;

    sqlite3_stmt* statement = prepareOrNull(handle_, indexedSearchStatement(params, *tieOrder));
    if (statement == nullptr) return std::nullopt;
    FinalizeOnExit finalize(statement);
    bindNamedText(statement, ":match", matchText);
    bindNamedInt64(statement, ":lo", range->lo);
    bindNamedInt64(statement, ":hi", range->hi);
    if (params.appFilter) bindNamedText(statement, ":app", *params.appFilter);
    bindWindow(statement, params);
    bindNamedInt32(statement, ":limit", params.limit);
    return stepAll(handle_, statement);
}

std::string SQLiteObservationSearch::transformFTS5Keyword(const std::string& keyword) {
    const std::vector<icu::UnicodeString> terms =
        splitTerms(icu::UnicodeString::fromUTF8(keyword));
    if (terms.size() == 1) return keyword;
    for (const auto& term : terms) {
        if (isFTS5Operator(term)) return keyword;
    }
    icu::UnicodeString joined;
    for (std::size_t index = 0; index < terms.size(); ++index) {
        if (index > 0) joined += icu::UnicodeString(u" OR ");
        joined += terms[index];
    }
    std::string result;
    joined.toUTF8String(result);
    return result;
}

}  // namespace VarnholtQueryLib
