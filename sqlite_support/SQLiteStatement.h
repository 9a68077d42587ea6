#pragma once

// The statement conventions every SQL adapter follows, as small helpers over
// the raw SQLite API (there is deliberately no statement class):
//  - prepare with prepareStatement(); a failure is DatabaseError::queryFailed;
//  - bind by 1-based position: instants as doubles, counts as 32-bit integers
//    (bindInt32 stops the process on a value outside 32 bits, a programming
//    error), text through bindText (copied by SQLite);
//  - step in a loop; SQLITE_ROW decodes a row, SQLITE_DONE ends, anything else
//    becomes stepFailure(): SQLITE_BUSY is `locked`, every other code
//    (SQLITE_LOCKED included: that is a conflict inside our own connection,
//    not the recorder holding the file) is `queryFailed`;
//  - FinalizeOnExit finalizes the statement on every path.
// Only adapter sources include this header.

#include <sqlite3.h>

#include <cstdint>
#include <optional>
#include <string>

#include "DatabaseError.h"

namespace VarnholtSQLiteSupport {

// SQLite's last message for `handle`, or "unknown" for a null handle or none;
// for a hot rollback journal, DatabaseError::kInterruptedWriteMessage.
std::string errorMessage(sqlite3* handle);

// REQUIRES: nothing. Throws DatabaseError::queryFailed with errorMessage().
sqlite3_stmt* prepareStatement(sqlite3* handle, const std::string& sql);

// The error for a step result other than SQLITE_ROW and SQLITE_DONE.
DatabaseError stepFailure(sqlite3* handle, int stepResult);

void bindText(sqlite3_stmt* statement, int position, const std::string& text);
// REQUIRES: value fits a signed 32-bit integer; otherwise the process stops.
void bindInt32(sqlite3_stmt* statement, int position, std::int64_t value);

// Column readers. Text ends at its first NUL and has ill-formed UTF-8
// repaired. The Optional forms give nullopt for SQL NULL; columnText reads
// NULL as empty text: it is for columns that should never be NULL (an
// observation's id), but the recorder's schema allows it, and data from the
// database never stops the process.
std::string columnText(sqlite3_stmt* statement, int column);
std::optional<std::string> columnOptionalText(sqlite3_stmt* statement, int column);
std::optional<double> columnOptionalDouble(sqlite3_stmt* statement, int column);
std::optional<std::int64_t> columnOptionalInt64(sqlite3_stmt* statement, int column);

// Stops the process for a broken invariant of our own code (a limit beyond
// 32 bits): a programming error, not a condition to report. Never for data
// read from the database.
[[noreturn]] void invariantViolated(const char* what);

class FinalizeOnExit {
public:
    explicit FinalizeOnExit(sqlite3_stmt* statement) : statement_(statement) {}
    ~FinalizeOnExit() { sqlite3_finalize(statement_); }
    FinalizeOnExit(const FinalizeOnExit&) = delete;
    FinalizeOnExit& operator=(const FinalizeOnExit&) = delete;

private:
    sqlite3_stmt* statement_;
};

// Steps `statement` to the end, calling decodeRow for each row.
// Throws stepFailure() for any other result; the caller's FinalizeOnExit
// finalizes, and rows already decoded are dropped with the caller's vector.
template <typename DecodeRow>
void stepRows(sqlite3* handle, sqlite3_stmt* statement, DecodeRow&& decodeRow) {
    for (;;) {
        const int result = sqlite3_step(statement);
        if (result == SQLITE_ROW) {
            decodeRow(statement);
        } else if (result == SQLITE_DONE) {
            return;
        } else {
            throw stepFailure(handle, result);
        }
    }
}

}  // namespace VarnholtSQLiteSupport
