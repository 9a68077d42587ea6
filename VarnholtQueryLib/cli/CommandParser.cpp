#include "cli/CommandParser.h"

#include <algorithm>

#include "cli/CLIError.h"
#include "output/JSONWriter.h"
#include "cli/TimePresets.h"

namespace VarnholtQueryLib {

namespace {

constexpr const char* kRangeUsage = "Usage: range --from 2026-04-01 --to 2026-04-07";
constexpr std::int64_t kSearchDefaultLimit = 50;
constexpr std::int64_t kSearchMaximumLimit = 200;
constexpr std::int64_t kEntitiesDefaultLimit = 100;

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

Command recentPreset(const std::string& preset, bool compact, std::optional<std::int64_t> limit) {
    Command::Recent recent;
    recent.preset = preset;
    recent.compact = compact;
    recent.limit = limit;
    return {recent};
}

Command parseRange(const std::vector<std::string>& args, bool compact,
                   std::optional<std::int64_t> limit) {
    const auto from = flagValue(args, "--from");
    const auto to = flagValue(args, "--to");
    if (!from && !to) {
        throw CLIError::invalidTimeRange(std::string("'range' requires --from and --to flags. ") +
                                         kRangeUsage);
    }
    if (!from) throw CLIError::invalidTimeRange(std::string("'range' requires --from flag. ") + kRangeUsage);
    if (!to) throw CLIError::invalidTimeRange(std::string("'range' requires --to flag. ") + kRangeUsage);
    Command::Recent recent;
    recent.preset = "range";
    recent.compact = compact;
    recent.limit = limit;
    recent.rangeFrom = from;
    recent.rangeTo = to;
    return {recent};
}

bool searchFlagTakesValue(const std::string& flag) {
    return flag == "--app" || flag == "--from" || flag == "--to" || flag == "--since" ||
           flag == "--limit";
}

bool isSearchSwitch(const std::string& flag) {
    return flag == "--latest" || flag == "--compact" || flag == "--full" || flag == "--images" ||
           flag == "--collapse";
}

Command parseSearch(const std::vector<std::string>& args, bool compact,
                    const LocalCalendar& calendar, double now) {
    const auto searchWord = std::find(args.begin(), args.end(), "search");
    if (searchWord == args.end()) {
        // Unreachable while `positional` is derived from `args`; kept as a guard.
        throw CLIError::invalidTimeRange("Unrecognized command 'search'. Use --help for usage.");
    }
    Command::Search search;
    search.compact = compact;
    std::optional<std::string> keyword;
    std::optional<std::int64_t> limit;

    for (auto it = searchWord + 1; it != args.end(); ++it) {
        const std::string& argument = *it;
        if (!beginsWithDoubleDash(argument)) {
            if (!keyword) keyword = argument;  // later bare words are ignored
            continue;
        }
        if (isSearchSwitch(argument)) {
            if (argument == "--latest") search.latestOnly = true;
            if (argument == "--images") search.images = true;
            if (argument == "--collapse") search.collapse = true;
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
            search.appFilter = value;
        } else if (argument == "--from") {
            search.from = TimePresets::parseSearchDateInput(calendar, value, "--from").instant;
        } else if (argument == "--to") {
            search.to = TimePresets::parseSearchDateArgument(calendar, value, "--to", true);
        } else if (argument == "--since") {
            const TimeRange window = TimePresets::recent(value, now);
            search.from = window.from;
            search.to = window.to;
        } else {  // --limit
            limit = parseWholeDecimal(value);
        }
    }

    if (!keyword) {
        throw CLIError::invalidTimeRange(
            "Missing keyword. Usage: varnholt-query search <keyword> [--app <name>] [--since "
            "<duration>] [--from YYYY-MM-DD] [--to YYYY-MM-DD] [--latest] [--limit N] [--compact]");
    }
    if (search.from && search.to && *search.to < *search.from) {
        throw CLIError::invalidTimeRange("--from must be before or equal to --to");
    }
    search.keyword = *keyword;
    search.limit = std::max<std::int64_t>(
        std::min(limit.value_or(kSearchDefaultLimit), kSearchMaximumLimit), 1);
    if (search.latestOnly) search.limit = 1;
    return {search};
}

}  // namespace

Command parseCommand(const CommandArguments& arguments, const LocalCalendar& calendar, double now) {
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
    if (positional.empty()) return recentPreset("today", compact, arguments.limit);

    const std::string& word = positional[0];
    if (word == "version") return {Command::Version{}};
    if (word == "today" || word == "yesterday" || word == "this-week" ||
        word == "last-active-day") {
        return recentPreset(word, compact, arguments.limit);
    }
    if (word == "recent") {
        const auto since = flagValue(args, "--since");
        if (!since) {
            throw CLIError::invalidTimeRange(
                "'recent' requires --since <duration>. Usage: recent --since 2h");
        }
        Command::Recent recent;
        recent.since = since;
        recent.images = containsArgument(args, "--images");
        recent.compact = compact;
        recent.limit = arguments.limit;
        return {recent};
    }
    if (word == "range") return parseRange(args, compact, arguments.limit);
    if (word == "search") return parseSearch(args, compact, calendar, now);
    if (word == "support-context") return {Command::SupportContext{}};
    if (word == "status") return {Command::Status{arguments.jsonFlag}};
    if (word == "entities") {
        return {Command::Entities{flagValue(args, "--since"), flagValue(args, "--kind"),
                                  arguments.limit.value_or(kEntitiesDefaultLimit)}};
    }
    if (word == "top") return {Command::Top{}};
    // INVALID_TIME_RANGE rather than a code of its own: agents already branch
    // on it for every bad command line.
    throw CLIError::invalidTimeRange("Unrecognized command '" + word + "'. Use --help for usage.");
}

}  // namespace VarnholtQueryLib
