#pragma once

#include <string>

#include "mcp/JSONRPC.h"

namespace VarnholtQueryLib::MCP {

// Which of the protocol's two eras a message belongs to. One line may carry
// both: a request in the stateless era is served from its own envelope
// whatever came before it, and a line that agreed a revision in initialize
// keeps it for its requests without an envelope.
enum class Era {
    handshake,  // 2024-11-05 to 2025-11-25: initialize first, then requests without an envelope
    stateless,  // 2026-07-28: every request names its version in params._meta
};

// The era of `message` (a request or notification): stateless when its
// method is server/discover, which only that era has, or when its params
// carry an envelope (carriesEnvelope); otherwise handshake, which is also
// what a client that never heard of envelopes sends.
Era eraOf(const IncomingMessage& message);

// The one thing the line's past decides: once a client has been served a
// stateless request other than server/discover, it has chosen that era for
// the line, and a later initialize is refused instead of quietly starting a
// handshake session beside it. server/discover alone decides nothing, since
// a client may probe and then fall back to initialize on the same line.
class LineHistory {
public:
    void noteStatelessRequest(const std::string& method);
    bool refusesInitialize() const { return statelessChosen_; }

private:
    bool statelessChosen_ = false;
};

}  // namespace VarnholtQueryLib::MCP
