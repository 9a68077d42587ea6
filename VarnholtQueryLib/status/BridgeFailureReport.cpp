#include "status/BridgeFailureReport.h"

#include <nlohmann/json.hpp>

namespace VarnholtQueryLib {

namespace {

// The one place that names the keys, so that decode and encode cannot drift.
template <typename Visit>
void forEachField(BridgeFailureReport& report, Visit&& visit) {
    visit("timestamp", report.timestamp);
    visit("pythonPath", report.pythonPath);
    visit("bridgePath", report.bridgePath);
    visit("modelId", report.modelId);
    visit("socketPath", report.socketPath);
    visit("reason", report.reason);
}

}  // namespace

std::string BridgeFailureReport::reportPath(const std::string& homeDirectory) {
    return homeDirectory + "/.varnholt/last-bridge-error.json";
}

std::optional<BridgeFailureReport> BridgeFailureReport::decode(std::string_view bytes) {
    // The non-throwing parse: a malformed file is an expected condition.
    const nlohmann::json document =
        nlohmann::json::parse(bytes.begin(), bytes.end(), nullptr, /*allow_exceptions=*/false);
    if (document.is_discarded() || !document.is_object()) return std::nullopt;

    BridgeFailureReport report;
    bool complete = true;
    forEachField(report, [&](const char* key, std::string& field) {
        const auto member = document.find(key);
        if (member == document.end() || !member->is_string()) {
            complete = false;
            return;
        }
        field = member->get<std::string>();
    });
    if (!complete) return std::nullopt;
    return report;
}

std::optional<BridgeFailureReport> BridgeFailureReport::read(const FileSystemPort& fileSystem,
                                                             const std::string& homeDirectory) {
    const std::optional<std::string> bytes = fileSystem.readFile(reportPath(homeDirectory));
    if (!bytes) return std::nullopt;
    return decode(*bytes);
}

std::string BridgeFailureReport::encode() const {
    nlohmann::json document = nlohmann::json::object();
    BridgeFailureReport copy = *this;
    forEachField(copy, [&](const char* key, std::string& field) { document[key] = field; });
    // Replacing invalid UTF-8 rather than throwing: decoded reports are always
    // valid, but a hand-built one need not be.
    return document.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace VarnholtQueryLib
