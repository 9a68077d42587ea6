// tools/list and tools/call, the same in both eras but for the shape each
// revision gives a tool and its result, and the link to the time view for a
// client that shows MCP Apps.

#include "mcp/DocumentContent.h"
#include "mcp/MethodTable.h"
#include "mcp/TimeViewApp.h"
#include "mcp/ToolCatalog.h"
#include "mcp/ToolCommands.h"

namespace VarnholtQueryLib::MCP {

MethodOutcome listToolsMethod(const ServerServices&, const JSON& params,
                              const RequestTerms& terms) {
    if (auto refused = refuseForeignCursor(params)) return *refused;
    JSON tools = listTools(terms.revision);
    if (terms.appsExtension) {
        for (JSON& tool : tools) {
            if (drawnByTimeView(tool["name"].get<std::string>())) linkToTimeView(tool);
        }
    }
    return MethodOutcome::success({{"tools", std::move(tools)}});
}

MethodOutcome callToolMethod(const ServerServices& services, const JSON& params,
                             const RequestTerms& terms) {
    if (!params.contains("name") || !params["name"].is_string()) {
        return MethodOutcome::invalidParams("name must be a string");
    }
    const std::string name = params["name"].get<std::string>();
    const ToolDefinition* tool = findTool(name);
    if (!tool) return MethodOutcome::invalidParams("Unknown tool: " + name);
    const JSON arguments = params.contains("arguments") && !params["arguments"].is_null()
                               ? params["arguments"]
                               : JSON::object();
    if (!arguments.is_object()) return MethodOutcome::invalidParams("arguments must be an object");

    // The call is a command like any other, checked and built when it is
    // answered; a bad argument is the error envelope the command line would
    // print for it. A tool that fails is not a protocol error: its error
    // envelope is the result, with isError true.
    const ToolAnswer answer =
        services.documents.answer([&](const LocalCalendar& calendar, double now) {
            return commandForTool(name, ToolArguments(arguments, tool->inputSchema), calendar, now);
        });
    auto result = toolCallResult(answer, terms.revision);
    if (!result) {
        return MethodOutcome::failure(ErrorCode::internalError,
                                      "Internal error: Failed to serialize JSON");
    }
    return MethodOutcome::success(std::move(*result));
}

}  // namespace VarnholtQueryLib::MCP
