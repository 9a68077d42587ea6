#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace VarnholtQueryLib::MCP {

// A day of the proleptic Gregorian calendar as resource URIs and prompt
// arguments name it: "yyyy-MM-dd". Which instants it spans is the user's
// zone's affair and is settled by the command it leads to.
struct CalendarDate {
    int year = 1970;
    int month = 1;  // 1..12
    int day = 1;    // 1..31

    // The date `text` names: exactly four digits, "-", two, "-", two, and a
    // day that exists in that month (29 February only in leap years); years
    // 0001 to 9999. Absent otherwise.
    static std::optional<CalendarDate> parse(std::string_view text);

    // "yyyy-MM-dd".
    std::string text() const;
    // The date `days` later (earlier when negative).
    CalendarDate plusDays(int days) const;

    bool operator==(const CalendarDate&) const = default;
};

}  // namespace VarnholtQueryLib::MCP
