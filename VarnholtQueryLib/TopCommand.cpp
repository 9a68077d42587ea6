#include "CLIError.h"
#include "CommandRunners.h"

namespace VarnholtQueryLib {

// Not built yet: answer honestly rather than with invented data.
void runTopCommand(const CommandEnvironment&) {
    throw CLIError::unknownError("The 'top' command is not available yet.");
}

}  // namespace VarnholtQueryLib
