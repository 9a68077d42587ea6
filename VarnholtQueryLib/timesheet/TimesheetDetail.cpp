#include "timesheet/TimesheetDetail.h"

#include <algorithm>
#include <array>
#include <optional>
#include <tuple>

namespace VarnholtQueryLib {

namespace {

template <typename Entry>
std::vector<Entry> firstOf(const std::vector<Entry>& list, std::size_t count) {
    return {list.begin(), list.begin() + static_cast<std::ptrdiff_t>(std::min(count, list.size()))};
}

}  // namespace

TimesheetDetail TimesheetDetail::of(const TimesheetAccount& account) {
    TimesheetDetail detail;
    for (const TimesheetPart& category : account.categories) detail.spans.push_back(category.spans);
    detail.spans.push_back(account.uncategorized.spans);
    detail.suggestions.applications = firstOf(account.suggestions.applications, kSuggestionsListed);
    detail.suggestions.entities = firstOf(account.suggestions.entities, kSuggestionsListed);
    detail.suggestions.terms = firstOf(account.suggestions.terms, kSuggestionsListed);
    return detail;
}

std::vector<TimesheetDrop> dropOrder(const TimesheetDetail& detail) {
    std::vector<TimesheetDrop> order;
    for (std::size_t part = 0; part < detail.spans.size(); ++part) {
        for (std::size_t index = 0; index < detail.spans[part].size(); ++index) {
            order.push_back({TimesheetDetailKind::span, part, index});
        }
    }
    const auto spanOf = [&](const TimesheetDrop& drop) -> const TimesheetSpan& {
        return detail.spans[drop.part][drop.index];
    };
    std::sort(order.begin(), order.end(), [&](const TimesheetDrop& a, const TimesheetDrop& b) {
        const TimesheetSpan& spanA = spanOf(a);
        const TimesheetSpan& spanB = spanOf(b);
        return std::make_tuple(wholeSeconds(spanA.seconds), spanA.start, a.part, a.index) <
               std::make_tuple(wholeSeconds(spanB.seconds), spanB.start, b.part, b.index);
    });

    // The lists' remaining lengths, in the order that breaks ties: terms,
    // entities, applications.
    const TimesheetSuggestions& suggestions = detail.suggestions;
    std::array<std::size_t, 3> left = {suggestions.terms.size(), suggestions.entities.size(),
                                       suggestions.applications.size()};
    const std::array<TimesheetDetailKind, 3> kinds = {TimesheetDetailKind::term, TimesheetDetailKind::entity,
                                                      TimesheetDetailKind::application};
    const auto secondsOfLast = [&](std::size_t list) -> std::int64_t {
        const std::size_t last = left[list] - 1;
        if (list == 0) return wholeSeconds(suggestions.terms[last].seconds);
        if (list == 1) return wholeSeconds(suggestions.entities[last].seconds);
        return wholeSeconds(suggestions.applications[last].seconds);
    };
    for (;;) {
        std::optional<std::size_t> next;
        for (std::size_t list = 0; list < left.size(); ++list) {
            if (left[list] == 0) continue;
            if (!next || secondsOfLast(list) < secondsOfLast(*next)) next = list;
        }
        if (!next) break;
        --left[*next];
        order.push_back({kinds[*next], 0, left[*next]});
    }
    return order;
}

TimesheetDetail withoutFirstDrops(const TimesheetDetail& detail, const std::vector<TimesheetDrop>& order,
                                  std::size_t count, TimesheetOmitted& omitted) {
    omitted = {};
    std::vector<std::vector<bool>> droppedSpans;
    for (const auto& spans : detail.spans) droppedSpans.emplace_back(spans.size(), false);
    TimesheetDetail trimmed;
    trimmed.suggestions = detail.suggestions;
    for (std::size_t i = 0; i < count; ++i) {
        const TimesheetDrop& drop = order[i];
        switch (drop.kind) {
            case TimesheetDetailKind::span:
                droppedSpans[drop.part][drop.index] = true;
                ++omitted.spans;
                break;
            case TimesheetDetailKind::application:
                trimmed.suggestions.applications.pop_back();
                ++omitted.applications;
                break;
            case TimesheetDetailKind::entity:
                trimmed.suggestions.entities.pop_back();
                ++omitted.entities;
                break;
            case TimesheetDetailKind::term:
                trimmed.suggestions.terms.pop_back();
                ++omitted.terms;
                break;
        }
    }
    for (std::size_t part = 0; part < detail.spans.size(); ++part) {
        std::vector<TimesheetSpan> kept;
        for (std::size_t index = 0; index < detail.spans[part].size(); ++index) {
            if (!droppedSpans[part][index]) kept.push_back(detail.spans[part][index]);
        }
        trimmed.spans.push_back(std::move(kept));
    }
    return trimmed;
}

}  // namespace VarnholtQueryLib
