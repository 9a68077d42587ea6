#include "cli/CommandBuilders.h"

#include <algorithm>

#include "cli/CommandArguments.h"
#include "period/TimePresets.h"
#include "platform/LocalCalendar.h"
#include "summary/SummarySections.h"

namespace VarnholtQueryLib {

namespace {

constexpr const char* kRangeUsage = "Usage: range --from 2026-04-01 --to 2026-04-07";
constexpr std::int64_t kSearchDefaultLimit = 50;
constexpr std::int64_t kSearchMaximumLimit = 200;
constexpr std::int64_t kEntitiesDefaultLimit = 100;

std::string rangeUsage(const std::string& command) {
    return "Usage: " + command + " --from 2026-04-01 --to 2026-04-07";
}

Command::Recent timeline(std::optional<std::string> preset, bool compact,
                         std::optional<std::int64_t> limit) {
    Command::Recent recent;
    recent.preset = std::move(preset);
    recent.compact = compact;
    recent.limit = limit;
    return recent;
}

}  // namespace

bool isTimelinePreset(const std::string& word) {
    return word == "today" || word == "yesterday" || word == "this-week" ||
           word == "last-active-day";
}

bool isSummaryPreset(const std::string& word) {
    return isTimelinePreset(word) || word == "last-week" || word == "this-month" || word == "last-month";
}

CLIError unknownPresetError(const std::string& preset) {
    return CLIError::invalidTimeRange("Unknown preset '" + preset + "'.");
}

Command::Recent timelinePresetCommand(const std::string& preset, bool compact,
                                      std::optional<std::int64_t> limit) {
    if (!isTimelinePreset(preset)) throw unknownPresetError(preset);
    return timeline(preset, compact, limit);
}

Command::Recent timelineSinceCommand(const std::string& since, bool images, bool compact,
                                     std::optional<std::int64_t> limit) {
    Command::Recent recent = timeline(std::nullopt, compact, limit);
    recent.since = since;
    recent.images = images;
    return recent;
}

Command::Recent timelineRangeCommand(const std::optional<std::string>& from,
                                     const std::optional<std::string>& to, bool compact,
                                     std::optional<std::int64_t> limit) {
    if (!from && !to) {
        throw CLIError::invalidTimeRange(std::string("'range' requires --from and --to flags. ") +
                                         kRangeUsage);
    }
    if (!from) throw CLIError::invalidTimeRange(std::string("'range' requires --from flag. ") + kRangeUsage);
    if (!to) throw CLIError::invalidTimeRange(std::string("'range' requires --to flag. ") + kRangeUsage);
    Command::Recent recent = timeline("range", compact, limit);
    recent.rangeFrom = from;
    recent.rangeTo = to;
    return recent;
}

Command::Entities entitiesCommand(const std::optional<std::string>& since,
                                  const std::optional<std::string>& kind,
                                  std::optional<std::int64_t> limit) {
    return {since, kind, limit.value_or(kEntitiesDefaultLimit)};
}

void SummaryCommandBuilder::preset(const std::string& word) {
    if (!isSummaryPreset(word)) throw unknownPresetError(word);
    summary_.preset = word;
}

void SummaryCommandBuilder::idle(const std::string& duration) {
    const double seconds = TimePresets::durationSeconds(duration);
    if (seconds < kShortestIdle || seconds > kLongestIdle) {
        throw CLIError::invalidTimeRange("--idle must be between 1m and 1h, not '" + duration + "'.");
    }
    summary_.idleSeconds = seconds;
}

void SummaryCommandBuilder::limit(const std::string& text) {
    const auto number = parseWholeDecimal(text);
    if (!number || *number < 1 || *number > kLongestList) {
        throw CLIError::invalidTimeRange("--limit must be a whole number from 1 to 100, not '" + text +
                                         "'.");
    }
    summary_.limit = *number;
}

void SummaryCommandBuilder::limit(std::int64_t limit) { this->limit(std::to_string(limit)); }

void SummaryCommandBuilder::maxChars(const std::string& text) {
    const auto number = parseWholeDecimal(text);
    if (!number || *number < 1) {
        throw CLIError::invalidTimeRange("--max-chars must be a whole number above 0, not '" + text +
                                         "'.");
    }
    summary_.maxChars = *number;
}

void SummaryCommandBuilder::maxChars(std::int64_t maxChars) { this->maxChars(std::to_string(maxChars)); }

CLIError selectionRuleError(const InvalidRule& invalid) {
    const std::string& given = invalid.given();
    switch (invalid.problem()) {
        case RuleProblem::noWord:
            return CLIError::invalidTimeRange(
                "--match '" + given +
                "' holds no word to look for. Give words or a \"quoted phrase\" of letters or digits, "
                "such as --match \"invoice exporter\".");
        case RuleProblem::tooLong:
            return CLIError::invalidTimeRange("--match is " + std::to_string(given.size()) +
                                              " bytes long; at most " + std::to_string(kLongestMatchWords) +
                                              " are allowed.");
        case RuleProblem::noApplication:
            return CLIError::invalidTimeRange("--app needs an application name, such as --app Xcode.");
        case RuleProblem::noEntityValue:
        case RuleProblem::noEntityKind:
            break;
    }
    return CLIError::invalidTimeRange("--entity needs a value, or a kind and a value, such as --entity Swift or "
                                      "--entity programming_language=Swift, not '" +
                                      given + "'.");
}

CLIError tooManyDaysError(std::size_t most) {
    return CLIError::invalidTimeRange("This range has more than " + std::to_string(most) +
                                      " days, more than a summary lists. Ask for a shorter range, or use "
                                      "--only without days.");
}

void SummaryCommandBuilder::match(const std::string& words) {
    try {
        textRule(words);
    } catch (const InvalidRule& invalid) {
        throw selectionRuleError(invalid);
    }
    summary_.match.push_back(words);
}

void SummaryCommandBuilder::app(const std::string& name) {
    try {
        applicationRule(name);
    } catch (const InvalidRule& invalid) {
        throw selectionRuleError(invalid);
    }
    summary_.app.push_back(name);
}

void SummaryCommandBuilder::entity(const std::string& text) {
    try {
        entityRule(text);
    } catch (const InvalidRule& invalid) {
        throw selectionRuleError(invalid);
    }
    summary_.entity.push_back(text);
}

void checkWeekStart(const std::string& day) {
    if (!weekdayNamed(day)) {
        throw CLIError::invalidTimeRange(
            "--week-start must be a day of the week: monday, tuesday, wednesday, thursday, friday, "
            "saturday or sunday, not '" +
            day + "'.");
    }
}

void timelineWeekStart(Command::Recent& timeline, const std::string& day) {
    checkWeekStart(day);
    timeline.weekStart = day;
}

void SummaryCommandBuilder::weekStart(const std::string& day) {
    checkWeekStart(day);
    summary_.weekStart = day;
}

void SummaryCommandBuilder::only(const std::string& list) {
    std::vector<std::string> sections;
    std::size_t start = 0;
    for (;;) {
        const std::size_t comma = list.find(',', start);
        sections.push_back(list.substr(start, comma == std::string::npos ? std::string::npos : comma - start));
        if (comma == std::string::npos) break;
        start = comma + 1;
    }
    if (!SummarySections::named(sections)) {
        throw CLIError::invalidTimeRange(
            "--only takes a comma-separated list of sessions, applications, entities, days and coverage, not '" +
            list + "'.");
    }
    summary_.only = sections;
}

void SummaryCommandBuilder::only(const std::vector<std::string>& sections) {
    if (sections.empty() || !SummarySections::named(sections)) {
        std::string list;
        for (const std::string& section : sections) list += (list.empty() ? "" : ",") + section;
        throw CLIError::invalidTimeRange(
            "--only takes a comma-separated list of sessions, applications, entities, days and coverage, not '" +
            list + "'.");
    }
    summary_.only = sections;
}

void SummaryCommandBuilder::format(const std::string& word) {
    if (word == "json") {
        summary_.format = AnswerFormat::json;
    } else if (word == "html") {
        summary_.format = AnswerFormat::html;
    } else {
        throw CLIError::invalidTimeRange("--format must be json or html, not '" + word + "'.");
    }
}

Command::Summary SummaryCommandBuilder::build() const {
    const int periods = int(summary_.preset.has_value()) + int(since_.has_value()) +
                        int(from_.has_value() || to_.has_value());
    if (periods > 1) {
        throw CLIError::invalidTimeRange("Use only one of a preset, --since, or --from and --to.");
    }
    if (from_ && !to_) {
        throw CLIError::invalidTimeRange("'" + command_ + "' requires --to with --from. " + rangeUsage(command_));
    }
    if (to_ && !from_) {
        throw CLIError::invalidTimeRange("'" + command_ + "' requires --from with --to. " + rangeUsage(command_));
    }
    Command::Summary summary = summary_;
    if (since_) {
        summary.since = since_;
    } else if (from_) {
        summary.preset = "range";
        summary.rangeFrom = from_;
        summary.rangeTo = to_;
    } else if (!summary.preset) {
        summary.preset = "today";
    }
    return summary;
}

SearchCommandBuilder::SearchCommandBuilder(const LocalCalendar& calendar, double now)
    : calendar_(calendar), now_(now) {}

void SearchCommandBuilder::from(const std::string& text) {
    search_.from = TimePresets::parseSearchDateInput(calendar_, text, "--from").instant;
}

void SearchCommandBuilder::to(const std::string& text) {
    search_.to = TimePresets::parseSearchDateArgument(calendar_, text, "--to", true);
}

void SearchCommandBuilder::since(const std::string& duration) {
    const TimeRange window = TimePresets::recent(duration, now_);
    search_.from = window.from;
    search_.to = window.to;
}

Command::Search SearchCommandBuilder::build() const {
    if (!keyword_) {
        throw CLIError::invalidTimeRange(
            "Missing keyword. Usage: varnholt-query search <keyword> [--app <name>] [--since "
            "<duration>] [--from YYYY-MM-DD] [--to YYYY-MM-DD] [--latest] [--limit N] [--compact]");
    }
    if (keyword_->size() > kMaximumKeywordBytes) {
        throw CLIError::invalidTimeRange("The keyword is " + std::to_string(keyword_->size()) +
                                         " bytes long; at most " +
                                         std::to_string(kMaximumKeywordBytes) +
                                         " are allowed. Search for a shorter excerpt.");
    }
    if (search_.from && search_.to && *search_.to < *search_.from) {
        throw CLIError::invalidTimeRange("--from must be before or equal to --to");
    }
    Command::Search search = search_;
    search.keyword = *keyword_;
    search.limit = std::max<std::int64_t>(
        std::min(limit_.value_or(kSearchDefaultLimit), kSearchMaximumLimit), 1);
    if (search.latestOnly) search.limit = 1;
    return search;
}

}  // namespace VarnholtQueryLib
