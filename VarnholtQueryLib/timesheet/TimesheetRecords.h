#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "summary/ActivityRecords.h"
#include "timesheet/CategorySpans.h"

namespace VarnholtQueryLib {

// The account a timesheet makes of a range: every row in exactly one
// category or uncategorized, with exact seconds (doubles) until they are
// printed.

// The time of one category, or of the rows no category took.
struct TimesheetPart {
    double seconds = 0;  // the covers of its rows
    std::int64_t observationCount = 0;
    // Its seconds on each day of TimesheetAccount::days, in that order.
    std::vector<double> daySeconds;
    std::vector<TimesheetSpan> spans;  // in time order

    bool operator==(const TimesheetPart&) const = default;
};

// A term found in descriptions and the covers of the rows that hold it.
struct TermTime {
    std::string term;
    double seconds = 0;

    bool operator==(const TermTime&) const = default;
};

// What the rows no category took have in common, to place them next time:
// each list whole, most printed seconds first, then by name.
struct TimesheetSuggestions {
    std::vector<ApplicationTime> applications;
    std::vector<EntityTime> entities;  // one spelling each
    std::vector<TermTime> terms;

    bool operator==(const TimesheetSuggestions&) const = default;
};

// One local calendar day of the range.
struct TimesheetDay {
    std::string date;  // yyyy-MM-dd
    double activeSeconds = 0;

    bool operator==(const TimesheetDay&) const = default;
};

struct TimesheetAccount {
    double activeSeconds = 0;
    std::int64_t observationCount = 0;
    std::vector<TimesheetPart> categories;  // in the order given
    TimesheetPart uncategorized;
    TimesheetSuggestions suggestions;
    // Every local day of the range, rows or not, in date order.
    std::vector<TimesheetDay> days;

    bool operator==(const TimesheetAccount&) const = default;
};

}  // namespace VarnholtQueryLib
