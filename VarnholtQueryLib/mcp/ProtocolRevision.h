#pragma once

#include <optional>
#include <string>

namespace VarnholtQueryLib::MCP {

// The revisions of the Model Context Protocol this server speaks, oldest
// first. What a session may send depends on the one agreed in `initialize`.
enum class ProtocolRevision {
    r2024_11_05,
    r2025_03_26,  // adds tool annotations and JSON-RPC batches
    r2025_06_18,  // adds structured tool output and titles; removes batches
    r2025_11_25,  // reports invalid tool input as a tool error, as we always do
};

// The revision named `text` ("2025-06-18"), or absent when we do not speak it.
std::optional<ProtocolRevision> revisionNamed(const std::string& text);
// "2025-06-18" for r2025_06_18.
std::string revisionName(ProtocolRevision revision);

// The revision to answer `initialize` with: the client's own when we speak
// it, else the latest we speak; a client that cannot use ours disconnects.
ProtocolRevision negotiateRevision(const std::string& requested);

// Whether a session on `revision` accepts an array of messages on one line.
bool allowsBatches(ProtocolRevision revision);
// Whether tools carry annotations (hints such as readOnlyHint).
bool hasToolAnnotations(ProtocolRevision revision);
// Whether tools carry an outputSchema and a title, and their results
// structuredContent.
bool hasStructuredToolOutput(ProtocolRevision revision);

}  // namespace VarnholtQueryLib::MCP
