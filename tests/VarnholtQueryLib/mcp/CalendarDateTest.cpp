#include "mcp/CalendarDate.h"

#include <gtest/gtest.h>

using namespace VarnholtQueryLib::MCP;

TEST(CalendarDateTest, RealDatesAreRead) {
    EXPECT_EQ(CalendarDate::parse("2026-04-01"), (CalendarDate{2026, 4, 1}));
    EXPECT_EQ(CalendarDate::parse("2024-02-29"), (CalendarDate{2024, 2, 29}));
    EXPECT_EQ(CalendarDate::parse("2000-02-29"), (CalendarDate{2000, 2, 29}));
    EXPECT_EQ(CalendarDate::parse("0001-01-01"), (CalendarDate{1, 1, 1}));
    EXPECT_EQ(CalendarDate::parse("9999-12-31"), (CalendarDate{9999, 12, 31}));
}

TEST(CalendarDateTest, AnythingElseIsNot) {
    for (const char* text : {"2026-02-29", "1900-02-29", "2026-04-31", "2026-13-01", "2026-00-10", "2026-01-00",
                             "0000-01-01", "2026-4-01", "2026-04-1", "26-04-01", "2026/04/01", "2026-04-01T00:00:00",
                             " 2026-04-01", "2026-04-01 ", "", "yyyy-MM-dd", "+026-04-01", "2026-0a-01"}) {
        EXPECT_FALSE(CalendarDate::parse(text).has_value()) << text;
    }
}

TEST(CalendarDateTest, DaysAreAddedAcrossMonthsYearsAndLeapDays) {
    EXPECT_EQ(CalendarDate({2026, 3, 30}).plusDays(6).text(), "2026-04-05");
    EXPECT_EQ(CalendarDate({2026, 12, 28}).plusDays(6).text(), "2027-01-03");
    EXPECT_EQ(CalendarDate({2024, 2, 26}).plusDays(6).text(), "2024-03-03");
    EXPECT_EQ(CalendarDate({2023, 2, 26}).plusDays(6).text(), "2023-03-04");
    EXPECT_EQ(CalendarDate({2026, 1, 1}).plusDays(-1).text(), "2025-12-31");
    EXPECT_EQ(CalendarDate({1970, 1, 1}).plusDays(-719162).text(), "0001-01-01");
    EXPECT_EQ(CalendarDate({1, 1, 5}).text(), "0001-01-05");
}
