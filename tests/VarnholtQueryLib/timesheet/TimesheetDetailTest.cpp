#include "timesheet/TimesheetDetail.h"

#include <gtest/gtest.h>

#include <vector>

namespace VarnholtQueryLib {
namespace {

TimesheetSpan spanOf(double start, double seconds) { return {start, start + seconds, seconds, 1, "x"}; }

TimesheetDetail detail() {
    TimesheetDetail detail;
    // Category 0, category 1, uncategorized.
    detail.spans = {{spanOf(100, 60), spanOf(400, 10.4)}, {spanOf(50, 10)}, {spanOf(300, 9.6)}};
    detail.suggestions.applications = {{"Mail", 30, 1}, {"Slack", 5, 1}};
    detail.suggestions.entities = {{"app", "Mail", 30, 1, 0, 0}};
    detail.suggestions.terms = {{"invoice", 40}, {"mail", 5}, {"notes", 4.6}};
    return detail;
}

TEST(TimesheetDetailTest, SpansGoShortestFirstThenTheSuggestionsTails) {
    const auto order = dropOrder(detail());
    using Kind = TimesheetDetailKind;
    // 9.6, 10 and 10.4 all print 10 seconds: the earliest start goes first.
    EXPECT_EQ(order, (std::vector<TimesheetDrop>{
                         {Kind::span, 1, 0},  // 10 s at 50
                         {Kind::span, 2, 0},  // 10 s at 300
                         {Kind::span, 0, 1},  // 10 s at 400
                         {Kind::span, 0, 0},  // 60 s
                         // The lists' last entries: notes 5, Mail 30, Slack 5:
                         // the term before the application among equals.
                         {Kind::term, 0, 2},
                         {Kind::term, 0, 1},
                         {Kind::application, 0, 1},
                         {Kind::entity, 0, 0},
                         {Kind::application, 0, 0},
                         {Kind::term, 0, 0},
                     }));
}

TEST(TimesheetDetailTest, DroppedEntriesAreCountedAndTheRestKeepTheirOrder) {
    const TimesheetDetail full = detail();
    const auto order = dropOrder(full);
    TimesheetOmitted omitted;
    const TimesheetDetail trimmed = withoutFirstDrops(full, order, 5, omitted);
    EXPECT_EQ(omitted, (TimesheetOmitted{4, 0, 0, 1}));
    EXPECT_EQ(trimmed.spans, (std::vector<std::vector<TimesheetSpan>>{{}, {}, {}}));
    EXPECT_EQ(trimmed.suggestions.terms.size(), 2u);

    const TimesheetDetail some = withoutFirstDrops(full, order, 2, omitted);
    EXPECT_EQ(omitted, (TimesheetOmitted{2, 0, 0, 0}));
    EXPECT_EQ(some.spans, (std::vector<std::vector<TimesheetSpan>>{{spanOf(100, 60), spanOf(400, 10.4)}, {}, {}}));

    const TimesheetDetail none = withoutFirstDrops(full, order, order.size(), omitted);
    EXPECT_EQ(omitted, (TimesheetOmitted{4, 2, 1, 3}));
    EXPECT_TRUE(none.suggestions.applications.empty());
    EXPECT_TRUE(none.suggestions.terms.empty());
}

TEST(TimesheetDetailTest, TheDetailListsTenSuggestionsOfEachKind) {
    TimesheetAccount account;
    for (int i = 0; i < 12; ++i) account.suggestions.terms.push_back({"t" + std::to_string(i), 1});
    account.categories.resize(2);
    const TimesheetDetail detail = TimesheetDetail::of(account);
    EXPECT_EQ(detail.suggestions.terms.size(), 10u);
    EXPECT_EQ(detail.spans.size(), 3u);
}

}  // namespace
}  // namespace VarnholtQueryLib
