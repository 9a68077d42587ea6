#pragma once

// Binding by name for the index-driven statements, whose parts repeat a
// bound value in several places (:from, :to). Binding a name the statement
// does not contain does nothing, so one binding routine serves every variant
// of a statement. Conventions otherwise as in SQLiteStatement.h.

#include <sqlite3.h>

#include <cstdint>
#include <string>

namespace VarnholtSQLiteSupport {

void bindNamedDouble(sqlite3_stmt* statement, const char* name, double value);
void bindNamedInt64(sqlite3_stmt* statement, const char* name, std::int64_t value);
// REQUIRES: value fits a signed 32-bit integer; otherwise the process stops,
// as bindInt32 does.
void bindNamedInt32(sqlite3_stmt* statement, const char* name, std::int64_t value);
void bindNamedText(sqlite3_stmt* statement, const char* name, const std::string& text);

// Prepares `sql`, or returns null (and leaves no statement behind) when
// SQLite refuses it. For the index-driven statements, whose refusal means a
// schema they were not written for: the caller then runs the literal
// statement, which reports whatever is wrong in its own words.
sqlite3_stmt* prepareOrNull(sqlite3* handle, const std::string& sql);

}  // namespace VarnholtSQLiteSupport
