#include "mcp/HandshakeSession.h"

#include "mcp/MethodTable.h"
#include "mcp/ServerIdentity.h"
#include "mcp/TimeViewApp.h"

namespace VarnholtQueryLib::MCP {

Reply HandshakeSession::serve(const IncomingMessage& request, bool inBatch) {
    const RequestId& id = request.id;
    const std::string& method = request.method;
    const MethodEntry* entry = findMethod(method);
    const bool known = method == "initialize" || method == "ping" || (entry && entry->handshakeEra);
    if (!known) return errorReply(id, ErrorCode::methodNotFound, "Method not found: " + method);
    // An absent params member means "no params", which every method here
    // accepts as an empty object.
    const JSON params = request.params ? *request.params : JSON::object();
    if (!params.is_object()) {
        return errorReply(id, RPCError::invalidParams("params must be an object"));
    }

    if (method == "ping") return resultReply(id, JSON::object());
    if (method == "initialize") return initialize(id, params, inBatch);
    if (!revision_) return invalidRequestReply(id, "the session is not initialized; send initialize first");
    return replyFor(id, runMethod(*entry, services_, params, RequestTerms(*revision_, appsExtension_)));
}

Reply HandshakeSession::initialize(const RequestId& id, const JSON& params, bool inBatch) {
    if (inBatch) return invalidRequestReply(id, "initialize must not be part of a batch");
    if (revision_) return invalidRequestReply(id, "the session is already initialized");
    if (!params.contains("protocolVersion") || !params["protocolVersion"].is_string()) {
        return errorReply(id, RPCError::invalidParams("protocolVersion must be a string"));
    }
    if (!params.contains("capabilities") || !params["capabilities"].is_object()) {
        return errorReply(id, RPCError::invalidParams("capabilities must be an object"));
    }
    if (!params.contains("clientInfo") || !isImplementation(params["clientInfo"])) {
        return errorReply(
            id, RPCError::invalidParams("clientInfo must be an object with a name and a version"));
    }
    revision_ = negotiateRevision(params["protocolVersion"].get<std::string>());
    appsExtension_ = announcesApps(params["capabilities"]);
    JSON capabilities = serverCapabilities(*revision_);
    if (appsExtension_) capabilities = withAppsExtension(std::move(capabilities));
    return resultReply(id, {
                               {"protocolVersion", revisionName(*revision_)},
                               {"capabilities", std::move(capabilities)},
                               {"serverInfo", serverInfo(*revision_)},
                               {"instructions", serverInstructions()},
                           });
}

}  // namespace VarnholtQueryLib::MCP
