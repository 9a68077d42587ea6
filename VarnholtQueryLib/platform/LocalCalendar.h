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

// The user's calendar: a time zone and a locale, with the calendar arithmetic
// and the local date texts the tool needs. Instants are seconds since
// 1970-01-01 UTC as doubles, the recorder's unit.
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

    // Local midnight of the day containing `instant`.
    double startOfDay(double instant) const;
    // `instant` moved by whole calendar days, keeping the wall-clock time, so a
    // day across a daylight-saving change lasts 23 or 25 hours.
    double addingDays(double instant, int days) const;
    // Midnight of the first day of the week containing `instant`, the first
    // weekday being the locale's (Sunday in en_US, Monday in de_DE).
    double startOfWeek(double instant) const;
    // `instant` plus hours, minutes and seconds by calendar addition; absent
    // when the calendar cannot represent the result.
    std::optional<double> addingTime(double instant, int hours, int minutes, int seconds) const;

    // Reads `text` with a fixed ICU pattern ("yyyy-MM-dd'T'HH:mm:ss",
    // "yyyy-MM-dd") in the en_US_POSIX locale and this zone, strictly: the
    // whole text must match. Absent when it does not.
    std::optional<double> parseLocalPattern(std::string_view text, const char* pattern) const;

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
// dropped toward the past): 2026-04-01T09:30:00Z.
std::string formatUTCInternetDateTime(double instant);

// Parses an ISO 8601 internet date-time: yyyy-MM-ddTHH:mm:ss followed by "Z"
// or a "+hh:mm"/"-hh:mm" offset, no fractional seconds, every field in range.
// Absent for anything else.
std::optional<double> parseInternetDateTime(std::string_view text);

}  // namespace VarnholtQueryLib
