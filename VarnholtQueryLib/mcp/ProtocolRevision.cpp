#include "mcp/ProtocolRevision.h"

#include <array>
#include <utility>

namespace VarnholtQueryLib::MCP {

namespace {

constexpr std::array<std::pair<ProtocolRevision, const char*>, 4> kRevisions = {{
    {ProtocolRevision::r2024_11_05, "2024-11-05"},
    {ProtocolRevision::r2025_03_26, "2025-03-26"},
    {ProtocolRevision::r2025_06_18, "2025-06-18"},
    {ProtocolRevision::r2025_11_25, "2025-11-25"},
}};

constexpr ProtocolRevision kLatest = ProtocolRevision::r2025_11_25;

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
    return revisionName(kLatest);
}

ProtocolRevision negotiateRevision(const std::string& requested) {
    return revisionNamed(requested).value_or(kLatest);
}

bool allowsBatches(ProtocolRevision revision) { return revision == ProtocolRevision::r2025_03_26; }

bool hasToolAnnotations(ProtocolRevision revision) {
    return revision >= ProtocolRevision::r2025_03_26;
}

bool hasStructuredToolOutput(ProtocolRevision revision) {
    return revision >= ProtocolRevision::r2025_06_18;
}

}  // namespace VarnholtQueryLib::MCP
