#include "mcp/MethodTable.h"

#include <array>
#include <exception>

#include "mcp/CatalogLookup.h"
#include "mcp/ServerIdentity.h"
#include "mcp/TimeViewApp.h"

namespace VarnholtQueryLib::MCP {

namespace {

// The lists change only with the program, which a host restarts to update.
constexpr CachePolicy kProgramLifetime{3600000, "public"};
// A resource is the user's own data, read anew from the database each time.
constexpr CachePolicy kUserData{0, "private"};

const std::array<MethodEntry, 9> kMethods = {{
    {"server/discover", false, true, discoverServer, kProgramLifetime},
    {"tools/list", true, true, listToolsMethod, kProgramLifetime},
    {"tools/call", true, true, callToolMethod, std::nullopt},
    {"resources/list", true, true, listResourcesMethod, kProgramLifetime},
    {"resources/templates/list", true, true, listResourceTemplatesMethod, kProgramLifetime},
    {"resources/read", true, true, readResourceMethod, kUserData},
    {"prompts/list", true, true, listPromptsMethod, kProgramLifetime},
    {"prompts/get", true, true, getPromptMethod, std::nullopt},
    {"completion/complete", true, true, completeMethod, std::nullopt},
}};

}  // namespace

MethodOutcome MethodOutcome::success(JSON result) {
    MethodOutcome outcome;
    outcome.result = std::move(result);
    return outcome;
}

MethodOutcome MethodOutcome::failure(ErrorCode code, std::string message,
                                     std::optional<JSON> data) {
    MethodOutcome outcome;
    outcome.code = code;
    outcome.message = std::move(message);
    outcome.data = std::move(data);
    return outcome;
}

MethodOutcome MethodOutcome::failure(RPCError error) {
    return failure(error.code, std::move(error.message), std::move(error.data));
}

MethodOutcome MethodOutcome::invalidParams(const std::string& why, std::optional<JSON> data) {
    return failure(RPCError::invalidParams(why, std::move(data)));
}

const MethodEntry* findMethod(const std::string& method) {
    return findInCatalog(kMethods, &MethodEntry::name, method);
}

MethodOutcome runMethod(const MethodEntry& entry, const ServerServices& services,
                        const JSON& params, const RequestTerms& terms) {
    try {
        return entry.handler(services, params, terms);
    } catch (const std::exception& error) {
        return MethodOutcome::failure(ErrorCode::internalError,
                                      std::string("Internal error: ") + error.what());
    }
}

Reply replyFor(const RequestId& id, MethodOutcome outcome) {
    if (outcome.result) return resultReply(id, std::move(*outcome.result));
    return errorReply(id, outcome.code, outcome.message, std::move(outcome.data));
}

std::optional<MethodOutcome> refuseForeignCursor(const JSON& params) {
    const auto cursor = params.find("cursor");
    if (cursor == params.end() || cursor->is_null()) return std::nullopt;
    return MethodOutcome::invalidParams("unknown cursor");
}

MethodOutcome discoverServer(const ServerServices&, const JSON&, const RequestTerms& terms) {
    JSON capabilities = serverCapabilities(terms.revision);
    if (terms.appsExtension) capabilities = withAppsExtension(std::move(capabilities));
    return MethodOutcome::success({
        {"supportedVersions", servedRevisionNames()},
        {"capabilities", std::move(capabilities)},
        {"instructions", serverInstructions()},
    });
}

}  // namespace VarnholtQueryLib::MCP
