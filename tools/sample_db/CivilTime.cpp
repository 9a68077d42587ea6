#include "CivilTime.h"

#include <cmath>
#include <cstdio>

namespace VarnholtSampleData {

namespace {

constexpr std::int64_t kSecondsPerDay = 86400;

struct CivilDate {
    std::int64_t year;
    unsigned month;
    unsigned day;
};

// Howard Hinnant's days-to-civil conversion (proleptic Gregorian calendar).
CivilDate civilFromDays(std::int64_t days) {
    days += 719468;
    const std::int64_t era = (days >= 0 ? days : days - 146096) / 146097;
    const auto dayOfEra = static_cast<unsigned>(days - era * 146097);
    const unsigned yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const unsigned dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const unsigned monthIndex = (5 * dayOfYear + 2) / 153;
    const unsigned day = dayOfYear - (153 * monthIndex + 2) / 5 + 1;
    const unsigned month = monthIndex < 10 ? monthIndex + 3 : monthIndex - 9;
    return {static_cast<std::int64_t>(yearOfEra) + era * 400 + (month <= 2 ? 1 : 0), month, day};
}

std::int64_t floorDiv(std::int64_t value, std::int64_t divisor) {
    std::int64_t quotient = value / divisor;
    if ((value % divisor != 0) && ((value < 0) != (divisor < 0))) --quotient;
    return quotient;
}

std::string format(double seconds, const char* pattern) {
    const auto whole = static_cast<std::int64_t>(std::floor(seconds));
    const std::int64_t day = floorDiv(whole, kSecondsPerDay);
    const std::int64_t secondOfDay = whole - day * kSecondsPerDay;
    const CivilDate date = civilFromDays(day);
    char text[40];
    std::snprintf(text, sizeof text, pattern, static_cast<long long>(date.year), date.month, date.day,
                  static_cast<int>(secondOfDay / 3600), static_cast<int>(secondOfDay / 60 % 60),
                  static_cast<int>(secondOfDay % 60));
    return text;
}

}  // namespace

std::int64_t localDayNumber(double seconds, int utcOffsetSeconds) {
    return floorDiv(static_cast<std::int64_t>(std::floor(seconds)) + utcOffsetSeconds, kSecondsPerDay);
}

double localDayStart(std::int64_t day, int utcOffsetSeconds) {
    return static_cast<double>(day * kSecondsPerDay - utcOffsetSeconds);
}

int weekdayOfDay(std::int64_t day) {
    return static_cast<int>(((day % 7) + 11) % 7);
}

std::string formatDay(std::int64_t day) {
    const CivilDate date = civilFromDays(day);
    char text[16];
    std::snprintf(text, sizeof text, "%04lld-%02u-%02u", static_cast<long long>(date.year), date.month,
                  date.day);
    return text;
}

std::string formatIsoUtc(double seconds) {
    return format(seconds, "%04lld-%02u-%02uT%02d:%02d:%02dZ");
}

std::string formatSqlDateTime(double seconds) {
    return format(seconds, "%04lld-%02u-%02u %02d:%02d:%02d");
}

}  // namespace VarnholtSampleData
