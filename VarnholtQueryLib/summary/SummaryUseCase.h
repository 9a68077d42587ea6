#pragma once

#include <optional>
#include <string>

#include "summary/ActivityRecords.h"
#include "summary/SummaryQueryPort.h"

namespace VarnholtQueryLib {

class LocalCalendar;

// What a summary counts: the range, the idle gap and, for the entities, one
// kind only when given.
struct SummaryQuery {
    double from = 0;
    double to = 0;
    double idleSeconds = 300;
    std::optional<std::string> kind;
};

// A summary's findings: the account of the range's rows and the frames
// that explain it.
struct SummaryFindings {
    ActivityAccount account;
    FrameCoverage coverage;
};

// Counts the work of a time range by the rule of ActivityAccountant and
// looks at its frames (FrameCoverageRules). The port's reads should see one
// state of the database, so that the account and the coverage agree: the
// caller holds one read transaction around execute().
//
// Borrows the port and the calendar, which must outlive the use case.
class SummaryUseCase {
public:
    SummaryUseCase(SummaryQueryPort& summaryQuery, const LocalCalendar& calendar);

    // The findings for `query` with `now` the one reading of the clock: the
    // last row covers until the end of the range or now, whichever is
    // earlier, and gaps are looked for up to there too. Rethrows the port's
    // database error.
    SummaryFindings execute(const SummaryQuery& query, double now);

private:
    SummaryQueryPort& summaryQuery_;
    const LocalCalendar& calendar_;
};

}  // namespace VarnholtQueryLib
