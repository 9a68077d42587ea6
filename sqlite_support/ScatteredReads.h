#pragma once

struct sqlite3;

namespace VarnholtSQLiteSupport {

// Prepares `handle` for the index-driven statements, which read a few
// thousand scattered pages (the connection reads pages one system call at a
// time, never through a memory map) and sort or materialise no more than the
// rows of their answer, a few megabytes at most. SQLite spills such work to
// a temporary file once it outgrows the small page cache; writing and
// reading back that file cost a day-long timeline a tenth of its time, so it
// stays in memory. The literal statements are left to spill: they may sort
// millions of rows.
//
// Affects every later statement on the connection; never fails (a refusal
// only costs time).
void readScatteredPages(sqlite3* handle);

}  // namespace VarnholtSQLiteSupport
