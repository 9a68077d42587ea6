#pragma once

#include <optional>
#include <string>

#include "mcp/DocumentSource.h"
#include "mcp/JSONRPC.h"
#include "mcp/ProtocolRevision.h"

namespace VarnholtQueryLib::MCP {

// What a method produced: its result, or the error to answer with.
struct MethodOutcome {
    std::optional<JSON> result;
    ErrorCode code = ErrorCode::internalError;
    std::string message;
    std::optional<JSON> data;

    static MethodOutcome success(JSON result);
    // `message` in full, e.g. "Invalid params: unknown cursor".
    static MethodOutcome failure(ErrorCode code, std::string message,
                                 std::optional<JSON> data = std::nullopt);
    static MethodOutcome failure(RPCError error);
    // RPCError::invalidParams as an outcome.
    static MethodOutcome invalidParams(const std::string& why,
                                       std::optional<JSON> data = std::nullopt);
};

// What a request is served on: the revision agreed by handshake or named by
// its envelope, which decides the shape of what it answers, and whether the
// client announced the MCP Apps extension (in initialize, or in this
// request's envelope), which adds the time view. A revision alone means no
// extension.
struct RequestTerms {
    // Implicit, so that a revision alone reads as terms without extensions.
    RequestTerms(ProtocolRevision revision, bool appsExtension = false)
        : revision(revision), appsExtension(appsExtension) {}

    ProtocolRevision revision;
    bool appsExtension;
};

// Answers one request of a method. `params` is an object (absent params
// arrive as an empty one). Never throws for anything a client can send.
using MethodHandler = MethodOutcome (*)(const ServerServices& services, const JSON& params,
                                        const RequestTerms& terms);

// How long a client may keep a stateless result, and whether it may share it
// with other users of the same server.
struct CachePolicy {
    long long ttlMs;
    const char* cacheScope;  // "public" or "private"
};

// One method this server answers, and in which era. Initialize and ping
// belong to the handshake session itself and are not in the table.
struct MethodEntry {
    const char* name;
    bool handshakeEra;  // served on a line that agreed a revision in initialize
    bool statelessEra;  // served to a request with an envelope
    MethodHandler handler;
    // For stateless results that clients may cache; absent for the others.
    std::optional<CachePolicy> cache;
};

// The entry for `method`, or null when we do not answer it in either era.
const MethodEntry* findMethod(const std::string& method);

// Runs `entry`'s handler; an exception escaping it (which no client input
// should cause) becomes an internal error.
MethodOutcome runMethod(const MethodEntry& entry, const ServerServices& services,
                        const JSON& params, const RequestTerms& terms);
// The reply carrying `outcome` to the request `id`.
Reply replyFor(const RequestId& id, MethodOutcome outcome);

// The handlers, each in the source of its subject.
MethodOutcome discoverServer(const ServerServices&, const JSON& params, const RequestTerms&);
MethodOutcome listToolsMethod(const ServerServices&, const JSON& params, const RequestTerms&);
MethodOutcome callToolMethod(const ServerServices&, const JSON& params, const RequestTerms&);
MethodOutcome listResourcesMethod(const ServerServices&, const JSON& params, const RequestTerms&);
MethodOutcome listResourceTemplatesMethod(const ServerServices&, const JSON& params,
                                          const RequestTerms&);
MethodOutcome readResourceMethod(const ServerServices&, const JSON& params, const RequestTerms&);
MethodOutcome listPromptsMethod(const ServerServices&, const JSON& params, const RequestTerms&);
MethodOutcome getPromptMethod(const ServerServices&, const JSON& params, const RequestTerms&);
MethodOutcome completeMethod(const ServerServices&, const JSON& params, const RequestTerms&);

// For the list methods: none of our lists has a second page, so only the
// first page may be asked for (no cursor, or a null one); absent when that
// is so, else the error for a cursor we never handed out.
std::optional<MethodOutcome> refuseForeignCursor(const JSON& params);

}  // namespace VarnholtQueryLib::MCP
