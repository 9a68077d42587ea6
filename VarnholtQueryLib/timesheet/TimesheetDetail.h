#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "timesheet/TimesheetRecords.h"

namespace VarnholtQueryLib {

// The detail of a timesheet answer that a budget may drop, as it is
// printed: the spans and the suggestions. The totals and the days are
// never dropped.
struct TimesheetDetail {
    // Entries of each suggestion list.
    static constexpr std::size_t kSuggestionsListed = 10;

    // Per category in order, then the uncategorized time's; descriptions
    // masked.
    std::vector<std::vector<TimesheetSpan>> spans;
    TimesheetSuggestions suggestions;  // the first kSuggestionsListed of each list

    static TimesheetDetail of(const TimesheetAccount& account);
};

// How many entries of each kind were dropped to fit a budget.
struct TimesheetOmitted {
    std::int64_t spans = 0;
    std::int64_t applications = 0;
    std::int64_t entities = 0;
    std::int64_t terms = 0;

    bool any() const { return spans + applications + entities + terms > 0; }
    bool operator==(const TimesheetOmitted&) const = default;
};

enum class TimesheetDetailKind { span, application, entity, term };

// One entry dropped: a span (of `part`, at `index` there), or the last
// entry of a suggestion list.
struct TimesheetDrop {
    TimesheetDetailKind kind = TimesheetDetailKind::span;
    std::size_t part = 0;
    std::size_t index = 0;

    bool operator==(const TimesheetDrop&) const = default;
};

// Every entry of `detail` that may be dropped, in the order it is dropped:
//  1. the spans, those with the fewest printed seconds first; among equals
//     the one that starts first, then the one of the earlier category (the
//     uncategorized time's last);
//  2. the suggestions, each from the end of its list: of the three lists'
//     last entries the one with the fewest printed seconds first; among
//     equals a term, then an entity, then an application.
std::vector<TimesheetDrop> dropOrder(const TimesheetDetail& detail);

// `detail` without the first `count` drops of `order`, and how many of each
// kind were dropped. REQUIRES: order == dropOrder(detail), count <=
// order.size().
TimesheetDetail withoutFirstDrops(const TimesheetDetail& detail, const std::vector<TimesheetDrop>& order,
                                  std::size_t count, TimesheetOmitted& omitted);

}  // namespace VarnholtQueryLib
