#include "mcp/StatelessRequests.h"

#include "mcp/MethodTable.h"
#include "mcp/RequestEnvelope.h"
#include "mcp/ServerIdentity.h"
#include "mcp/TimeViewApp.h"

namespace VarnholtQueryLib::MCP {

StatelessReply serveStatelessRequest(const ServerServices& services,
                                     const IncomingMessage& request) {
    const auto envelope = readEnvelope(request.params);
    if (const auto* problem = std::get_if<EnvelopeProblem>(&envelope)) {
        return {errorReply(request.id, *problem), false};
    }
    const RequestEnvelope& client = std::get<RequestEnvelope>(envelope);
    const ProtocolRevision revision = client.revision;
    // Each request says anew what its client can do; nothing of it is kept.
    const RequestTerms terms(revision, announcesApps(client.clientCapabilities));
    const MethodEntry* method = findMethod(request.method);
    if (method == nullptr || !method->statelessEra) {
        return {errorReply(request.id, ErrorCode::methodNotFound, "Method not found: " + request.method),
                true};
    }

    MethodOutcome outcome = runMethod(*method, services, *request.params, terms);
    if (!outcome.result) return {replyFor(request.id, std::move(outcome)), true};

    JSON& result = *outcome.result;
    result["resultType"] = "complete";
    result["_meta"] = {{kServerInfoKey, serverInfo(revision)}};
    if (method->cache) {
        result["ttlMs"] = method->cache->ttlMs;
        result["cacheScope"] = method->cache->cacheScope;
    }
    return {replyFor(request.id, std::move(outcome)), true};
}

}  // namespace VarnholtQueryLib::MCP
