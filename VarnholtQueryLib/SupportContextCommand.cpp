#include "CLIError.h"
#include "CommandRunners.h"

namespace VarnholtQueryLib {

// Not built yet: answer honestly rather than with invented data.
void runSupportContextCommand(VarnholtSQLiteSupport::SQLiteReadConnection&, const CommandEnvironment&) {
    throw CLIError::unknownError("The 'support-context' command is not available yet.");
}

}  // namespace VarnholtQueryLib
