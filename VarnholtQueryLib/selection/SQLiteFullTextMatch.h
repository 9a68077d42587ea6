#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "IndexCatalogue.h"
#include "selection/FullTextMatchPort.h"

namespace VarnholtSQLiteSupport {
class SQLiteReadConnection;
}

namespace VarnholtQueryLib {

class FullTextTokenizer;

// Text rules answered by the recorder's full-text index (observations_fts).
//
// Every term goes to FTS5 in double quotes, so that no input is read as
// query syntax and none fails to parse: NEAR, OR and "deploying*" are words
// like any other, and FTS5 cuts each term into words with the index's own
// tokenizer (a phrase's words must then stand next to each other). The
// terms are ANDed.
//
// kMatchStatement, the literal statement, asks the whole index. With the
// recorder's indexes in place the look-up is confined to the rowids of the
// window's observations (windowRowidRangeStatement), which holds every row
// of the window and keeps a year of matches of a common word out of a week's
// answer; without them, or when SQLite refuses that, the literal statement
// runs (withLiteralFallback).
//
// Whether a term holds a word is asked of the index's tokenizer
// (FullTextTokenizer); where there is none to ask (no full-text table, a
// tokenizer this SQLite does not know), every term is taken to hold one and
// the look-up reports what is wrong.
//
// Finding the window's rowids means visiting every observation of the
// window, as long as reading them; the categories of a timesheet ask for
// several texts over one window, so the range is found once and kept for
// further look-ups over the same window. The adapter therefore lives within
// one read transaction (one answer), as every adapter of a run does.
//
// Borrows the run's connection, which must outlive the adapter.
class SQLiteFullTextMatch final : public FullTextMatchPort {
public:
    // :match is the MATCH text.
    static const char* const kMatchStatement;

    SQLiteFullTextMatch(VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                        VarnholtSQLiteSupport::IndexCatalogue indexes);
    ~SQLiteFullTextMatch() override;

    bool holdsWord(const std::string& text) override;
    std::vector<std::int64_t> rowidsMatching(const std::vector<MatchTerm>& terms, double from,
                                             double to) override;

    // The look-up confined to the rowids :lo to :hi, which the indexed way
    // runs; :match is the MATCH text.
    static const char* const kConfinedMatchStatement;

    // The MATCH text of `terms`: each in double quotes (a quote inside
    // doubled), separated by blanks, which FTS5 reads as AND.
    static std::string matchText(const std::vector<MatchTerm>& terms);

private:
    std::vector<std::int64_t> matchLiteral(const std::string& match);
    std::optional<std::vector<std::int64_t>> matchIndexed(const std::string& match, double from, double to);

    struct RowidRange {
        std::int64_t lo = 1;
        std::int64_t hi = 0;  // below lo for a window without observations
    };
    struct WindowRowids {
        double from = 0;
        double to = 0;
        RowidRange rowids;
    };
    // The least and greatest rowid of the observations of [from, to], found
    // once per window; absent when SQLite refuses the statement.
    std::optional<RowidRange> windowRowids(double from, double to);

    VarnholtSQLiteSupport::SQLiteReadConnection& connection_;
    const VarnholtSQLiteSupport::IndexCatalogue indexes_;
    // Made on first use; null once there was none to make.
    std::unique_ptr<FullTextTokenizer> tokenizer_;
    bool tokenizerSought_ = false;
    std::optional<WindowRowids> windowRowids_;
};

}  // namespace VarnholtQueryLib
