#include "period/TimePresets.h"

#include <unicode/brkiter.h>
#include <unicode/unistr.h>

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <optional>
#include <stdexcept>

#include "cli/CLIError.h"
#include "platform/LocalCalendar.h"

namespace VarnholtQueryLib::TimePresets {

namespace {

// Seconds per duration unit; days and weeks are fixed multiples here, not
// calendar days, so `--since 1d` is always 86,400 seconds.
std::optional<double> secondsPerUnit(const std::string& unit) {
    if (unit == "m") return 60.0;
    if (unit == "h") return 3600.0;
    if (unit == "d") return 86400.0;
    if (unit == "w") return 604800.0;
    return std::nullopt;
}

// A duration text cut before its last character: the number and the unit.
struct DurationParts {
    std::string value;
    std::string unit;
};

// Characters as the user sees them (extended grapheme clusters), not bytes:
// "é" alone is one character whether its accent is precomposed or
// combining, and the unit of "5é" is "é", not its last byte. Absent when
// `text` has fewer than two characters. REQUIRES: `text` is valid UTF-8, as
// every argument is once repaired.
std::optional<DurationParts> splitBeforeLastCharacter(const std::string& text) {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::BreakIterator> characters(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    if (U_FAILURE(status)) throw std::runtime_error("Cannot split text into characters");
    const icu::UnicodeString utf16 = icu::UnicodeString::fromUTF8(text);
    characters->setText(utf16);
    const int32_t lastStart = characters->preceding(utf16.length());
    if (lastStart <= 0) return std::nullopt;
    DurationParts parts;
    utf16.tempSubString(0, lastStart).toUTF8String(parts.value);
    utf16.tempSubString(lastStart).toUTF8String(parts.unit);
    return parts;
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
    const double end = calendar.addingDays(start, 1);
    // A newest time beyond the calendar (a damaged row dated 1e300) has no
    // day: clamped, it would name the calendar's last instant as an empty
    // range that holds none of the observations it stands for.
    if (clampToCalendarRange(lastTimestamp) != lastTimestamp || !(start < end)) {
        throw CLIError::invalidTimeRange(
            "The newest observation's time, " + formatUTCInternetDateTime(lastTimestamp) +
            ", lies outside the calendar, so it has no day to show. Use range --from and --to for "
            "the days you want.");
    }
    return {start, end, "last-active-day"};
}

double durationSeconds(const std::string& duration) {
    const std::optional<DurationParts> parts = splitBeforeLastCharacter(duration);
    if (!parts) {
        throw CLIError::invalidTimeRange("Invalid duration format '" + duration +
                                         "'. Use e.g. 2h, 30m, 1d, 1w");
    }
    const std::string& unit = parts->unit;
    const auto value = parseNumber(parts->value);
    const auto invalidValue = [&] {
        return CLIError::invalidTimeRange("Invalid duration value in '" + duration +
                                          "'. Numeric prefix required.");
    };
    // The value is checked before the unit: "0x" reports the value.
    if (!value || !(*value > 0)) throw invalidValue();
    const auto unitSeconds = secondsPerUnit(unit);
    if (!unitSeconds) {
        throw CLIError::invalidTimeRange("Unknown duration unit '" + unit + "'. Use m, h, d, or w.");
    }
    // A finite value can still overflow once in seconds ("1e308w"): a span
    // of infinite length is no duration either.
    const double seconds = *value * *unitSeconds;
    if (!std::isfinite(seconds)) throw invalidValue();
    return seconds;
}

TimeRange recent(const std::string& since, double now) {
    const double seconds = durationSeconds(since);
    return {now - seconds, now, "recent"};
}

TimeRange range(const LocalCalendar& calendar, const std::string& fromText,
                const std::string& toText) {
    const ParsedDate from = parseDateInput(calendar, fromText, "--from");
    const ParsedDate to = parseDateInput(calendar, toText, "--to");
    // A bare end date includes its whole day: the range ends one calendar day
    // after that day's start.
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
    // 23:59:59 after the day's start by calendar addition of hours, minutes
    // and seconds, which count elapsed time: on a day of 23 or 25 hours the
    // end lies an hour after or before the wall clock's 23:59:59.
    const auto endOfDay = calendar.addingTime(parsed.instant, 23, 59, 59);
    if (!endOfDay) throw unparsableDate(text, label);
    return *endOfDay;
}

}  // namespace VarnholtQueryLib::TimePresets
