#include "mcp/CalendarDate.h"

#include <cstdio>

namespace VarnholtQueryLib::MCP {

namespace {

bool isLeapYear(int year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

int daysInMonth(int year, int month) {
    constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && isLeapYear(year) ? 29 : kDays[month - 1];
}

std::optional<int> digits(std::string_view text) {
    int value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') return std::nullopt;
        value = value * 10 + (c - '0');
    }
    return value;
}

// Days since 1970-01-01 and back, by the usual era arithmetic over 400-year
// cycles, so that adding days needs no calendar library and no zone.
long long daysFromCivil(int year, int month, int day) {
    year -= month <= 2 ? 1 : 0;
    const long long era = (year >= 0 ? year : year - 399) / 400;
    const long long yearOfEra = year - era * 400;
    const long long dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const long long dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

CalendarDate civilFromDays(long long days) {
    days += 719468;
    const long long era = (days >= 0 ? days : days - 146096) / 146097;
    const long long dayOfEra = days - era * 146097;
    const long long yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const long long dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const long long monthIndex = (5 * dayOfYear + 2) / 153;
    CalendarDate date;
    date.day = static_cast<int>(dayOfYear - (153 * monthIndex + 2) / 5 + 1);
    date.month = static_cast<int>(monthIndex < 10 ? monthIndex + 3 : monthIndex - 9);
    date.year = static_cast<int>(yearOfEra + era * 400 + (date.month <= 2 ? 1 : 0));
    return date;
}

}  // namespace

std::optional<CalendarDate> CalendarDate::parse(std::string_view text) {
    if (text.size() != 10 || text[4] != '-' || text[7] != '-') return std::nullopt;
    const auto year = digits(text.substr(0, 4));
    const auto month = digits(text.substr(5, 2));
    const auto day = digits(text.substr(8, 2));
    if (!year || !month || !day || *year < 1 || *month < 1 || *month > 12 || *day < 1 ||
        *day > daysInMonth(*year, *month)) {
        return std::nullopt;
    }
    return CalendarDate{*year, *month, *day};
}

std::string CalendarDate::text() const {
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02d", year, month, day);
    return buffer;
}

CalendarDate CalendarDate::plusDays(int days) const {
    return civilFromDays(daysFromCivil(year, month, day) + days);
}

}  // namespace VarnholtQueryLib::MCP
