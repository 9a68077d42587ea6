#pragma once

#include "cli/Command.h"
#include "platform/PlatformPorts.h"

namespace VarnholtSQLiteSupport {
class SQLiteReadConnection;
}

namespace VarnholtQueryLib {

class LocalCalendar;

// One runner per command, each in its own source file. The dispatcher has
// already opened the run's one connection for the commands that need the
// database. A runner builds its adapters over that connection, runs its use
// case, and writes the answer to standard output. It throws CLIError or
// DatabaseError on failure; the dispatcher prints the envelope.

// What every runner may use besides the database.
struct CommandEnvironment {
    const Platform& platform;
    const LocalCalendar& calendar;
};

void runTimelineCommand(const Command::Recent& command,
                        VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                        const CommandEnvironment& environment);
void runSearchCommand(const Command::Search& command,
                      VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                      const CommandEnvironment& environment);
void runEntitiesCommand(const Command::Entities& command,
                        VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                        const CommandEnvironment& environment);
void runStatusCommand(const Command::Status& command,
                      VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                      const CommandEnvironment& environment);
void runSupportContextCommand(VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                              const CommandEnvironment& environment);
// The live monitor; needs no database. Returns only when there is no usable
// status file at start.
void runTopCommand(const CommandEnvironment& environment);

}  // namespace VarnholtQueryLib
