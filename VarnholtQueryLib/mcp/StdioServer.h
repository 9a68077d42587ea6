#pragma once

#include <iosfwd>

namespace VarnholtQueryLib::MCP {

class MCPSession;

// The stdio transport: messages are lines of UTF-8 on `in` and `out`, each
// ended by "\n" (a "\r" before it is dropped, and a last line without one is
// read too). Only protocol messages go to `out`; `diagnostics` (standard
// error) gets one line when the server has to stop.
//
// Reads `in` to its end, handing each line to `session` and writing its
// reply, if any, at once. A line longer than MCPSession::kMaxMessageBytes is
// skipped without being held in memory and answered with an error.
//
// Returns the exit status: 0 when the input ends (the client closed it, or it
// can no longer be read), 1 when a reply cannot be written (the client closed
// our output).
int serveStdio(std::istream& in, std::ostream& out, std::ostream& diagnostics,
               MCPSession& session);

}  // namespace VarnholtQueryLib::MCP
