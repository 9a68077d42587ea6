#include "mcp/PromptCatalog.h"

#include "cli/CLIError.h"
#include "cli/CommandBuilders.h"
#include "cli/TimePresets.h"
#include "mcp/DocumentContent.h"
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
    for (const auto& prompt : promptCatalog()) {
        if (prompt.name == name) return &prompt;
    }
    return nullptr;
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
