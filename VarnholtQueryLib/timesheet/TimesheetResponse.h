#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "output/JSONWriter.h"
#include "period/TimeRange.h"
#include "summary/ActivityRecords.h"
#include "timesheet/TimesheetCategories.h"
#include "timesheet/TimesheetRecords.h"

namespace VarnholtQueryLib {

class LocalCalendar;

// What a timesheet was asked, as its answer echoes it.
struct TimesheetEcho {
    TimeRange range;
    double idleSeconds = 300;
    std::optional<std::string> weekStart;  // as given; absent: the locale's
    std::vector<TimesheetCategory> categories;
    std::optional<std::int64_t> maxChars;  // the budget; absent: no budget
};

// A timesheet's findings: the account of the range's rows and the frames
// that explain it.
struct TimesheetFindings {
    TimesheetAccount account;
    FrameCoverage coverage;
};

// The answer of `timesheet`, inside the response envelope, with the query
// echoed and the local date and time of `now` in `calendar`:
//  - data: "active_seconds", "observation_count"; "categories" in the order
//    given, each {"name", "seconds", "share", "observation_count", "days"
//    (those whose printed seconds are above 0), "spans"}; "uncategorized"
//    {"seconds", "share", "observation_count", "spans", "suggestions"
//    {"applications", "entities", "terms"}}; "days", every day of the
//    range, each {"date", "active_seconds", "categories" (every category,
//    0 included), "uncategorized_seconds"}; "coverage" as the summary's;
//  - seconds as TimesheetFigures prints them (they add up as printed);
//    spans' and suggestions' seconds rounded to the nearest, halves up;
//    "share" a percentage of the exact active time to one decimal;
//  - meta: "query" (preset, from, to, idle_seconds, week_start, categories,
//    max_chars), "truncated", "omitted" {spans, applications, entities,
//    terms}, "timezone", "current_date", "current_datetime".
// With a budget, detail is dropped in dropOrder's order until the printed
// document fits it. Throws SummaryBudgetTooSmall when even the totals and
// the days do not fit, with the least budget they fit (the answer echoes
// its budget, so that counts its digits too).
JSON makeTimesheetResponse(const TimesheetFindings& findings, const TimesheetEcho& echo,
                           const LocalCalendar& calendar, double now);

}  // namespace VarnholtQueryLib
