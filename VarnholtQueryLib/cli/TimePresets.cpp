#include "cli/TimePresets.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>

#include "cli/CLIError.h"
#include "platform/LocalCalendar.h"

namespace VarnholtQueryLib::TimePresets {

namespace {

// Seconds per duration unit; days and weeks are fixed multiples here, not
// calendar days, so `--since 1d` is always 86,400 seconds.
std::optional<double> secondsPerUnit(char unit) {
    switch (unit) {
        case 'm': return 60.0;
        case 'h': return 3600.0;
        case 'd': return 86400.0;
        case 'w': return 604800.0;
        default: return std::nullopt;
    }
}

// The whole of `text` as a floating-point number, or absent.
std::optional<double> parseNumber(const std::string& text) {
    if (text.empty()) return std::nullopt;
    // strtod skips leading blanks; a number must start at the first character.
    const char first = text.front();
    if (first == ' ' || first == '\t' || first == '\n' || first == '\r' || first == '\f' ||
        first == '\v') {
        return std::nullopt;
    }
    char* end = nullptr;
    errno = 0;
    const double value = std::strtod(text.c_str(), &end);
    if (end != text.c_str() + text.size()) return std::nullopt;
    if (!std::isfinite(value)) return std::nullopt;
    return value;
}

CLIError unparsableDate(const std::string& text, const std::string& label) {
    return CLIError::invalidTimeRange("Cannot parse " + label + " date '" + text +
                                      "'. Use ISO 8601 or yyyy-MM-dd format.");
}

}  // namespace

TimeRange today(const LocalCalendar& calendar, double now) {
    const double start = calendar.startOfDay(now);
    return {start, calendar.addingDays(start, 1), "today"};
}

TimeRange yesterday(const LocalCalendar& calendar, double now) {
    const double start = calendar.startOfDay(calendar.addingDays(now, -1));
    return {start, calendar.addingDays(start, 1), "yesterday"};
}

TimeRange thisWeek(const LocalCalendar& calendar, double now) {
    return {calendar.startOfWeek(now), now, "this-week"};
}

TimeRange lastActiveDay(const LocalCalendar& calendar, double lastTimestamp) {
    const double start = calendar.startOfDay(lastTimestamp);
    return {start, calendar.addingDays(start, 1), "last-active-day"};
}

TimeRange recent(const std::string& since, double now) {
    if (since.size() < 2) {
        throw CLIError::invalidTimeRange("Invalid duration format '" + since +
                                         "'. Use e.g. 2h, 30m, 1d, 1w");
    }
    const char unit = since.back();
    const auto value = parseNumber(since.substr(0, since.size() - 1));
    // The value is checked before the unit: "0x" reports the value.
    if (!value || !(*value > 0)) {
        throw CLIError::invalidTimeRange("Invalid duration value in '" + since +
                                         "'. Numeric prefix required.");
    }
    const auto unitSeconds = secondsPerUnit(unit);
    if (!unitSeconds) {
        throw CLIError::invalidTimeRange("Unknown duration unit '" + std::string(1, unit) +
                                         "'. Use m, h, d, or w.");
    }
    return {now - *value * *unitSeconds, now, "recent"};
}

TimeRange range(const LocalCalendar& calendar, const std::string& fromText,
                const std::string& toText) {
    const ParsedDate from = parseDateInput(calendar, fromText, "--from");
    const ParsedDate to = parseDateInput(calendar, toText, "--to");
    // A bare end date includes its whole day: the range ends at the next
    // midnight.
    const double end = to.dateOnly ? calendar.addingDays(to.instant, 1) : to.instant;
    if (!(from.instant < end)) {
        throw CLIError::invalidTimeRange("--from must be before --to");
    }
    return {from.instant, end, "range"};
}

ParsedDate parseDateInput(const LocalCalendar& calendar, const std::string& text,
                          const std::string& label) {
    if (const auto instant = parseInternetDateTime(text)) return {*instant, false};
    if (const auto instant = calendar.parseLocalPattern(text, "yyyy-MM-dd'T'HH:mm:ss")) {
        return {*instant, false};
    }
    if (const auto instant = calendar.parseLocalPattern(text, "yyyy-MM-dd")) {
        return {*instant, true};
    }
    throw unparsableDate(text, label);
}

ParsedDate parseSearchDateInput(const LocalCalendar& calendar, const std::string& text,
                                const std::string& label) {
    return parseDateInput(calendar, text, label);
}

double parseSearchDateArgument(const LocalCalendar& calendar, const std::string& text,
                               const std::string& label, bool isEndOfDay) {
    const ParsedDate parsed = parseSearchDateInput(calendar, text, label);
    if (!isEndOfDay || !parsed.dateOnly) return parsed.instant;
    const auto endOfDay = calendar.addingTime(parsed.instant, 23, 59, 59);
    if (!endOfDay) throw unparsableDate(text, label);
    return *endOfDay;
}

}  // namespace VarnholtQueryLib::TimePresets
