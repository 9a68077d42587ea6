#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

struct sqlite3;

namespace VarnholtSQLiteSupport {

class SQLiteReadConnection;

// A value a lookup binds besides its slice's bounds.
using LookupValue = std::variant<std::int64_t, double, std::string>;

// One of an answer's index-driven lookups as a warmer repeats it: the
// statement's text as the answer prepares it, with every named parameter but
// the slice's bounds bound to the answer's own value.
struct WarmingLookup {
    std::string statement;
    std::vector<std::pair<std::string, LookupValue>> parameters;
};

// What an answer is about to read: its lookups over the closed range
// [from, to] of the parameters `lower` and `upper` (times, or rowids when
// `wholeNumbers`), which it walks in the order `walk` says.
struct WarmingPlan {
    enum class Walk { oldestFirst, newestFirst };

    std::vector<WarmingLookup> lookups;
    double from = 0;
    double to = 0;
    std::string lower = ":from";
    std::string upper = ":to";
    bool wholeNumbers = false;
    Walk walk = Walk::oldestFirst;
};

// The port through which an answer has the pages it is about to read brought
// into the operating system's cache while it reads. A cold answer reads one
// page at a time, each a wait for the disk; helpers that run the same lookups
// for slices of its range, on connections of their own, keep several reads
// in flight. They only read: what the answer's own connection reads, and so
// what it prints, is the same with warming or without.
class PageWarming {
public:
    virtual ~PageWarming() = default;
    // Begins warming for `plan` beside the statements that follow on
    // `answer` (the answer's own connection), ending a warming still going.
    // Never throws: warming is never worth an answer.
    virtual void begin(sqlite3* answer, const WarmingPlan& plan) = 0;
    // Stops every helper and waits for it; returns promptly. Never throws.
    virtual void end() noexcept = 0;
};

// Warming over one stretch of an answer: begins with the warming the
// connection was given (none, or a plan without lookups: nothing happens),
// ends when it goes out of scope, so that no helper outlives the statements
// it served.
class WarmingScope {
public:
    WarmingScope(const SQLiteReadConnection& connection, const WarmingPlan& plan);
    WarmingScope(PageWarming* warming, sqlite3* answer, const WarmingPlan& plan);
    ~WarmingScope();
    WarmingScope(const WarmingScope&) = delete;
    WarmingScope& operator=(const WarmingScope&) = delete;

private:
    PageWarming* warming_;
};

}  // namespace VarnholtSQLiteSupport
