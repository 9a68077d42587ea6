#pragma once

struct sqlite3;

namespace VarnholtSQLiteSupport {

// Switches `handle` from reading the database through the memory map to
// reading through SQLite's own page cache, for the index-driven statements.
//
// The connection maps the file because the literal statements read large
// parts of it, where the map saves a system call per page. The index-driven
// statements read a few thousand scattered pages instead. Through the map
// each of those faults in the 64 KB around it and stays resident, so a
// default window grew the process by hundreds of megabytes on a year of
// history, and unmapping it all at exit took time too. Read the ordinary
// way they are as fast and stay within a few megabytes.
//
// What those statements sort or materialise is the rows of their answer, a
// few megabytes at most. SQLite spills such work to a temporary file once it
// outgrows the small page cache; writing and reading back that file cost a
// day-long timeline a tenth of its time, so it stays in memory.
//
// Affects every later statement on the connection; never fails (a refusal
// only costs time or memory).
void readScatteredPages(sqlite3* handle);

}  // namespace VarnholtSQLiteSupport
