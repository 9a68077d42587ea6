#pragma once

#include "cli/Command.h"
#include "output/JSONWriter.h"
#include "platform/PlatformPorts.h"

namespace VarnholtSQLiteSupport {
class SQLiteReadConnection;
}

namespace VarnholtQueryLib {

class LocalCalendar;
struct StatusData;

// One answer per database command, each in its own source file. An answer
// builds its adapters over `connection`, runs its use case and returns the
// document the command prints; it writes nothing, so every front end prints
// the same document the same way. It throws CLIError or DatabaseError on
// failure; the front end turns that into the error envelope. The caller
// holds the read transaction (AnswerSnapshot), so that every statement of
// an answer reads the same state.

// What every command may use besides the database.
struct CommandEnvironment {
    const Platform& platform;
    const LocalCalendar& calendar;
};

JSON answerTimelineCommand(const Command::Recent& command,
                           VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                           const CommandEnvironment& environment);
JSON answerSearchCommand(const Command::Search& command,
                         VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                         const CommandEnvironment& environment);
JSON answerEntitiesCommand(const Command::Entities& command,
                           VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                           const CommandEnvironment& environment);
JSON answerSummaryCommand(const Command::Summary& command,
                          VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                          const CommandEnvironment& environment);
// The timesheet's JSON answer, whatever its format: the command line prints
// --format csv from it (timesheetCSV), so both forms always agree.
JSON answerTimesheetCommand(const Command::Timesheet& command,
                            VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                            const CommandEnvironment& environment);
// The status use case's findings, log tails included; the JSON answer and the
// human report both present them.
StatusData readStatus(VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                      const CommandEnvironment& environment);
JSON answerStatusCommand(VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                         const CommandEnvironment& environment);
JSON answerSupportContextCommand(VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                                 const CommandEnvironment& environment);

// True for every command that answers from the database: all but help,
// version and top.
bool needsDatabase(const Command& command);

// Opens a query-only connection of its own, returns the command's JSON
// answer and closes the connection again, so nothing is held between two
// answers. Every statement of the answer runs in one read transaction, so
// the whole answer describes one committed state of the database, whatever
// the recorder commits meanwhile. Every text of the answer is valid UTF-8
// (withRepairedText).
// REQUIRES: needsDatabase(command). Status answers as JSON here; its human
// report is the command line's own affair. Throws CLIError or DatabaseError,
// an opening failure before any use case runs.
JSON answerFromDatabase(const Command& command, const CommandEnvironment& environment);

// readStatus over a connection of its own, in one read transaction as
// answerFromDatabase, for the human status report. Throws as
// answerFromDatabase.
StatusData statusFromDatabase(const CommandEnvironment& environment);

// The live monitor; needs no database. Returns only when there is no usable
// status file at start.
void runTopCommand(const CommandEnvironment& environment);

}  // namespace VarnholtQueryLib
