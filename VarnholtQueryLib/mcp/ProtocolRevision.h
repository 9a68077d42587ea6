#pragma once

#include <optional>
#include <string>
#include <vector>

#include "mcp/JSONRPC.h"

namespace VarnholtQueryLib::MCP {

// The revisions of the Model Context Protocol this server speaks, oldest
// first. The first four are agreed once per line in `initialize`; the last
// is named by every request in its own envelope and needs no handshake.
enum class ProtocolRevision {
    r2024_11_05,
    r2025_03_26,  // adds tool annotations, the completions capability and JSON-RPC batches
    r2025_06_18,  // adds structured tool output and titles; removes batches
    r2025_11_25,  // reports invalid tool input as a tool error, as we always do
    r2026_07_28,  // stateless: no initialize, ping or subscriptions; results carry resultType
};

// The revision named `text` ("2025-06-18"), or absent when we do not speak it.
std::optional<ProtocolRevision> revisionNamed(const std::string& text);
// "2025-06-18" for r2025_06_18.
std::string revisionName(ProtocolRevision revision);

// Whether requests of `revision` carry their version in an envelope instead
// of relying on an earlier initialize.
bool isStateless(ProtocolRevision revision);

// The revision to answer `initialize` with: the client's own when it is one
// agreed by handshake, else the latest of those; a client that cannot use
// ours disconnects.
ProtocolRevision negotiateRevision(const std::string& requested);

// Every revision we serve, newest first, as server/discover lists them.
std::vector<std::string> servedRevisionNames();
// The revisions a request envelope may name, newest first.
std::vector<std::string> statelessRevisionNames();

// Whether a session on `revision` accepts an array of messages on one line.
bool allowsBatches(ProtocolRevision revision);
// Whether tools carry annotations (hints such as readOnlyHint).
bool hasToolAnnotations(ProtocolRevision revision);
// Whether tools, resources and prompts carry a title, tools an outputSchema
// and tool results structuredContent.
bool hasStructuredToolOutput(ProtocolRevision revision);
// Whether the server announces its completions as a capability; before that
// completion/complete was simply there.
bool hasCompletionsCapability(ProtocolRevision revision);
// The error code for a resource URI that names nothing of ours.
ErrorCode resourceNotFoundCode(ProtocolRevision revision);

}  // namespace VarnholtQueryLib::MCP
