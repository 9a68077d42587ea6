#pragma once

#include <string>
#include <vector>

#include "IndexCatalogue.h"
#include "ObservationScanOrder.h"
#include "search/ObservationSearchRecords.h"

namespace VarnholtQueryLib {

// Full-text search whose cost follows the matches of the time window rather
// than every match in history, with the answer of the literal statement
// (SQLiteObservationSearch::statementFor): the same rows, order and values.
//
// FTS5 applies a rowid range natively. Every observation whose effective
// time lies in the window has a rowid between the smallest and the largest
// rowid of the window's observations, so restricting the match to that range
// (:lo to :hi) drops only matches the exact time conditions drop anyway;
// BM25 scores do not change, because FTS5 takes its term statistics from the
// whole index. Where finding the range costs more than it saves, the range is
// all rowids and the statement still gains by reading descriptions and
// entities for the returned rows only.
//
// Ranking is the literal one, BM25 ascending then effective time descending
// (or only the time, newest first, for the latest match), and equal keys in
// the literal statement's walk order `tieOrder` (observationScanOrder: FTS5
// returns matches by ascending rowid).
//
// The relevance is FTS5's bm25, or bm25_with_copies (BM25WithCopies.h) with
// :copies when :match holds the distinct alternatives of a keyword with
// repeated words.
//
// Parameters: :match (the MATCH text), :lo and :hi (rowids), :app, :from and
// :to where `params` has them, :copies for bm25WithCopies, and :limit.
enum class ScoreFunction { bm25, bm25WithCopies };
std::string indexedSearchStatement(const ObservationSearchParams& params,
                                   const std::vector<VarnholtSQLiteSupport::OrderTerm>& tieOrder,
                                   ScoreFunction score = ScoreFunction::bm25);

// Matches of :match, counted up to :cap: walks the full-text index only.
extern const char* const kMatchCountStatement;

// Frames of the window of `params`, counted up to :cap: walks
// frames(timestamp) only. REQUIRES: params has fromTs or toTs.
std::string windowFrameCountStatement(const ObservationSearchParams& params);

// The smallest and largest rowid of the observations whose effective time
// lies in the window of `params` (NULL and NULL for none): the frame-dated
// part exactly, the self-dated part by the observations' own times, which
// covers it. REQUIRES: params has fromTs or toTs.
std::string windowRowidRangeStatement(const ObservationSearchParams& params);

// Whether the catalogue has every index these statements walk.
bool servesIndexedSearch(const VarnholtSQLiteSupport::IndexCatalogue& catalogue);

}  // namespace VarnholtQueryLib
