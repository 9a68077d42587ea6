#include "QueryPlan.h"

#include <sqlite3.h>

namespace VarnholtSQLiteSupport {

std::optional<std::vector<std::string>> explainQueryPlan(sqlite3* handle, const std::string& sql) {
    if (handle == nullptr) return std::nullopt;
    const std::string explained = "EXPLAIN QUERY PLAN " + sql;
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(handle, explained.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
        sqlite3_finalize(statement);
        return std::nullopt;
    }
    // Columns: id, parent, notused, detail.
    constexpr int kDetail = 3;
    std::vector<std::string> details;
    int result = SQLITE_ROW;
    while ((result = sqlite3_step(statement)) == SQLITE_ROW) {
        const unsigned char* detail = sqlite3_column_text(statement, kDetail);
        details.emplace_back(detail != nullptr ? reinterpret_cast<const char*>(detail) : "");
    }
    sqlite3_finalize(statement);
    if (result != SQLITE_DONE) return std::nullopt;
    return details;
}

}  // namespace VarnholtSQLiteSupport
