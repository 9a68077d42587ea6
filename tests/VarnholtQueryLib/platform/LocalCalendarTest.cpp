#include "platform/LocalCalendar.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace VarnholtQueryLib;

TEST(LocalCalendarTest, UTCInternetDateTimeDropsTheFraction) {
    EXPECT_EQ(formatUTCInternetDateTime(1775037600), "2026-04-01T10:00:00Z");
    EXPECT_EQ(formatUTCInternetDateTime(1775037600.999), "2026-04-01T10:00:00Z");
    EXPECT_EQ(formatUTCInternetDateTime(0), "1970-01-01T00:00:00Z");
    EXPECT_EQ(formatUTCInternetDateTime(-0.5), "1969-12-31T23:59:59Z");
}

TEST(LocalCalendarTest, LocalInternetDateTimeCarriesTheOffset) {
    EXPECT_EQ(LocalCalendar("Europe/Berlin", "en_US").localInternetDateTime(1775037600),
              "2026-04-01T12:00:00+02:00");
    EXPECT_EQ(LocalCalendar("Europe/Berlin", "en_US").localInternetDateTime(1767261600),
              "2026-01-01T11:00:00+01:00");
    EXPECT_EQ(LocalCalendar("America/New_York", "en_US").localInternetDateTime(1775037600),
              "2026-04-01T06:00:00-04:00");
    EXPECT_EQ(LocalCalendar("Asia/Kolkata", "en_US").localInternetDateTime(1775037600),
              "2026-04-01T15:30:00+05:30");
    // A zero offset is written as Z, also for a named zone.
    EXPECT_EQ(LocalCalendar("Europe/London", "en_GB").localInternetDateTime(1767261600),
              "2026-01-01T10:00:00Z");
}

TEST(LocalCalendarTest, UTCOffsetIncludesDaylightSavingTime) {
    EXPECT_EQ(LocalCalendar("Europe/Berlin", "en_US").utcOffsetSeconds(1775037600), 7200);
    EXPECT_EQ(LocalCalendar("Europe/Berlin", "en_US").utcOffsetSeconds(1767261600), 3600);
    EXPECT_EQ(LocalCalendar("America/New_York", "en_US").utcOffsetSeconds(1775037600), -4 * 3600);
    EXPECT_EQ(LocalCalendar("Asia/Kolkata", "en_US").utcOffsetSeconds(1775037600), 19800);
    EXPECT_EQ(LocalCalendar("UTC", "en_US").utcOffsetSeconds(1775037600), 0);
}

TEST(LocalCalendarTest, LocalDateFollowsTheZone) {
    // 23:30 UTC on 31 March is already 1 April in Berlin.
    EXPECT_EQ(LocalCalendar("Europe/Berlin", "en_US").localDate(1775001600 - 1800), "2026-04-01");
    EXPECT_EQ(LocalCalendar("UTC", "en_US").localDate(1775001600 - 1800), "2026-03-31");
}

TEST(LocalCalendarTest, TimeZoneIdentifier) {
    EXPECT_EQ(LocalCalendar("Europe/Berlin", "en_US").timeZoneIdentifier(), "Europe/Berlin");
}

TEST(LocalCalendarTest, ShortLocalTimeOmitsTheDate) {
    EXPECT_EQ(LocalCalendar("Europe/Berlin", "de_DE").shortLocalTime(1775037600), "12:00");
    const std::string english = LocalCalendar("UTC", "en_US").shortLocalTime(1775037600 + 4 * 60);
    // ICU separates the day period with a narrow no-break space.
    EXPECT_EQ(english, "10:04\u202FAM");
}

TEST(LocalCalendarTest, ParsesInternetDateTimes) {
    EXPECT_EQ(parseInternetDateTime("2026-04-01T10:00:00Z"), 1775037600);
    EXPECT_EQ(parseInternetDateTime("2026-04-01T12:00:00+02:00"), 1775037600);
    EXPECT_EQ(parseInternetDateTime("2026-04-01T06:00:00-04:00"), 1775037600);
    EXPECT_EQ(parseInternetDateTime("2024-02-29T00:00:00Z"), 1709164800);
}

TEST(LocalCalendarTest, RejectsOtherDateTimeForms) {
    for (const char* text : {"2026-04-01T10:00:00.500Z", "2026-04-01T10:00:00+0200", "2026-04-01T10:00:00",
                             "2026-04-01", "2026-04-01 10:00:00Z", "2026-04-01T10:00:00z",
                             "2026-13-01T10:00:00Z", "2026-02-29T10:00:00Z", "2026-04-01T24:00:00Z",
                             "2026-04-01T10:60:00Z", "2026-04-01T10:00:60Z", "26-04-01T10:00:00Z",
                             "2026-04-01T10:00:00+02:60", "", "garbage"}) {
        EXPECT_FALSE(parseInternetDateTime(text).has_value()) << text;
    }
}

TEST(LocalCalendarTest, LocalPatternMustMatchWholeText) {
    const LocalCalendar berlin("Europe/Berlin", "en_US");
    EXPECT_EQ(berlin.parseLocalPattern("2026-04-01", "yyyy-MM-dd"), 1775001600 - 7200);
    EXPECT_FALSE(berlin.parseLocalPattern("2026-04-01x", "yyyy-MM-dd").has_value());
    EXPECT_FALSE(berlin.parseLocalPattern("2026-04-31", "yyyy-MM-dd").has_value());
    EXPECT_FALSE(berlin.parseLocalPattern("2026-04-01T10:00:00Z", "yyyy-MM-dd'T'HH:mm:ss").has_value());
}

TEST(LocalCalendarTest, AddingDaysKeepsWallClockAcrossDaylightSaving) {
    const LocalCalendar berlin("Europe/Berlin", "en_US");
    EXPECT_EQ(berlin.addingDays(1774738800, 1), 1774821600);  // 23 hours later
    EXPECT_EQ(berlin.startOfDay(1774821600 - 1), 1774738800);
}

namespace {

// Instants computed independently of this code (IANA zone data via date(1)).
// Havana, Sunday 1 November 2026: at 01:00 CDT the clocks fall back to 00:00
// CST, so the day has two midnights.
constexpr double kHavanaFirstMidnight = 1793505600;   // 2026-11-01T04:00:00Z
constexpr double kHavanaSecondMidnight = 1793509200;  // 2026-11-01T05:00:00Z
constexpr double kHavanaNovember1Noon = 1793552400;   // 2026-11-01T17:00:00Z
constexpr double kHavanaNovember2Midnight = 1793595600;
constexpr double kHavanaOctober31Midnight = 1793419200;
// Beirut, Sunday 27 March 2022: at 00:00 the clocks jump to 01:00, so the day
// has no midnight and starts at 01:00 EEST.
constexpr double kBeirutMarch26Midnight = 1648245600;  // 2022-03-25T22:00:00Z
constexpr double kBeirutMarch27Start = 1648332000;     // 2022-03-26T22:00:00Z
constexpr double kBeirutMarch27Noon = 1648375200;      // 2022-03-27T10:00:00Z (13:00 local)
constexpr double kBeirutMarch28Midnight = 1648414800;  // 2022-03-27T21:00:00Z

const char* const kDateTimePattern = "yyyy-MM-dd'T'HH:mm:ss";

}  // namespace

// Years of more than four digits are written as they are; only instants
// beyond 64-bit seconds, which no arithmetic could hold, are written as the
// nearer end of that range.
TEST(LocalCalendarTest, InstantsBeyond64BitSecondsAreWrittenAsTheNearerEnd) {
    EXPECT_EQ(formatUTCInternetDateTime(253402300799.9), "9999-12-31T23:59:59Z");
    EXPECT_EQ(formatUTCInternetDateTime(253402300800), "10000-01-01T00:00:00Z");
    EXPECT_EQ(formatUTCInternetDateTime(1e12), "33658-09-27T01:46:40Z");
    EXPECT_EQ(formatUTCInternetDateTime(-62167219201), "-001-12-31T23:59:59Z");
    EXPECT_EQ(formatUTCInternetDateTime(9223372036854774784.0), "292277026596-12-04T15:13:04Z");
    EXPECT_EQ(formatUTCInternetDateTime(9.3e18), "292277026596-12-04T15:30:07Z");
    EXPECT_EQ(formatUTCInternetDateTime(1e300), "292277026596-12-04T15:30:07Z");
    EXPECT_EQ(formatUTCInternetDateTime(std::numeric_limits<double>::infinity()),
              "292277026596-12-04T15:30:07Z");
    EXPECT_EQ(formatUTCInternetDateTime(-9223372036854775808.0), "-292277022657-01-27T08:29:52Z");
    EXPECT_EQ(formatUTCInternetDateTime(-3.6e19), "-292277022657-01-27T08:29:52Z");  // --since 1e16h
    EXPECT_EQ(formatUTCInternetDateTime(-1e300), "-292277022657-01-27T08:29:52Z");
    EXPECT_EQ(formatUTCInternetDateTime(-std::numeric_limits<double>::infinity()),
              "-292277022657-01-27T08:29:52Z");
    EXPECT_EQ(formatUTCInternetDateTime(std::nan("")), "-292277022657-01-27T08:29:52Z");
}

TEST(LocalCalendarTest, LocalTextsStayWithin64BitSecondsAfterTheOffset) {
    const LocalCalendar tokyo("Asia/Tokyo", "ja_JP");
    EXPECT_EQ(tokyo.localInternetDateTime(1e12), "33658-09-27T10:46:40+09:00");
    EXPECT_EQ(tokyo.localInternetDateTime(1e300), "292277026596-12-04T15:30:07+09:00");
    EXPECT_EQ(tokyo.localDate(1e300), "292277026596-12-04");
    const LocalCalendar newYork("America/New_York", "en_US");
    // At the calendar's first instant New York keeps local mean time, 4:56:02
    // behind UTC; the wall clock cannot go below the first 64-bit second.
    EXPECT_EQ(newYork.localInternetDateTime(-1e300), "-292277022657-01-27T08:29:52-04:56");
    EXPECT_EQ(newYork.localDate(1e12), "33658-09-26");
}

// ICU's calendar holds about 5.8 million years either side of 1970 and pins
// anything beyond to its ends; NaN and the infinities go there too.
TEST(LocalCalendarTest, CalendarArithmeticTakesAnOutOfRangeInstantAsTheNearerEnd) {
    const LocalCalendar utc("UTC", "en_US");
    EXPECT_EQ(formatUTCInternetDateTime(utc.startOfDay(1e300)), "5828963-12-20T00:00:00Z");
    EXPECT_EQ(utc.startOfDay(1e300), kLatestCalendarInstant);
    EXPECT_EQ(utc.startOfDay(std::numeric_limits<double>::infinity()), kLatestCalendarInstant);
    EXPECT_EQ(utc.startOfDay(-1e300), kEarliestCalendarInstant);
    EXPECT_EQ(utc.startOfDay(std::nan("")), kEarliestCalendarInstant);
    EXPECT_EQ(utc.startOfDay(1e12), 999999993600);  // far years are still real days
    EXPECT_EQ(clampToCalendarRange(1775037600.5), 1775037600.5);
    EXPECT_EQ(clampToCalendarRange(9.3e18), kLatestCalendarInstant);
    EXPECT_EQ(clampToCalendarRange(-9.3e18), kEarliestCalendarInstant);
}

TEST(LocalCalendarTest, DatesOfAnyYearAreParsed) {
    EXPECT_EQ(parseInternetDateTime("9999-12-31T23:59:59Z"), 253402300799);
    EXPECT_EQ(parseInternetDateTime("0000-01-01T00:00:00Z"), -62167219200);
    EXPECT_EQ(parseInternetDateTime("9999-12-31T23:00:00-05:00"), 253402315200);  // 10000 in UTC
    const LocalCalendar utc("UTC", "en_US");
    EXPECT_EQ(utc.parseLocalPattern("9999-12-31", "yyyy-MM-dd"), 253402214400);
    EXPECT_EQ(utc.parseLocalPattern("10000-01-01", "yyyy-MM-dd"), 253402300800);
    const LocalCalendar newYork("America/New_York", "en_US");
    EXPECT_EQ(newYork.parseLocalPattern("9999-12-31T23:00:00", kDateTimePattern), 253402315200);
}

TEST(LocalCalendarTest, DatesAreProlepticGregorianBefore1582) {
    // A Julian calendar would read 1000-01-01 as the Gregorian 1000-01-06,
    // and has no 10 October 1582 at all.
    const LocalCalendar utc("UTC", "en_US");
    EXPECT_EQ(utc.parseLocalPattern("1000-01-01", "yyyy-MM-dd"), -30610224000);
    EXPECT_EQ(formatUTCInternetDateTime(-30610224000), "1000-01-01T00:00:00Z");
    EXPECT_EQ(utc.parseLocalPattern("1582-10-10", "yyyy-MM-dd"), -12219724800);
    EXPECT_EQ(utc.startOfDay(-30610224000 + 3600), -30610224000);
    EXPECT_EQ(utc.addingDays(-30610224000, 1), -30610224000 + 86400);
}

TEST(LocalCalendarTest, ADayWithTwoMidnightsStartsAtTheFirst) {
    const LocalCalendar havana("America/Havana", "en_US");
    EXPECT_EQ(havana.startOfDay(kHavanaNovember1Noon), kHavanaFirstMidnight);
    EXPECT_EQ(havana.startOfDay(kHavanaFirstMidnight + 1800), kHavanaFirstMidnight);
    EXPECT_EQ(havana.startOfDay(kHavanaSecondMidnight + 1800), kHavanaFirstMidnight);
    EXPECT_EQ(havana.addingDays(kHavanaFirstMidnight, 1), kHavanaNovember2Midnight);
    EXPECT_EQ(havana.addingDays(kHavanaOctober31Midnight, 1), kHavanaFirstMidnight);
    // 31 October 00:30 plus one day is the first 00:30 of 1 November.
    EXPECT_EQ(havana.addingDays(kHavanaOctober31Midnight + 1800, 1), kHavanaFirstMidnight + 1800);
}

// Hours, minutes and seconds count elapsed time, whatever the wall clock
// does meanwhile.
TEST(LocalCalendarTest, AddingTimeCountsElapsedSeconds) {
    const LocalCalendar berlin("Europe/Berlin", "de_DE");
    constexpr double kBerlinMarch29Midnight = 1774738800;  // 2026-03-28T23:00:00Z, a 23-hour day
    EXPECT_EQ(berlin.addingTime(kBerlinMarch29Midnight, 23, 59, 59), kBerlinMarch29Midnight + 86399);
    const LocalCalendar havana("America/Havana", "en_US");
    EXPECT_EQ(havana.addingTime(kHavanaFirstMidnight, 23, 59, 59), kHavanaFirstMidnight + 86399);
}

TEST(LocalCalendarTest, ARepeatedWallClockTimeIsReadAsItsFirstOccurrence) {
    const LocalCalendar havana("America/Havana", "en_US");
    EXPECT_EQ(havana.parseLocalPattern("2026-11-01", "yyyy-MM-dd"), kHavanaFirstMidnight);
    EXPECT_EQ(havana.parseLocalPattern("2026-11-01T00:30:00", kDateTimePattern), kHavanaFirstMidnight + 1800);
    // 01:00 happens once, an hour after the second midnight.
    EXPECT_EQ(havana.parseLocalPattern("2026-11-01T01:00:00", kDateTimePattern), kHavanaSecondMidnight + 3600);
}

TEST(LocalCalendarTest, ADayWithoutMidnightStartsWhenTheClocksJumpPastIt) {
    const LocalCalendar beirut("Asia/Beirut", "en_US");
    EXPECT_EQ(beirut.startOfDay(kBeirutMarch27Noon), kBeirutMarch27Start);
    // A calendar day later keeps the wall clock: 01:00 the next day.
    EXPECT_EQ(beirut.addingDays(kBeirutMarch27Start, 1), kBeirutMarch28Midnight + 3600);
    EXPECT_EQ(beirut.addingDays(kBeirutMarch26Midnight, 1), kBeirutMarch27Start);
    EXPECT_EQ(beirut.addingDays(kBeirutMarch26Midnight + 1800, 1), kBeirutMarch27Start);
    const LocalCalendar santiago("America/Santiago", "es_CL");
    EXPECT_EQ(santiago.startOfDay(1662868800 + 3600), 1662868800);  // 2022-09-11 01:00 -03
    EXPECT_EQ(santiago.addingDays(1662868800, 1), 1662955200);  // 2022-09-12 01:00 -03
}

TEST(LocalCalendarTest, ASkippedWallClockTimeIsReadAsTheEndOfTheJump) {
    const LocalCalendar beirut("Asia/Beirut", "en_US");
    EXPECT_EQ(beirut.parseLocalPattern("2022-03-27", "yyyy-MM-dd"), kBeirutMarch27Start);
    EXPECT_EQ(beirut.parseLocalPattern("2022-03-27T00:30:00", kDateTimePattern), kBeirutMarch27Start);
    EXPECT_EQ(beirut.parseLocalPattern("2022-03-27T01:00:00", kDateTimePattern), kBeirutMarch27Start);
    EXPECT_EQ(beirut.parseLocalPattern("2022-03-27T01:30:00", kDateTimePattern), kBeirutMarch27Start + 1800);
    const LocalCalendar berlin("Europe/Berlin", "en_US");
    // 02:30 on 29 March 2026 does not exist in Berlin; 03:00 CEST does.
    EXPECT_EQ(berlin.parseLocalPattern("2026-03-29T02:30:00", kDateTimePattern), 1774746000);
    const LocalCalendar santiago("America/Santiago", "es_CL");
    EXPECT_EQ(santiago.parseLocalPattern("2022-09-11", "yyyy-MM-dd"), 1662868800);
}

TEST(LocalCalendarTest, CivilDatesCountDaysFrom1970) {
    EXPECT_EQ(daysFromCivil({1970, 1, 1}), 0);
    EXPECT_EQ(daysFromCivil({2026, 4, 1}), 20544);
    EXPECT_EQ(daysFromCivil({2000, 3, 1}), 11017);
    EXPECT_EQ(daysFromCivil({1969, 12, 31}), -1);
    EXPECT_EQ(daysFromCivil({1, 1, 1}), -719162);
    EXPECT_EQ(daysFromCivil({0, 12, 31}), -719163);
    EXPECT_EQ(civilFromDays(-719163), (CivilDate{0, 12, 31}));
    EXPECT_EQ(civilFromDays(20544), (CivilDate{2026, 4, 1}));
    // Every day of four centuries either side of 1970, there and back, one
    // day after the other.
    CivilDate previous = civilFromDays(-146097 - 1);
    for (long long days = -146097; days <= 146097; ++days) {
        const CivilDate date = civilFromDays(days);
        ASSERT_EQ(daysFromCivil(date), days);
        const bool nextDay = date.year == previous.year && date.month == previous.month &&
                             date.day == previous.day + 1;
        const bool nextMonth = date.day == 1 && previous.day == daysInMonth(previous.year, previous.month) &&
                               (date.month == previous.month + 1 ||
                                (date.month == 1 && previous.month == 12 && date.year == previous.year + 1));
        ASSERT_TRUE(nextDay || nextMonth) << days;
        previous = date;
    }
}

TEST(LocalCalendarTest, MonthLengthsFollowTheGregorianLeapYears) {
    EXPECT_EQ(daysInMonth(2026, 1), 31u);
    EXPECT_EQ(daysInMonth(2026, 4), 30u);
    EXPECT_EQ(daysInMonth(2026, 2), 28u);
    EXPECT_EQ(daysInMonth(2024, 2), 29u);
    EXPECT_EQ(daysInMonth(1900, 2), 28u);
    EXPECT_EQ(daysInMonth(2000, 2), 29u);
    EXPECT_EQ(daysInMonth(0, 2), 29u);
    EXPECT_EQ(daysInMonth(-4, 2), 29u);
    EXPECT_EQ(daysInMonth(-100, 2), 28u);
}
