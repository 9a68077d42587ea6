#pragma once

#include <string>

#include "SQLiteShellProcess.h"

namespace VarnholtTestSupport {

// Another process (the sqlite3 shell) that holds an exclusive lock on a WAL
// database, the way a recorder in exclusive locking mode would, until the
// object goes away. Readers that need the file meanwhile see SQLITE_BUSY.
class DatabaseLockHolder {
public:
    // Returns once the child holds the lock. Throws std::runtime_error when
    // it could not take it.
    explicit DatabaseLockHolder(const std::string& databasePath);
    DatabaseLockHolder(const DatabaseLockHolder&) = delete;
    DatabaseLockHolder& operator=(const DatabaseLockHolder&) = delete;

private:
    SQLiteShellProcess shell_;  // ending it releases the lock
};

}  // namespace VarnholtTestSupport
