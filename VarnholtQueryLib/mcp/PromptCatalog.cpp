#include "mcp/PromptCatalog.h"

#include "cli/CLIError.h"
#include "cli/CommandBuilders.h"
#include "mcp/CalendarDate.h"
#include "mcp/CatalogLookup.h"
#include "mcp/DocumentContent.h"
#include "mcp/ResourceCatalog.h"
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

JSON userText(const std::string& text) {
    return {{"role", "user"}, {"content", {{"type", "text"}, {"text", text}}}};
}

// The printed document as a message of its own; an answer that cannot be
// printed (broken text the writer refuses) is said so in words.
JSON documentMessage(const ToolAnswer& answer) {
    const auto text = printedDocument(answer.document);
    return userText(text ? *text : "The document could not be written as JSON text.");
}

// The resource at `uri` as a message that embeds it, read as resources/read
// reads it, so the model gets the document the host could attach itself.
// REQUIRES: `uri` names one of our resources.
JSON resourceMessage(const DocumentSource& documents, const std::string& uri) {
    const ToolAnswer answer = documents.answer(std::get<CommandRecipe>(resolveResource(uri)));
    const auto text = printedDocument(answer.document);
    if (!text) return documentMessage(answer);
    return {{"role", "user"},
            {"content", {{"type", "resource"}, {"resource", textResourceContents(uri, *text)}}}};
}

PromptMessages standUp(const DocumentSource& documents, const PromptArguments&) {
    const LocalDays days = documents.localDays();
    return JSON::array({
        userText("Prepare my stand-up from my screen activity: what I did yesterday (" +
                 days.yesterday + ") and what I have done today (" + days.today +
                 ") so far, in a few bullet points each, by project or topic rather than by "
                 "application. The two summaries below are exact; times are in UTC, and "
                 "meta.timezone is my zone."),
        resourceMessage(documents, "varnholt://summary/day/" + days.yesterday),
        resourceMessage(documents, "varnholt://summary/today"),
    });
}

PromptMessages timesheet(const DocumentSource& documents, const PromptArguments& arguments) {
    const auto given = arguments.find("week_start");
    const std::string start =
        given != arguments.end() ? given->second : documents.localDays().weekStart;
    const auto first = CalendarDate::parse(start);
    if (!first) return std::string("week_start must be a local date of the form yyyy-MM-dd");
    const std::string last = first->plusDays(6).text();
    return JSON::array({
        userText("Write my timesheet for the week from " + start + " to " + last +
                 ": for each day, the hours I was active and what I worked on, and the total of "
                 "the week. Use the active seconds of the summary below as they are (they are "
                 "exact; do not add up sessions yourself), rounded to quarter hours."),
        resourceMessage(documents, "varnholt://summary/week/" + start),
    });
}

// The document on one line, as a tool result carries it, in a message of
// its own.
JSON compactDocumentMessage(const ToolAnswer& answer) {
    const auto text = serializeCompactJSON(answer.document);
    return userText(text ? *text : "The document could not be written as JSON text.");
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
         "A stand-up update: what the user did yesterday and today so far, from the two days' "
         "summaries.",
         {},
         standUp},
        {"timesheet", "Timesheet",
         "A timesheet of a week, day by day, from the week's summary.",
         {{"week_start",
           "The first of the seven days, a local yyyy-MM-dd; without it, the first day of this "
           "week (the locale's first weekday).",
           false, true}},
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
