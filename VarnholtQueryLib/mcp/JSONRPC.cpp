#include "mcp/JSONRPC.h"

namespace VarnholtQueryLib::MCP {

namespace {

bool isUsableId(const JSON& id) {
    return id.is_string() || id.is_number_integer() || id.is_number_unsigned();
}

IncomingMessage invalid(JSON id, std::string problem) {
    IncomingMessage message;
    message.kind = IncomingMessage::Kind::invalid;
    message.id = std::move(id);
    message.problem = std::move(problem);
    return message;
}

}  // namespace

IncomingMessage classifyMessage(const JSON& message) {
    if (!message.is_object()) return invalid(nullptr, "a message must be a JSON object");
    const auto idMember = message.find("id");
    const bool hasId = idMember != message.end();
    // An id we cannot echo faithfully is answered with null, as JSON-RPC
    // prescribes for an id that cannot be determined.
    JSON id = hasId && isUsableId(*idMember) ? *idMember : JSON(nullptr);

    const auto version = message.find("jsonrpc");
    if (version == message.end() || *version != "2.0") {
        return invalid(std::move(id), "\"jsonrpc\" must be \"2.0\"");
    }
    const auto method = message.find("method");
    if (method == message.end()) {
        if (message.contains("result") || message.contains("error")) {
            IncomingMessage response;
            response.kind = IncomingMessage::Kind::response;
            response.id = std::move(id);
            return response;
        }
        return invalid(std::move(id), "\"method\" is missing");
    }
    if (!method->is_string()) return invalid(std::move(id), "\"method\" must be a string");
    if (hasId && !isUsableId(*idMember)) {
        return invalid(nullptr, "\"id\" must be a string or an integer");
    }

    IncomingMessage result;
    result.kind = hasId ? IncomingMessage::Kind::request : IncomingMessage::Kind::notification;
    result.id = std::move(id);
    result.method = method->get<std::string>();
    if (const auto params = message.find("params"); params != message.end()) {
        if (!params->is_object() && !params->is_array()) {
            return invalid(std::move(result.id), "\"params\" must be an object");
        }
        result.params = *params;
    }
    return result;
}

JSON makeResultResponse(const JSON& id, JSON result) {
    return JSON{{"jsonrpc", "2.0"}, {"id", id}, {"result", std::move(result)}};
}

JSON makeErrorResponse(const JSON& id, ErrorCode code, const std::string& message) {
    return JSON{{"jsonrpc", "2.0"},
                {"id", id},
                {"error", {{"code", static_cast<int>(code)}, {"message", message}}}};
}

std::string encodeMessage(const JSON& message) {
    // Everything we send was parsed from valid UTF-8 or built from repaired
    // text; replacing is only a guard against a broken line on the wire.
    return message.dump(-1, ' ', false, JSON::error_handler_t::replace);
}

}  // namespace VarnholtQueryLib::MCP
