#include "mcp/EraSelection.h"

#include "mcp/RequestEnvelope.h"

namespace VarnholtQueryLib::MCP {

namespace {

constexpr const char* kDiscover = "server/discover";

}  // namespace

Era eraOf(const IncomingMessage& message) {
    if (message.method == kDiscover || carriesEnvelope(message.params)) return Era::stateless;
    return Era::handshake;
}

void LineHistory::noteStatelessRequest(const std::string& method) {
    if (method != kDiscover) statelessChosen_ = true;
}

}  // namespace VarnholtQueryLib::MCP
