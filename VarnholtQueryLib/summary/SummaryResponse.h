#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "output/JSONWriter.h"
#include "period/TimeRange.h"
#include "summary/SummaryDetail.h"
#include "summary/SummaryUseCase.h"

namespace VarnholtQueryLib {

class LocalCalendar;

// What a summary was asked, as its answer echoes it and as it shapes the
// lists.
struct SummaryEcho {
    TimeRange range;
    double idleSeconds = 300;
    std::optional<std::string> kind;
    std::int64_t limit = 10;                // entries of the application and entity lists
    std::optional<std::int64_t> maxChars;   // the budget; absent: no budget
};

// The answer of `summary`: the findings inside the response envelope, with
// the query echoed and the local date and time of `now` in `calendar`.
// Seconds are printed as whole numbers (wholeSeconds), instants as UTC
// ISO 8601 texts, highlights redacted. With a budget, detail is dropped in
// dropOrder's order until the printed document fits it; meta.truncated and
// meta.omitted say what went. Throws SummaryBudgetTooSmall when even the
// totals do not fit, with the smallest budget they fit (the answer echoes
// its budget, so that is the size of the totals with that budget in them).
JSON makeSummaryResponse(const SummaryFindings& findings, const SummaryEcho& echo,
                         const LocalCalendar& calendar, double now);

// The document for `detail` as trimmed, with what was omitted of it.
JSON summaryDocument(const SummaryFindings& findings, const SummaryDetail& detail,
                     const OmittedDetail& omitted, const SummaryEcho& echo,
                     const LocalCalendar& calendar, double now);

}  // namespace VarnholtQueryLib
