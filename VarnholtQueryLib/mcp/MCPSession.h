#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "mcp/JSONRPC.h"
#include "mcp/ProtocolRevision.h"
#include "mcp/ToolExecutor.h"

namespace VarnholtQueryLib::MCP {

// One conversation with an MCP client, from `initialize` to the end of its
// input: the server side of the protocol, one line in, at most one line out.
//
// It answers `initialize` (agreeing on a revision), `ping`, `tools/list` and
// `tools/call`, and ignores every notification (`notifications/initialized`,
// `notifications/cancelled`: a call is answered before the next line is read,
// so there is never anything to cancel). Everything else gets the JSON-RPC
// error for it and the session goes on:
//  - a line that is not JSON (or not UTF-8): parse error, id null;
//  - a message that is not a request: invalid request; so is a request other
//    than initialize or ping before initialize, a second initialize, and a
//    batch outside a 2025-03-26 session or with initialize in it;
//  - a method we do not offer (resources, prompts, logging, ...): method not
//    found;
//  - params of the wrong shape, an unknown tool or cursor: invalid params.
// A tool that fails is not a protocol error: its error envelope is the
// result, with isError true.
//
// Borrows `tools`, which must outlive the session. Single-threaded.
class MCPSession {
public:
    // The longest line the server reads as a message; our requests are a few
    // hundred bytes, and a bound keeps a runaway client from exhausting memory.
    static constexpr std::size_t kMaxMessageBytes = 4 * 1024 * 1024;

    explicit MCPSession(const ToolExecutor& tools);

    // The reply to one line (without its newline) in wire form, or absent
    // when the line needs none: a notification, a response, a blank line, or
    // a batch of notifications only.
    std::optional<std::string> replyTo(std::string_view line);
    // The reply to a line longer than kMaxMessageBytes, which is not read.
    std::string replyToOversizedLine() const;

    // The revision agreed in `initialize`; absent before it.
    std::optional<ProtocolRevision> revision() const { return revision_; }

private:
    std::optional<JSON> replyToMessage(const JSON& message, bool inBatch);
    std::optional<JSON> replyToBatch(const JSON& batch);
    JSON initialize(const JSON& id, const JSON& params, bool inBatch);
    JSON listTools(const JSON& id, const JSON& params) const;
    JSON callTool(const JSON& id, const JSON& params) const;

    const ToolExecutor& tools_;
    std::optional<ProtocolRevision> revision_;
};

}  // namespace VarnholtQueryLib::MCP
