#pragma once

#include <sqlite3.h>

#include <ostream>
#include <string>
#include <vector>

#include "IndexCatalogue.h"

namespace VarnholtTestSupport {

// The SQL text of every statement run on a connection while the log exists
// (through sqlite3_trace_v2), so that an adapter test can tell which
// statement answered: the literal one or an index-driven one.
class StatementLog {
public:
    explicit StatementLog(sqlite3* handle);
    ~StatementLog();
    StatementLog(const StatementLog&) = delete;
    StatementLog& operator=(const StatementLog&) = delete;

    const std::vector<std::string>& statements() const { return statements_; }
    // Whether a statement with exactly this text ran.
    bool ran(const std::string& sql) const;

private:
    static int record(unsigned type, void* context, void* statement, void* text);

    sqlite3* handle_;
    std::vector<std::string> statements_;
};

// The two ways every SQL adapter can answer, for tests that check both give
// the same: with no index known it runs its literal statement; with the
// schema's indexes it runs its index-driven statements where it can.
enum class StatementChoice { literal, indexed };

VarnholtSQLiteSupport::IndexCatalogue indexesFor(StatementChoice choice, sqlite3* handle);

// For test names: "literal" or "indexed".
std::string nameOf(StatementChoice choice);
std::ostream& operator<<(std::ostream& stream, StatementChoice choice);

}  // namespace VarnholtTestSupport
