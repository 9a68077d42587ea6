#pragma once

struct sqlite3;

namespace VarnholtSQLiteSupport {

// One read transaction around several statements, so that they all see the
// database as it was when the first of them read it.
//
// A literal statement answers from one snapshot of the database; an
// index-driven query that takes several statements (a rowid range first,
// then the match) must too, or a row the recorder commits in between could
// be in one answer and not the other. The recorder keeps writing while we
// read; in WAL mode our snapshot does not hold it up. Opened by the
// constructor (unless a transaction is already open, which is then used),
// ended by the destructor. Never throws: without the transaction the
// statements still run, each on its own snapshot.
class ReadSnapshot {
public:
    explicit ReadSnapshot(sqlite3* handle);
    ~ReadSnapshot();
    ReadSnapshot(const ReadSnapshot&) = delete;
    ReadSnapshot& operator=(const ReadSnapshot&) = delete;

private:
    sqlite3* handle_;
    bool began_ = false;
};

}  // namespace VarnholtSQLiteSupport
