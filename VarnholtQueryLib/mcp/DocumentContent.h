#pragma once

#include <optional>
#include <string>

#include "mcp/ProtocolRevision.h"
#include "mcp/DocumentSource.h"

namespace VarnholtQueryLib::MCP {

// The forms in which a document of ours reaches a client. Each carries the
// exact text varnholt-query prints for the same question, so a client that
// reads only text gets the same bytes as one that reads structure.

// The document as varnholt-query prints it: our layout and a final "\n".
// Absent when it holds something that cannot be written (broken UTF-8).
std::optional<std::string> printedDocument(const JSON& document);

// The media type of every document: "application/json".
inline constexpr const char* kDocumentMimeType = "application/json";

// A tools/call result for `answer` on `revision`: the printed document as
// the one text item, isError, and (from 2025-06-18 on) the document itself as
// structuredContent. Absent when the document cannot be printed.
std::optional<JSON> toolCallResult(const ToolAnswer& answer, ProtocolRevision revision);

// One text resource content: {"uri", "mimeType", "text"}.
JSON textResourceContents(const std::string& uri, const std::string& text);

}  // namespace VarnholtQueryLib::MCP
