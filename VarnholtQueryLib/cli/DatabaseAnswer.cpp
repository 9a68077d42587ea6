#include <stdexcept>
#include <utility>

#include "cli/AnswerSnapshot.h"
#include "cli/CommandRunners.h"
#include "cli/Overloaded.h"
#include "status/StatusData.h"

namespace VarnholtQueryLib {

bool needsDatabase(const Command& command) {
    return !std::holds_alternative<Command::Help>(command.value) &&
           !std::holds_alternative<Command::Version>(command.value) &&
           !std::holds_alternative<Command::Top>(command.value);
}

JSON answerFromDatabase(const Command& command, const CommandEnvironment& environment) {
    if (!needsDatabase(command)) throw std::logic_error("This command does not read the database.");
    AnswerSnapshot database(environment.platform.homeDirectory);
    VarnholtSQLiteSupport::SQLiteReadConnection& connection = database.connection();
    JSON answer = std::visit(
        Overloaded{
            [&](const Command::Search& search) {
                return answerSearchCommand(search, connection, environment);
            },
            [&](const Command::Recent& recent) {
                return answerTimelineCommand(recent, connection, environment);
            },
            [&](const Command::Entities& entities) {
                return answerEntitiesCommand(entities, connection, environment);
            },
            [&](const Command::Summary& summary) {
                return answerSummaryCommand(summary, connection, environment);
            },
            [&](const Command::Timesheet& timesheet) {
                return answerTimesheetCommand(timesheet, connection, environment);
            },
            [&](const Command::Status&) { return answerStatusCommand(connection, environment); },
            [&](const Command::SupportContext&) {
                return answerSupportContextCommand(connection, environment);
            },
            [](const auto&) -> JSON { throw std::logic_error("unreachable"); },
        },
        command.value);
    // Database text is repaired as it is read; paths below the home directory
    // are not, and a home named in another encoding must not cost the answer.
    return withRepairedText(std::move(answer));
}

StatusData statusFromDatabase(const CommandEnvironment& environment) {
    AnswerSnapshot database(environment.platform.homeDirectory);
    return readStatus(database.connection(), environment);
}

}  // namespace VarnholtQueryLib
