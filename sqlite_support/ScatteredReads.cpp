#include "ScatteredReads.h"

#include <sqlite3.h>

namespace VarnholtSQLiteSupport {

void readScatteredPages(sqlite3* handle) {
    if (handle == nullptr) return;
    sqlite3_exec(handle, "PRAGMA temp_store = MEMORY", nullptr, nullptr, nullptr);
}

}  // namespace VarnholtSQLiteSupport
