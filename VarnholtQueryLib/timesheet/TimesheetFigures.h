#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "timesheet/TimesheetRecords.h"

namespace VarnholtQueryLib {

// A timesheet's numbers as they are printed, whole seconds that add up as
// printed: the categories and the uncategorized time sum exactly to the
// active time, and within every day to the day's active time. Each total
// is its exact seconds rounded to the nearest (halves up, wholeSeconds);
// its parts are apportioned by largest remainders (LargestRemainders.h),
// the categories in the order given, the uncategorized time last. A
// category's days may then differ from its total by the rounding.
struct TimesheetFigures {
    struct Day {
        std::string date;
        std::int64_t activeSeconds = 0;
        std::vector<std::int64_t> categorySeconds;  // per category, in order
        std::int64_t uncategorizedSeconds = 0;

        bool operator==(const Day&) const = default;
    };

    std::int64_t activeSeconds = 0;
    std::vector<std::int64_t> categorySeconds;  // per category, in order
    std::int64_t uncategorizedSeconds = 0;
    std::vector<Day> days;  // every day of the account

    static TimesheetFigures of(const TimesheetAccount& account);

    bool operator==(const TimesheetFigures&) const = default;
};

// `seconds` as a percentage of `activeSeconds`, from the exact seconds, to
// one decimal (halves up): 0 when there is no active time.
double shareOf(double seconds, double activeSeconds);

}  // namespace VarnholtQueryLib
