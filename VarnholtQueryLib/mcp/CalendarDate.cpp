#include "mcp/CalendarDate.h"

#include <cstdio>

#include "platform/LocalCalendar.h"

namespace VarnholtQueryLib::MCP {

namespace {

std::optional<int> digits(std::string_view text) {
    int value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') return std::nullopt;
        value = value * 10 + (c - '0');
    }
    return value;
}

}  // namespace

std::optional<CalendarDate> CalendarDate::parse(std::string_view text) {
    if (text.size() != 10 || text[4] != '-' || text[7] != '-') return std::nullopt;
    const auto year = digits(text.substr(0, 4));
    const auto month = digits(text.substr(5, 2));
    const auto day = digits(text.substr(8, 2));
    if (!year || !month || !day || *year < 1 || *month < 1 || *month > 12 || *day < 1 ||
        static_cast<unsigned>(*day) > daysInMonth(*year, static_cast<unsigned>(*month))) {
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
    const CivilDate moved = civilFromDays(
        daysFromCivil({year, static_cast<unsigned>(month), static_cast<unsigned>(day)}) + days);
    return {static_cast<int>(moved.year), static_cast<int>(moved.month),
            static_cast<int>(moved.day)};
}

}  // namespace VarnholtQueryLib::MCP
