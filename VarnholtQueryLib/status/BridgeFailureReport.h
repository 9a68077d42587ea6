#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/PlatformPorts.h"

namespace VarnholtQueryLib {

// The report the recorder leaves at ~/.varnholt/last-bridge-error.json when
// its analysis bridge fails to start or dies: one JSON object whose keys are
// the field names below, all six required strings. Unknown keys are ignored,
// so a newer recorder may add fields. A valid report on disk means the bridge
// is degraded, however old it is; this tool only reads it, never removes it.
struct BridgeFailureReport {
    std::string timestamp;   // when it failed, in whatever form the recorder wrote
    std::string pythonPath;  // interpreter the bridge was started with
    std::string bridgePath;  // the bridge program
    std::string modelId;     // the vision-language model being loaded
    std::string socketPath;  // where the bridge was to listen
    std::string reason;      // the failure text

    bool operator==(const BridgeFailureReport&) const = default;

    // `homeDirectory` + "/.varnholt/last-bridge-error.json".
    static std::string reportPath(const std::string& homeDirectory);

    // The report encoded in `bytes`; absent when they are not JSON, not an
    // object, or any of the six keys is missing, null or not a string.
    // Never throws.
    static std::optional<BridgeFailureReport> decode(std::string_view bytes);

    // The report at reportPath(homeDirectory); absent when the file is
    // missing, unreadable or not a valid report.
    static std::optional<BridgeFailureReport> read(const FileSystemPort& fileSystem,
                                                   const std::string& homeDirectory);

    // The six keys as a compact JSON object; decode() reads it back.
    std::string encode() const;
};

}  // namespace VarnholtQueryLib
