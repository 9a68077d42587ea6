#pragma once

#include <vector>

#include "selection/FullTextMatchPort.h"
#include "selection/SelectionRules.h"
#include "summary/SummaryQueryPort.h"
#include "timesheet/TimesheetResponse.h"

namespace VarnholtQueryLib {

class LocalCalendar;

// What a timesheet counts: the range, the idle gap, and the categories'
// rule sets in the order given.
struct TimesheetQuery {
    double from = 0;
    double to = 0;
    double idleSeconds = 300;
    std::vector<RuleSet> categories;
};

// Puts every row of a range in one category (TimesheetAccountant) and looks
// at the range's frames, as the summary does (readFrameCoverage). The rows
// are read once; the categories are decided while they stream by, text
// rules as rowid sets from the full-text index, looked up first. All of it
// should see one state of the database, so that the categories and the
// coverage agree: the caller holds one read transaction around execute().
//
// Borrows the ports and the calendar, which must outlive the use case.
class TimesheetUseCase {
public:
    TimesheetUseCase(SummaryQueryPort& activity, FullTextMatchPort& fullText, const LocalCalendar& calendar);

    // The findings for `query` with `now` the one reading of the clock: the
    // last row covers until the end of the range or now, whichever is
    // earlier. Throws InvalidRule (noWord, with the category's place as its
    // rule set) for a text rule the index finds no word in, and
    // TooManyDays; rethrows the ports' database errors.
    TimesheetFindings execute(const TimesheetQuery& query, double now);

private:
    SummaryQueryPort& activity_;
    FullTextMatchPort& fullText_;
    const LocalCalendar& calendar_;
};

}  // namespace VarnholtQueryLib
