#include "StatementLog.h"

#include <algorithm>

namespace VarnholtTestSupport {

StatementLog::StatementLog(sqlite3* handle) : handle_(handle) {
    sqlite3_trace_v2(handle_, SQLITE_TRACE_STMT, &StatementLog::record, this);
}

StatementLog::~StatementLog() { sqlite3_trace_v2(handle_, 0, nullptr, nullptr); }

bool StatementLog::ran(const std::string& sql) const {
    return std::find(statements_.begin(), statements_.end(), sql) != statements_.end();
}

int StatementLog::record(unsigned type, void* context, void* statement, void*) {
    if (type == SQLITE_TRACE_STMT) {
        const char* sql = sqlite3_sql(static_cast<sqlite3_stmt*>(statement));
        static_cast<StatementLog*>(context)->statements_.emplace_back(sql != nullptr ? sql : "");
    }
    return 0;
}

VarnholtSQLiteSupport::IndexCatalogue indexesFor(StatementChoice choice, sqlite3* handle) {
    if (choice == StatementChoice::literal) return VarnholtSQLiteSupport::IndexCatalogue();
    return VarnholtSQLiteSupport::IndexCatalogue::read(handle);
}

std::string nameOf(StatementChoice choice) {
    return choice == StatementChoice::literal ? "literal" : "indexed";
}

std::ostream& operator<<(std::ostream& stream, StatementChoice choice) { return stream << nameOf(choice); }

}  // namespace VarnholtTestSupport
