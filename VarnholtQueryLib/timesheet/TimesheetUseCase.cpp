#include "timesheet/TimesheetUseCase.h"

#include <algorithm>

#include "selection/RowSelector.h"
#include "summary/RangeCoverage.h"
#include "timesheet/TimesheetAccountant.h"

namespace VarnholtQueryLib {

TimesheetUseCase::TimesheetUseCase(SummaryQueryPort& activity, FullTextMatchPort& fullText,
                                   const LocalCalendar& calendar)
    : activity_(activity), fullText_(fullText), calendar_(calendar) {}

TimesheetFindings TimesheetUseCase::execute(const TimesheetQuery& query, double now) {
    // Nothing is known after now: a range that reaches into the future is
    // counted, and looked at for gaps, only up to now.
    const double coverEnd = std::min(query.to, now);
    RowSelector categories = RowSelector::resolve(query.categories, fullText_, query.from, query.to);

    TimesheetFindings findings;
    TimesheetAccountant accountant(calendar_, {query.idleSeconds, query.from, coverEnd, query.categories.size()},
                                   categories, activity_);
    // Every row's description makes spans and terms: read with the rows.
    ActivityNeeds needs{.rowids = categories.readsRowids(), .entities = true, .descriptions = true};
    // A row's entities count where a category's entity rule may take it, and
    // for the suggestions when none takes it; a row that a category before
    // every entity rule takes needs none.
    needs.entitiesFor = [&categories](const ActivityRow& row) {
        const std::optional<std::size_t> taker = categories.firstMatchingSet({row.rowid, row.apps, row.entities});
        const std::optional<std::size_t> firstByEntity = categories.firstSetReadingEntities();
        return !taker || (firstByEntity && *taker > *firstByEntity);
    };
    activity_.scanActivity(query.from, query.to, needs, accountant);
    findings.account = accountant.close();
    findings.coverage =
        readFrameCoverage(activity_, query.from, query.to, coverEnd, findings.account.observationCount);
    return findings;
}

}  // namespace VarnholtQueryLib
