#include "mcp/ProtocolRevision.h"

#include <array>
#include <utility>

namespace VarnholtQueryLib::MCP {

namespace {

constexpr std::array<std::pair<ProtocolRevision, const char*>, 5> kRevisions = {{
    {ProtocolRevision::r2024_11_05, "2024-11-05"},
    {ProtocolRevision::r2025_03_26, "2025-03-26"},
    {ProtocolRevision::r2025_06_18, "2025-06-18"},
    {ProtocolRevision::r2025_11_25, "2025-11-25"},
    {ProtocolRevision::r2026_07_28, "2026-07-28"},
}};

constexpr ProtocolRevision kLatestByHandshake = ProtocolRevision::r2025_11_25;

}  // namespace

std::optional<ProtocolRevision> revisionNamed(const std::string& text) {
    for (const auto& [revision, name] : kRevisions) {
        if (text == name) return revision;
    }
    return std::nullopt;
}

std::string revisionName(ProtocolRevision revision) {
    for (const auto& [known, name] : kRevisions) {
        if (known == revision) return name;
    }
    return revisionName(kLatestByHandshake);
}

bool isStateless(ProtocolRevision revision) { return revision >= ProtocolRevision::r2026_07_28; }

ProtocolRevision negotiateRevision(const std::string& requested) {
    const auto named = revisionNamed(requested);
    if (!named || isStateless(*named)) return kLatestByHandshake;
    return *named;
}

std::vector<std::string> servedRevisionNames() {
    std::vector<std::string> names;
    for (auto it = kRevisions.rbegin(); it != kRevisions.rend(); ++it) names.push_back(it->second);
    return names;
}

std::vector<std::string> statelessRevisionNames() {
    std::vector<std::string> names;
    for (auto it = kRevisions.rbegin(); it != kRevisions.rend(); ++it) {
        if (isStateless(it->first)) names.push_back(it->second);
    }
    return names;
}

bool allowsBatches(ProtocolRevision revision) { return revision == ProtocolRevision::r2025_03_26; }

bool hasToolAnnotations(ProtocolRevision revision) {
    return revision >= ProtocolRevision::r2025_03_26;
}

bool hasStructuredToolOutput(ProtocolRevision revision) {
    return revision >= ProtocolRevision::r2025_06_18;
}

bool hasCompletionsCapability(ProtocolRevision revision) {
    return revision >= ProtocolRevision::r2025_03_26;
}

ErrorCode resourceNotFoundCode(ProtocolRevision revision) {
    return isStateless(revision) ? ErrorCode::invalidParams : ErrorCode::resourceNotFound;
}

}  // namespace VarnholtQueryLib::MCP
