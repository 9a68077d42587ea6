#pragma once

#include <optional>
#include <string>

#include "output/JSONWriter.h"

namespace VarnholtQueryLib::MCP {

// JSON-RPC 2.0 as the Model Context Protocol uses it: requests carry an id
// (a string or an integer) and get exactly one response with that id;
// notifications carry none and never get a response. Messages are JSON
// objects; the session decides what a batch (an array) means.

// The error codes JSON-RPC reserves; their meaning is fixed by it.
enum class ErrorCode : int {
    parseError = -32700,      // the line is not JSON
    invalidRequest = -32600,  // JSON, but not a request this server accepts
    methodNotFound = -32601,
    invalidParams = -32602,
    internalError = -32603,
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
    // The request's id as given; null when the message had none or an
    // unusable one (JSON-RPC answers those with a null id).
    JSON id;
    std::string method;
    // The params as given; absent when the message had none.
    std::optional<JSON> params;
    // For `invalid`: why, in a few words, for the error's message.
    std::string problem;
};

// Sorts `message`: "jsonrpc" must be "2.0", "method" a string, "params" (when
// present) an object or an array, and "id" (when present) a string or an
// integer. A null, fractional, boolean or structured id makes the message
// invalid rather than a notification: its sender expects an answer.
IncomingMessage classifyMessage(const JSON& message);

// {"jsonrpc": "2.0", "id": id, "result": result}.
JSON makeResultResponse(const JSON& id, JSON result);
// {"jsonrpc": "2.0", "id": id, "error": {"code": code, "message": message}}.
JSON makeErrorResponse(const JSON& id, ErrorCode code, const std::string& message);

// The one-line wire form of a message: compact JSON, UTF-8 as it is, no
// newline inside (newlines in strings are escaped) and none at the end.
std::string encodeMessage(const JSON& message);

}  // namespace VarnholtQueryLib::MCP
