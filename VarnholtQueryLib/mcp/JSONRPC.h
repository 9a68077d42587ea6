#pragma once

#include <optional>
#include <string>

#include "output/JSONWriter.h"

namespace VarnholtQueryLib::MCP {

// JSON-RPC 2.0 as the Model Context Protocol uses it: requests carry an id
// (a string or an integer) and get exactly one response with that id;
// notifications carry none and never get a response. Messages are JSON
// objects; the session decides what a batch (an array) means.

// The error codes we answer with. JSON-RPC reserves the first five; the
// protocol adds the others, each for one revision or era.
enum class ErrorCode : int {
    parseError = -32700,      // the line is not JSON
    invalidRequest = -32600,  // JSON, but not a request this server accepts
    methodNotFound = -32601,
    invalidParams = -32602,
    internalError = -32603,
    // An unknown resource, in the revisions negotiated through initialize;
    // the stateless revision answers invalidParams instead.
    resourceNotFound = -32002,
    // The request needs a client capability its envelope does not declare.
    missingRequiredClientCapability = -32021,
    // The envelope names a protocol version this server does not serve.
    unsupportedProtocolVersion = -32022,
};

// A request's id as the client wrote it, so that the reply carries the same
// bytes: a client matches replies by the id it sent, and "1e2" read as a
// number and written back as "100.0" would match nothing. Null when the
// message had no usable id.
class RequestId {
public:
    RequestId() = default;
    // A string or integer id: its compact JSON text.
    explicit RequestId(const JSON& value);
    // A number id exactly as it was written ("2.0", "1e2", "18446744073709551616").
    static RequestId fromNumberText(std::string text);

    bool isNull() const { return wire_ == "null"; }
    // The id's JSON text for the reply.
    const std::string& wireText() const { return wire_; }
    // The id as a JSON value (a number written with a fraction or exponent
    // becomes a double), for tests and diagnostics.
    JSON value() const;

    bool operator==(const RequestId&) const = default;

private:
    std::string wire_ = "null";
};

// One incoming JSON value, sorted by what it asks of us.
struct IncomingMessage {
    enum class Kind {
        request,       // method and a valid id: answer it
        notification,  // method and no id: never answer
        response,      // result or error, no method: a reply to a request we never send; ignore
        invalid,       // anything else: answer with invalidRequest and `id`
    };
    Kind kind = Kind::invalid;
    // The request's id as given; null when the message had none or one that
    // cannot be echoed (null, boolean, object, array).
    RequestId id;
    std::string method;
    // The params as given; absent when the message had none.
    std::optional<JSON> params;
    // For `invalid`: why, in a few words, for the error's message.
    std::string problem;
};

// Sorts `message`: "jsonrpc" must be "2.0", "method" a string, "params" (when
// present) an object or an array, and "id" (when present) a string or an
// integer. An integer may be written in any JSON form that denotes one
// ("7", "2.0", "1e2", or beyond 64 bits); `idText` is how the message wrote
// its id when that was a number the parser did not keep as an integer, and
// the reply echoes it. A fractional number id is refused, but echoed; a null,
// boolean or structured id makes the message invalid rather than a
// notification (its sender expects an answer) and is answered with null.
IncomingMessage classifyMessage(const JSON& message, const std::optional<std::string>& idText);

// One reply: the id it answers and either a result or an error.
struct Reply {
    RequestId id;
    std::optional<JSON> result;
    // {"code": ..., "message": ..., "data"?: ...} when result is absent.
    JSON error;
};

// An error to answer a request with, whatever id it goes to: the code, the
// whole message and, when given, the data.
struct RPCError {
    ErrorCode code = ErrorCode::internalError;
    std::string message;
    std::optional<JSON> data;

    // "Invalid params: <why>": the request's params cannot be used, for the
    // reason `why` gives (and `data` details). Every refusal of params says
    // so through this one constructor.
    static RPCError invalidParams(const std::string& why, std::optional<JSON> data = std::nullopt);
};

Reply resultReply(RequestId id, JSON result);
// An error with `message`, and `data` when given.
Reply errorReply(RequestId id, ErrorCode code, const std::string& message,
                 std::optional<JSON> data = std::nullopt);
Reply errorReply(RequestId id, RPCError error);
// "Invalid Request: <why>": the message is not a request this server
// accepts where it stands (before initialize, in a batch, ...).
Reply invalidRequestReply(RequestId id, const std::string& why);

// The one-line wire form of a reply: compact JSON with its keys in ascending
// order ("error" or "result", "id", "jsonrpc"), UTF-8 as it is, no newline
// inside (newlines in strings are escaped) and none at the end; written by
// serializeCompactJSON, so its numbers are those of the printed documents.
std::string encodeReply(const Reply& reply);

}  // namespace VarnholtQueryLib::MCP
