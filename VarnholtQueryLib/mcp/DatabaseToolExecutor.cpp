#include "mcp/DatabaseToolExecutor.h"

#include <exception>

#include "cli/CLIError.h"
#include "cli/CommandRunners.h"
#include "mcp/ToolCatalog.h"
#include "mcp/ToolCommands.h"
#include "platform/LocalCalendar.h"
#include "platform/SystemPlatform.h"
#include "platform/UserHomeDirectory.h"

namespace VarnholtQueryLib::MCP {

ToolAnswer DatabaseToolExecutor::call(const std::string& name, const JSON& arguments) const {
    const SystemClock clock;
    try {
        const SystemFileSystem fileSystem;
        const SystemProcess processes;
        const SystemSleep sleeper;
        // Standard output is the protocol's; no command may take it for a
        // terminal, so status answers as JSON.
        const Platform platform{clock,      fileSystem,
                                processes,  sleeper,
                                userHomeDirectory(),
                                false};
        const LocalCalendar calendar = LocalCalendar::current();
        const CommandEnvironment environment{platform, calendar};

        const ToolArguments checked(arguments, findTool(name)->inputSchema);
        const Command command = commandForTool(name, checked, calendar, clock.now());
        return {answerFromDatabase(command, environment), false};
    } catch (...) {
        const CLIError error = describeFailure(std::current_exception());
        return {makeErrorEnvelope(error.code(), error.message(), clock.now()), true};
    }
}

}  // namespace VarnholtQueryLib::MCP
