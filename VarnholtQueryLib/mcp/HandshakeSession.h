#pragma once

#include <optional>

#include "mcp/DocumentSource.h"
#include "mcp/JSONRPC.h"
#include "mcp/ProtocolRevision.h"

namespace VarnholtQueryLib::MCP {

// The revisions agreed once per line, 2024-11-05 to 2025-11-25: the client
// sends initialize, and every later request without an envelope is served
// on the revision agreed there.
//
// Answers initialize (agreeing on a revision and taking note of the MCP
// Apps extension when the client announces it), ping, and the methods the
// method table gives the handshake era. Errors, and the session goes on:
//  - a method we do not answer in this era: methodNotFound;
//  - params that are not an object: invalidParams;
//  - a request other than initialize or ping before initialize, a second
//    initialize, or initialize in a batch: invalidRequest;
//  - whatever the method's handler refuses.
//
// Borrows `services`, which must outlive the session. Single-threaded.
class HandshakeSession {
public:
    explicit HandshakeSession(const ServerServices& services) : services_(services) {}

    // The reply to `request` (of Era::handshake); `inBatch` when it came in a
    // batch.
    Reply serve(const IncomingMessage& request, bool inBatch);

    // The revision agreed in initialize; absent before it.
    std::optional<ProtocolRevision> revision() const { return revision_; }

private:
    Reply initialize(const RequestId& id, const JSON& params, bool inBatch);

    const ServerServices& services_;
    std::optional<ProtocolRevision> revision_;
    // Whether initialize announced the MCP Apps extension; it holds for the
    // whole line, as the revision does.
    bool appsExtension_ = false;
};

}  // namespace VarnholtQueryLib::MCP
