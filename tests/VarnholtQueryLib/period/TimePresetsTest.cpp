#include "period/TimePresets.h"

#include <gtest/gtest.h>

#include "cli/CLIError.h"
#include "platform/LocalCalendar.h"
#include "ThrownCLIError.h"

using namespace VarnholtQueryLib;
using VarnholtTestSupport::thrownCLIError;

namespace {

// Expected instants were computed independently of this code (IANA zone data).
constexpr double kWednesdayApril1At10UTC = 1775037600;  // 2026-04-01T10:00:00Z
constexpr double kBerlinMarch29Midnight = 1774738800;   // spring forward: 23-hour day
constexpr double kBerlinMarch30Midnight = 1774821600;
constexpr double kBerlinOctober25Midnight = 1792879200;  // fall back: 25-hour day
constexpr double kBerlinOctober26Midnight = 1792969200;
// Havana, Sunday 1 November 2026: 01:00 CDT falls back to 00:00 CST, so the
// day has two midnights.
constexpr double kHavanaOctober31Midnight = 1793419200;  // 2026-10-31T04:00:00Z
constexpr double kHavanaFirstMidnight = 1793505600;      // 2026-11-01T04:00:00Z
constexpr double kHavanaSecondMidnight = 1793509200;     // 2026-11-01T05:00:00Z
constexpr double kHavanaNovember1Noon = 1793552400;
constexpr double kHavanaNovember2Midnight = 1793595600;  // 2026-11-02T05:00:00Z
// Beirut, Sunday 27 March 2022: 00:00 jumps to 01:00, so the day starts at
// 01:00 EEST and lasts 23 hours.
constexpr double kBeirutMarch27Start = 1648332000;     // 2022-03-26T22:00:00Z
constexpr double kBeirutMarch27Noon = 1648375200;
constexpr double kBeirutMarch28Midnight = 1648414800;  // 2022-03-27T21:00:00Z

std::string messageOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const CLIError& error) {
        EXPECT_EQ(error.code(), "INVALID_TIME_RANGE");
        return error.message();
    }
    return "<no error>";
}

class TimePresetsTest : public ::testing::Test {
protected:
    LocalCalendar berlin{"Europe/Berlin", "de_DE"};
    LocalCalendar utcUS{"UTC", "en_US"};
    LocalCalendar havana{"America/Havana", "en_US"};
    LocalCalendar beirut{"Asia/Beirut", "en_US"};
};

}  // namespace

TEST_F(TimePresetsTest, TodaySpansTheCalendarDay) {
    const TimeRange range = TimePresets::today(utcUS, kWednesdayApril1At10UTC);
    EXPECT_EQ(range.from, 1775001600);
    EXPECT_EQ(range.to, 1775088000);
    EXPECT_EQ(range.preset, "today");
}

TEST_F(TimePresetsTest, TodayOnSpringForwardDayLasts23Hours) {
    const TimeRange range = TimePresets::today(berlin, kBerlinMarch29Midnight + 12 * 3600);
    EXPECT_EQ(range.from, kBerlinMarch29Midnight);
    EXPECT_EQ(range.to, kBerlinMarch30Midnight);
    EXPECT_EQ(range.to - range.from, 23 * 3600);
}

TEST_F(TimePresetsTest, TodayOnFallBackDayLasts25Hours) {
    const TimeRange range = TimePresets::today(berlin, kBerlinOctober25Midnight + 3600);
    EXPECT_EQ(range.from, kBerlinOctober25Midnight);
    EXPECT_EQ(range.to, kBerlinOctober26Midnight);
    EXPECT_EQ(range.to - range.from, 25 * 3600);
}

TEST_F(TimePresetsTest, YesterdayEndsWhereTodayStarts) {
    const TimeRange range = TimePresets::yesterday(berlin, kBerlinMarch30Midnight + 8 * 3600);
    EXPECT_EQ(range.from, kBerlinMarch29Midnight);
    EXPECT_EQ(range.to, kBerlinMarch30Midnight);
    EXPECT_EQ(range.preset, "yesterday");
}

TEST_F(TimePresetsTest, ThisWeekStartsOnTheLocalesFirstWeekday) {
    // Wednesday 1 April 2026: the week starts on Sunday 29 March in the US and
    // on Monday 30 March in Germany.
    const TimeRange us = TimePresets::thisWeek(LocalCalendar("UTC", "en_US"), kWednesdayApril1At10UTC);
    EXPECT_EQ(us.from, 1774742400);  // 2026-03-29T00:00:00Z
    EXPECT_EQ(us.to, kWednesdayApril1At10UTC);
    EXPECT_EQ(us.preset, "this-week");
    const TimeRange german = TimePresets::thisWeek(LocalCalendar("UTC", "de_DE"), kWednesdayApril1At10UTC);
    EXPECT_EQ(german.from, 1774828800);  // 2026-03-30T00:00:00Z
}

TEST_F(TimePresetsTest, ThisWeekOnTheFirstWeekdayStartsAtItsMidnight) {
    const double mondayMorning = kBerlinMarch30Midnight + 9 * 3600;
    const TimeRange range = TimePresets::thisWeek(berlin, mondayMorning);
    EXPECT_EQ(range.from, kBerlinMarch30Midnight);
    EXPECT_EQ(range.to, mondayMorning);
}

TEST_F(TimePresetsTest, LastActiveDayIsTheWholeDayOfTheTimestamp) {
    const TimeRange range = TimePresets::lastActiveDay(berlin, kBerlinMarch29Midnight + 5);
    EXPECT_EQ(range.from, kBerlinMarch29Midnight);
    EXPECT_EQ(range.to, kBerlinMarch30Midnight);
    EXPECT_EQ(range.preset, "last-active-day");
}

TEST_F(TimePresetsTest, LastActiveDayBeyondTheCalendarIsAnError) {
    // The metrics read a newest time of 1e300 through a 64-bit integer column.
    const double newest = 9223372036854775807.0;
    EXPECT_EQ(thrownCLIError([&] { TimePresets::lastActiveDay(berlin, newest); }),
              "INVALID_TIME_RANGE: The newest observation's time, 292277026596-12-04T15:30:07Z, lies outside "
              "the calendar, so it has no day to show. Use range --from and --to for the days you want.");
    EXPECT_EQ(thrownCLIError([&] { TimePresets::lastActiveDay(berlin, -1e300); }),
              "INVALID_TIME_RANGE: The newest observation's time, -292277022657-01-27T08:29:52Z, lies "
              "outside the calendar, so it has no day to show. Use range --from and --to for the days you "
              "want.");
    // The calendar's last day has no next midnight to end it.
    EXPECT_THROW(TimePresets::lastActiveDay(utcUS, kLatestCalendarInstant), CLIError);
    const TimeRange farAway = TimePresets::lastActiveDay(utcUS, kLatestCalendarInstant - 3 * 86400.0);
    EXPECT_LT(farAway.from, farAway.to);
}

TEST_F(TimePresetsTest, RecentDurations) {
    const double now = kWednesdayApril1At10UTC;
    EXPECT_EQ(TimePresets::recent("30m", now).from, now - 1800);
    EXPECT_EQ(TimePresets::recent("2h", now).from, now - 7200);
    EXPECT_EQ(TimePresets::recent("1.5h", now).from, now - 5400);
    EXPECT_EQ(TimePresets::recent("1d", now).from, now - 86400);
    EXPECT_EQ(TimePresets::recent("1w", now).from, now - 604800);
    const TimeRange range = TimePresets::recent("2h", now);
    EXPECT_EQ(range.to, now);
    EXPECT_EQ(range.preset, "recent");
}

TEST_F(TimePresetsTest, DurationsInSecondsWithTheSameErrors) {
    EXPECT_EQ(TimePresets::durationSeconds("5m"), 300);
    EXPECT_EQ(TimePresets::durationSeconds("1.5h"), 5400);
    EXPECT_EQ(TimePresets::durationSeconds("2w"), 1209600);
    EXPECT_EQ(messageOf([] { TimePresets::durationSeconds("0m"); }),
              "Invalid duration value in '0m'. Numeric prefix required.");
    EXPECT_EQ(messageOf([] { TimePresets::durationSeconds("5s"); }), "Unknown duration unit 's'. Use m, h, d, or w.");
    EXPECT_EQ(messageOf([] { TimePresets::durationSeconds("m"); }),
              "Invalid duration format 'm'. Use e.g. 2h, 30m, 1d, 1w");
}

TEST_F(TimePresetsTest, OneDayIsAlways86400SecondsEvenAcrossDaylightSaving) {
    const double now = kBerlinMarch30Midnight + 3600;
    const TimeRange range = TimePresets::recent("1d", now);
    EXPECT_EQ(range.to - range.from, 86400);
}

TEST_F(TimePresetsTest, DurationErrors) {
    const double now = kWednesdayApril1At10UTC;
    EXPECT_EQ(messageOf([&] { TimePresets::recent("h", now); }),
              "Invalid duration format 'h'. Use e.g. 2h, 30m, 1d, 1w");
    EXPECT_EQ(messageOf([&] { TimePresets::recent("", now); }),
              "Invalid duration format ''. Use e.g. 2h, 30m, 1d, 1w");
    EXPECT_EQ(messageOf([&] { TimePresets::recent("-2h", now); }),
              "Invalid duration value in '-2h'. Numeric prefix required.");
    EXPECT_EQ(messageOf([&] { TimePresets::recent("0h", now); }),
              "Invalid duration value in '0h'. Numeric prefix required.");
    EXPECT_EQ(messageOf([&] { TimePresets::recent("xh", now); }),
              "Invalid duration value in 'xh'. Numeric prefix required.");
    EXPECT_EQ(messageOf([&] { TimePresets::recent(" 2h", now); }),
              "Invalid duration value in ' 2h'. Numeric prefix required.");
    EXPECT_EQ(messageOf([&] { TimePresets::recent("infh", now); }),
              "Invalid duration value in 'infh'. Numeric prefix required.");
    EXPECT_EQ(messageOf([&] { TimePresets::recent("2H", now); }),
              "Unknown duration unit 'H'. Use m, h, d, or w.");
    // The value is judged before the unit.
    EXPECT_EQ(messageOf([&] { TimePresets::recent("0x", now); }),
              "Invalid duration value in '0x'. Numeric prefix required.");
    EXPECT_EQ(messageOf([&] { TimePresets::recent("5x", now); }),
              "Unknown duration unit 'x'. Use m, h, d, or w.");
}

TEST_F(TimePresetsTest, DurationUnitsAreCharactersNotBytes) {
    const double now = kWednesdayApril1At10UTC;
    EXPECT_EQ(messageOf([&] { TimePresets::recent("5\u00e9", now); }),
              "Unknown duration unit '\u00e9'. Use m, h, d, or w.");
    EXPECT_EQ(messageOf([&] { TimePresets::recent("2\uff48", now); }),  // fullwidth h
              "Unknown duration unit '\uff48'. Use m, h, d, or w.");
    // "h" with a combining acute accent is one character, and not "h".
    EXPECT_EQ(messageOf([&] { TimePresets::recent("5h\u0301", now); }),
              "Unknown duration unit 'h\u0301'. Use m, h, d, or w.");
    EXPECT_EQ(messageOf([&] { TimePresets::recent("2\U0001F600", now); }),
              "Unknown duration unit '\U0001F600'. Use m, h, d, or w.");
    // The value is everything before that character.
    EXPECT_EQ(messageOf([&] { TimePresets::recent("\u00e9h", now); }),
              "Invalid duration value in '\u00e9h'. Numeric prefix required.");
}

TEST_F(TimePresetsTest, FewerThanTwoCharactersIsAFormatErrorWhateverTheBytes) {
    const double now = kWednesdayApril1At10UTC;
    EXPECT_EQ(messageOf([&] { TimePresets::recent("\u00e9", now); }),
              "Invalid duration format '\u00e9'. Use e.g. 2h, 30m, 1d, 1w");
    EXPECT_EQ(messageOf([&] { TimePresets::recent("h\u0301", now); }),
              "Invalid duration format 'h\u0301'. Use e.g. 2h, 30m, 1d, 1w");
    EXPECT_EQ(messageOf([&] { TimePresets::recent("\U0001F1E9\U0001F1EA", now); }),  // one flag
              "Invalid duration format '\U0001F1E9\U0001F1EA'. Use e.g. 2h, 30m, 1d, 1w");
}

TEST_F(TimePresetsTest, ADurationOfInfiniteSecondsIsAnInvalidValue) {
    const double now = kWednesdayApril1At10UTC;
    for (const char* text : {"infh", "1e400h", "1e308w", "1e306h", "nanh"}) {
        EXPECT_EQ(messageOf([&] { TimePresets::recent(text, now); }),
                  std::string("Invalid duration value in '") + text + "'. Numeric prefix required.");
    }
    // Huge but finite spans are durations; only their text is clamped.
    EXPECT_EQ(TimePresets::recent("1e16h", now).from, now - 3.6e19);
}

TEST_F(TimePresetsTest, ADayWithTwoMidnightsStartsAtTheFirst) {
    const TimeRange today = TimePresets::today(havana, kHavanaNovember1Noon);
    EXPECT_EQ(today.from, kHavanaFirstMidnight);
    EXPECT_EQ(today.to, kHavanaNovember2Midnight);
    EXPECT_EQ(today.to - today.from, 25 * 3600);
    // Between the two midnights, today has already begun.
    EXPECT_EQ(TimePresets::today(havana, kHavanaFirstMidnight + 1800).from, kHavanaFirstMidnight);
    const TimeRange yesterday = TimePresets::yesterday(havana, kHavanaNovember2Midnight + 3600);
    EXPECT_EQ(yesterday.from, kHavanaFirstMidnight);
    EXPECT_EQ(yesterday.to, kHavanaNovember2Midnight);
    const TimeRange dayBefore = TimePresets::yesterday(havana, kHavanaNovember1Noon);
    EXPECT_EQ(dayBefore.from, kHavanaOctober31Midnight);
    EXPECT_EQ(dayBefore.to, kHavanaFirstMidnight);
    // 1 November 2026 is a Sunday, the first weekday in en_US.
    EXPECT_EQ(TimePresets::thisWeek(havana, kHavanaNovember1Noon).from, kHavanaFirstMidnight);
    // An observation between the two midnights lies in its own day.
    const TimeRange last = TimePresets::lastActiveDay(havana, kHavanaFirstMidnight + 1800);
    EXPECT_EQ(last.from, kHavanaFirstMidnight);
    EXPECT_EQ(last.to, kHavanaNovember2Midnight);
    const TimeRange dates = TimePresets::range(havana, "2026-11-01", "2026-11-01");
    EXPECT_EQ(dates.from, kHavanaFirstMidnight);
    EXPECT_EQ(dates.to, kHavanaNovember2Midnight);
    EXPECT_EQ(TimePresets::range(havana, "2026-11-01T00:30:00", "2026-11-01T01:00:00").from,
              kHavanaFirstMidnight + 1800);
    EXPECT_LT(kHavanaFirstMidnight, kHavanaSecondMidnight);
}

// The day starts when the clocks jump past its midnight; one calendar day
// later keeps that wall-clock time, so the range runs to 01:00 the next day.
TEST_F(TimePresetsTest, ADayWithoutMidnightStartsWhenTheClocksJumpPastIt) {
    const double nextDayAtOne = kBeirutMarch28Midnight + 3600;
    const TimeRange today = TimePresets::today(beirut, kBeirutMarch27Noon);
    EXPECT_EQ(today.from, kBeirutMarch27Start);
    EXPECT_EQ(today.to, nextDayAtOne);
    const TimeRange yesterday = TimePresets::yesterday(beirut, kBeirutMarch28Midnight + 9 * 3600);
    EXPECT_EQ(yesterday.from, kBeirutMarch27Start);
    EXPECT_EQ(yesterday.to, nextDayAtOne);
    EXPECT_EQ(TimePresets::thisWeek(beirut, kBeirutMarch27Noon).from, kBeirutMarch27Start);
    const TimeRange last = TimePresets::lastActiveDay(beirut, kBeirutMarch27Start);
    EXPECT_EQ(last.from, kBeirutMarch27Start);
    EXPECT_EQ(last.to, nextDayAtOne);
    const TimeRange dates = TimePresets::range(beirut, "2022-03-27", "2022-03-27");
    EXPECT_EQ(dates.from, kBeirutMarch27Start);
    EXPECT_EQ(dates.to, nextDayAtOne);
}

// The end of a search day is its start plus 23:59:59 of elapsed time, so a
// 23-hour day ends at 00:59:59 of the next and a 25-hour one at 22:59:59.
TEST_F(TimePresetsTest, SearchEndOfDayIsTheStartPlus23h59m59sElapsed) {
    EXPECT_EQ(TimePresets::parseSearchDateArgument(berlin, "2026-03-29", "--to", true),
              kBerlinMarch30Midnight + 3599);
    EXPECT_EQ(TimePresets::parseSearchDateArgument(havana, "2026-11-01", "--to", true),
              kHavanaFirstMidnight + 86399);
    EXPECT_EQ(TimePresets::parseSearchDateArgument(beirut, "2022-03-27", "--to", true),
              kBeirutMarch27Start + 86399);
    EXPECT_EQ(TimePresets::parseSearchDateArgument(beirut, "2022-03-27", "--from", false),
              kBeirutMarch27Start);
}

TEST_F(TimePresetsTest, DatesBeyondYear9999AreRead) {
    const TimeRange range = TimePresets::range(utcUS, "10000-01-01", "10000-01-02");
    EXPECT_EQ(range.from, 253402300800);
    EXPECT_EQ(range.to, 253402300800 + 2 * 86400);
    EXPECT_EQ(TimePresets::range(utcUS, "2026-04-01", "9999-12-31T23:00:00-05:00").to, 253402315200);
}

TEST_F(TimePresetsTest, RangeOfOneDateCoversThatWholeDay) {
    const TimeRange range = TimePresets::range(utcUS, "2026-04-01", "2026-04-01");
    EXPECT_EQ(range.from, 1775001600);
    EXPECT_EQ(range.to, 1775088000);
    EXPECT_EQ(range.preset, "range");
}

TEST_F(TimePresetsTest, RangeOnDaylightSavingDayInBerlin) {
    const TimeRange dates = TimePresets::range(berlin, "2026-03-29", "2026-03-29");
    EXPECT_EQ(dates.from, kBerlinMarch29Midnight);
    EXPECT_EQ(dates.to, kBerlinMarch30Midnight);
    // Local date-times: 10:00 on that day is already summer time (+02:00).
    const TimeRange times = TimePresets::range(berlin, "2026-03-29T01:00:00", "2026-03-29T10:00:00");
    EXPECT_EQ(times.from, kBerlinMarch29Midnight + 3600);
    EXPECT_EQ(times.to, 1774771200);
    EXPECT_EQ(times.to - times.from, 8 * 3600);
}

TEST_F(TimePresetsTest, RangeWithZoneDesignatorsIsUTC) {
    const TimeRange range = TimePresets::range(berlin, "2026-04-01T10:00:00Z", "2026-04-01T14:00:00+02:00");
    EXPECT_EQ(range.from, kWednesdayApril1At10UTC);
    EXPECT_EQ(range.to, kWednesdayApril1At10UTC + 7200);
}

TEST_F(TimePresetsTest, RangeErrors) {
    EXPECT_EQ(messageOf([&] { TimePresets::range(utcUS, "2026-04-02", "2026-04-01"); }),
              "--from must be before --to");
    EXPECT_EQ(messageOf([&] {
                  TimePresets::range(utcUS, "2026-04-01T10:00:00", "2026-04-01T10:00:00");
              }),
              "--from must be before --to");
    EXPECT_EQ(messageOf([&] { TimePresets::range(utcUS, "2026-04-01T10:00:00.500Z", "2026-04-02"); }),
              "Cannot parse --from date '2026-04-01T10:00:00.500Z'. Use ISO 8601 or yyyy-MM-dd format.");
    EXPECT_EQ(messageOf([&] { TimePresets::range(utcUS, "2026-04-01", "tomorrow"); }),
              "Cannot parse --to date 'tomorrow'. Use ISO 8601 or yyyy-MM-dd format.");
    EXPECT_EQ(messageOf([&] { TimePresets::range(utcUS, "2026-02-30", "2026-03-01"); }),
              "Cannot parse --from date '2026-02-30'. Use ISO 8601 or yyyy-MM-dd format.");
    EXPECT_EQ(messageOf([&] { TimePresets::range(utcUS, "2026-04-01 ", "2026-04-02"); }),
              "Cannot parse --from date '2026-04-01 '. Use ISO 8601 or yyyy-MM-dd format.");
}

TEST_F(TimePresetsTest, SearchDateArgumentEndOfDay) {
    EXPECT_EQ(TimePresets::parseSearchDateArgument(utcUS, "2026-04-07", "--to", true), 1775606399);
    EXPECT_EQ(TimePresets::parseSearchDateArgument(utcUS, "2026-04-07", "--to", false),
              1775606399 - 86399);
    // A date-time is taken as given, end of day or not.
    EXPECT_EQ(TimePresets::parseSearchDateArgument(utcUS, "2026-04-01T10:00:00Z", "--to", true),
              kWednesdayApril1At10UTC);
}

TEST_F(TimePresetsTest, SearchDateInputReportsDateOnly) {
    const auto date = TimePresets::parseSearchDateInput(berlin, "2026-03-29", "--from");
    EXPECT_EQ(date.instant, kBerlinMarch29Midnight);
    EXPECT_TRUE(date.dateOnly);
    const auto time = TimePresets::parseSearchDateInput(berlin, "2026-03-29T10:00:00", "--from");
    EXPECT_EQ(time.instant, 1774771200);
    EXPECT_FALSE(time.dateOnly);
}
