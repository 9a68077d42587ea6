#pragma once

#include <string>
#include <vector>

#include "mcp/ProtocolRevision.h"
#include "output/JSONWriter.h"

namespace VarnholtQueryLib::MCP {

// The tools this server offers, one per question varnholt-query answers
// from the database: timeline, search, entities, summary, status,
// support_context.
// Each describes itself for an agent: a title, one sentence on what it
// answers, a JSON Schema for its arguments and one for its answer.
struct ToolDefinition {
    std::string name;
    std::string title;
    std::string description;
    // An object schema; its "properties" are the only argument names the tool
    // accepts, each with a "type" of "string", "integer" or "boolean".
    JSON inputSchema;
    // The success document, exactly as varnholt-query prints it; failures are
    // error envelopes and are not described by it.
    JSON outputSchema;
};

// The six tools, in the order tools/list shows them.
const std::vector<ToolDefinition>& toolCatalog();

// The tool named `name`, or null.
const ToolDefinition* findTool(const std::string& name);

// The "tools" array of a tools/list result as a session on `revision` may
// send it: titles and output schemas only from 2025-06-18 on, annotations
// only from 2025-03-26 on.
JSON listTools(ProtocolRevision revision);

}  // namespace VarnholtQueryLib::MCP
