#include "platform/LocalCalendar.h"

#include <unicode/calendar.h>
#include <unicode/datefmt.h>
#include <unicode/gregocal.h>
#include <unicode/locid.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <stdexcept>

namespace VarnholtQueryLib {

namespace {

constexpr double kMillisPerSecond = 1000.0;

void check(UErrorCode status, const char* what) {
    if (U_FAILURE(status)) {
        throw std::runtime_error(std::string(what) + ": " + u_errorName(status));
    }
}

std::string utf8(const icu::UnicodeString& text) {
    std::string out;
    text.toUTF8String(out);
    return out;
}

bool isLeapYear(long long year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

// Reads exactly `width` ASCII digits at `position`.
std::optional<int> digits(std::string_view text, size_t position, size_t width) {
    if (position + width > text.size()) return std::nullopt;
    int value = 0;
    for (size_t i = position; i < position + width; ++i) {
        if (text[i] < '0' || text[i] > '9') return std::nullopt;
        value = value * 10 + (text[i] - '0');
    }
    return value;
}

// Whole seconds of `instant`, toward the past, held in 64 bits: the nearer
// end of that range for an instant beyond it, the earliest for a NaN.
long long wholeSeconds(double instant) {
    constexpr double kTwoToThe63 = 9223372036854775808.0;
    if (std::isnan(instant)) return std::numeric_limits<long long>::min();
    const double floored = std::floor(instant);
    if (floored >= kTwoToThe63) return std::numeric_limits<long long>::max();
    if (floored < -kTwoToThe63) return std::numeric_limits<long long>::min();
    return static_cast<long long>(floored);
}

// "yyyy-MM-ddTHH:mm:ss" of the wall clock `offsetSeconds` east of UTC,
// followed by `zoneSuffix`. The wall clock stays within 64-bit seconds too.
std::string formatDateTime(double instant, int offsetSeconds, const std::string& zoneSuffix) {
    constexpr long long kMax = std::numeric_limits<long long>::max();
    constexpr long long kMin = std::numeric_limits<long long>::min();
    const long long whole = wholeSeconds(instant);
    long long seconds = 0;
    if (offsetSeconds > 0 && whole > kMax - offsetSeconds) {
        seconds = kMax;
    } else if (offsetSeconds < 0 && whole < kMin - offsetSeconds) {
        seconds = kMin;
    } else {
        seconds = whole + offsetSeconds;
    }
    long long days = seconds / 86400;
    long long secondOfDay = seconds % 86400;
    if (secondOfDay < 0) {
        secondOfDay += 86400;
        days -= 1;
    }
    const CivilDate date = civilFromDays(days);
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%04lld-%02u-%02uT%02lld:%02lld:%02lld", date.year,
                  date.month, date.day, secondOfDay / 3600, secondOfDay / 60 % 60,
                  secondOfDay % 60);
    return buffer + zoneSuffix;
}

// Makes `calendar` read wall-clock times as the class comment promises and
// count dates proleptically, like the formatter above.
void configure(icu::Calendar& calendar) {
    calendar.setRepeatedWallTimeOption(UCAL_WALLTIME_FIRST);
    calendar.setSkippedWallTimeOption(UCAL_WALLTIME_NEXT_VALID);
    // Every calendar of a Gregorian-based locale (the Buddhist one of th_TH
    // too) is a GregorianCalendar; others have no Julian switch to remove.
    if (auto* gregorian = dynamic_cast<icu::GregorianCalendar*>(&calendar)) {
        UErrorCode status = U_ZERO_ERROR;
        gregorian->setGregorianChange(U_DATE_MIN, status);
        check(status, "Cannot make the calendar proleptic");
    }
}

// The calendar's time as seconds.
double timeOf(const icu::Calendar& calendar, const char* what) {
    UErrorCode status = U_ZERO_ERROR;
    const UDate time = calendar.getTime(status);
    check(status, what);
    return time / kMillisPerSecond;
}

void setToStartOfDay(icu::Calendar& calendar) {
    calendar.set(UCAL_HOUR_OF_DAY, 0);
    calendar.set(UCAL_MINUTE, 0);
    calendar.set(UCAL_SECOND, 0);
    calendar.set(UCAL_MILLISECOND, 0);
}

// The wall-clock fields of `text` read with `pattern` as if in UTC, as
// seconds since 1970; absent unless the whole text matches. UTC has no
// daylight-saving changes, so a strict parse here judges only the text:
// what the fields mean in the user's zone is decided afterwards.
std::optional<double> parseWallClock(std::string_view text, const char* pattern) {
    UErrorCode status = U_ZERO_ERROR;
    auto calendar = std::make_unique<icu::GregorianCalendar>(icu::TimeZone::getGMT()->clone(),
                                                             icu::Locale("en_US_POSIX"), status);
    check(status, "Cannot create a calendar");
    configure(*calendar);
    calendar->setLenient(false);
    icu::SimpleDateFormat format(icu::UnicodeString(pattern), icu::Locale("en_US_POSIX"), status);
    check(status, "Cannot create a date parser");
    format.adoptCalendar(calendar.release());
    format.setLenient(false);
    const icu::UnicodeString input =
        icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
    icu::ParsePosition position(0);
    const UDate parsed = format.parse(input, position);
    if (position.getErrorIndex() >= 0 || position.getIndex() != input.length()) {
        return std::nullopt;
    }
    return parsed / kMillisPerSecond;
}

}  // namespace

unsigned daysInMonth(long long year, unsigned month) {
    static constexpr unsigned kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && isLeapYear(year) ? 29 : kDays[month - 1];
}

// Howard Hinnant's days_from_civil and civil_from_days: whole 400-year eras
// of 146,097 days, and within an era years that begin on 1 March, so that a
// leap day is the last day of its year.
long long daysFromCivil(const CivilDate& date) {
    const long long year = date.year - (date.month <= 2 ? 1 : 0);
    const long long era = (year >= 0 ? year : year - 399) / 400;
    const unsigned yearOfEra = static_cast<unsigned>(year - era * 400);
    const unsigned dayOfYear =
        (153 * (date.month > 2 ? date.month - 3 : date.month + 9) + 2) / 5 + date.day - 1;
    const unsigned dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + static_cast<long long>(dayOfEra) - 719468;
}

CivilDate civilFromDays(long long days) {
    days += 719468;
    const long long era = (days >= 0 ? days : days - 146096) / 146097;
    const unsigned dayOfEra = static_cast<unsigned>(days - era * 146097);
    const unsigned yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const unsigned dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const unsigned monthIndex = (5 * dayOfYear + 2) / 153;
    CivilDate date;
    date.day = dayOfYear - (153 * monthIndex + 2) / 5 + 1;
    date.month = monthIndex < 10 ? monthIndex + 3 : monthIndex - 9;
    date.year = static_cast<long long>(yearOfEra) + era * 400 + (date.month <= 2 ? 1 : 0);
    return date;
}

double clampToCalendarRange(double instant) {
    if (std::isnan(instant)) return kEarliestCalendarInstant;
    if (instant < kEarliestCalendarInstant) return kEarliestCalendarInstant;
    if (instant > kLatestCalendarInstant) return kLatestCalendarInstant;
    return instant;
}

LocalCalendar LocalCalendar::current() {
    std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createDefault());
    icu::UnicodeString id;
    zone->getID(id);
    return LocalCalendar(utf8(id), icu::Locale::getDefault().getName());
}

LocalCalendar::LocalCalendar(const std::string& zoneId, const std::string& localeId)
    : zone_(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(zoneId))),
      locale_(std::make_unique<icu::Locale>(localeId.c_str())) {}

LocalCalendar::~LocalCalendar() = default;
LocalCalendar::LocalCalendar(LocalCalendar&&) noexcept = default;

std::string LocalCalendar::timeZoneIdentifier() const {
    icu::UnicodeString id;
    zone_->getID(id);
    return utf8(id);
}

std::unique_ptr<icu::Calendar> LocalCalendar::calendarAt(double instant) const {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Calendar> calendar(
        icu::Calendar::createInstance(zone_->clone(), *locale_, status));
    check(status, "Cannot create a calendar");
    configure(*calendar);
    calendar->setTime(clampToCalendarRange(instant) * kMillisPerSecond, status);
    check(status, "Cannot set the calendar's time");
    return calendar;
}

double LocalCalendar::startOfDay(double instant) const {
    auto calendar = calendarAt(instant);
    setToStartOfDay(*calendar);
    return timeOf(*calendar, "Cannot compute the start of the day");
}

double LocalCalendar::addingDays(double instant, int days) const {
    auto calendar = calendarAt(instant);
    UErrorCode status = U_ZERO_ERROR;
    calendar->add(UCAL_DATE, days, status);
    check(status, "Cannot add days");
    return timeOf(*calendar, "Cannot add days");
}

double LocalCalendar::startOfWeek(double instant) const {
    auto calendar = calendarAt(instant);
    UErrorCode status = U_ZERO_ERROR;
    const int32_t yearForWeekOfYear = calendar->get(UCAL_YEAR_WOY, status);
    const int32_t weekOfYear = calendar->get(UCAL_WEEK_OF_YEAR, status);
    check(status, "Cannot read the week of year");
    calendar->clear();
    calendar->set(UCAL_YEAR_WOY, yearForWeekOfYear);
    calendar->set(UCAL_WEEK_OF_YEAR, weekOfYear);
    calendar->set(UCAL_DAY_OF_WEEK, calendar->getFirstDayOfWeek());
    return timeOf(*calendar, "Cannot compute the start of the week");
}

std::optional<double> LocalCalendar::addingTime(double instant, int hours, int minutes,
                                                int seconds) const {
    auto calendar = calendarAt(instant);
    UErrorCode status = U_ZERO_ERROR;
    calendar->add(UCAL_HOUR_OF_DAY, hours, status);
    calendar->add(UCAL_MINUTE, minutes, status);
    calendar->add(UCAL_SECOND, seconds, status);
    const UDate moved = calendar->getTime(status);
    if (U_FAILURE(status)) return std::nullopt;
    return moved / kMillisPerSecond;
}

std::optional<double> LocalCalendar::parseLocalPattern(std::string_view text,
                                                       const char* pattern) const {
    const std::optional<double> wallClock = parseWallClock(text, pattern);
    if (!wallClock) return std::nullopt;
    const auto seconds = static_cast<long long>(*wallClock);
    const long long secondOfDay = ((seconds % 86400) + 86400) % 86400;
    const CivilDate date = civilFromDays((seconds - secondOfDay) / 86400);

    // Gregorian whatever the locale's own calendar: the fields are Gregorian.
    UErrorCode status = U_ZERO_ERROR;
    auto calendar = std::make_unique<icu::GregorianCalendar>(zone_->clone(), *locale_, status);
    check(status, "Cannot create a calendar");
    configure(*calendar);
    calendar->clear();
    calendar->set(UCAL_EXTENDED_YEAR, static_cast<int32_t>(date.year));
    calendar->set(UCAL_MONTH, static_cast<int32_t>(date.month) - 1);
    calendar->set(UCAL_DATE, static_cast<int32_t>(date.day));
    calendar->set(UCAL_HOUR_OF_DAY, static_cast<int32_t>(secondOfDay / 3600));
    calendar->set(UCAL_MINUTE, static_cast<int32_t>(secondOfDay / 60 % 60));
    calendar->set(UCAL_SECOND, static_cast<int32_t>(secondOfDay % 60));
    return timeOf(*calendar, "Cannot read a local date");
}

std::string LocalCalendar::localDate(double instant) const {
    // The date part runs to the "T": a year may have more than four digits.
    const std::string dateTime = localInternetDateTime(instant);
    return dateTime.substr(0, dateTime.find('T'));
}

int LocalCalendar::utcOffsetSeconds(double instant) const {
    int32_t rawOffset = 0, dstOffset = 0;
    UErrorCode status = U_ZERO_ERROR;
    zone_->getOffset(std::floor(clampToCalendarRange(instant)) * kMillisPerSecond, false,
                     rawOffset, dstOffset, status);
    check(status, "Cannot read the zone offset");
    return (rawOffset + dstOffset) / 1000;
}

std::string LocalCalendar::localInternetDateTime(double instant) const {
    const int offsetSeconds = utcOffsetSeconds(instant);
    if (offsetSeconds == 0) return formatDateTime(instant, 0, "Z");
    const int magnitude = offsetSeconds < 0 ? -offsetSeconds : offsetSeconds;
    char suffix[16];
    std::snprintf(suffix, sizeof suffix, "%c%02d:%02d", offsetSeconds < 0 ? '-' : '+',
                  magnitude / 3600, magnitude / 60 % 60);
    return formatDateTime(instant, offsetSeconds, suffix);
}

std::string LocalCalendar::shortLocalTime(double instant) const {
    std::unique_ptr<icu::DateFormat> format(
        icu::DateFormat::createTimeInstance(icu::DateFormat::kShort, *locale_));
    if (!format) return formatDateTime(instant, 0, "").substr(11, 5);
    format->setTimeZone(*zone_);
    icu::UnicodeString text;
    format->format(clampToCalendarRange(instant) * kMillisPerSecond, text);
    return utf8(text);
}

std::string formatUTCInternetDateTime(double instant) { return formatDateTime(instant, 0, "Z"); }

std::optional<double> parseInternetDateTime(std::string_view text) {
    // yyyy-MM-ddTHH:mm:ss = 19 characters, then Z or ±hh:mm.
    if (text.size() != 20 && text.size() != 25) return std::nullopt;
    const auto year = digits(text, 0, 4), month = digits(text, 5, 2), day = digits(text, 8, 2),
               hour = digits(text, 11, 2), minute = digits(text, 14, 2),
               second = digits(text, 17, 2);
    if (!year || !month || !day || !hour || !minute || !second) return std::nullopt;
    if (text[4] != '-' || text[7] != '-' || text[10] != 'T' || text[13] != ':' ||
        text[16] != ':') {
        return std::nullopt;
    }
    if (*month < 1 || *month > 12 || *day < 1 ||
        static_cast<unsigned>(*day) > daysInMonth(*year, static_cast<unsigned>(*month)) ||
        *hour > 23 || *minute > 59 || *second > 59) {
        return std::nullopt;
    }
    long long offsetSeconds = 0;
    if (text.size() == 20) {
        if (text[19] != 'Z') return std::nullopt;
    } else {
        const char sign = text[19];
        const auto offsetHours = digits(text, 20, 2), offsetMinutes = digits(text, 23, 2);
        if ((sign != '+' && sign != '-') || text[22] != ':' || !offsetHours || !offsetMinutes ||
            *offsetHours > 23 || *offsetMinutes > 59) {
            return std::nullopt;
        }
        offsetSeconds = (*offsetHours * 3600LL + *offsetMinutes * 60LL) * (sign == '-' ? -1 : 1);
    }
    const long long days =
        daysFromCivil({*year, static_cast<unsigned>(*month), static_cast<unsigned>(*day)});
    return static_cast<double>(days * 86400 + *hour * 3600LL + *minute * 60LL + *second -
                               offsetSeconds);
}

}  // namespace VarnholtQueryLib
