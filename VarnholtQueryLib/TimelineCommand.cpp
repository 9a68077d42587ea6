#include "CLIError.h"
#include "CommandRunners.h"

namespace VarnholtQueryLib {

// Not built yet: answer honestly rather than with invented data.
void runTimelineCommand(const Command::Recent&, VarnholtSQLiteSupport::SQLiteReadConnection&, const CommandEnvironment&) {
    throw CLIError::unknownError("The 'timeline' command is not available yet.");
}

}  // namespace VarnholtQueryLib
