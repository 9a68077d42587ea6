#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "cli/Command.h"
#include "output/JSONWriter.h"

namespace VarnholtQueryLib {
class LocalCalendar;
}

namespace VarnholtQueryLib::MCP {

// Builds the command an answer stands for, at the moment of the answer: the
// user's calendar and the instant `now` (seconds since 1970 UTC). Throws
// CLIError for what the command line would refuse.
using CommandRecipe = std::function<Command(const LocalCalendar& calendar, double now)>;

// What a command came to: the document varnholt-query prints for it, either
// its answer or its error envelope.
struct ToolAnswer {
    JSON document;
    bool isError = false;  // `document` is an error envelope
};

// The user's days as the server sees them at the moment of asking, as local
// dates ("yyyy-MM-dd").
struct LocalDays {
    std::string today;
    std::string yesterday;
    std::string weekStart;  // the first day of this week, the locale's first weekday
};

// Where tools, resources, prompts and completions get their documents: the
// answers varnholt-query prints for the same commands, one database state
// each. A tool call is a recipe like any other (ToolMethods.cpp).
class DocumentSource {
public:
    virtual ~DocumentSource() = default;
    // The document of the command `recipe` builds, or the error envelope the
    // command line would print for it; never throws.
    virtual ToolAnswer answer(const CommandRecipe& recipe) const = 0;
    // Up to `count` local dates that begin with `prefix` and have activity
    // (observations), the newest first, looking back two months from today;
    // empty when there is none or the database cannot be read.
    virtual std::vector<std::string> activeDays(const std::string& prefix, std::size_t count) const = 0;
    // Up to `count` local dates before `day` (a local "yyyy-MM-dd") that have
    // activity, the newest first, looking back two months from it; empty
    // when there is none, `day` is not such a date, or the database cannot
    // be read.
    virtual std::vector<std::string> activeDaysBefore(const std::string& day, std::size_t count) const = 0;
    // Today, yesterday and this week's first day, now.
    virtual LocalDays localDays() const = 0;

protected:
    DocumentSource() = default;
    DocumentSource(const DocumentSource&) = delete;
    DocumentSource& operator=(const DocumentSource&) = delete;
};

// What the handlers of the protocol's methods answer from. Borrowed; it must
// outlive every use.
struct ServerServices {
    const DocumentSource& documents;
};

}  // namespace VarnholtQueryLib::MCP
