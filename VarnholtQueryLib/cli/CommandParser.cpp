#include "cli/CommandParser.h"

#include <algorithm>
#include <functional>

#include "cli/CLIError.h"
#include "cli/CommandBuilders.h"
#include "cli/TimesheetCommandBuilder.h"
#include "output/JSONWriter.h"

namespace VarnholtQueryLib {

namespace {

bool beginsWithDoubleDash(const std::string& text) { return text.rfind("--", 0) == 0; }

// The argument after the first `flag`, unless it is missing or is itself a
// flag.
std::optional<std::string> flagValue(const std::vector<std::string>& args, const std::string& flag) {
    const auto found = std::find(args.begin(), args.end(), flag);
    if (found == args.end() || found + 1 == args.end() || beginsWithDoubleDash(*(found + 1))) {
        return std::nullopt;
    }
    return *(found + 1);
}

bool searchFlagTakesValue(const std::string& flag) {
    return flag == "--app" || flag == "--from" || flag == "--to" || flag == "--since" ||
           flag == "--limit";
}

bool isSearchSwitch(const std::string& flag) {
    return flag == "--latest" || flag == "--compact" || flag == "--full" || flag == "--images" ||
           flag == "--collapse" || flag == "--all-words";
}

Command parseSearch(const std::vector<std::string>& args, bool compact,
                    const LocalCalendar& calendar, double now) {
    const auto searchWord = std::find(args.begin(), args.end(), "search");
    if (searchWord == args.end()) {
        // Unreachable while `positional` is derived from `args`; kept as a guard.
        throw CLIError::invalidTimeRange("Unrecognized command 'search'. Use --help for usage.");
    }
    SearchCommandBuilder search(calendar, now);
    search.compact(compact);

    for (auto it = searchWord + 1; it != args.end(); ++it) {
        const std::string& argument = *it;
        if (!beginsWithDoubleDash(argument)) {
            if (!search.hasKeyword()) search.keyword(argument);  // later bare words are ignored
            continue;
        }
        if (isSearchSwitch(argument)) {
            if (argument == "--latest") search.latest();
            if (argument == "--images") search.images();
            if (argument == "--collapse") search.collapse();
            if (argument == "--all-words") search.allWords();
            continue;  // --compact and --full already decided `compact`
        }
        if (!searchFlagTakesValue(argument)) {
            // Deliberately immediate: a mistyped search flag must not silently
            // widen the search.
            outputError("UNKNOWN_ERROR", "Unknown flag '" + argument + "'.");
        }
        if (it + 1 == args.end() || beginsWithDoubleDash(*(it + 1))) {
            throw CLIError::unknownError("Missing value for " + argument + ".");
        }
        const std::string& value = *++it;
        if (argument == "--app") {
            search.app(value);
        } else if (argument == "--from") {
            search.from(value);
        } else if (argument == "--to") {
            search.to(value);
        } else if (argument == "--since") {
            search.since(value);
        } else {  // --limit
            search.limit(parseWholeDecimal(value));
        }
    }
    return {search.build()};
}

// The words of a command over a period (summary, timesheet), in order,
// before and after the command's name: at most one preset, flags with
// their values, and --json, which changes nothing. Anything else is
// refused: a mistyped flag must not silently change the account. `usage`
// is shown after a second preset.
struct PeriodCommandWords {
    std::string usage;
    std::function<bool(const std::string& flag)> takesValue;
    std::function<void(const std::string& preset)> preset;
    std::function<void(const std::string& flag, const std::string& value)> flag;
};

void readPeriodCommandWords(const std::vector<std::string>& args, const PeriodCommandWords& words) {
    bool commandSeen = false;
    bool presetGiven = false;
    for (auto it = args.begin(); it < args.end(); ++it) {
        const std::string& argument = *it;
        if (!beginsWithDoubleDash(argument)) {
            if (!commandSeen) {
                commandSeen = true;  // the command's name, the first bare word
                continue;
            }
            if (presetGiven) {
                throw CLIError::invalidTimeRange("Unexpected argument '" + argument + "'. Usage: " + words.usage);
            }
            words.preset(argument);
            presetGiven = true;
            continue;
        }
        if (argument == "--json") continue;
        if (!words.takesValue(argument)) throw CLIError::unknownError("Unknown flag '" + argument + "'.");
        if (it + 1 == args.end() || beginsWithDoubleDash(*(it + 1))) {
            throw CLIError::unknownError("Missing value for " + argument + ".");
        }
        const std::string& value = *++it;
        words.flag(argument, value);
    }
}

bool summaryFlagTakesValue(const std::string& flag) {
    return flag == "--since" || flag == "--from" || flag == "--to" || flag == "--idle" ||
           flag == "--kind" || flag == "--limit" || flag == "--max-chars" || flag == "--match" ||
           flag == "--app" || flag == "--entity" || flag == "--week-start" || flag == "--only" ||
           flag == "--format";
}

Command parseSummary(const std::vector<std::string>& args) {
    SummaryCommandBuilder summary;
    readPeriodCommandWords(
        args,
        {"summary [today|yesterday|this-week|last-week|this-month|last-month|"
         "last-active-day] [--since <duration>] [--from <date> --to <date>] [--week-start <day>] "
         "[--match <words>] [--app <name>] [--entity [<kind>=]<value>] [--only <sections>] "
         "[--idle <duration>] [--kind <kind>] [--limit N] [--max-chars N] [--format json|html]",
         summaryFlagTakesValue, [&summary](const std::string& preset) { summary.preset(preset); },
         [&summary](const std::string& argument, const std::string& value) {
             if (argument == "--since") {
                 summary.since(value);
             } else if (argument == "--from") {
                 summary.from(value);
             } else if (argument == "--to") {
                 summary.to(value);
             } else if (argument == "--idle") {
                 summary.idle(value);
             } else if (argument == "--kind") {
                 summary.kind(value);
             } else if (argument == "--limit") {
                 summary.limit(value);
             } else if (argument == "--max-chars") {
                 summary.maxChars(value);
             } else if (argument == "--match") {
                 summary.match(value);
             } else if (argument == "--app") {
                 summary.app(value);
             } else if (argument == "--entity") {
                 summary.entity(value);
             } else if (argument == "--week-start") {
                 summary.weekStart(value);
             } else if (argument == "--only") {
                 summary.only(value);
             } else {  // --format
                 summary.format(value);
             }
         }});
    return {summary.build()};
}

bool timesheetFlagTakesValue(const std::string& flag) {
    return flag == "--since" || flag == "--from" || flag == "--to" || flag == "--idle" ||
           flag == "--max-chars" || flag == "--category" || flag == "--categories" || flag == "--format" ||
           flag == "--week-start";
}

Command parseTimesheet(const std::vector<std::string>& args, const FileSystemPort& files) {
    TimesheetCommandBuilder timesheet;
    readPeriodCommandWords(
        args,
        {"timesheet [period] --category NAME=RULE[|RULE...] ... | --categories FILE "
         "[--since <duration>] [--from <date> --to <date>] [--week-start <day>] [--idle <duration>] "
         "[--max-chars N] [--format json|csv|html]",
         timesheetFlagTakesValue, [&timesheet](const std::string& preset) { timesheet.preset(preset); },
         [&timesheet, &files](const std::string& argument, const std::string& value) {
             if (argument == "--since") {
                 timesheet.since(value);
             } else if (argument == "--from") {
                 timesheet.from(value);
             } else if (argument == "--to") {
                 timesheet.to(value);
             } else if (argument == "--idle") {
                 timesheet.idle(value);
             } else if (argument == "--max-chars") {
                 timesheet.maxChars(value);
             } else if (argument == "--category") {
                 timesheet.category(value);
             } else if (argument == "--categories") {
                 timesheet.categoriesFile(value, files);
             } else if (argument == "--week-start") {
                 timesheet.weekStart(value);
             } else {  // --format
                 timesheet.format(value);
             }
         }});
    return {timesheet.build()};
}

// A timeline command with the week start its arguments give, if any.
Command::Recent withWeekStart(Command::Recent timeline, const std::vector<std::string>& args) {
    if (!containsArgument(args, "--week-start")) return timeline;
    const auto day = flagValue(args, "--week-start");
    if (!day) throw CLIError::unknownError("Missing value for --week-start.");
    timelineWeekStart(timeline, *day);
    return timeline;
}

}  // namespace

Command parseCommand(const CommandArguments& arguments, const LocalCalendar& calendar, double now,
                     const FileSystemPort& files) {
    const auto& args = arguments.args;
    const auto& positional = arguments.positional;
    const bool compact = arguments.compactRequested && !arguments.fullRequested;

    if (containsArgument(args, "--help") || containsArgument(args, "-h") ||
        (!positional.empty() && positional[0] == "help")) {
        return {Command::Help{}};
    }
    if (containsArgument(args, "--version") || containsArgument(args, "-v")) {
        return {Command::Version{}};
    }
    if (positional.empty()) return {withWeekStart(timelinePresetCommand("today", compact, arguments.limit), args)};

    const std::string& word = positional[0];
    if (word == "version") return {Command::Version{}};
    if (isTimelinePreset(word)) return {withWeekStart(timelinePresetCommand(word, compact, arguments.limit), args)};
    if (word == "recent") {
        const auto since = flagValue(args, "--since");
        if (!since) {
            throw CLIError::invalidTimeRange(
                "'recent' requires --since <duration>. Usage: recent --since 2h");
        }
        return {withWeekStart(
            timelineSinceCommand(*since, containsArgument(args, "--images"), compact, arguments.limit), args)};
    }
    if (word == "range") {
        return {withWeekStart(
            timelineRangeCommand(flagValue(args, "--from"), flagValue(args, "--to"), compact, arguments.limit),
            args)};
    }
    if (word == "search") return parseSearch(args, compact, calendar, now);
    if (word == "summary") return parseSummary(args);
    if (word == "timesheet") return parseTimesheet(args, files);
    if (word == "support-context") return {Command::SupportContext{}};
    if (word == "status") return {Command::Status{arguments.jsonFlag}};
    if (word == "entities") {
        return {entitiesCommand(flagValue(args, "--since"), flagValue(args, "--kind"), arguments.limit)};
    }
    if (word == "top") return {Command::Top{}};
    // INVALID_TIME_RANGE rather than a code of its own: agents already branch
    // on it for every bad command line.
    throw CLIError::invalidTimeRange("Unrecognized command '" + word + "'. Use --help for usage.");
}

}  // namespace VarnholtQueryLib
