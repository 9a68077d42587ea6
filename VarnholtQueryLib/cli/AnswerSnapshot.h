#pragma once

#include <string>

#include "SQLiteReadConnection.h"
#include "WarmingConnections.h"

namespace VarnholtQueryLib {

// The database as one answer reads it: a query-only connection of its own,
// opened before the command's runner starts, so that a missing, locked or too
// old database is reported the same way for every command, and closed when
// the answer is built, so that a recorder restart between two answers is
// harmless. Throughout, one read transaction, from the schema check on: every
// statement of the answer sees the state the first of them found. Answers
// take several statements (the descriptions and the status block of a
// support context, the newest day and its timeline, a summary's rows and its
// coverage), and the recorder commits between any two of them.
//
// The connection comes with helpers that warm the page cache for the ranges
// its index-driven statements read, when they find the database cold
// (WarmingConnections); they read on connections of their own, so the answer
// is the same with them or without.
class AnswerSnapshot {
public:
    explicit AnswerSnapshot(const std::string& homeDirectory)
        : connection_(VarnholtSQLiteSupport::SQLiteReadConnection::pathBelow(homeDirectory),
                      VarnholtSQLiteSupport::SQLiteReadConnection::States::oneForTheConnection),
          warming_(VarnholtSQLiteSupport::SQLiteReadConnection::pathBelow(homeDirectory),
                   VarnholtSQLiteSupport::WarmingPolicy::forThisMachine()) {
        connection_.warmWith(&warming_);
    }
    VarnholtSQLiteSupport::SQLiteReadConnection& connection() { return connection_; }

private:
    VarnholtSQLiteSupport::SQLiteReadConnection connection_;
    // Declared after the connection: it ends before the connection closes.
    VarnholtSQLiteSupport::WarmingConnections warming_;
};

}  // namespace VarnholtQueryLib
