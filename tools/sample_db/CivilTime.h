#pragma once

#include <cstdint>
#include <string>

namespace VarnholtSampleData {

// Calendar arithmetic for the generator in a fixed offset from UTC, without
// the process's time zone, so the output is the same on every machine. Days
// are counted from 1970-01-01 (day 0, a Thursday).

// The local day number of `seconds` (since 1970, UTC) at `utcOffsetSeconds`.
std::int64_t localDayNumber(double seconds, int utcOffsetSeconds);
// The instant (since 1970, UTC) at which local day `day` begins.
double localDayStart(std::int64_t day, int utcOffsetSeconds);
// 0 = Sunday ... 6 = Saturday.
int weekdayOfDay(std::int64_t day);
// "YYYY-MM-DD" of day number `day`.
std::string formatDay(std::int64_t day);
// "YYYY-MM-DDTHH:MM:SSZ", whole seconds (truncated), UTC.
std::string formatIsoUtc(double seconds);
// "YYYY-MM-DD HH:MM:SS", UTC, the form SQLite's datetime('now') writes.
std::string formatSqlDateTime(double seconds);

}  // namespace VarnholtSampleData
