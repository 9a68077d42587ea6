#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

namespace VarnholtQueryLib {

// The one thing an invocation asks for, as the parser understands it. Time
// arguments of `search` are already instants (seconds since 1970 UTC); those
// of the timeline family travel as text and are converted at dispatch.
struct Command {
    struct Search {
        std::string keyword;
        std::optional<std::string> appFilter;
        std::optional<double> from;
        std::optional<double> to;
        bool latestOnly = false;
        std::int64_t limit = 50;
        bool compact = false;
        bool images = false;
        bool collapse = false;
    };
    // The timeline family: today, yesterday, this-week, last-active-day,
    // recent and range.
    struct Recent {
        std::optional<std::string> preset;  // absent for `recent --since`
        std::optional<std::string> since;
        bool images = false;
        bool compact = false;
        std::optional<std::int64_t> limit;
        std::optional<std::string> rangeFrom;
        std::optional<std::string> rangeTo;
    };
    struct Entities {
        std::optional<std::string> since;
        std::optional<std::string> kind;
        std::int64_t limit = 100;
    };
    struct Status {
        bool jsonFlag = false;
    };
    struct SupportContext {};
    struct Top {};
    struct Help {};
    struct Version {};

    using Value = std::variant<Search, Recent, Entities, Status, SupportContext, Top, Help, Version>;
    Value value;
};

}  // namespace VarnholtQueryLib
