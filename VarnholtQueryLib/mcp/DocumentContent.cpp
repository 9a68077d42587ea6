#include "mcp/DocumentContent.h"

namespace VarnholtQueryLib::MCP {

std::optional<std::string> printedDocument(const JSON& document) {
    const auto text = serializeJSON(document);
    if (!text) return std::nullopt;
    return *text + "\n";
}

std::optional<JSON> toolCallResult(const ToolAnswer& answer, ProtocolRevision revision) {
    // Hosts that read only text get the whole value, not a digest of it.
    const auto text = serializeCompactJSON(answer.document);
    if (!text) return std::nullopt;
    JSON result = {
        {"content", JSON::array({{{"type", "text"}, {"text", *text}}})},
        {"isError", answer.isError},
    };
    // Some hosts hand the model only the structured content; it is the whole
    // document, never a digest of it.
    if (hasStructuredToolOutput(revision)) result["structuredContent"] = answer.document;
    return result;
}

JSON textResourceContents(const std::string& uri, const std::string& text) {
    return {{"uri", uri}, {"mimeType", kDocumentMimeType}, {"text", text}};
}

}  // namespace VarnholtQueryLib::MCP
