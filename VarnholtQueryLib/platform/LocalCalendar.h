#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <unicode/uversion.h>

U_NAMESPACE_BEGIN
class Calendar;
class Locale;
class TimeZone;
U_NAMESPACE_END

namespace VarnholtQueryLib {

// Instants are seconds since 1970-01-01 UTC as doubles, the recorder's unit,
// and any double may arrive: the database holds whatever was written to it,
// and a duration such as "1e16h" reaches far beyond any calendar. Two ranges
// bound what can be done with an instant; one outside a range is taken as
// the nearer end of it (a NaN, which is no instant at all, as the earlier):
//  - texts are made from whole seconds held in 64 bits, so every instant
//    from -2^63 s up to (not including) 2^63 s is written exactly, years of
//    more than four digits included ("318857-05-20T17:46:40Z"), and one
//    beyond is written as the first or last of those seconds: 1e300 gives
//    292277026596-12-04T15:30:07Z, -1e300 -292277022657-01-27T08:29:52Z;
//  - calendar arithmetic runs in ICU, which holds about 5.8 million years
//    either side of 1970 and pins anything beyond to its own ends.
// Dates are proleptic Gregorian throughout, as ISO 8601 counts them: the
// calendar does not switch to the Julian calendar before 1582, so a date
// typed, computed and written agree at any year.
inline constexpr double kEarliestCalendarInstant = -184303902528000.0;  // ICU's first second
inline constexpr double kLatestCalendarInstant = 183882168921600.0;     // ICU's last second

// `instant` moved into the calendar's range as described above.
double clampToCalendarRange(double instant);

// A day of the proleptic Gregorian calendar, with no zone: a date as a text
// names it. The arithmetic on such days is exact for any year and needs no
// calendar object; the date texts below and the MCP server's dates use it.
struct CivilDate {
    long long year = 1970;  // astronomical: 0 is 1 BC
    unsigned month = 1;     // 1..12
    unsigned day = 1;       // 1..daysInMonth(year, month)

    bool operator==(const CivilDate&) const = default;
};

// The days of `month` (1..12) in `year`: 29 in February of a leap year.
unsigned daysInMonth(long long year, unsigned month);
// Days from 1970-01-01 to `date` (negative before it).
// REQUIRES: `date` is a real date and its year within +-2^54.
long long daysFromCivil(const CivilDate& date);
// The date `days` days after 1970-01-01 (before it when negative).
// REQUIRES: |days| < 2^62.
CivilDate civilFromDays(long long days);

// The user's calendar: a time zone and a locale, with the calendar arithmetic
// and the local date texts the tool needs.
//
// A local wall-clock time means the first instant at which the zone's
// clocks show it. When the clocks go back and show it twice (Havana, 1
// November 2026: 01:00 falls back to 00:00, so that day has two midnights),
// that is the earlier of the two, so a day starts at its first midnight.
// When the clocks jump over it (Beirut, 27 March 2022: 00:00 jumps to
// 01:00), it is the first instant after the jump, so that day starts at
// 01:00; a time in the gap thus still orders like the wall clock, before
// every later time of the day.
//
// current() follows the process environment the way the rest of the desktop
// does (TZ or the system zone; LC_ALL / LC_MESSAGES / LANG for the locale,
// which decides the first day of the week). Tests build one from an explicit
// zone and locale instead. Immutable after construction; cheap to pass by
// reference.
class LocalCalendar {
public:
    static LocalCalendar current();
    // `zoneId` is an IANA identifier such as "Europe/Berlin"; `localeId` an
    // ICU locale such as "de_DE".
    LocalCalendar(const std::string& zoneId, const std::string& localeId);
    ~LocalCalendar();
    LocalCalendar(LocalCalendar&&) noexcept;
    LocalCalendar(const LocalCalendar&) = delete;
    LocalCalendar& operator=(const LocalCalendar&) = delete;

    // The zone's identifier, e.g. "Europe/Berlin".
    std::string timeZoneIdentifier() const;

    // The first instant of the local day containing `instant`: its midnight,
    // the first one when midnight happens twice, the end of the jump when
    // the clocks skip midnight.
    double startOfDay(double instant) const;
    // `instant` moved by whole calendar days, keeping the wall-clock time
    // (read as above when that time is repeated or skipped on the new day).
    double addingDays(double instant, int days) const;
    // The first instant of the first day of the week containing `instant`,
    // the first weekday being the locale's (Sunday in en_US, Monday in
    // de_DE).
    double startOfWeek(double instant) const;
    // `instant` plus hours, minutes and seconds by calendar addition, which
    // counts elapsed time for these fields; absent when the calendar cannot
    // represent the result.
    std::optional<double> addingTime(double instant, int hours, int minutes, int seconds) const;

    // Reads `text` with a fixed ICU pattern ("yyyy-MM-dd'T'HH:mm:ss",
    // "yyyy-MM-dd") in the en_US_POSIX locale, strictly: the whole text must
    // match and every field be in range. The wall-clock time it names is
    // read in this zone as described above (a bare date gives the start of
    // that day). Absent when the text does not match.
    std::optional<double> parseLocalPattern(std::string_view text, const char* pattern) const;

    // How far the zone's clocks are ahead of UTC at `instant`, in seconds
    // (negative west of Greenwich), daylight saving time included.
    int utcOffsetSeconds(double instant) const;

    // "yyyy-MM-dd" of the local day of `instant` (en_US_POSIX digits).
    std::string localDate(double instant) const;
    // ISO 8601 internet date-time in this zone with its offset ("+01:00",
    // "-05:30"; "Z" for a zero offset), whole seconds.
    std::string localInternetDateTime(double instant) const;
    // The locale's short time of day, date omitted ("3:04 PM", "15:04").
    std::string shortLocalTime(double instant) const;

private:
    std::unique_ptr<icu::Calendar> calendarAt(double instant) const;

    std::unique_ptr<icu::TimeZone> zone_;
    std::unique_ptr<icu::Locale> locale_;
};

// ISO 8601 internet date-time in UTC with "Z", whole seconds (the fraction is
// dropped toward the past): 2026-04-01T09:30:00Z. Beyond 64-bit seconds, the
// nearer end of them, as described above.
std::string formatUTCInternetDateTime(double instant);

// Parses an ISO 8601 internet date-time: yyyy-MM-ddTHH:mm:ss followed by "Z"
// or a "+hh:mm"/"-hh:mm" offset, no fractional seconds, every field in range.
// Absent for anything else.
std::optional<double> parseInternetDateTime(std::string_view text);

}  // namespace VarnholtQueryLib
