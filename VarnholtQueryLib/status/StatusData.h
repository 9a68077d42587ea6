#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "status/OperationalMetrics.h"

namespace VarnholtQueryLib {

// Everything the `status` command reports about the recorder's health, as
// StatusUseCase gathered it. Each source that could not be read is left at a
// neutral value (0, false or absent); nothing here says why.
struct StatusData {
    // Whether the analysis bridge left a failure report behind.
    struct BridgeHealth {
        std::string status;                          // "healthy" or "degraded"
        std::optional<std::string> lastErrorReason;  // the report's reason
        std::optional<std::string> reportTimestamp;  // verbatim from the report
        std::optional<std::string> reportPath;       // where the report lies

        bool operator==(const BridgeHealth&) const = default;
    };

    std::string dbPath;
    std::int64_t sizeBytes = 0;  // 0 when unknown
    // The lowest schema version this tool accepts, not the database's own.
    std::int32_t schemaVersion = 0;
    // The database file changed less than a minute ago.
    bool recorderLikelyActive = false;
    std::optional<double> lastDbModified;  // seconds since 1970 UTC
    // Absent without a metrics port or when the query failed.
    std::optional<OperationalMetrics> operationalMetrics;
    // Both present or both absent.
    std::optional<std::string> diagnosis;
    std::optional<std::string> diagnosisMessage;
    // The last lines of the three logs; absent when no tail port was given.
    std::optional<std::string> tailLogRecorder;      // recorder.log
    std::optional<std::string> tailLogBridge;        // mlx-bridge-recorder-vlm.log
    // Holds the bridge's standard-output log despite its name: that is where
    // the bridge's tracebacks end up.
    std::optional<std::string> tailLogBridgeErrors;  // mlx-bridge-recorder-vlm-stdout.log
    std::optional<BridgeHealth> bridgeHealth;

    bool operator==(const StatusData&) const = default;
};

}  // namespace VarnholtQueryLib
