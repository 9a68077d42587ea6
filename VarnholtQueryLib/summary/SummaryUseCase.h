#pragma once

#include <optional>
#include <string>

#include "selection/FullTextMatchPort.h"
#include "selection/SelectionRules.h"
#include "summary/ActivityRecords.h"
#include "summary/SummaryQueryPort.h"
#include "summary/SummarySections.h"

namespace VarnholtQueryLib {

class LocalCalendar;

// What a summary counts: the range, the idle gap, for the entities one kind
// only when given, the rows a selection picks (every row without one), and
// the sections to account for.
struct SummaryQuery {
    double from = 0;
    double to = 0;
    double idleSeconds = 300;
    std::optional<std::string> kind;
    RuleSet selection;  // a row is picked when any rule matches it; empty: every row
    SummarySections sections;
};

// A summary's findings: the account of the range's rows and, when asked
// for, the frames that explain it.
struct SummaryFindings {
    ActivityAccount account;
    std::optional<FrameCoverage> coverage;
};

// Counts the work of a time range by the rule of ActivityAccountant and
// looks at its frames (FrameCoverageRules). The port's reads and the
// full-text look-ups should see one state of the database, so that the
// account, the selection and the coverage agree: the caller holds one read
// transaction around execute().
//
// Borrows the ports and the calendar, which must outlive the use case.
class SummaryUseCase {
public:
    SummaryUseCase(SummaryQueryPort& summaryQuery, FullTextMatchPort& fullText, const LocalCalendar& calendar);

    // The findings for `query` with `now` the one reading of the clock: the
    // last row covers until the end of the range or now, whichever is
    // earlier, and gaps are looked for up to there too. The coverage is of
    // the whole range, selection or not. Throws InvalidRule for a text rule
    // the index finds no word in, TooManyDays for days beyond what an
    // answer lists; rethrows the ports' database errors.
    SummaryFindings execute(const SummaryQuery& query, double now);

private:
    SummaryQueryPort& summaryQuery_;
    FullTextMatchPort& fullText_;
    const LocalCalendar& calendar_;
};

}  // namespace VarnholtQueryLib
