#include "CLIError.h"
#include "CommandRunners.h"

namespace VarnholtQueryLib {

// Not built yet: answer honestly rather than with invented data.
void runSearchCommand(const Command::Search&, VarnholtSQLiteSupport::SQLiteReadConnection&, const CommandEnvironment&) {
    throw CLIError::unknownError("The 'search' command is not available yet.");
}

}  // namespace VarnholtQueryLib
