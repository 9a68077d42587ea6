#pragma once

#include "mcp/ToolExecutor.h"

namespace VarnholtQueryLib::MCP {

// The tools answered from the recorder's database through the command layer
// that varnholt-query uses: the call becomes the equivalent Command
// (ToolCommands.h), the Command its document (answerFromDatabase), and any
// failure the error envelope the command line would print for it.
//
// Each call starts afresh, like one run of varnholt-query: it reads the
// clock, the user's zone and locale and home directory, and opens and closes
// its own query-only connection, so the server holds no lock, snapshot or
// file between calls, and a database that appears or is replaced while the
// server runs is simply read by the next call.
class DatabaseToolExecutor final : public ToolExecutor {
public:
    DatabaseToolExecutor() = default;
    ToolAnswer call(const std::string& name, const JSON& arguments) const override;
};

}  // namespace VarnholtQueryLib::MCP
