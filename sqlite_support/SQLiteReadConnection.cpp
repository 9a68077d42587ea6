#include "SQLiteReadConnection.h"

#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <string>
#include <utility>

#include <nlohmann/json.hpp>

#include "DatabaseError.h"
#include "PlainJSON.h"
#include "SQLiteStatement.h"
#include "SchemaVersion.h"

namespace VarnholtSQLiteSupport {

void (*const SQLITE_TRANSIENT_PTR)(void*) = SQLITE_TRANSIENT;

namespace {

// How long a statement waits for the recorder's lock before giving up.
constexpr int kBusyTimeoutMilliseconds = 1000;

// SQLite's own words for a path it cannot open as a database.
constexpr const char* kCannotOpenMessage = "unable to open database file";

// What a stat of the database path found.
enum class PathKind { missing, unreachable, regularFile, emptyFile, other };

struct PathStatus {
    PathKind kind;
    int error = 0;  // errno of a failed stat
};

PathStatus statusOfPath(const std::string& path) {
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0) {
        const int error = errno;
        return {error == ENOENT || error == ENOTDIR ? PathKind::missing : PathKind::unreachable, error};
    }
    if (!S_ISREG(info.st_mode)) return {PathKind::other};
    return {info.st_size == 0 ? PathKind::emptyFile : PathKind::regularFile};
}

// Why a path that is there cannot be followed to a file, in the user's terms.
std::string unreachableReason(int error) {
    if (error == ELOOP) {
        return "its symbolic links lead in a loop. Point the link at the recorder's database.";
    }
    return std::string(std::strerror(error)) + ".";
}

// The failure to report when a WAL database's companion file exists but
// cannot be read by us: SQLite says only "unable to open database file",
// which names neither the file nor the remedy. Absent when both are readable
// or absent.
std::optional<DatabaseError> unreadableCompanion(const std::string& path) {
    const std::pair<const char*, const char*> companions[] = {
        {"-wal", "the recorder's write-ahead log, which holds its latest writes"},
        {"-shm", "the index of the recorder's write-ahead log"},
    };
    for (const auto& [suffix, what] : companions) {
        const std::string file = path + suffix;
        struct stat info {};
        if (::stat(file.c_str(), &info) != 0 || ::access(file.c_str(), R_OK) == 0) continue;
        const std::string reason = std::strerror(errno);
        return DatabaseError::queryFailed("Cannot read " + file + ", " + what + ": " + reason +
                                          ". Run this tool as the user the recorder runs as.");
    }
    return std::nullopt;
}

}  // namespace

SQLiteReadConnection::SQLiteReadConnection(const std::string& path, States states, LockWait lockWait) {
    try {
        open(path, states, lockWait);
    } catch (...) {
        // The destructor does not run for a throwing constructor.
        sqlite3_close(handle_);
        handle_ = nullptr;
        throw;
    }
}

// Closing ends an open read transaction too; nothing was written.
SQLiteReadConnection::~SQLiteReadConnection() { sqlite3_close(handle_); }

std::string SQLiteReadConnection::pathBelow(const std::string& homeDirectory) {
    return homeDirectory + "/.varnholt/varnholt.db";
}

void SQLiteReadConnection::open(const std::string& path, States states, LockWait lockWait) {
    handle_ = nullptr;
    const PathStatus status = statusOfPath(path);
    switch (status.kind) {
        case PathKind::missing:
            throw DatabaseError::notFound(path);
        case PathKind::unreachable:
            throw DatabaseError::notFound(path, unreachableReason(status.error));
        case PathKind::other:
            // A directory would open read-only and fail later with an I/O
            // error, and a FIFO would block the open until someone writes to
            // it. Neither is a database; say so the way SQLite says it for a
            // file it cannot open.
            throw DatabaseError::connectionFailed(kCannotOpenMessage);
        case PathKind::emptyFile:
            // An empty file is a database without tables at schema version 0.
            // It is answered here because SQLite, seeing zero pages, deletes a
            // write-ahead log lying beside the file, even on a read-only
            // connection: that log may be the only copy of the recorder's
            // latest writes.
            throw DatabaseError::schemaMismatch(0, VarnholtSchema::SchemaVersion::current);
        case PathKind::regularFile:
            break;
    }

    // Read-only: the recorder's file, its write-ahead log and its journal
    // mode are never changed. A reader of a WAL database still needs the
    // log and its shared-memory index; SQLite opens them (creating empty ones
    // when the recorder has removed them on a clean exit) and, where the
    // index cannot be written, reads the log into private memory instead.
    //
    // The programs use a connection from one thread at a time, so it goes
    // without the mutex that every call into SQLite would otherwise take and
    // release, and SQLite does not count the memory it allocates, which
    // takes a process-wide mutex for every allocation. (SQLite refuses the
    // setting once it is initialized, in a process that used it before;
    // then it keeps counting, which changes nothing but time.)
    static const bool uncounted = sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0) == SQLITE_OK;
    (void)uncounted;
    if (sqlite3_open_v2(path.c_str(), &handle_, SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX, nullptr) !=
        SQLITE_OK) {
        throw DatabaseError::connectionFailed(errorMessage(handle_));
    }
    // The last connection to close a WAL database normally copies the log
    // into the database file and deletes it. A read-only connection cannot
    // take the lock that needs, but the log must stay the recorder's business
    // in every case, so closing never tries.
    sqlite3_db_config(handle_, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    // The first statement below reads the file. Without a busy handler a
    // recorder holding its lock at that moment would fail us at once; with
    // it, we wait the same second every later statement waits, and only a
    // longer lock is reported (as locked).
    const int busyTimeout = lockWait == LockWait::oneSecond ? kBusyTimeoutMilliseconds : 0;
    sqlite3_busy_timeout(handle_, busyTimeout);
    // Reading the journal mode reads the header (and, for a WAL database, the
    // log), so a file that is not a database, or one the recorder keeps
    // locked, is reported here, before anything else is asked of it.
    try {
        exec(handle_, "PRAGMA journal_mode");
    } catch (const DatabaseError&) {
        if (sqlite3_errcode(handle_) == SQLITE_CANTOPEN) {
            if (auto unreadable = unreadableCompanion(path)) throw *unreadable;
        }
        throw;
    }
    exec(handle_, "PRAGMA query_only = ON");
    exec(handle_, "PRAGMA busy_timeout = " + std::to_string(busyTimeout));
    // No memory map (SQLite's default, stated here because it matters):
    // reading a page through the map faults in the readahead window around
    // it, 128 KB and more, and a statement that needs a few thousand
    // scattered pages of a file of gigabytes then reads much of the file
    // from disk after a reboot, and keeps it resident besides. Read one
    // system call at a time, every statement reads the pages it needs.
    sqlite3_exec(handle_, "PRAGMA mmap_size = 0", nullptr, nullptr, nullptr);

    // The schema check is the first read of the state an answer reads: a
    // migration committed after it must not reach the answer's statements.
    if (states == States::oneForTheConnection) exec(handle_, "BEGIN");
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(handle_, "PRAGMA user_version", -1, &statement, nullptr) != SQLITE_OK) {
        throw DatabaseError::queryFailed("Failed to prepare PRAGMA user_version: " +
                                         errorMessage(handle_));
    }
    FinalizeOnExit finalize(statement);
    const int stepResult = sqlite3_step(statement);
    if (stepResult == SQLITE_BUSY) throw DatabaseError::locked();
    if (stepResult != SQLITE_ROW) {
        throw DatabaseError::queryFailed("Failed to step PRAGMA user_version: " +
                                         errorMessage(handle_));
    }
    const std::int32_t version = sqlite3_column_int(statement, 0);
    if (version < VarnholtSchema::SchemaVersion::current) {
        throw DatabaseError::schemaMismatch(version, VarnholtSchema::SchemaVersion::current);
    }
}

void SQLiteReadConnection::exec(sqlite3* handle, const std::string& sql) {
    char* error = nullptr;
    const int result = sqlite3_exec(handle, sql.c_str(), nullptr, nullptr, &error);
    if (result != SQLITE_OK) {
        std::string message = error != nullptr ? error : "unknown";
        sqlite3_free(error);
        if (sqlite3_extended_errcode(handle) == SQLITE_READONLY_ROLLBACK) message = errorMessage(handle);
        // Busy after the busy timeout means the recorder holds its lock.
        if (result == SQLITE_BUSY) throw DatabaseError::locked();
        throw DatabaseError::queryFailed(message);
    }
}

std::vector<std::string> SQLiteReadConnection::parseJsonArray(const std::string& text) {
    // Most lists hold plain names, read without a JSON document.
    VarnholtText::PlainJSON reader(text);
    if (reader.take("[")) {
        std::vector<std::string> names;
        if (reader.take("]")) {
            if (reader.atEnd()) return names;
        } else {
            for (auto name = reader.plainString(); name; name = reader.plainString()) {
                names.push_back(std::move(*name));
                if (reader.take(",")) continue;
                if (reader.take("]") && reader.atEnd()) return names;
                break;
            }
        }
    }
    return parseJsonArrayAsJSON(text);
}

std::vector<std::string> SQLiteReadConnection::parseJsonArrayAsJSON(const std::string& text) {
    // Only a top-level array or object counts as a document; a bare string or
    // number is a fragment and decodes to nothing, like any other misfit.
    nlohmann::json parsed = nlohmann::json::parse(text, nullptr, /*allow_exceptions=*/false);
    if (!parsed.is_array()) return {};
    std::vector<std::string> names;
    names.reserve(parsed.size());
    for (const auto& element : parsed) {
        if (!element.is_string()) return {};
        names.push_back(element.get<std::string>());
    }
    return names;
}

}  // namespace VarnholtSQLiteSupport
