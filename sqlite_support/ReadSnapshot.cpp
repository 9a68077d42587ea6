#include "ReadSnapshot.h"

#include <sqlite3.h>

namespace VarnholtSQLiteSupport {

ReadSnapshot::ReadSnapshot(sqlite3* handle) : handle_(handle) {
    if (handle_ != nullptr && sqlite3_get_autocommit(handle_) != 0) {
        began_ = sqlite3_exec(handle_, "BEGIN", nullptr, nullptr, nullptr) == SQLITE_OK;
    }
}

ReadSnapshot::~ReadSnapshot() {
    // Nothing was written, so ending the transaction only lets go of the
    // snapshot; ROLLBACK does that even after a failed statement.
    if (began_) sqlite3_exec(handle_, "ROLLBACK", nullptr, nullptr, nullptr);
}

}  // namespace VarnholtSQLiteSupport
