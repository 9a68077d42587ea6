#include "mcp/JSONRPC.h"

#include <cmath>

namespace VarnholtQueryLib::MCP {

namespace {

// One writer for every number we send: written by nlohmann's own dump, a
// document's whole double (an idle gap of 300 seconds) would read "300.0" in
// structuredContent and "300" in the text beside it. Everything we send was
// parsed from valid UTF-8 or built from repaired text; repairing here is
// only a guard against a broken line on the wire.
std::string compact(const JSON& value) {
    if (auto text = serializeCompactJSON(value)) return std::move(*text);
    return serializeCompactJSON(withRepairedText(value)).value_or("null");
}

IncomingMessage invalid(RequestId id, std::string problem) {
    IncomingMessage message;
    message.kind = IncomingMessage::Kind::invalid;
    message.id = std::move(id);
    message.problem = std::move(problem);
    return message;
}

enum class IdForm { usable, fractional, unusable };

IdForm formOf(const JSON& id) {
    if (id.is_string() || id.is_number_integer() || id.is_number_unsigned()) return IdForm::usable;
    if (id.is_number_float()) {
        const double value = id.get<double>();
        // Beyond 64 bits an integer arrives as a double, which is whole.
        return std::isfinite(value) && value == std::floor(value) ? IdForm::usable
                                                                  : IdForm::fractional;
    }
    return IdForm::unusable;
}

RequestId echoOf(const JSON& id, IdForm form, const std::optional<std::string>& idText) {
    if (form == IdForm::unusable) return RequestId();
    if (id.is_number_float() && idText) return RequestId::fromNumberText(*idText);
    return RequestId(id);
}

}  // namespace

RequestId::RequestId(const JSON& value) : wire_(compact(value)) {}

RequestId RequestId::fromNumberText(std::string text) {
    RequestId id;
    id.wire_ = std::move(text);
    return id;
}

JSON RequestId::value() const { return JSON::parse(wire_, nullptr, false); }

IncomingMessage classifyMessage(const JSON& message, const std::optional<std::string>& idText) {
    if (!message.is_object()) return invalid(RequestId(), "a message must be a JSON object");
    const auto idMember = message.find("id");
    const bool hasId = idMember != message.end();
    const IdForm form = hasId ? formOf(*idMember) : IdForm::unusable;
    RequestId id = hasId ? echoOf(*idMember, form, idText) : RequestId();

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
    if (hasId && form != IdForm::usable) {
        return invalid(std::move(id), "\"id\" must be a string or an integer");
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

Reply resultReply(RequestId id, JSON result) {
    return Reply{std::move(id), std::move(result), nullptr};
}

RPCError RPCError::invalidParams(const std::string& why, std::optional<JSON> data) {
    return {ErrorCode::invalidParams, "Invalid params: " + why, std::move(data)};
}

Reply errorReply(RequestId id, ErrorCode code, const std::string& message,
                 std::optional<JSON> data) {
    JSON error = {{"code", static_cast<int>(code)}, {"message", message}};
    if (data) error["data"] = std::move(*data);
    return Reply{std::move(id), std::nullopt, std::move(error)};
}

Reply invalidRequestReply(RequestId id, const std::string& why) {
    return errorReply(std::move(id), ErrorCode::invalidRequest, "Invalid Request: " + why);
}

Reply errorReply(RequestId id, RPCError error) {
    return errorReply(std::move(id), error.code, error.message, std::move(error.data));
}

std::string encodeReply(const Reply& reply) {
    // Written by hand rather than as one JSON value so that the id keeps the
    // client's bytes; the order of the members is the one a JSON object of
    // ours would have, so replies read the same as before ids were kept.
    if (reply.result) {
        return "{\"id\":" + reply.id.wireText() + ",\"jsonrpc\":\"2.0\",\"result\":" +
               compact(*reply.result) + "}";
    }
    return "{\"error\":" + compact(reply.error) + ",\"id\":" + reply.id.wireText() +
           ",\"jsonrpc\":\"2.0\"}";
}

}  // namespace VarnholtQueryLib::MCP
