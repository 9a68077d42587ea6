#include "selection/SQLiteFullTextMatch.h"

#include <sqlite3.h>

#include <algorithm>

#include "EffectiveTimeWindow.h"
#include "LiteralFallback.h"
#include "NamedParameters.h"
#include "SQLiteReadConnection.h"
#include "SQLiteStatement.h"
#include "selection/FullTextTokenizer.h"

namespace VarnholtQueryLib {

using namespace VarnholtSQLiteSupport;

const char* const SQLiteFullTextMatch::kMatchStatement =
    "SELECT rowid FROM observations_fts WHERE observations_fts MATCH :match";

// FTS5 applies a rowid range natively: it seeks in each word's list of
// rows instead of reading it from the start of history.
const char* const SQLiteFullTextMatch::kConfinedMatchStatement =
    "SELECT rowid FROM observations_fts WHERE observations_fts MATCH :match AND rowid BETWEEN :lo AND :hi";

const char* const SQLiteFullTextMatch::kWholeIndexMatchStatement =
    "SELECT rowid FROM observations_fts WHERE observations_fts MATCH :match LIMIT :most";

// Counts along frames(timestamp) and stops at :enough, so that a year's
// window costs no more than a short one.
const char* const SQLiteFullTextMatch::kLongWindowStatement =
    "SELECT count(*) >= :enough FROM (SELECT 1 FROM frames WHERE timestamp >= :from AND timestamp <= :to "
    "LIMIT :enough)";

namespace {

// Whether an indexed word holds a letter or a digit. The recorder's
// tokenizer keeps '_', '-' and '.' inside words, so that "node.js" stays
// one word, but a dash or dots on their own are punctuation, not a word to
// look for. Every character beyond ASCII that the tokenizer keeps is a
// letter or a number (its separators are dropped).
bool holdsLetterOrDigit(const std::string& word) {
    return std::any_of(word.begin(), word.end(), [](const char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte >= 0x80 || (byte >= '0' && byte <= '9') || (byte >= 'a' && byte <= 'z') ||
               (byte >= 'A' && byte <= 'Z');
    });
}

std::vector<std::int64_t> ascending(std::vector<std::int64_t> rowids) {
    if (!std::is_sorted(rowids.begin(), rowids.end())) std::sort(rowids.begin(), rowids.end());
    rowids.erase(std::unique(rowids.begin(), rowids.end()), rowids.end());
    return rowids;
}

std::vector<std::int64_t> stepRowids(sqlite3* handle, sqlite3_stmt* statement) {
    std::vector<std::int64_t> rowids;
    stepRows(handle, statement, [&rowids](sqlite3_stmt* row) { rowids.push_back(sqlite3_column_int64(row, 0)); });
    return ascending(std::move(rowids));
}

}  // namespace

SQLiteFullTextMatch::SQLiteFullTextMatch(SQLiteReadConnection& connection, IndexCatalogue indexes)
    : SQLiteFullTextMatch(connection, std::move(indexes), WholeIndexLookUps{}) {}

SQLiteFullTextMatch::SQLiteFullTextMatch(SQLiteReadConnection& connection, IndexCatalogue indexes,
                                         WholeIndexLookUps wholeIndex)
    : connection_(connection), indexes_(std::move(indexes)), wholeIndex_(wholeIndex) {}

SQLiteFullTextMatch::~SQLiteFullTextMatch() = default;

std::string SQLiteFullTextMatch::matchText(const std::vector<MatchTerm>& terms) {
    std::string text;
    for (const MatchTerm& term : terms) {
        if (!text.empty()) text += ' ';
        text += '"';
        for (const char c : term.text) {
            text += c;
            if (c == '"') text += '"';
        }
        text += '"';
    }
    return text;
}

bool SQLiteFullTextMatch::holdsWord(const std::string& text) {
    if (!tokenizerSought_) {
        tokenizer_ = FullTextTokenizer::forRecorderIndex(connection_.handle());
        tokenizerSought_ = true;
    }
    if (!tokenizer_) return true;
    const auto words = tokenizer_->words(text, FullTextTokenizer::Purpose::query);
    return !words || std::any_of(words->begin(), words->end(), holdsLetterOrDigit);
}

std::vector<std::int64_t> SQLiteFullTextMatch::rowidsMatching(const std::vector<MatchTerm>& terms, double from,
                                                              double to) {
    const std::string match = matchText(terms);
    return withLiteralFallback([&] { return matchIndexed(match, from, to); }, [&] { return matchLiteral(match); });
}

std::vector<std::int64_t> SQLiteFullTextMatch::matchLiteral(const std::string& match) {
    sqlite3* handle = connection_.handle();
    sqlite3_stmt* statement = prepareStatement(handle, kMatchStatement);
    FinalizeOnExit finalize(statement);
    bindNamedText(statement, ":match", match);
    return stepRowids(handle, statement);
}

std::optional<std::vector<std::int64_t>> SQLiteFullTextMatch::matchIndexed(const std::string& match, double from,
                                                                           double to) {
    if (!servesEffectiveTimeWindows(indexes_)) return std::nullopt;
    if (auto whole = matchWholeIndex(match, from, to)) return whole;
    const std::optional<RowidRange> rowids = windowRowids(from, to);
    if (!rowids) return std::nullopt;
    sqlite3* handle = connection_.handle();
    sqlite3_stmt* statement = prepareOrNull(handle, kConfinedMatchStatement);
    if (statement == nullptr) return std::nullopt;
    FinalizeOnExit finalize(statement);
    bindNamedText(statement, ":match", match);
    bindNamedInt64(statement, ":lo", rowids->lo);
    bindNamedInt64(statement, ":hi", rowids->hi);
    return stepRowids(handle, statement);
}

std::optional<std::vector<std::int64_t>> SQLiteFullTextMatch::matchWholeIndex(const std::string& match, double from,
                                                                              double to) {
    // Once the window's range is known, confining costs nothing more.
    if (knowsRowidsOf(from, to)) return std::nullopt;
    const std::int64_t room = wholeIndex_.heldRowidsLimit - heldRowids_;
    if (room <= 0 || !longWindow(from, to)) return std::nullopt;
    sqlite3* handle = connection_.handle();
    sqlite3_stmt* statement = prepareOrNull(handle, kWholeIndexMatchStatement);
    if (statement == nullptr) return std::nullopt;
    FinalizeOnExit finalize(statement);
    bindNamedText(statement, ":match", match);
    // One more than fits tells that the list is too long.
    bindNamedInt64(statement, ":most", room + 1);
    std::vector<std::int64_t> rowids = stepRowids(handle, statement);
    if (static_cast<std::int64_t>(rowids.size()) > room) return std::nullopt;
    heldRowids_ += static_cast<std::int64_t>(rowids.size());
    // Kept for the whole answer: only what it holds.
    rowids.shrink_to_fit();
    return rowids;
}

bool SQLiteFullTextMatch::knowsRowidsOf(double from, double to) const {
    return windowRowids_ && windowRowids_->from == from && windowRowids_->to == to;
}

bool SQLiteFullTextMatch::longWindow(double from, double to) {
    // A timesheet asks for several texts over one window: counted once.
    if (longWindow_ && longWindow_->from == from && longWindow_->to == to) return longWindow_->isLong;
    sqlite3* handle = connection_.handle();
    sqlite3_stmt* statement = prepareOrNull(handle, kLongWindowStatement);
    if (statement == nullptr) return false;
    FinalizeOnExit finalize(statement);
    bindNamedInt64(statement, ":enough", wholeIndex_.fromWindowFrames);
    bindNamedDouble(statement, ":from", from);
    bindNamedDouble(statement, ":to", to);
    bool longEnough = false;
    stepRows(handle, statement, [&longEnough](sqlite3_stmt* row) { longEnough = sqlite3_column_int(row, 0) != 0; });
    longWindow_ = LongWindow{from, to, longEnough};
    return longEnough;
}

std::optional<SQLiteFullTextMatch::RowidRange> SQLiteFullTextMatch::windowRowids(double from, double to) {
    if (knowsRowidsOf(from, to)) return windowRowids_->rowids;
    sqlite3* handle = connection_.handle();
    sqlite3_stmt* range = prepareOrNull(handle, VarnholtSQLiteSupport::windowRowidRangeStatement({true, true}));
    if (range == nullptr) return std::nullopt;
    FinalizeOnExit finalizeRange(range);
    bindNamedDouble(range, ":from", from);
    bindNamedDouble(range, ":to", to);
    const int stepped = sqlite3_step(range);
    if (stepped != SQLITE_ROW) throw stepFailure(handle, stepped);
    // No observation in the window: an empty range, still asked, so that
    // a database without the index fails the same way whatever the window.
    const bool empty = sqlite3_column_type(range, 0) == SQLITE_NULL;
    RowidRange rowids;
    rowids.lo = empty ? 1 : sqlite3_column_int64(range, 0);
    rowids.hi = empty ? 0 : sqlite3_column_int64(range, 1);
    windowRowids_ = WindowRowids{from, to, rowids};
    return rowids;
}

}  // namespace VarnholtQueryLib
