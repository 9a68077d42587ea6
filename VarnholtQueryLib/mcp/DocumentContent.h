#pragma once

#include <optional>
#include <string>

#include "mcp/ProtocolRevision.h"
#include "mcp/DocumentSource.h"

namespace VarnholtQueryLib::MCP {

// The forms in which a document of ours reaches a client. A resource is the
// exact text varnholt-query prints, for a host that attaches it as a file; a
// tool result is read by a model, which pays for every character, so its
// text is the same value on one line.

// The document as varnholt-query prints it: our layout and a final "\n".
// Absent when it holds something that cannot be written (broken UTF-8).
std::optional<std::string> printedDocument(const JSON& document);

// The media type of every document: "application/json".
inline constexpr const char* kDocumentMimeType = "application/json";

// A tools/call result for `answer` on `revision`: the document as compact
// JSON (serializeCompactJSON: sorted keys, no white space, no final newline)
// in the one text item, isError, and (from 2025-06-18 on) the document itself
// as structuredContent. The protocol's line is written by the same writer,
// so both copies are the same JSON value, number for number. Absent when
// the document cannot be written.
std::optional<JSON> toolCallResult(const ToolAnswer& answer, ProtocolRevision revision);

// One text resource content: {"uri", "mimeType", "text"}.
JSON textResourceContents(const std::string& uri, const std::string& text);

}  // namespace VarnholtQueryLib::MCP
