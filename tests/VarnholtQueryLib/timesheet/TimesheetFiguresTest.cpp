#include "timesheet/TimesheetFigures.h"

#include <gtest/gtest.h>

#include <vector>

namespace VarnholtQueryLib {
namespace {

TimesheetPart part(double seconds, std::vector<double> days) {
    TimesheetPart tally;
    tally.seconds = seconds;
    tally.daySeconds = std::move(days);
    return tally;
}

TEST(TimesheetFiguresTest, CategoriesAndUncategorizedTimeAddUpAsPrinted) {
    // Three covers of x.5 seconds meet: 1.5 + 2.5 + 3.5 = 7.5, printed 8.
    TimesheetAccount account;
    account.activeSeconds = 7.5;
    account.categories = {part(1.5, {1.5}), part(2.5, {2.5})};
    account.uncategorized = part(3.5, {3.5});
    account.days = {{"2026-04-01", 7.5}};
    const TimesheetFigures figures = TimesheetFigures::of(account);
    EXPECT_EQ(figures.activeSeconds, 8);
    EXPECT_EQ(figures.categorySeconds, (std::vector<std::int64_t>{2, 3}));
    EXPECT_EQ(figures.uncategorizedSeconds, 3);
    ASSERT_EQ(figures.days.size(), 1u);
    EXPECT_EQ(figures.days[0], (TimesheetFigures::Day{"2026-04-01", 8, {2, 3}, 3}));
}

TEST(TimesheetFiguresTest, EachDayAddsUpOnItsOwn) {
    // A category of 0.6 s on each of two days: printed 1 in total (1.2),
    // and 1 on each day, whose days then sum to 2.
    TimesheetAccount account;
    account.activeSeconds = 1.2;
    account.categories = {part(1.2, {0.6, 0.6})};
    account.uncategorized = part(0, {0, 0});
    account.days = {{"2026-04-01", 0.6}, {"2026-04-02", 0.6}};
    const TimesheetFigures figures = TimesheetFigures::of(account);
    EXPECT_EQ(figures.categorySeconds, (std::vector<std::int64_t>{1}));
    EXPECT_EQ(figures.days[0].categorySeconds, (std::vector<std::int64_t>{1}));
    EXPECT_EQ(figures.days[1].categorySeconds, (std::vector<std::int64_t>{1}));
    EXPECT_EQ(figures.days[1].uncategorizedSeconds, 0);
}

TEST(TimesheetFiguresTest, ADayWithoutRowsIsAllZero) {
    TimesheetAccount account;
    account.categories = {part(0, {0})};
    account.uncategorized = part(0, {0});
    account.days = {{"2026-04-01", 0}};
    EXPECT_EQ(TimesheetFigures::of(account).days.at(0), (TimesheetFigures::Day{"2026-04-01", 0, {0}, 0}));
}

TEST(TimesheetFiguresTest, SharesComeFromTheExactSecondsToOneDecimal) {
    EXPECT_EQ(shareOf(1, 3), 33.3);
    EXPECT_EQ(shareOf(2, 3), 66.7);
    EXPECT_EQ(shareOf(1, 8), 12.5);
    EXPECT_EQ(shareOf(1, 1600), 0.1);   // 0.0625 % is 0.1 halves up
    EXPECT_EQ(shareOf(1, 2001), 0.0);
    EXPECT_EQ(shareOf(5, 5), 100.0);
    EXPECT_EQ(shareOf(0, 0), 0.0);
}

}  // namespace
}  // namespace VarnholtQueryLib
