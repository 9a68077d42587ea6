#pragma once

#include <cstdint>
#include <exception>
#include <string>

namespace VarnholtSQLiteSupport {

// A failure of the database layer. Adapters throw it where SQLite reports a
// problem; the command front end translates it into its error envelope, so
// nothing here prints. A closed set of cases, each built by a named
// constructor.
class DatabaseError : public std::exception {
public:
    enum class Case {
        notFound,          // no file at the path; nothing was opened
        connectionFailed,  // sqlite3_open_v2 refused the file
        schemaMismatch,    // PRAGMA user_version older than we understand
        queryFailed,       // a pragma, prepare or step failed, other than busy
        locked,            // a step stayed busy beyond the busy timeout
    };

    static DatabaseError notFound(const std::string& path);
    // Something at `path` that cannot be reached as a file, and why:
    // "Database not found at <path>: <reason>".
    static DatabaseError notFound(const std::string& path, const std::string& reason);
    static DatabaseError connectionFailed(std::string sqliteMessage);
    static DatabaseError schemaMismatch(std::int32_t current, std::int32_t expected);
    static DatabaseError queryFailed(std::string message);
    // The recorder holds a write lock longer than our busy timeout.
    static DatabaseError locked();

    Case errorCase() const { return case_; }
    // The carried text; for schemaMismatch a readable summary.
    const std::string& message() const { return message_; }
    // Only meaningful for schemaMismatch.
    std::int32_t currentVersion() const { return current_; }
    std::int32_t expectedVersion() const { return expected_; }

    const char* what() const noexcept override { return message_.c_str(); }

    static constexpr const char* kLockedMessage =
        "Database is locked by the recorder. Try again in a moment.";
    // A recorder that crashed in the middle of a write in rollback-journal
    // mode leaves a hot journal: the database cannot be read before a writer
    // plays it back, and this tool never writes.
    static constexpr const char* kInterruptedWriteMessage =
        "The recorder's last write was interrupted: its rollback journal must be played back "
        "before the database can be read, and this tool only reads. Starting the recorder "
        "recovers the database; then try again.";

private:
    DatabaseError(Case errorCase, std::string message, std::int32_t current = 0,
                  std::int32_t expected = 0);

    Case case_;
    std::string message_;
    std::int32_t current_;
    std::int32_t expected_;
};

}  // namespace VarnholtSQLiteSupport
