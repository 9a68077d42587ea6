#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "cli/CLIError.h"
#include "mcp/DocumentSource.h"
#include "platform/LocalCalendar.h"

namespace VarnholtQueryLib::MCP {

// Answers every recipe in Berlin at a fixed instant without a database: the
// document is {"command": <what the recipe built>}, so a test sees which
// command a tool call, resource or prompt stands for, unless `fixedAnswer`
// is set or `answers` holds an answer for that command (by its describe()
// text); a recipe that throws CLIError is answered with {"error": <its
// message>} as a failure. Remembers what it was asked.
class FakeDocumentSource final : public DocumentSource {
public:
    // Wednesday 1 April 2026, 12:00 in Berlin.
    static constexpr double kNow = 1775037600;

    ToolAnswer answer(const CommandRecipe& recipe) const override {
        const LocalCalendar calendar("Europe/Berlin", "de_DE");
        try {
            const Command command = recipe(calendar, kNow);
            commands.push_back(command);
            if (fixedAnswer) return *fixedAnswer;
            const auto given = answers.find(describe(command));
            if (given != answers.end()) return given->second;
            return {JSON{{"command", describe(command)}}, false};
        } catch (const CLIError& error) {
            return {JSON{{"error", error.message()}}, true};
        }
    }
    std::vector<std::string> activeDays(const std::string& prefix, std::size_t count) const override {
        askedDays.push_back(count);
        std::vector<std::string> days;
        for (const std::string& day : active) {
            if (day.starts_with(prefix) && days.size() < count) days.push_back(day);
        }
        return days;
    }
    std::vector<std::string> activeDaysBefore(const std::string& day, std::size_t count) const override {
        std::vector<std::string> days;
        for (const std::string& candidate : active) {
            if (candidate < day && days.size() < count) days.push_back(candidate);
        }
        return days;
    }
        LocalDays localDays() const override { return {"2026-04-01", "2026-03-31", "2026-03-30"}; }

    // A readable form of the commands the resources and prompts build.
    static std::string describe(const Command& command) {
        if (std::holds_alternative<Command::Status>(command.value)) return "status";
        if (std::holds_alternative<Command::SupportContext>(command.value)) return "support_context";
        if (std::holds_alternative<Command::Entities>(command.value)) return "entities";
        if (const auto* search = std::get_if<Command::Search>(&command.value)) return "search " + search->keyword;
        if (const auto* recent = std::get_if<Command::Recent>(&command.value)) {
            if (recent->preset && *recent->preset != "range") return *recent->preset;
            return "range " + recent->rangeFrom.value_or("-") + " " + recent->rangeTo.value_or("-");
        }
        if (const auto* summary = std::get_if<Command::Summary>(&command.value)) {
            std::string text = "summary";
            if (summary->preset && *summary->preset != "range") text += " " + *summary->preset;
            if (summary->rangeFrom) text += " " + *summary->rangeFrom + " " + summary->rangeTo.value_or("-");
            if (summary->maxChars) text += " max " + std::to_string(*summary->maxChars);
            if (summary->only) {
                text += " only";
                for (const std::string& section : *summary->only) text += " " + section;
            }
            return text;
        }
        if (const auto* timesheet = std::get_if<Command::Timesheet>(&command.value)) {
            std::string text = "timesheet " + timesheet->rangeFrom.value_or("-") + " " +
                               timesheet->rangeTo.value_or("-");
            if (timesheet->maxChars) text += " max " + std::to_string(*timesheet->maxChars);
            for (const TimesheetCategory& category : timesheet->categories) {
                text += " [" + category.name;
                for (const std::string& rule : category.rules) text += " " + rule;
                text += "]";
            }
            return text;
        }
        return "other";
    }

    // The commands the recipes built, described.
    std::vector<std::string> described() const {
        std::vector<std::string> descriptions;
        for (const Command& command : commands) descriptions.push_back(describe(command));
        return descriptions;
    }

    std::vector<std::string> active = {"2026-04-01", "2026-03-31", "2026-03-27"};
    // When set, the answer to every recipe that builds its command.
    std::optional<ToolAnswer> fixedAnswer;
    // Answers to particular commands, by their describe() text.
    std::map<std::string, ToolAnswer> answers;
    mutable std::vector<Command> commands;
    mutable std::vector<std::size_t> askedDays;
};

}  // namespace VarnholtQueryLib::MCP
