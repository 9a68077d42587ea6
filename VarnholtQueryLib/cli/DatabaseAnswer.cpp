#include <stdexcept>

#include "cli/CommandRunners.h"
#include "cli/Overloaded.h"
#include "SQLiteReadConnection.h"

namespace VarnholtQueryLib {

bool needsDatabase(const Command& command) {
    return !std::holds_alternative<Command::Help>(command.value) &&
           !std::holds_alternative<Command::Version>(command.value) &&
           !std::holds_alternative<Command::Top>(command.value);
}

JSON answerFromDatabase(const Command& command, const CommandEnvironment& environment) {
    if (!needsDatabase(command)) throw std::logic_error("This command does not read the database.");
    // Opened before the command's runner starts, so that a missing, locked or
    // too old database is reported the same way for every command; closed when
    // the answer is built, so a recorder restart between two answers is
    // harmless.
    VarnholtSQLiteSupport::SQLiteReadConnection connection;
    return std::visit(
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
            [&](const Command::Status&) { return answerStatusCommand(connection, environment); },
            [&](const Command::SupportContext&) {
                return answerSupportContextCommand(connection, environment);
            },
            [](const auto&) -> JSON { throw std::logic_error("unreachable"); },
        },
        command.value);
}

}  // namespace VarnholtQueryLib
