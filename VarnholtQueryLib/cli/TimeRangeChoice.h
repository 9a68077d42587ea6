#pragma once

#include <optional>
#include <string>

#include "period/TimeRange.h"

namespace VarnholtSQLiteSupport {
class IndexCatalogue;
class SQLiteReadConnection;
}  // namespace VarnholtSQLiteSupport

namespace VarnholtQueryLib {

class LocalCalendar;

// The period a command asks about, as its words name it: a preset ("today",
// "yesterday", "this-week", "last-active-day", or "range" with both texts),
// or a duration back from now, or neither (today). The texts are checked
// when the range is chosen, so the timeline commands and `summary` accept
// the same words and refuse the same ones in the same words.
struct TimeRangeRequest {
    std::optional<std::string> preset;
    std::optional<std::string> since;
    std::optional<std::string> rangeFrom;
    std::optional<std::string> rangeTo;
};

// The range `request` names, with `now` the one reading of the clock of the
// answer. `last-active-day` is the one period that looks at the database
// first: it is the day of the newest observation, and today (with the
// preset "today") when there is none. Throws the CLIError of the time
// texts (TimePresets), unknownPresetError for another preset, and the
// metrics query's DatabaseError.
TimeRange chooseTimeRange(const TimeRangeRequest& request,
                          VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                          const VarnholtSQLiteSupport::IndexCatalogue& indexes,
                          const LocalCalendar& calendar, double now);

}  // namespace VarnholtQueryLib
