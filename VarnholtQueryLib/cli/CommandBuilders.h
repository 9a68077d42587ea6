#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "cli/CLIError.h"
#include "cli/Command.h"
#include "selection/SelectionRules.h"

namespace VarnholtQueryLib {

class LocalCalendar;

// The commands as values, with the checks, defaults and messages that belong
// to the commands rather than to the way they were asked for. The command
// line's parser builds every command through these; so does any other front
// end, which therefore rejects what the command line rejects, in the same
// words.

// True for the four named timeline presets: "today", "yesterday",
// "this-week" and "last-active-day".
bool isTimelinePreset(const std::string& word);
// True for the timeline presets and the whole weeks and months a summary
// also names: "last-week", "this-month" and "last-month".
bool isSummaryPreset(const std::string& word);
// "Unknown preset '<preset>'." (invalidTimeRange).
CLIError unknownPresetError(const std::string& preset);

// A preset's timeline; `images` does not apply to presets. Throws
// unknownPresetError unless isTimelinePreset(preset).
Command::Recent timelinePresetCommand(const std::string& preset, bool compact,
                                      std::optional<std::int64_t> limit);
// The timeline of the last `since` (checked when the command runs).
Command::Recent timelineSinceCommand(const std::string& since, bool images, bool compact,
                                     std::optional<std::int64_t> limit);
// The timeline of a range; the texts are checked when the command runs. Throws
// invalidTimeRange naming the missing end(s) when either is absent.
Command::Recent timelineRangeCommand(const std::optional<std::string>& from,
                                     const std::optional<std::string>& to, bool compact,
                                     std::optional<std::int64_t> limit);

// Throws invalidTimeRange "--week-start must be a day of the week: monday,
// ..., not '<day>'." unless `day` names one ("monday" to "sunday", any
// letter case): the words every command taking a week start refuses with.
void checkWeekStart(const std::string& day);
// The first day of `timeline`'s this-week; any timeline command takes it, so
// that a caller can always pass the user's week, and only this-week reads
// it. Throws as checkWeekStart.
void timelineWeekStart(Command::Recent& timeline, const std::string& day);

// Entities, 100 of them unless `limit` says otherwise (clamped when the
// command runs).
Command::Entities entitiesCommand(const std::optional<std::string>& since,
                                  const std::optional<std::string>& kind,
                                  std::optional<std::int64_t> limit);

// A summary, argument by argument, in the order the caller gives them: each
// value is checked as it is given (so a bad one throws at once; a later one
// overwrites an earlier one), the range's texts when the command runs, as
// the timeline's are; build() checks the whole.
class SummaryCommandBuilder {
public:
    // `command` names the command in the messages about its range: the
    // timesheet takes its period as a summary does.
    explicit SummaryCommandBuilder(std::string command = "summary") : command_(std::move(command)) {}

    // The idle gap's bounds, in seconds: one minute to one hour.
    static constexpr double kShortestIdle = 60;
    static constexpr double kLongestIdle = 3600;
    static constexpr std::int64_t kLongestList = 100;

    // A named period. Throws unknownPresetError unless isSummaryPreset.
    void preset(const std::string& word);
    // The last `duration` (checked when the command runs).
    void since(const std::string& duration) { since_ = duration; }
    void from(const std::string& text) { from_ = text; }
    void to(const std::string& text) { to_ = text; }
    // The idle gap, a duration ("5m", "90s" is not one). Throws the duration
    // errors, or "--idle must be between 1m and 1h, not '<text>'.".
    void idle(const std::string& duration);
    void kind(const std::string& kind) { summary_.kind = kind; }
    // The length of the application and entity lists, 1 to 100, as text or
    // as a number. Throws "--limit must be a whole number from 1 to 100, not
    // '<value>'.".
    void limit(const std::string& text);
    void limit(std::int64_t limit);
    // The budget in characters. Throws "--max-chars must be a whole number
    // above 0, not '<value>'.".
    void maxChars(const std::string& text);
    void maxChars(std::int64_t maxChars);
    // One more rule of the selection; the answer then accounts for the rows
    // matching any of them. Throw invalidTimeRange: "--match '<words>' holds
    // no word to look for. ..." (no word or phrase at all; what the index
    // finds no word in is refused when the command runs, in the same
    // words), "--match is <n> bytes long; ...", "--app needs an application
    // name, ...", "--entity needs a value, ...".
    void match(const std::string& words);
    void app(const std::string& name);
    void entity(const std::string& text);
    // The week's first day for this-week and last-week, "monday" to
    // "sunday". Throws "--week-start must be a day of the week, ...".
    void weekStart(const std::string& day);
    // The sections to answer with, comma-separated, as a list. Throws
    // "--only takes a comma-separated list of ...".
    void only(const std::string& list);
    void only(const std::vector<std::string>& sections);
    // How the answer is printed: "json" or "html". Throws "--format must be
    // json or html, not '<word>'.".
    void format(const std::string& word);

    // The summary: today unless a period, a duration or both range ends were
    // given. Throws invalidTimeRange when more than one of those was given,
    // or one range end without the other.
    Command::Summary build() const;

private:
    std::string command_;
    std::optional<std::string> since_;
    std::optional<std::string> from_;
    std::optional<std::string> to_;
    Command::Summary summary_;
};

// The error for a rule of a summary's selection that cannot be used, in the
// words of the flag that gave it (--match, --app, --entity).
CLIError selectionRuleError(const InvalidRule& invalid);
// The error for a summary whose range lists more days than an answer does.
CLIError tooManyDaysError(std::size_t most);

// The longest keyword a search takes, in bytes of UTF-8. A pasted stretch of
// a log or of a conversation is a fair keyword (10,000 words are about
// 70,000 bytes), but a search's cost grows with its keyword, and the MCP
// server answers one call at a time: a keyword of megabytes would keep it
// from answering anything else for a minute. The kernel hands a program at
// most 131,072 bytes per argument; below that, a keyword too long for us
// reaches our check on the command line too, so both front ends refuse it
// with the same error rather than the command line with the shell's
// "Argument list too long".
inline constexpr std::size_t kMaximumKeywordBytes = 100000;

// A search, argument by argument, in the order the caller gives them: a time
// argument becomes instants at once (so a bad one throws at once, and a later
// one overwrites what an earlier one set), and build() checks the whole.
// Holds `calendar` by reference; it must outlive the builder.
class SearchCommandBuilder {
public:
    // `now` anchors `since`.
    SearchCommandBuilder(const LocalCalendar& calendar, double now);

    void keyword(const std::string& keyword) { keyword_ = keyword; }
    bool hasKeyword() const { return keyword_.has_value(); }
    void app(const std::string& app) { search_.appFilter = app; }
    // The start; a bare date means its midnight. Throws the "Cannot parse
    // --from date" error.
    void from(const std::string& text);
    // The end; a bare date means 23:59:59 of that day. Throws the "Cannot
    // parse --to date" error.
    void to(const std::string& text);
    // Both ends: now minus the duration, and now. Throws the duration errors.
    void since(const std::string& duration);
    // Absent means the default of 50.
    void limit(std::optional<std::int64_t> limit) { limit_ = limit; }
    void latest() { search_.latestOnly = true; }
    void images() { search_.images = true; }
    void collapse() { search_.collapse = true; }
    void allWords() { search_.allWords = true; }
    void compact(bool compact) { search_.compact = compact; }

    // The search, its limit settled: the given one or 50, within 1 to 200, and
    // 1 for the latest only. Throws invalidTimeRange without a keyword, with
    // a keyword longer than kMaximumKeywordBytes ("The keyword is <n> bytes
    // long; at most 100000 are allowed. Search for a shorter excerpt."), or
    // when the end lies before the start (equal instants pass).
    Command::Search build() const;

private:
    const LocalCalendar& calendar_;
    const double now_;
    std::optional<std::string> keyword_;
    std::optional<std::int64_t> limit_;
    Command::Search search_;
};

}  // namespace VarnholtQueryLib
