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

// Half the span a "what was I doing" prompt shows on each side of its time.
constexpr double kAroundSeconds = 30 * 60;

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

PromptMessages whatWasIDoing(const DocumentSource& documents, const PromptArguments& arguments) {
    const std::string time = arguments.at("time");
    // Checked here rather than left to the command, so that a bad time is
    // the client's mistake (invalid params) and not a document.
    bool understood = true;
    const ToolAnswer answer = documents.answer([&](const LocalCalendar& calendar, double) {
        double instant = 0;
        try {
            instant = TimePresets::parseDateInput(calendar, time, "time").instant;
        } catch (const CLIError&) {
            understood = false;
            throw;
        }
        return Command{timelineRangeCommand(formatUTCInternetDateTime(instant - kAroundSeconds),
                                            formatUTCInternetDateTime(instant + kAroundSeconds),
                                            false, std::nullopt)};
    });
    if (!understood) {
        return std::string("time must be an ISO 8601 date-time with zone, a local "
                           "yyyy-MM-ddTHH:mm:ss, or a local yyyy-MM-dd");
    }
    return JSON::array({
        userText("What was I doing around " + time +
                 "? Below is my screen activity from half an hour before to half an hour after, "
                 "as five-minute moments (times in UTC; meta.timezone is my zone). Tell me what I "
                 "was working on, in which applications, and with whom."),
        documentMessage(answer),
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
         "What the user was doing around a given time, from the hour of screen activity around it.",
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
