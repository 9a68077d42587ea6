#pragma once

#include <string>

namespace VarnholtTestSupport {

// Another process (the sqlite3 shell) that holds an exclusive lock on a WAL
// database, the way a recorder in exclusive locking mode would, until the
// object goes away. Readers that need the file meanwhile see SQLITE_BUSY.
class DatabaseLockHolder {
public:
    // Returns once the child holds the lock. Throws std::runtime_error when
    // it could not take it.
    explicit DatabaseLockHolder(const std::string& databasePath);
    ~DatabaseLockHolder();  // ends the child, releasing the lock
    DatabaseLockHolder(const DatabaseLockHolder&) = delete;
    DatabaseLockHolder& operator=(const DatabaseLockHolder&) = delete;

private:
    int childPid_ = -1;
    int inputFd_ = -1;  // the shell's standard input, kept open while it holds the lock
};

}  // namespace VarnholtTestSupport
