#pragma once

#include <string>

#include "mcp/ProtocolRevision.h"
#include "output/JSONWriter.h"

namespace VarnholtQueryLib::MCP {

// The time view as an MCP App: hosts that render the MCP Apps extension
// show the page beside the summary and timesheet tools, in a sandboxed frame
// they feed with the tool's result. The server offers the view only to a
// client that announced the extension; to any other client every answer
// stays exactly what it was.

// The extension's name in capabilities, and the media type of its views.
inline constexpr const char* kAppsExtension = "io.modelcontextprotocol/ui";
inline constexpr const char* kAppMimeType = "text/html;profile=mcp-app";

// Whether client `capabilities` (those of initialize, or of a stateless
// request's envelope) announce the extension for our kind of view:
// `extensions` holds kAppsExtension as an object whose `mimeTypes`, a list
// the extension requires, include kAppMimeType. Anything else, malformed
// announcements included, announces nothing, so nothing changes.
bool announcesApps(const JSON& capabilities);

// "ui://varnholt/time-view-<digest>.html": the digest of the page names it,
// so that a changed view gets a new URI and no host shows a cached old one.
std::string timeViewURI();

// Whether the view draws the answers of tool `toolName`: "summary" and
// "timesheet".
bool drawnByTimeView(const std::string& toolName);

// Links `tool`, an entry of tools/list, to the view: `_meta.ui.resourceUri`
// and the flat `_meta["ui/resourceUri"]` that earlier hosts read, both the
// view's URI; other `_meta` members stay.
void linkToTimeView(JSON& tool);

// The view's entry in resources/list on `revision` (a title where the
// revision has titles).
JSON timeViewResource(ProtocolRevision revision);

// The one content of a resources/read of the view: the page as text.
JSON timeViewContents();

// `capabilities` (the server's) with the extension announced back, for the
// client that announced it.
JSON withAppsExtension(JSON capabilities);

}  // namespace VarnholtQueryLib::MCP
