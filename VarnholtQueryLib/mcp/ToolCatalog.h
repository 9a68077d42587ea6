#pragma once

#include <string>
#include <vector>

#include "mcp/ProtocolRevision.h"
#include "output/JSONWriter.h"

namespace VarnholtQueryLib::MCP {

// The tools this server offers, one per question varnholt-query answers
// from the database: timeline, search, entities, summary, status,
// support_context.
// Each describes itself for an agent: a title, a sentence or two on what it
// answers and when to use it rather than another, a JSON Schema for its
// arguments and one for its answer. Every session reads the whole list
// before its first question, so the list is kept lean (its size is held by
// a test): short texts, and answers described by their top-level shape.
struct ToolDefinition {
    std::string name;
    std::string title;
    std::string description;
    // An object schema; its "properties" are the only argument names the tool
    // accepts, each with a "type" of "string", "integer" or "boolean".
    JSON inputSchema;
    // The answer's top-level shape, success document or error envelope
    // (ToolOutputSchemas.h).
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
