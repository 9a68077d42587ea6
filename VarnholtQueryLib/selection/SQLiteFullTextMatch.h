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
// For a long window that visit costs more than the index's own lists: a
// month of frames took about a second here, where the list of a word held
// by two million rows reads in a tenth of that. So a window with at least
// WholeIndexLookUps::fromWindowFrames frames asks the whole index first
// (kWholeIndexMatchStatement), and keeps what it finds as long as all the
// rowids kept that way stay within heldRowidsLimit; a text with more rows
// than that falls back to the confined look-up. Either way every row of the
// window is in the answer, which is all the port promises.
//
// Borrows the run's connection, which must outlive the adapter.
class SQLiteFullTextMatch final : public FullTextMatchPort {
public:
    // :match is the MATCH text.
    static const char* const kMatchStatement;

    // When a look-up asks the whole index rather than the window's rowids.
    struct WholeIndexLookUps {
        // From this many frames in the window on, the whole index is asked
        // first: about two days of a recorder's frames, whose visit takes
        // some 50 ms, more than the lists of most words.
        std::int64_t fromWindowFrames = 20000;
        // What all of an answer's whole-index look-ups keep at most, 8 bytes
        // a rowid: 8 MB, enough for a year of six everyday texts here, and
        // well within the memory an answer may take.
        std::int64_t heldRowidsLimit = 1000000;
    };

    // With the WholeIndexLookUps above.
    SQLiteFullTextMatch(VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                        VarnholtSQLiteSupport::IndexCatalogue indexes);
    SQLiteFullTextMatch(VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                        VarnholtSQLiteSupport::IndexCatalogue indexes, WholeIndexLookUps wholeIndex);
    ~SQLiteFullTextMatch() override;

    bool holdsWord(const std::string& text) override;
    std::vector<std::int64_t> rowidsMatching(const std::vector<MatchTerm>& terms, double from,
                                             double to) override;

    // The look-up confined to the rowids :lo to :hi, which the indexed way
    // runs; :match is the MATCH text.
    static const char* const kConfinedMatchStatement;

    // The look-up of a long window: the whole index, at most :most rows.
    static const char* const kWholeIndexMatchStatement;
    // Whether the window holds at least :enough frames (1 or 0).
    static const char* const kLongWindowStatement;

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
    // The whole index's rowids for `match`, when the window is long and
    // they fit in what is left of the limit; absent otherwise.
    std::optional<std::vector<std::int64_t>> matchWholeIndex(const std::string& match, double from, double to);
    // Whether [from, to] holds WholeIndexLookUps::fromWindowFrames frames,
    // counted once per window.
    bool longWindow(double from, double to);
    bool knowsRowidsOf(double from, double to) const;

    // The least and greatest rowid of the observations of [from, to], found
    // once per window; absent when SQLite refuses the statement.
    std::optional<RowidRange> windowRowids(double from, double to);

    VarnholtSQLiteSupport::SQLiteReadConnection& connection_;
    const VarnholtSQLiteSupport::IndexCatalogue indexes_;
    // Made on first use; null once there was none to make.
    std::unique_ptr<FullTextTokenizer> tokenizer_;
    bool tokenizerSought_ = false;
    std::optional<WindowRowids> windowRowids_;
    struct LongWindow {
        double from = 0;
        double to = 0;
        bool isLong = false;
    };
    std::optional<LongWindow> longWindow_;
    const WholeIndexLookUps wholeIndex_;
    std::int64_t heldRowids_ = 0;  // kept from whole-index look-ups
};

}  // namespace VarnholtQueryLib
