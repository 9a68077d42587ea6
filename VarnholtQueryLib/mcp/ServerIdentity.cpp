#include "mcp/ServerIdentity.h"

#include "cli/BuildMetadata.h"

namespace VarnholtQueryLib::MCP {

namespace {

constexpr const char* kServerName = "varnholt-mcp";
constexpr const char* kServerTitle = "Varnholt work memory";
constexpr const char* kInstructions =
    "Answers questions about the user's recent work from the local screen recorder's database, "
    "read-only. Use summary for where the time of a day, a week or any range went (active time, "
    "sessions, time per application and entity, days; exact, and within max_chars), timeline "
    "for the moments of a short period in detail (it keeps only the newest 5,000 observations "
    "of a range), search for a topic or, with all_words and latest, a moment the user remembers, "
    "and entities for the apps, people and tools involved; "
    "status and support_context diagnose the recorder itself. Every answer is a JSON document "
    "with ok, data, error and meta; meta gives the user's time zone and current time, and a "
    "failure has ok false and an error code.";

}  // namespace

JSON serverInfo(ProtocolRevision revision) {
    JSON info = {{"name", kServerName}, {"version", BuildMetadata::version}};
    if (hasStructuredToolOutput(revision)) info["title"] = kServerTitle;
    return info;
}

JSON serverCapabilities(ProtocolRevision revision) {
    JSON capabilities = {
        {"tools", {{"listChanged", false}}},
        {"resources", {{"subscribe", false}, {"listChanged", false}}},
        {"prompts", {{"listChanged", false}}},
    };
    if (hasCompletionsCapability(revision)) capabilities["completions"] = JSON::object();
    return capabilities;
}

const char* serverInstructions() { return kInstructions; }

bool isImplementation(const JSON& info) {
    return info.is_object() && info.contains("name") && info["name"].is_string() &&
           info.contains("version") && info["version"].is_string();
}

}  // namespace VarnholtQueryLib::MCP
