#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "summary/ActivityTallies.h"
#include "summary/RangeDays.h"
#include "summary/RowCovers.h"
#include "summary/SummaryQueryPort.h"
#include "timesheet/CategorySpans.h"
#include "timesheet/TimesheetRecords.h"

namespace VarnholtQueryLib {

class LocalCalendar;
class RowSelector;

// What a timesheet needs to know of the question besides the rows.
struct TimesheetRules {
    double idleSeconds = 300;  // REQUIRES: > 0
    double rangeStart = 0;     // the range's first instant
    // The end of the range or now, whichever is earlier: the last row
    // covers at most until then, and the days listed begin before it.
    double coverEnd = 0;
    std::size_t categories = 0;  // how many rule sets the selector holds
};

// A timesheet's account of rows as they arrive (oldest first), so that a
// range of any length costs memory for what it reports, not for its rows:
//
//  - every row covers as the summary's rule says (RowCovers), and goes to
//    the first category with a rule that matches it (RowSelector's
//    firstMatchingSet), or is uncategorized; a category's seconds are the
//    covers of its rows, so the categories and the uncategorized time add
//    up to the active time;
//  - a row's cover counts for the local day of its time; the days are
//    those the summary lists (RangeDays): every day of the range, rows or
//    not;
//  - each category's spans, and the uncategorized time's, as CategorySpans
//    makes them from the rows' descriptions;
//  - of the uncategorized rows, the applications and entities as the
//    summary tallies them (ActivityTallies) and the terms of their masked
//    descriptions (DescriptionTerms): a term's seconds are the covers of
//    the rows that hold it.
//
// A row without its description asks `descriptions` for it by its sequence
// (a rowid). Each description is read once and none is kept beyond the
// span it belongs to, but for a bounded cache of the terms of recent ones.
//
// Holds `calendar`, `categories` and `descriptions` by reference; they must
// outlive the accountant. Single-threaded.
class TimesheetAccountant final : public ActivityRowSink {
public:
    // Throws TooManyDays when the range has more days than an answer lists.
    TimesheetAccountant(const LocalCalendar& calendar, TimesheetRules rules, RowSelector& categories,
                        DescriptionSource& descriptions);

    void restart() override;
    // REQUIRES: rows arrive in non-decreasing time; throws std::logic_error
    // for a row earlier than the one before. Rethrows the description
    // source's errors.
    void add(ActivityRow row) override;

    // The account of every row added. The accountant is spent afterwards
    // (restart() to reuse it).
    TimesheetAccount close();

private:
    void count(ActivityRow& row, double cover);
    const std::vector<std::string>& termsOf(const std::string& description);

    const TimesheetRules rules_;
    RowSelector& categories_;
    DescriptionSource& descriptions_;
    RowCovers covers_;

    double activeSeconds_ = 0;
    std::int64_t rows_ = 0;
    // Per category, then the uncategorized time last.
    std::vector<TimesheetPart> parts_;
    std::vector<CategorySpans> spans_;
    RangeDays days_;
    // Per day of days_, the seconds of each part (empty for a day without
    // rows).
    std::vector<double> dayActive_;
    std::vector<std::vector<double>> dayParts_;
    ApplicationTally applications_;
    EntityTally entities_;
    std::unordered_map<std::string, double> terms_;
    std::unordered_map<std::string, std::vector<std::string>> termsOfDescription_;
};

}  // namespace VarnholtQueryLib
