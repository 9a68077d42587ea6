#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "timesheet/TimesheetCategories.h"

namespace VarnholtQueryLib {

// How an answer is printed: the JSON document, which every command prints
// and agents read; the time view with the document in it, for a person to
// open in a browser (summary, timesheet); or a timesheet's days and totals
// as CSV for a spreadsheet. The document is the same value either way.
enum class AnswerFormat { json, html, csv };

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
        bool allWords = false;  // every word and phrase of the keyword must occur

        bool operator==(const Search&) const = default;
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
        std::optional<std::string> weekStart;  // for this-week, "monday" to "sunday"; absent: the locale's

        bool operator==(const Recent&) const = default;
    };
    struct Entities {
        std::optional<std::string> since;
        std::optional<std::string> kind;
        std::int64_t limit = 100;

        bool operator==(const Entities&) const = default;
    };
    // The account of a range's time: active time, sessions, applications,
    // entities and days. The range travels as the timeline's does (preset
    // "today" by default, "range" with its texts, or a duration) and is
    // chosen when the command runs; the rest is checked already.
    struct Summary {
        std::optional<std::string> preset;  // absent for `--since`
        std::optional<std::string> since;
        std::optional<std::string> rangeFrom;
        std::optional<std::string> rangeTo;
        double idleSeconds = 300;           // the idle gap
        std::optional<std::string> kind;    // entities of this kind only
        std::int64_t limit = 10;            // entries of the application and entity lists
        std::optional<std::int64_t> maxChars;  // the budget of the printed answer
        // The rows to account for, each as given: any row matching one of
        // them; none: every row.
        std::vector<std::string> match;   // words and "phrases" of the description
        std::vector<std::string> app;     // application names
        std::vector<std::string> entity;  // "[KIND=]VALUE"
        std::optional<std::string> weekStart;  // "monday" to "sunday"; absent: the locale's
        // The sections asked for, as named; absent: all of them.
        std::optional<std::vector<std::string>> only;
        AnswerFormat format = AnswerFormat::json;

        bool operator==(const Summary&) const = default;
    };
    // Exclusive categories over a range: each row's time in the first
    // category with a matching rule, with the evidence. The period travels
    // as the summary's does; the categories are checked already.
    struct Timesheet {
        std::optional<std::string> preset;  // absent for `--since`
        std::optional<std::string> since;
        std::optional<std::string> rangeFrom;
        std::optional<std::string> rangeTo;
        std::optional<std::string> weekStart;  // "monday" to "sunday"; absent: the locale's
        double idleSeconds = 300;
        std::vector<TimesheetCategory> categories;  // in the order given
        std::optional<std::int64_t> maxChars;       // the budget of the JSON answer
        AnswerFormat format = AnswerFormat::json;

        bool operator==(const Timesheet&) const = default;
    };
    struct Status {
        bool jsonFlag = false;

        bool operator==(const Status&) const = default;
    };
    struct SupportContext {
        bool operator==(const SupportContext&) const = default;
    };
    struct Top {
        bool operator==(const Top&) const = default;
    };
    struct Help {
        bool operator==(const Help&) const = default;
    };
    struct Version {
        bool operator==(const Version&) const = default;
    };

    using Value =
        std::variant<Search, Recent, Entities, Summary, Timesheet, Status, SupportContext, Top, Help, Version>;
    Value value;

    // Commands are plain values: two are equal when they ask the same thing.
    bool operator==(const Command&) const = default;
};

}  // namespace VarnholtQueryLib
