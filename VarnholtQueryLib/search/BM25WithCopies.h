#pragma once

#include <sqlite3.h>

namespace VarnholtQueryLib {

// The name under which registerBM25WithCopies() offers the function.
inline constexpr const char* kBM25WithCopies = "bm25_with_copies";

// Adds to `handle`'s FTS5 the auxiliary function
//   bm25_with_copies(fts_table, copies)
// which, for a MATCH of distinct alternatives (RepeatedAlternatives), returns
// bit for bit what FTS5's own bm25(fts_table) returns for the MATCH of every
// copy: the same statistics, the same formula, and the per-phrase terms
// summed in the original order of the copies. `copies` is copiesArgument():
// for each original alternative, the position of its distinct phrase. The
// function fails (and with it the statement) when `copies` does not fit the
// query's phrases. Registering touches only the connection, never the file.
// Returns false when FTS5 cannot be reached.
bool registerBM25WithCopies(sqlite3* handle);

}  // namespace VarnholtQueryLib
