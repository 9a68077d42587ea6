#include "mcp/MCPSession.h"

#include <exception>

#include "cli/BuildMetadata.h"
#include "mcp/ToolCatalog.h"

namespace VarnholtQueryLib::MCP {

namespace {

constexpr const char* kServerName = "varnholt-mcp";
constexpr const char* kServerTitle = "Varnholt work memory";
constexpr const char* kInstructions =
    "Answers questions about the user's recent work from the local screen recorder's database, "
    "read-only. Use summary for where the time of a day, a week or any range went (active time, "
    "sessions, time per application and entity, days; exact, and within max_chars), timeline "
    "for the moments of a short period in detail (it keeps only the newest 5,000 observations "
    "of a range), search for a topic, and entities for the apps, people and tools involved; "
    "status and support_context diagnose the recorder itself. Every answer is a JSON document "
    "with ok, data, error and meta; meta gives the user's time zone and current time, and a "
    "failure has ok false and an error code.";

// Our messages nest a few levels; copying or comparing a value nested much
// deeper would recurse as deep as it goes, so such a line is refused before
// it is parsed.
constexpr int kMaxNesting = 64;

bool nestsTooDeeply(std::string_view line) {
    int depth = 0;
    bool inString = false;
    bool escaped = false;
    for (const char c : line) {
        if (inString) {
            if (escaped) {
                escaped = false;
            } else if (c == '\\') {
                escaped = true;
            } else if (c == '"') {
                inString = false;
            }
        } else if (c == '"') {
            inString = true;
        } else if (c == '[' || c == '{') {
            if (++depth > kMaxNesting) return true;
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
    return false;
}

bool isBlank(std::string_view line) {
    return line.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

JSON invalidRequest(const JSON& id, const std::string& why) {
    return makeErrorResponse(id, ErrorCode::invalidRequest, "Invalid Request: " + why);
}

JSON invalidParams(const JSON& id, const std::string& why) {
    return makeErrorResponse(id, ErrorCode::invalidParams, "Invalid params: " + why);
}

// An absent params member means "no params", which every method here
// accepts as an empty object.
JSON paramsOrEmpty(const std::optional<JSON>& params) {
    return params ? *params : JSON::object();
}

bool isImplementation(const JSON& info) {
    return info.is_object() && info.contains("name") && info["name"].is_string() &&
           info.contains("version") && info["version"].is_string();
}

}  // namespace

MCPSession::MCPSession(const ToolExecutor& tools) : tools_(tools) {}

std::optional<std::string> MCPSession::replyTo(std::string_view line) {
    if (isBlank(line)) return std::nullopt;
    if (nestsTooDeeply(line)) {
        return encodeMessage(invalidRequest(
            nullptr, "a message may nest at most " + std::to_string(kMaxNesting) + " levels"));
    }
    // The parser refuses ill-formed UTF-8 (and lone surrogate escapes), so
    // nothing that is not text ever reaches a tool.
    const JSON value = JSON::parse(line, nullptr, false);
    if (value.is_discarded()) {
        return encodeMessage(makeErrorResponse(nullptr, ErrorCode::parseError,
                                               "Parse error: the line is not a JSON text"));
    }
    const auto reply = value.is_array() ? replyToBatch(value) : replyToMessage(value, false);
    if (!reply) return std::nullopt;
    return encodeMessage(*reply);
}

std::string MCPSession::replyToOversizedLine() const {
    return encodeMessage(invalidRequest(
        nullptr, "a message may be at most " + std::to_string(kMaxMessageBytes) + " bytes"));
}

std::optional<JSON> MCPSession::replyToBatch(const JSON& batch) {
    // Batches belong to the 2025-03-26 revision alone: the later ones removed
    // them, and before initialize no revision is agreed.
    if (!revision_ || !allowsBatches(*revision_)) {
        return invalidRequest(nullptr, "batches are not part of this protocol revision");
    }
    if (batch.empty()) return invalidRequest(nullptr, "an empty batch");
    JSON replies = JSON::array();
    for (const JSON& message : batch) {
        if (auto reply = replyToMessage(message, true)) replies.push_back(std::move(*reply));
    }
    if (replies.empty()) return std::nullopt;
    return replies;
}

std::optional<JSON> MCPSession::replyToMessage(const JSON& message, bool inBatch) {
    const IncomingMessage incoming = classifyMessage(message);
    switch (incoming.kind) {
        case IncomingMessage::Kind::notification:
        case IncomingMessage::Kind::response:
            return std::nullopt;
        case IncomingMessage::Kind::invalid:
            return invalidRequest(incoming.id, incoming.problem);
        case IncomingMessage::Kind::request:
            break;
    }
    const JSON& id = incoming.id;
    const std::string& method = incoming.method;
    const bool known = method == "initialize" || method == "ping" || method == "tools/list" ||
                       method == "tools/call";
    if (!known) return makeErrorResponse(id, ErrorCode::methodNotFound, "Method not found: " + method);
    const JSON params = paramsOrEmpty(incoming.params);
    if (!params.is_object()) return invalidParams(id, "params must be an object");

    if (method == "ping") return makeResultResponse(id, JSON::object());
    if (method == "initialize") return initialize(id, params, inBatch);
    if (!revision_) return invalidRequest(id, "the session is not initialized; send initialize first");
    try {
        if (method == "tools/list") return listTools(id, params);
        return callTool(id, params);
    } catch (const std::exception& error) {
        return makeErrorResponse(id, ErrorCode::internalError,
                                 std::string("Internal error: ") + error.what());
    }
}

JSON MCPSession::initialize(const JSON& id, const JSON& params, bool inBatch) {
    if (inBatch) return invalidRequest(id, "initialize must not be part of a batch");
    if (revision_) return invalidRequest(id, "the session is already initialized");
    if (!params.contains("protocolVersion") || !params["protocolVersion"].is_string()) {
        return invalidParams(id, "protocolVersion must be a string");
    }
    if (!params.contains("capabilities") || !params["capabilities"].is_object()) {
        return invalidParams(id, "capabilities must be an object");
    }
    if (!params.contains("clientInfo") || !isImplementation(params["clientInfo"])) {
        return invalidParams(id, "clientInfo must be an object with a name and a version");
    }
    revision_ = negotiateRevision(params["protocolVersion"].get<std::string>());

    JSON serverInfo = {{"name", kServerName}, {"version", BuildMetadata::version}};
    if (hasStructuredToolOutput(*revision_)) serverInfo["title"] = kServerTitle;
    return makeResultResponse(
        id, {
                {"protocolVersion", revisionName(*revision_)},
                // The tool list never changes while the server runs.
                {"capabilities", {{"tools", {{"listChanged", false}}}}},
                {"serverInfo", std::move(serverInfo)},
                {"instructions", kInstructions},
            });
}

JSON MCPSession::listTools(const JSON& id, const JSON& params) const {
    // Five tools fit in one page, so we never hand out a cursor, and any
    // cursor a client sends cannot be ours.
    if (params.contains("cursor")) return invalidParams(id, "unknown cursor");
    return makeResultResponse(id, {{"tools", MCP::listTools(*revision_)}});
}

JSON MCPSession::callTool(const JSON& id, const JSON& params) const {
    if (!params.contains("name") || !params["name"].is_string()) {
        return invalidParams(id, "name must be a string");
    }
    const std::string name = params["name"].get<std::string>();
    if (!findTool(name)) return invalidParams(id, "Unknown tool: " + name);
    const JSON arguments = params.contains("arguments") && !params["arguments"].is_null()
                               ? params["arguments"]
                               : JSON::object();
    if (!arguments.is_object()) return invalidParams(id, "arguments must be an object");

    const ToolAnswer answer = tools_.call(name, arguments);
    // The text is byte for byte what varnholt-query prints, so a client that
    // reads only text content gets the same document as one that reads the
    // structured content.
    const auto text = serializeJSON(answer.document);
    if (!text) {
        return makeErrorResponse(id, ErrorCode::internalError,
                                 "Internal error: Failed to serialize JSON");
    }
    JSON result = {
        {"content", JSON::array({{{"type", "text"}, {"text", *text + "\n"}}})},
        {"isError", answer.isError},
    };
    if (hasStructuredToolOutput(*revision_)) result["structuredContent"] = answer.document;
    return makeResultResponse(id, std::move(result));
}

}  // namespace VarnholtQueryLib::MCP
