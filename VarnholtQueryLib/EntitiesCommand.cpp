#include "CLIError.h"
#include "CommandRunners.h"

namespace VarnholtQueryLib {

// Not built yet: answer honestly rather than with invented data.
void runEntitiesCommand(const Command::Entities&, VarnholtSQLiteSupport::SQLiteReadConnection&, const CommandEnvironment&) {
    throw CLIError::unknownError("The 'entities' command is not available yet.");
}

}  // namespace VarnholtQueryLib
