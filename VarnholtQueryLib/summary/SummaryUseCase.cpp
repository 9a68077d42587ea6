#include "summary/SummaryUseCase.h"

#include <algorithm>

#include "selection/RowSelector.h"
#include "summary/ActivityAccountant.h"
#include "summary/RangeCoverage.h"

namespace VarnholtQueryLib {

SummaryUseCase::SummaryUseCase(SummaryQueryPort& summaryQuery, FullTextMatchPort& fullText,
                               const LocalCalendar& calendar)
    : summaryQuery_(summaryQuery), fullText_(fullText), calendar_(calendar) {}

SummaryFindings SummaryUseCase::execute(const SummaryQuery& query, double now) {
    // Nothing is known after now: a range that reaches into the future is
    // counted, and looked at for gaps, only up to now.
    const double coverEnd = std::min(query.to, now);

    std::optional<RowSelector> selector;
    if (!query.selection.empty()) {
        selector = RowSelector::resolve({query.selection}, fullText_, query.from, query.to);
    }
    const AccountingRules rules{query.idleSeconds, query.from, coverEnd, query.kind, query.sections};
    ActivityAccountant accountant(calendar_, rules, selector ? &*selector : nullptr);
    ActivityNeeds needs{selector && selector->readsRowids(),
                        query.sections.entities || (selector && selector->readsEntities())};
    if (selector && !selector->readsEntities() && query.sections.entities) {
        // Only the selected rows' entities are counted, and rules without an
        // entity rule select a row without looking at its entities.
        needs.entitiesFor = [&selector](const ActivityRow& row) {
            return selector->selects({row.rowid, row.apps, row.entities});
        };
    }
    summaryQuery_.scanActivity(query.from, query.to, needs, accountant);

    SummaryFindings findings;
    findings.account = accountant.close(summaryQuery_);
    if (!query.sections.coverage) return findings;

    // Whether the range has rows, picked or not: the coverage is the range's.
    FrameCoverage coverage =
        readFrameCoverage(summaryQuery_, query.from, query.to, coverEnd, findings.account.rangeObservationCount);
    findings.coverage = std::move(coverage);
    return findings;
}

}  // namespace VarnholtQueryLib
