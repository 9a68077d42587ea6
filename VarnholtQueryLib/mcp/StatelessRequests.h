#pragma once

#include "mcp/DocumentSource.h"
#include "mcp/JSONRPC.h"

namespace VarnholtQueryLib::MCP {

// The reply to one stateless request, and whether its envelope was one we
// serve (which commits the line to the stateless era; see LineHistory).
struct StatelessReply {
    Reply reply;
    bool served = false;
};

// Serves `request` (of Era::stateless) from its envelope alone:
//  - the envelope is read and checked first (readEnvelope), and its problem
//    is the reply when it has one;
//  - a method the stateless era does not have (initialize, ping,
//    logging/setLevel, resources/subscribe, ... or one we never had) is
//    methodNotFound "Method not found: <method>";
//  - otherwise the method's handler answers on the envelope's revision, and
//    its result gains "resultType": "complete", the server's identity in
//    "_meta" and, for the lists, discover and reads, "ttlMs" and
//    "cacheScope".
// The server needs no client capability for anything, so no request is ever
// refused for one the envelope lacks; an envelope announcing the MCP Apps
// extension adds the time view to what that one request answers.
StatelessReply serveStatelessRequest(const ServerServices& services,
                                     const IncomingMessage& request);

}  // namespace VarnholtQueryLib::MCP
