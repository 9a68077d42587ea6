#include "summary/SummaryUseCase.h"

#include <algorithm>

#include "summary/ActivityAccountant.h"
#include "summary/FrameCoverageRules.h"

namespace VarnholtQueryLib {

SummaryUseCase::SummaryUseCase(SummaryQueryPort& summaryQuery, const LocalCalendar& calendar)
    : summaryQuery_(summaryQuery), calendar_(calendar) {}

SummaryFindings SummaryUseCase::execute(const SummaryQuery& query, double now) {
    // Nothing is known after now: a range that reaches into the future is
    // counted, and looked at for gaps, only up to now.
    const double coverEnd = std::min(query.to, now);

    SummaryFindings findings;
    ActivityAccountant accountant(calendar_, query.idleSeconds, coverEnd, query.kind);
    summaryQuery_.scanActivity(query.from, query.to, accountant);
    findings.account = accountant.close(summaryQuery_);

    findings.coverage.counts = summaryQuery_.countFrames(query.from, query.to);
    FrameGapFinder gaps(query.from, coverEnd);
    if (query.from <= coverEnd) {
        summaryQuery_.scanFrameTimes(query.from, coverEnd, [&gaps](double time) { gaps.add(time); });
    }
    findings.coverage.gaps = gaps.close();
    findings.coverage.verdict =
        coverageVerdict(findings.account.observationCount, findings.coverage.counts);
    return findings;
}

}  // namespace VarnholtQueryLib
