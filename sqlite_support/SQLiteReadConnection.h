#pragma once

#include <string>
#include <vector>

struct sqlite3;

namespace VarnholtSQLiteSupport {

class PageWarming;

// SQLite's "copy this text now" destructor marker (-1). Every text bind uses
// it, so bound text may live on the caller's stack.
extern void (*const SQLITE_TRANSIENT_PTR)(void*);

// The one query-only connection of a run to the recorder's database.
//
// The recorder owns the file and writes it continuously from another process;
// this tool must never change it, nor its write-ahead log, nor its journal
// mode. The connection is opened read-only (and query_only besides), refuses
// a missing file (and never creates one) and anything that is not a regular
// file, waits at most one second for the recorder's locks, never checkpoints
// when it closes, and refuses schemas older than SchemaVersion.
//
// Adapters borrow `handle()` and run their statements on it under the
// conventions in SQLiteStatement.h. The connection closes the handle when it
// is destroyed; it is not copyable. One thread at a time uses a connection:
// the helpers that warm the page cache for an answer (PageWarming.h) each
// open their own.
class SQLiteReadConnection {
public:
    // How the connection's statements see a database the recorder keeps
    // writing: each its own latest state, or all of them the one state its
    // schema check read (one read transaction, from that check until the
    // connection closes), as one answer must.
    enum class States { latestPerStatement, oneForTheConnection };
    // How long a statement waits for the recorder's lock: the second every
    // answer waits, or not at all (a helper that must never hold up the
    // answer it serves).
    enum class LockWait { oneSecond, none };

    // Opens the database at `path` (see pathBelow).
    // Throws DatabaseError: notFound (nothing at the path, nothing is
    // created; or a path that cannot be followed, such as symbolic links in
    // a loop, with the reason), connectionFailed (SQLite cannot open it, or
    // the path is not a regular file: "unable to open database file"),
    // locked (the file stayed locked beyond the busy timeout), queryFailed
    // (reading the header or a pragma failed otherwise, e.g. "file is not a
    // database"; a write-ahead log or its index we may not read, named; a
    // hot rollback journal, kInterruptedWriteMessage), schemaMismatch (an
    // empty file counts as schema version 0).
    explicit SQLiteReadConnection(const std::string& path,
                                  States states = States::latestPerStatement,
                                  LockWait lockWait = LockWait::oneSecond);
    ~SQLiteReadConnection();

    SQLiteReadConnection(const SQLiteReadConnection&) = delete;
    SQLiteReadConnection& operator=(const SQLiteReadConnection&) = delete;

    // The raw handle; null only on a half-built connection.
    sqlite3* handle() const { return handle_; }

    // The warming that index-driven statements on this connection ask for
    // (WarmingScope), or null for none, the default. Not owned; must outlive
    // the statements.
    void warmWith(PageWarming* warming) { warming_ = warming; }
    PageWarming* warming() const { return warming_; }

    // Where the recorder keeps its database below `homeDirectory`:
    // "<homeDirectory>/.varnholt/varnholt.db".
    static std::string pathBelow(const std::string& homeDirectory);

    // Runs `sql` without a row callback. Throws DatabaseError::locked when
    // SQLite stays busy, otherwise DatabaseError::queryFailed with SQLite's
    // message, or "unknown" when it gives none.
    static void exec(sqlite3* handle, const std::string& sql);

    // Decodes the recorder's JSON array of strings (the `apps` column).
    // Anything but an array whose every element is a string gives an empty
    // list; never throws. An array of names without escapes is read
    // directly, any other text as a JSON document, with the same result.
    static std::vector<std::string> parseJsonArray(const std::string& text);
    // parseJsonArray through a JSON document only, whatever the text: the
    // reference the direct reading is tested against.
    static std::vector<std::string> parseJsonArrayAsJSON(const std::string& text);

private:
    void open(const std::string& path, States states, LockWait lockWait);

    sqlite3* handle_ = nullptr;
    PageWarming* warming_ = nullptr;
};

}  // namespace VarnholtSQLiteSupport
