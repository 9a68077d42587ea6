#pragma once

#include <string>

#include "period/TimeRange.h"

namespace VarnholtQueryLib {

class LocalCalendar;

// Turns the time words of the command line into instants (seconds since 1970
// UTC): the named presets, a duration such as "2h", and date texts. Calendar
// arithmetic happens in `calendar`, the user's zone and locale; `now` is read
// once by the caller. Every failure is CLIError::invalidTimeRange with the
// message the user sees.
namespace TimePresets {

// Start of today to start of tomorrow (23 or 25 hours on a daylight-saving
// change; a day whose midnight happens twice starts at the first, a day
// whose midnight is skipped at the end of the jump).
TimeRange today(const LocalCalendar& calendar, double now);
// Start of yesterday to start of today.
TimeRange yesterday(const LocalCalendar& calendar, double now);
// Start of the current week (the locale's first weekday) to now.
TimeRange thisWeek(const LocalCalendar& calendar, double now);
// The whole local day containing `lastTimestamp`. Throws invalidTimeRange
// ("The newest observation's time, <instant>, lies outside the calendar,
// ...") for a time the calendar cannot hold a whole day for, about 5.8
// million years away.
TimeRange lastActiveDay(const LocalCalendar& calendar, double lastTimestamp);
// The seconds of a duration ("30m", "2h", "1.5h", "1d", "1w"; days and
// weeks are fixed multiples of seconds). The unit is the last character as
// a person sees it (an extended grapheme cluster, so "5é" has the unit "é"
// however the accent is encoded), the value everything before it. A value
// that is not a positive number, or whose span in seconds is not finite
// ("1e308w"), is an invalid value.
double durationSeconds(const std::string& duration);
// now minus the duration `since` (as durationSeconds reads it) to now.
TimeRange recent(const std::string& since, double now);
// `fromText` to `toText`, each an ISO 8601 date-time with zone, a local
// "yyyy-MM-ddTHH:mm:ss", or a local "yyyy-MM-dd"; a date-only end covers its
// whole day. Requires from < to.
TimeRange range(const LocalCalendar& calendar, const std::string& fromText,
                const std::string& toText);

// One parsed date text: the instant and whether it was a bare date.
struct ParsedDate {
    double instant = 0;
    bool dateOnly = false;
};

// The three date forms, tried in order; throws the "Cannot parse <label>
// date ..." error when none fits.
ParsedDate parseDateInput(const LocalCalendar& calendar, const std::string& text,
                          const std::string& label);
ParsedDate parseSearchDateInput(const LocalCalendar& calendar, const std::string& text,
                                const std::string& label);
// parseSearchDateInput, and with `isEndOfDay` a bare date means its start
// plus 23 hours, 59 minutes and 59 seconds (elapsed time, so 00:59:59 of the
// next day after a 23-hour day) instead of its start.
double parseSearchDateArgument(const LocalCalendar& calendar, const std::string& text,
                               const std::string& label, bool isEndOfDay);

}  // namespace TimePresets

}  // namespace VarnholtQueryLib
