#include "mcp/TimeViewApp.h"

#include <algorithm>

#include "view/TimeView.h"

namespace VarnholtQueryLib::MCP {

namespace {

// The view paints its own background but no frame; a host's border sets it
// apart from the conversation. It asks for no network, no other origin and
// no permission, so it declares no content security policy of its own and
// gets the host's strictest.
JSON viewMeta() { return {{"ui", {{"prefersBorder", true}}}}; }

}  // namespace

bool announcesApps(const JSON& capabilities) {
    if (!capabilities.is_object()) return false;
    const auto extensions = capabilities.find("extensions");
    if (extensions == capabilities.end() || !extensions->is_object()) return false;
    const auto apps = extensions->find(kAppsExtension);
    if (apps == extensions->end() || !apps->is_object()) return false;
    const auto mimeTypes = apps->find("mimeTypes");
    if (mimeTypes == apps->end() || !mimeTypes->is_array()) return false;
    return std::any_of(mimeTypes->begin(), mimeTypes->end(),
                       [](const JSON& type) { return type.is_string() && type.get<std::string>() == kAppMimeType; });
}

std::string timeViewURI() { return "ui://varnholt/time-view-" + std::string(timeViewDigest()) + ".html"; }

bool drawnByTimeView(const std::string& toolName) {
    return toolName == "summary" || toolName == "timesheet";
}

void linkToTimeView(JSON& tool) {
    const std::string uri = timeViewURI();
    JSON& meta = tool["_meta"];
    if (!meta.is_object()) meta = JSON::object();
    meta["ui"]["resourceUri"] = uri;
    meta["ui/resourceUri"] = uri;
}

JSON timeViewResource(ProtocolRevision revision) {
    JSON resource = {
        {"uri", timeViewURI()},
        {"name", "time-view"},
        {"description",
         "A picture of a summary or timesheet answer: a strip per day with the sessions or the "
         "categories' spans, the applications or the day-by-category table, and the recorder's "
         "coverage. Shown beside the summary and timesheet tools."},
        {"mimeType", kAppMimeType},
        {"_meta", viewMeta()},
    };
    if (hasStructuredToolOutput(revision)) resource["title"] = "Time view";
    return resource;
}

JSON timeViewContents() {
    return {{"uri", timeViewURI()},
            {"mimeType", kAppMimeType},
            {"text", std::string(timeViewHTML())},
            {"_meta", viewMeta()}};
}

JSON withAppsExtension(JSON capabilities) {
    capabilities["extensions"][kAppsExtension] = JSON::object();
    return capabilities;
}

}  // namespace VarnholtQueryLib::MCP
