#include <stdexcept>

#include "cli/CommandRunners.h"
#include "cli/Overloaded.h"
#include "ReadSnapshot.h"
#include "SQLiteReadConnection.h"
#include "status/StatusData.h"

namespace VarnholtQueryLib {

bool needsDatabase(const Command& command) {
    return !std::holds_alternative<Command::Help>(command.value) &&
           !std::holds_alternative<Command::Version>(command.value) &&
           !std::holds_alternative<Command::Top>(command.value);
}

namespace {

// The database as one answer reads it: a query-only connection of its own,
// opened before the command's runner starts, so that a missing, locked or too
// old database is reported the same way for every command, and closed when
// the answer is built, so that a recorder restart between two answers is
// harmless. In between, one read transaction: every statement of the answer
// sees the state the first of them found. Answers take several statements
// (the descriptions and the status block of a support context, the newest
// day and its timeline), and the recorder commits between any two of them.
class AnswerSnapshot {
public:
    AnswerSnapshot() : snapshot_(connection_.handle()) {}
    VarnholtSQLiteSupport::SQLiteReadConnection& connection() { return connection_; }

private:
    VarnholtSQLiteSupport::SQLiteReadConnection connection_;
    const VarnholtSQLiteSupport::ReadSnapshot snapshot_;
};

}  // namespace

JSON answerFromDatabase(const Command& command, const CommandEnvironment& environment) {
    if (!needsDatabase(command)) throw std::logic_error("This command does not read the database.");
    AnswerSnapshot database;
    VarnholtSQLiteSupport::SQLiteReadConnection& connection = database.connection();
    const JSON answer = std::visit(
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
    // Database text is repaired as it is read; paths below the home directory
    // are not, and a home named in another encoding must not cost the answer.
    return withRepairedText(answer);
}

StatusData statusFromDatabase(const CommandEnvironment& environment) {
    AnswerSnapshot database;
    return readStatus(database.connection(), environment);
}

}  // namespace VarnholtQueryLib
