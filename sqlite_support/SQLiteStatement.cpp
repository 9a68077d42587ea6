#include "SQLiteStatement.h"

#include <cstdio>
#include <cstdlib>
#include <limits>

#include "SQLiteReadConnection.h"
#include "UTF8Text.h"

namespace VarnholtSQLiteSupport {

namespace {

// The column's text up to its first NUL, with ill-formed UTF-8 (which SQLite
// stores as given) repaired. Text ends at a NUL the way C strings do: that is
// what every other reader of the recorder's database sees, and it keeps a
// stray NUL from reaching the answer.
std::string textOf(sqlite3_stmt* statement, int column) {
    const unsigned char* text = sqlite3_column_text(statement, column);
    const int length = sqlite3_column_bytes(statement, column);
    if (text == nullptr) return std::string();
    std::string_view bytes(reinterpret_cast<const char*>(text), static_cast<size_t>(length));
    bytes = bytes.substr(0, bytes.find('\0'));
    return repairedUTF8(bytes);
}

}  // namespace

std::string errorMessage(sqlite3* handle) {
    if (handle == nullptr) return "unknown";
    // SQLite's words, "attempt to write a readonly database", say what it
    // could not do, not what happened or what to do about it.
    if (sqlite3_extended_errcode(handle) == SQLITE_READONLY_ROLLBACK) {
        return DatabaseError::kInterruptedWriteMessage;
    }
    const char* message = sqlite3_errmsg(handle);
    return message != nullptr ? message : "unknown";
}

sqlite3_stmt* prepareStatement(sqlite3* handle, const std::string& sql) {
    sqlite3_stmt* statement = nullptr;
    if (handle == nullptr ||
        sqlite3_prepare_v2(handle, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
        sqlite3_finalize(statement);
        throw DatabaseError::queryFailed(errorMessage(handle));
    }
    return statement;
}

DatabaseError stepFailure(sqlite3* handle, int stepResult) {
    if (stepResult == SQLITE_BUSY) return DatabaseError::locked();
    return DatabaseError::queryFailed(errorMessage(handle));
}

void bindText(sqlite3_stmt* statement, int position, const std::string& text) {
    sqlite3_bind_text(statement, position, text.c_str(), -1, SQLITE_TRANSIENT_PTR);
}

void bindInt32(sqlite3_stmt* statement, int position, std::int64_t value) {
    if (value < std::numeric_limits<std::int32_t>::min() ||
        value > std::numeric_limits<std::int32_t>::max()) {
        invariantViolated("a bound count does not fit 32 bits");
    }
    sqlite3_bind_int(statement, position, static_cast<int>(value));
}

std::string columnText(sqlite3_stmt* statement, int column) {
    return textOf(statement, column);
}

std::optional<std::string> columnOptionalText(sqlite3_stmt* statement, int column) {
    if (sqlite3_column_type(statement, column) == SQLITE_NULL) return std::nullopt;
    return textOf(statement, column);
}

std::optional<double> columnOptionalDouble(sqlite3_stmt* statement, int column) {
    if (sqlite3_column_type(statement, column) == SQLITE_NULL) return std::nullopt;
    return sqlite3_column_double(statement, column);
}

std::optional<std::int64_t> columnOptionalInt64(sqlite3_stmt* statement, int column) {
    if (sqlite3_column_type(statement, column) == SQLITE_NULL) return std::nullopt;
    return sqlite3_column_int64(statement, column);
}

void invariantViolated(const char* what) {
    std::fprintf(stderr, "Fatal error: %s\n", what);
    std::abort();
}

}  // namespace VarnholtSQLiteSupport
