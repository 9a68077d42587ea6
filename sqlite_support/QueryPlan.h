#pragma once

#include <optional>
#include <string>
#include <vector>

struct sqlite3;

namespace VarnholtSQLiteSupport {

// The plan SQLite picks for `sql` on `handle`, as the detail lines of
// EXPLAIN QUERY PLAN in report order ("SCAN o", "SEARCH f USING INDEX ...").
// The statement is only prepared, never run, and its parameters stay
// unbound: without STAT4 (which Debian's SQLite lacks) the plan does not
// depend on their values. Absent when the statement cannot be explained;
// never throws. Costs one prepare, a fraction of a millisecond.
std::optional<std::vector<std::string>> explainQueryPlan(sqlite3* handle, const std::string& sql);

}  // namespace VarnholtSQLiteSupport
