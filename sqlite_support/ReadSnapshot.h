#pragma once

struct sqlite3;

namespace VarnholtSQLiteSupport {

// One read transaction around several statements, so that they all see the
// database as it was when the first of them read it.
//
// A literal statement answers from one snapshot of the database; an answer
// that takes several statements (the descriptions and the status block of a
// support context; the newest day and its timeline; an index-driven query's
// rowid range, then its match) must too, or a row the recorder commits in
// between could be in one part of the answer and not in the other. The recorder keeps writing while we
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
