#include "NamedParameters.h"

#include "SQLiteStatement.h"

namespace VarnholtSQLiteSupport {

namespace {

int positionOf(sqlite3_stmt* statement, const char* name) {
    return sqlite3_bind_parameter_index(statement, name);
}

}  // namespace

void bindNamedDouble(sqlite3_stmt* statement, const char* name, double value) {
    if (const int position = positionOf(statement, name)) sqlite3_bind_double(statement, position, value);
}

void bindNamedInt64(sqlite3_stmt* statement, const char* name, std::int64_t value) {
    if (const int position = positionOf(statement, name)) sqlite3_bind_int64(statement, position, value);
}

void bindNamedInt32(sqlite3_stmt* statement, const char* name, std::int64_t value) {
    const int position = positionOf(statement, name);
    // Checked even when the name is absent: an out-of-range limit is the
    // caller's error whichever statement runs.
    bindInt32(statement, position, value);
}

void bindNamedText(sqlite3_stmt* statement, const char* name, const std::string& text) {
    if (const int position = positionOf(statement, name)) bindText(statement, position, text);
}

sqlite3_stmt* prepareOrNull(sqlite3* handle, const std::string& sql) {
    sqlite3_stmt* statement = nullptr;
    if (handle == nullptr || sqlite3_prepare_v2(handle, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
        sqlite3_finalize(statement);
        return nullptr;
    }
    return statement;
}

}  // namespace VarnholtSQLiteSupport
