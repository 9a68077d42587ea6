#include "mcp/PromptCatalog.h"

#include <algorithm>

#include "cli/CLIError.h"
#include "cli/CommandBuilders.h"
#include "cli/TimesheetCommandBuilder.h"
#include "mcp/CalendarDate.h"
#include "mcp/CatalogLookup.h"
#include "output/JSONWriter.h"
#include "period/TimePresets.h"
#include "platform/LocalCalendar.h"

namespace VarnholtQueryLib::MCP {

namespace {

// What a "what was I doing" prompt shows on each side of its time: the
// summary of half an hour, and the moments of twenty minutes, each with its
// description (the timeline's entity counts would triple the text and say
// little the summary does not).
constexpr double kSummaryAroundSeconds = 15 * 60;
constexpr double kMomentsAroundSeconds = 10 * 60;
// The budget of that summary in printed characters; embedded compact, it
// takes about two thirds of it, and the prompt stays within 20,000.
constexpr std::int64_t kAroundSummaryMaxChars = 12000;

// A timesheet prompt's answer: the tool's default budget, so that the
// prompt and a call of the tool show the same detail; embedded compact it
// takes about two thirds of it.
constexpr std::int64_t kTimesheetMaxChars = 24000;
// Without categories, the applications and entities to propose them from.
constexpr std::int64_t kTimesheetSummaryListLength = 20;

// A stand-up's two days, each within a budget that keeps the prompt under
// 20,000 characters when both are embedded compact.
constexpr std::int64_t kStandUpDayMaxChars = 11000;

JSON userText(const std::string& text) {
    return {{"role", "user"}, {"content", {{"type", "text"}, {"text", text}}}};
}

// The document on one line, as a tool result carries it, in a message of
// its own; an answer that cannot be written (broken text the writer
// refuses) is said so in words.
JSON compactDocumentMessage(const ToolAnswer& answer) {
    const auto text = serializeCompactJSON(answer.document);
    return userText(text ? *text : "The document could not be written as JSON text.");
}

// The categories of a timesheet prompt, one a line as the command line
// writes them (NAME=RULE|RULE); blank lines are skipped, and a line ending
// in "\r" is the same line.
std::vector<std::string> categoryLines(const std::string& text) {
    std::vector<std::string> lines;
    std::size_t start = 0;
    while (start <= text.size()) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        std::string line = text.substr(start, end - start);
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.find_first_not_of(" \t") != std::string::npos) lines.push_back(line);
        start = end + 1;
    }
    return lines;
}

PromptMessages timesheet(const DocumentSource& documents, const PromptArguments& arguments) {
    const LocalDays days = documents.localDays();
    const auto given = arguments.find("week_start");
    const std::string start = given != arguments.end() ? given->second : days.weekStart;
    const auto first = CalendarDate::parse(start);
    if (!first) return std::string("week_start must be a local date of the form yyyy-MM-dd");
    // Dates of the same form compare as text. Days still to come have no
    // time to account for, and a table of zeros for them reads as a fact.
    if (start > days.today) return "week_start must not be after today (" + days.today + ")";
    const std::string seventh = first->plusDays(6).text();
    const std::string last = std::min(seventh, days.today);
    const std::string week = "the week from " + start + " to " + seventh +
                             (last == seventh ? "" : " (up to today, " + last + ")");

    const auto categories = arguments.find("categories");
    const std::vector<std::string> lines =
        categories != arguments.end() ? categoryLines(categories->second) : std::vector<std::string>{};
    if (lines.empty()) {
        // No category can be guessed for the user; the model proposes them
        // from what the week shows and asks the timesheet tool.
        SummaryCommandBuilder summary;
        summary.from(start);
        summary.to(last);
        summary.only(std::vector<std::string>{"applications", "entities", "days"});
        summary.limit(kTimesheetSummaryListLength);
        const Command command{summary.build()};
        return JSON::array({
            userText("Write my timesheet for " + week +
                     " by category. I have not named my categories yet: propose a few from the "
                     "applications and entities of the week's summary below, each a name and rules "
                     "(text:WORDS, app:NAME or entity:[KIND=]VALUE), and call the timesheet tool with "
                     "them, from " + start + " to " + last + ". Then propose categories for what it "
                     "leaves uncategorized from its uncategorized.suggestions, and call the timesheet "
                     "tool again. Report each day with the seconds per category as the tool gives them "
                     "(they add up exactly; do not add them yourself), in hours rounded to quarter "
                     "hours, with every day listed, 0 where nothing was recorded."),
            compactDocumentMessage(documents.answer([command](const LocalCalendar&, double) { return command; })),
        });
    }
    TimesheetCommandBuilder builder;
    builder.from(start);
    builder.to(last);
    builder.maxChars(kTimesheetMaxChars);
    std::optional<Command> command;
    try {
        for (const std::string& line : lines) builder.category(line);
        command = Command{builder.build()};
    } catch (const CLIError& error) {
        return "categories: " + error.message();
    }
    return JSON::array({
        userText("Write my timesheet for " + week +
                 ": for each day, the hours per category, 0 where nothing was recorded, and the "
                 "totals of the week. Use the seconds of the timesheet below as they are (they add up "
                 "exactly; do not add them yourself), in hours rounded to quarter hours. If much time "
                 "is uncategorized, propose categories for it from uncategorized.suggestions and call "
                 "the timesheet tool again with all the categories."),
        compactDocumentMessage(documents.answer([command = *command](const LocalCalendar&, double) { return command; })),
    });
}

// The summary of `day` for a stand-up: the whole day, or today so far.
Command standUpDay(const std::string& day, bool isToday) {
    SummaryCommandBuilder summary;
    if (isToday) {
        summary.preset("today");
    } else {
        summary.from(day);
        summary.to(day);
    }
    // The sessions alone: their highlights name projects, and the budget
    // would drop them before the lists of applications and entities, which
    // name only tools.
    summary.only(std::vector<std::string>{"sessions"});
    summary.maxChars(kStandUpDayMaxChars);
    return {summary.build()};
}

PromptMessages standUp(const DocumentSource& documents, const PromptArguments& arguments) {
    const LocalDays days = documents.localDays();
    const auto given = arguments.find("date");
    const std::string date = given != arguments.end() ? given->second : days.today;
    if (!CalendarDate::parse(date)) return std::string("date must be a local date of the form yyyy-MM-dd");
    // Dates of the same form compare as text.
    if (date > days.today) return "date must not be after today (" + days.today + ")";
    const bool isToday = date == days.today;
    const std::string on = isToday ? "today (" + date + ") so far" : "on " + date;
    const std::vector<std::string> earlier = documents.activeDaysBefore(date, 1);
    JSON messages = JSON::array();
    if (earlier.empty()) {
        messages.push_back(userText(
            "Prepare my stand-up from my screen activity: what I have done " + on +
            ", in a few bullet points, by project or topic rather than by application; the "
            "sessions' highlights say what I worked on. Nothing was recorded in the two months "
            "before " + date + ". The summary below is exact; times are in UTC, and "
            "meta.timezone is my zone."));
    } else {
        messages.push_back(userText(
            "Prepare my stand-up from my screen activity: what I did on " + earlier.front() +
            ", my last day with activity before " + date + ", and what I have done " + on +
            ", in a few bullet points each, by project or topic rather than by application; the "
            "sessions' highlights say what I worked on. The two summaries below are exact; times "
            "are in UTC, and meta.timezone is my zone."));
        messages.push_back(compactDocumentMessage(documents.answer(
            [day = earlier.front()](const LocalCalendar&, double) { return standUpDay(day, false); })));
    }
    messages.push_back(compactDocumentMessage(
        documents.answer([&](const LocalCalendar&, double) { return standUpDay(date, isToday); })));
    return messages;
}

// The moments of a timeline document, one line each: its five minutes and
// the representative's description. A failed timeline is its error
// envelope.
JSON momentsMessage(const ToolAnswer& timeline, const std::string& emptyText) {
    if (timeline.isError) return compactDocumentMessage(timeline);
    std::string lines;
    const JSON moments = timeline.document.value(JSON::json_pointer("/data/moments"), JSON::array());
    for (const JSON& moment : moments) {
        lines += moment.value("bucket_start_iso", std::string()) + " to " +
                 moment.value("bucket_end_iso", std::string()) + ": " +
                 moment.value(JSON::json_pointer("/representative/vlm_description"), std::string()) + "\n";
    }
    return userText(lines.empty() ? emptyText : "The moments, in UTC:\n" + lines);
}

// The summary of the half hour around `instant` (seconds since 1970 UTC).
Command summaryAround(double instant) {
    SummaryCommandBuilder summary;
    summary.from(formatUTCInternetDateTime(instant - kSummaryAroundSeconds));
    summary.to(formatUTCInternetDateTime(instant + kSummaryAroundSeconds));
    summary.maxChars(kAroundSummaryMaxChars);
    return {summary.build()};
}

// The timeline of the twenty minutes around `instant`, with descriptions.
Command momentsAround(double instant) {
    return {timelineRangeCommand(formatUTCInternetDateTime(instant - kMomentsAroundSeconds),
                                 formatUTCInternetDateTime(instant + kMomentsAroundSeconds), false,
                                 std::nullopt)};
}

PromptMessages whatWasIDoing(const DocumentSource& documents, const PromptArguments& arguments) {
    const std::string time = arguments.at("time");
    // Read in the user's calendar at the moment of the answer. Checked here
    // rather than left to the command, so that a bad time is the client's
    // mistake (invalid params) and not a document.
    bool understood = true;
    std::optional<double> instant;
    const auto around = [&](Command (*command)(double)) -> CommandRecipe {
        return [&, command](const LocalCalendar& calendar, double) {
            try {
                instant = TimePresets::parseDateInput(calendar, time, "time").instant;
            } catch (const CLIError&) {
                understood = false;
                throw;
            }
            return command(*instant);
        };
    };
    const ToolAnswer summary = documents.answer(around(summaryAround));
    if (!understood) {
        return std::string("time must be an ISO 8601 date-time with zone, a local "
                           "yyyy-MM-ddTHH:mm:ss, or a local yyyy-MM-dd");
    }
    const ToolAnswer moments = documents.answer(around(momentsAround));
    const std::string asked = instant ? time + " (" + formatUTCInternetDateTime(*instant) + ")" : time;
    return JSON::array({
        userText("What was I doing around " + asked +
                 "? Below are the summary of my screen activity from 15 minutes before to 15 minutes "
                 "after, and what the screen showed in each five-minute moment within ten minutes of "
                 "it (times in UTC; meta.timezone is my zone). Tell me what I was working on, in which "
                 "applications, and with whom."),
        compactDocumentMessage(summary),
        momentsMessage(moments, "No moments were recorded within ten minutes of " + asked + "."),
    });
}

}  // namespace

const std::vector<PromptDefinition>& promptCatalog() {
    static const std::vector<PromptDefinition> catalog = {
        {"stand-up", "Stand-up",
         "A stand-up update: what the user did on the last earlier day with activity and on the "
         "given day (today so far), from the two days' summaries.",
         {{"date",
           "The day of the stand-up, a local yyyy-MM-dd, not after today; without it, today.", false,
           true}},
         standUp},
        {"timesheet", "Timesheet",
         "A timesheet of a week by category, day by day up to today, from the timesheet tool; "
         "without categories, the model proposes them and calls the tool.",
         {{"week_start",
           "The first of the seven days, a local yyyy-MM-dd, not after today; without it, the first "
           "day of this week (the locale's first weekday).",
           false, true},
          {"categories",
           "One category a line, as on the command line: Name=rule|rule, each rule text:WORDS, "
           "app:NAME or entity:[KIND=]VALUE.",
           false}},
         timesheet},
        {"what-was-i-doing", "What was I doing?",
         "What the user was doing around a given time, from the summary of the half hour around it "
         "and the screen descriptions of the moments within ten minutes of it.",
         {{"time",
           "The moment to look around: an ISO 8601 date-time with zone, or a local "
           "yyyy-MM-ddTHH:mm:ss",
           true}},
         whatWasIDoing},
    };
    return catalog;
}

const PromptDefinition* findPrompt(const std::string& name) {
    return findInCatalog(promptCatalog(), &PromptDefinition::name, name);
}

JSON describePrompt(const PromptDefinition& prompt, ProtocolRevision revision) {
    JSON described = {{"name", prompt.name}, {"description", prompt.description}};
    if (hasStructuredToolOutput(revision)) described["title"] = prompt.title;
    JSON arguments = JSON::array();
    for (const auto& argument : prompt.arguments) {
        arguments.push_back({{"name", argument.name},
                             {"description", argument.description},
                             {"required", argument.required}});
    }
    described["arguments"] = std::move(arguments);
    return described;
}

}  // namespace VarnholtQueryLib::MCP
