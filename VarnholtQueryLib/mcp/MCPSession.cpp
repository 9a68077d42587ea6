#include "mcp/MCPSession.h"

#include "mcp/RequestEnvelope.h"
#include "mcp/StatelessRequests.h"
#include "mcp/WrittenIds.h"

namespace VarnholtQueryLib::MCP {

namespace {

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

// Whether the parser read any id of `value` (a message or a batch) as a
// double, so that its written form must be looked up.
bool hasNumberIdToKeep(const JSON& value) {
    const auto check = [](const JSON& message) {
        return message.is_object() && message.contains("id") && message["id"].is_number_float();
    };
    if (!value.is_array()) return check(value);
    for (const JSON& message : value) {
        if (check(message)) return true;
    }
    return false;
}

}  // namespace

MCPSession::MCPSession(const DocumentSource& documents)
    : services_{documents}, handshake_(services_) {}

std::optional<std::string> MCPSession::replyTo(std::string_view line) {
    if (isBlank(line)) return std::nullopt;
    if (nestsTooDeeply(line)) {
        return encodeReply(invalidRequestReply(
            RequestId(), "a message may nest at most " + std::to_string(kMaxNesting) + " levels"));
    }
    // The parser refuses ill-formed UTF-8 (and lone surrogate escapes), so
    // nothing that is not text ever reaches a tool.
    const JSON value = JSON::parse(line, nullptr, false);
    if (value.is_discarded()) {
        return encodeReply(errorReply(RequestId(), ErrorCode::parseError,
                                      "Parse error: the line is not a JSON text"));
    }
    std::vector<std::optional<std::string>> idTexts;
    if (hasNumberIdToKeep(value)) idTexts = writtenNumberIds(line);
    const auto idText = [&](std::size_t index) {
        return index < idTexts.size() ? idTexts[index] : std::nullopt;
    };
    if (value.is_array()) return replyToBatch(value, idTexts);
    const auto reply = replyToMessage(value, idText(0), false);
    if (!reply) return std::nullopt;
    return encodeReply(*reply);
}

std::string MCPSession::replyToOversizedLine() const {
    return encodeReply(invalidRequestReply(
        RequestId(), "a message may be at most " + std::to_string(kMaxMessageBytes) + " bytes"));
}

std::optional<std::string> MCPSession::replyToBatch(
    const JSON& batch, const std::vector<std::optional<std::string>>& idTexts) {
    // Batches belong to the 2025-03-26 revision alone: the later ones removed
    // them, and before initialize no revision is agreed.
    const auto revision = handshake_.revision();
    if (!revision || !allowsBatches(*revision)) {
        return encodeReply(
            invalidRequestReply(RequestId(), "batches are not part of this protocol revision"));
    }
    if (batch.empty()) return encodeReply(invalidRequestReply(RequestId(), "an empty batch"));
    if (batch.size() > kMaxBatchMessages) {
        return encodeReply(invalidRequestReply(
            RequestId(), "a batch may hold at most " + std::to_string(kMaxBatchMessages) + " messages"));
    }
    // Each reply is encoded as soon as it is made, so that the batch holds
    // text rather than documents, which take several times the memory.
    std::string replies;
    for (std::size_t i = 0; i < batch.size(); ++i) {
        const std::optional<std::string> idText = i < idTexts.size() ? idTexts[i] : std::nullopt;
        std::optional<Reply> reply;
        if (replies.size() > kMaxBatchReplyBytes) {
            const IncomingMessage incoming = classifyMessage(batch[i], idText);
            if (incoming.kind != IncomingMessage::Kind::request) continue;
            reply = errorReply(incoming.id, ErrorCode::internalError,
                               "Internal error: the batch's replies passed " +
                                   std::to_string(kMaxBatchReplyBytes) +
                                   " bytes; send this request again on its own");
        } else {
            reply = replyToMessage(batch[i], idText, true);
        }
        if (!reply) continue;
        replies += replies.empty() ? "[" : ",";
        replies += encodeReply(*reply);
    }
    if (replies.empty()) return std::nullopt;
    return replies + "]";
}

std::optional<Reply> MCPSession::replyToMessage(const JSON& message,
                                                const std::optional<std::string>& idText,
                                                bool inBatch) {
    const IncomingMessage incoming = classifyMessage(message, idText);
    switch (incoming.kind) {
        case IncomingMessage::Kind::notification:
        case IncomingMessage::Kind::response:
            return std::nullopt;
        case IncomingMessage::Kind::invalid:
            return invalidRequestReply(incoming.id, incoming.problem);
        case IncomingMessage::Kind::request:
            break;
    }
    if (eraOf(incoming) == Era::stateless) {
        if (inBatch) return invalidRequestReply(incoming.id, "a request with an envelope cannot be batched");
        StatelessReply served = serveStatelessRequest(services_, incoming);
        if (served.served) history_.noteStatelessRequest(incoming.method);
        return std::move(served.reply);
    }
    if (incoming.method == "initialize" && history_.refusesInitialize()) {
        const JSON& params = incoming.params ? *incoming.params : JSON();
        const JSON requested = params.is_object() && params.contains("protocolVersion")
                                   ? params["protocolVersion"]
                                   : JSON();
        return errorReply(incoming.id, ErrorCode::unsupportedProtocolVersion,
                          "Unsupported protocol version",
                          JSON{{"supported", statelessRevisionNames()}, {"requested", requested}});
    }
    return handshake_.serve(incoming, inBatch);
}

}  // namespace VarnholtQueryLib::MCP
