#pragma once

#include "mcp/ProtocolRevision.h"
#include "output/JSONWriter.h"

namespace VarnholtQueryLib::MCP {

// Who the server is and what it offers, the same on every line and in both
// eras: what initialize answers, and what server/discover and the `_meta` of
// every stateless result carry.

// {"name": "varnholt-mcp", "version": ..., "title": ...}; the title only
// where `revision` knows titles.
JSON serverInfo(ProtocolRevision revision);

// Tools, resources, prompts and (where `revision` announces them)
// completions; none of the lists ever changes while the server runs, and
// resources cannot be subscribed to.
JSON serverCapabilities(ProtocolRevision revision);

// The server's instructions to the model, when to use which tool.
const char* serverInstructions();

// Whether `info` describes a program as the protocol does for a client or a
// server: an object with a string name and a string version.
bool isImplementation(const JSON& info);

}  // namespace VarnholtQueryLib::MCP
