#include "CLIError.h"
#include "CommandRunners.h"

namespace VarnholtQueryLib {

// Not built yet: answer honestly rather than with invented data.
void runStatusCommand(const Command::Status&, VarnholtSQLiteSupport::SQLiteReadConnection&, const CommandEnvironment&) {
    throw CLIError::unknownError("The 'status' command is not available yet.");
}

}  // namespace VarnholtQueryLib
