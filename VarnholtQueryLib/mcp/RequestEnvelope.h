#pragma once

#include <optional>
#include <string>
#include <variant>

#include "mcp/JSONRPC.h"
#include "mcp/ProtocolRevision.h"

namespace VarnholtQueryLib::MCP {

// What a stateless request says about its client in `params._meta`, in
// place of the handshake: the revision it speaks and what it can do. The
// server reads it afresh from every request and keeps nothing of it.
struct RequestEnvelope {
    ProtocolRevision revision = ProtocolRevision::r2026_07_28;
    JSON clientCapabilities = JSON::object();
    std::optional<JSON> clientInfo;  // {"name", "version", ...}; optional on the wire
};

// Why an envelope cannot be served, as the error to answer with.
using EnvelopeProblem = RPCError;

// The keys of the envelope inside `params._meta`.
inline constexpr const char* kProtocolVersionKey = "io.modelcontextprotocol/protocolVersion";
inline constexpr const char* kClientCapabilitiesKey = "io.modelcontextprotocol/clientCapabilities";
inline constexpr const char* kClientInfoKey = "io.modelcontextprotocol/clientInfo";
inline constexpr const char* kLogLevelKey = "io.modelcontextprotocol/logLevel";
inline constexpr const char* kServerInfoKey = "io.modelcontextprotocol/serverInfo";

// Whether `params` (as the message gave them; absent when it gave none)
// hold an envelope at all: a `_meta` object with the protocol version or the
// client capabilities. Requests of the handshake revisions never carry
// either, so this is what tells the stateless era from the other.
bool carriesEnvelope(const std::optional<JSON>& params);

// Reads and checks the envelope of `params`, in this order:
//  - params an object with a `_meta` object, and in it the protocol version
//    as a string: otherwise invalidParams "Invalid params: ..." naming what
//    is missing or of the wrong type;
//  - the version one we serve statelessly: otherwise
//    unsupportedProtocolVersion "Unsupported protocol version" with data
//    {"supported": [...], "requested": <the version>}; the handshake
//    revisions are not served through an envelope;
//  - the client capabilities an object, the client info (when present) an
//    object with string name and version, the log level (when present) one
//    of the eight levels, the progress token (when present) a string or a
//    number: otherwise invalidParams.
std::variant<RequestEnvelope, EnvelopeProblem> readEnvelope(const std::optional<JSON>& params);

}  // namespace VarnholtQueryLib::MCP
