#include "platform/LocalCalendar.h"

#include <gtest/gtest.h>

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
