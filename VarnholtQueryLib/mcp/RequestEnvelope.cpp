#include "mcp/RequestEnvelope.h"

#include <algorithm>
#include <array>

#include "mcp/ServerIdentity.h"

namespace VarnholtQueryLib::MCP {

namespace {

constexpr std::array<const char*, 8> kLogLevels = {
    "debug", "info", "notice", "warning", "error", "critical", "alert", "emergency"};

const JSON* metaOf(const std::optional<JSON>& params) {
    if (!params || !params->is_object()) return nullptr;
    const auto meta = params->find("_meta");
    if (meta == params->end() || !meta->is_object()) return nullptr;
    return &*meta;
}

}  // namespace

bool carriesEnvelope(const std::optional<JSON>& params) {
    const JSON* meta = metaOf(params);
    return meta != nullptr &&
           (meta->contains(kProtocolVersionKey) || meta->contains(kClientCapabilitiesKey));
}

std::variant<RequestEnvelope, EnvelopeProblem> readEnvelope(const std::optional<JSON>& params) {
    if (!params) return RPCError::invalidParams("params with _meta are required");
    if (!params->is_object()) return RPCError::invalidParams("params must be an object");
    const JSON* meta = metaOf(params);
    if (meta == nullptr) return RPCError::invalidParams("_meta must be an object");

    const auto version = meta->find(kProtocolVersionKey);
    if (version == meta->end()) {
        return RPCError::invalidParams(std::string("_meta lacks ") + kProtocolVersionKey);
    }
    if (!version->is_string()) {
        return RPCError::invalidParams(std::string(kProtocolVersionKey) + " must be a string");
    }
    const std::string requested = version->get<std::string>();
    const auto revision = revisionNamed(requested);
    if (!revision || !isStateless(*revision)) {
        return EnvelopeProblem{ErrorCode::unsupportedProtocolVersion, "Unsupported protocol version",
                               JSON{{"supported", statelessRevisionNames()}, {"requested", requested}}};
    }

    RequestEnvelope envelope;
    envelope.revision = *revision;
    const auto capabilities = meta->find(kClientCapabilitiesKey);
    if (capabilities == meta->end()) {
        return RPCError::invalidParams(std::string("_meta lacks ") + kClientCapabilitiesKey);
    }
    if (!capabilities->is_object()) {
        return RPCError::invalidParams(std::string(kClientCapabilitiesKey) + " must be an object");
    }
    envelope.clientCapabilities = *capabilities;
    if (const auto info = meta->find(kClientInfoKey); info != meta->end()) {
        if (!isImplementation(*info)) {
            return RPCError::invalidParams(std::string(kClientInfoKey) +
                                           " must be an object with a name and a version");
        }
        envelope.clientInfo = *info;
    }
    if (const auto level = meta->find(kLogLevelKey); level != meta->end()) {
        const bool known = level->is_string() &&
                           std::find(kLogLevels.begin(), kLogLevels.end(),
                                     level->get<std::string>()) != kLogLevels.end();
        if (!known) {
            return RPCError::invalidParams(std::string(kLogLevelKey) + " must be a logging level");
        }
    }
    if (const auto token = meta->find("progressToken"); token != meta->end()) {
        if (!token->is_string() && !token->is_number()) {
            return RPCError::invalidParams("progressToken must be a string or a number");
        }
    }
    return envelope;
}

}  // namespace VarnholtQueryLib::MCP
