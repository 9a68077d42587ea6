#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "mcp/DocumentSource.h"
#include "mcp/EraSelection.h"
#include "mcp/HandshakeSession.h"

namespace VarnholtQueryLib::MCP {

// One line of conversation with MCP clients, from its first message to the
// end of its input: the server side of the protocol, one line in, at most
// one line out.
//
// Each request is served in its era (EraSelection.h): with an envelope,
// statelessly (StatelessRequests.h); without one, by the line's handshake
// session (HandshakeSession.h). On top of that, for the line as a whole:
//  - a line that is not JSON (or not UTF-8): parse error, id null;
//  - a message nested deeper than 64 levels: invalid request, id null;
//  - a message that is not a request: invalid request, with its id when it
//    has one we can echo; notifications and responses are never answered
//    (a call is answered before the next line is read, so there is never
//    anything to cancel);
//  - initialize without an envelope after the line was served a stateless
//    request: unsupportedProtocolVersion, listing the stateless revisions;
//    with an envelope, initialize is simply a method the stateless era
//    lacks;
//  - a batch outside a 2025-03-26 session, an empty one, one of more than
//    kMaxBatchMessages messages: invalid request, id null; a stateless
//    request inside a batch: invalid request; requests of a batch after its
//    replies passed kMaxBatchReplyBytes: internal error each, unserved.
// Ids are echoed as the client wrote them (see RequestId).
//
// Borrows `documents`, which must outlive the session.
// Single-threaded.
class MCPSession {
public:
    // The longest line the server reads as a message, line ending excluded;
    // our requests are a few hundred bytes, and a bound keeps a runaway
    // client from exhausting memory.
    static constexpr std::size_t kMaxMessageBytes = 4 * 1024 * 1024;
    // The most messages one batch may hold, and how many bytes of replies a
    // batch may gather before its remaining requests are refused: replies are
    // held until the whole batch is answered, and a few hundred tool calls
    // would otherwise hold hundreds of megabytes.
    static constexpr std::size_t kMaxBatchMessages = 64;
    static constexpr std::size_t kMaxBatchReplyBytes = 16 * 1024 * 1024;

    explicit MCPSession(const DocumentSource& documents);

    // The reply to one line (without its line ending) in wire form, or absent
    // when the line needs none: a notification, a response, a blank line, or
    // a batch of notifications only.
    std::optional<std::string> replyTo(std::string_view line);
    // The reply to a line longer than kMaxMessageBytes, which is not read.
    std::string replyToOversizedLine() const;

    // The revision agreed in initialize; absent before it.
    std::optional<ProtocolRevision> revision() const { return handshake_.revision(); }

private:
    std::optional<Reply> replyToMessage(const JSON& message, const std::optional<std::string>& idText,
                                        bool inBatch);
    std::optional<std::string> replyToBatch(const JSON& batch,
                                            const std::vector<std::optional<std::string>>& idTexts);

    const ServerServices services_;
    HandshakeSession handshake_;
    LineHistory history_;
};

}  // namespace VarnholtQueryLib::MCP
