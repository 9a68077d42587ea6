#include "mcp/DatabaseToolExecutor.h"

#include "mcp/DocumentSource.h"
#include "mcp/ToolCatalog.h"
#include "mcp/ToolCommands.h"

namespace VarnholtQueryLib::MCP {

ToolAnswer DatabaseToolExecutor::call(const std::string& name, const JSON& arguments) const {
    return documents_.answer([&](const LocalCalendar& calendar, double now) {
        const ToolArguments checked(arguments, findTool(name)->inputSchema);
        return commandForTool(name, checked, calendar, now);
    });
}

}  // namespace VarnholtQueryLib::MCP
