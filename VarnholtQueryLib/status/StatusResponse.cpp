#include "status/StatusResponse.h"

#include <cmath>
#include <cstdio>
#include <ostream>

#include "status/ByteCountFormat.h"
#include "platform/LocalCalendar.h"

namespace VarnholtQueryLib {

namespace {

JSON instantOrNull(const std::optional<double>& instant) {
    return instant ? JSON(formatUTCInternetDateTime(*instant)) : JSON(nullptr);
}

JSON instantOrNull(const std::optional<std::int64_t>& seconds) {
    return seconds ? JSON(formatUTCInternetDateTime(static_cast<double>(*seconds))) : JSON(nullptr);
}

JSON textOrNull(const std::optional<std::string>& text) {
    return text ? JSON(*text) : JSON(nullptr);
}

// Observations per frame times 100; F < 1 has no meaningful ratio.
double coveragePercent(const OperationalMetrics& metrics) {
    if (metrics.totalFrames < 1) return 0.0;
    return static_cast<double>(metrics.totalObservations) /
           static_cast<double>(metrics.totalFrames) * 100.0;
}

std::string humanCoverage(const OperationalMetrics& metrics) {
    char text[64];
    std::snprintf(text, sizeof text, "%.1f", coveragePercent(metrics));
    return text;
}

void printTail(const char* title, const std::optional<std::string>& tail, std::ostream& out) {
    if (!tail) return;
    // The tail is printed as it came, with its own trailing newline, so an
    // empty line usually follows it.
    out << "\n=== Tail of " << title << " ===\n\n" << *tail << "\n";
}

}  // namespace

double coverageRatio(const OperationalMetrics& metrics) {
    if (metrics.totalFrames < 1) return 0.0;
    return std::round(coveragePercent(metrics)) / 100.0;
}

JSON makeOperationalJSON(const StatusData& statusData) {
    const OperationalMetrics& metrics = *statusData.operationalMetrics;
    JSON operational = JSON::object();
    operational["total_frames"] = metrics.totalFrames;
    operational["total_observations"] = metrics.totalObservations;
    operational["pending_frames"] = metrics.pendingFrames;
    operational["coverage_percent"] = coverageRatio(metrics);
    operational["last_frame_at"] = instantOrNull(metrics.lastFrameTimestamp);
    operational["last_observation_at"] = instantOrNull(metrics.lastObservationTimestamp);
    operational["frames_last_5min"] = metrics.framesLast5Min;
    operational["observations_last_5min"] = metrics.observationsLast5Min;
    operational["diagnosis"] = textOrNull(statusData.diagnosis);
    operational["diagnosis_message"] = textOrNull(statusData.diagnosisMessage);
    return operational;
}

std::optional<JSON> makeDegradedBridgeHealthJSON(const StatusData& statusData) {
    const auto& health = statusData.bridgeHealth;
    if (!health || health->status != "degraded") return std::nullopt;
    JSON bridge = JSON::object();
    bridge["status"] = health->status;
    bridge["last_error_reason"] = textOrNull(health->lastErrorReason);
    bridge["report_timestamp"] = textOrNull(health->reportTimestamp);
    bridge["report_path"] = textOrNull(health->reportPath);
    return bridge;
}

JSON makeStatusResponse(const StatusData& statusData, const LocalCalendar& calendar) {
    JSON database = JSON::object();
    database["path"] = statusData.dbPath;
    database["size_bytes"] = statusData.sizeBytes;
    database["schema_version"] = statusData.schemaVersion;
    if (const auto& metrics = statusData.operationalMetrics) {
        database["total_observations"] = metrics->totalObservations;
        database["first_observation_at"] = instantOrNull(metrics->firstObservationAt);
        database["last_observation_at"] = instantOrNull(metrics->lastObservationAt);
    }

    JSON data = JSON::object();
    data["database"] = database;
    data["recorder_likely_active"] = statusData.recorderLikelyActive;
    data["last_db_modified"] = instantOrNull(statusData.lastDbModified);
    if (statusData.operationalMetrics) data["operational"] = makeOperationalJSON(statusData);
    if (auto bridge = makeDegradedBridgeHealthJSON(statusData)) data["bridge_health"] = *bridge;

    JSON response = JSON::object();
    response["ok"] = true;
    response["api_version"] = 2;
    response["data"] = data;
    response["error"] = nullptr;
    response["meta"] = JSON{{"timezone", calendar.timeZoneIdentifier()}};
    return response;
}

void printHumanStatus(const StatusData& statusData, std::ostream& out) {
    const auto& metrics = statusData.operationalMetrics;
    out << "=== Varnholt Status ===\n";
    out << "\n";
    out << "  Database: " << statusData.dbPath << "\n";
    out << "  Size: " << formatByteCount(statusData.sizeBytes) << "\n";
    out << "  Schema: v" << statusData.schemaVersion << "\n";
    if (metrics) {
        out << "  Total observations: " << metrics->totalObservations << "\n";
        if (metrics->firstObservationAt) {
            out << "  First observation: "
                << formatUTCInternetDateTime(static_cast<double>(*metrics->firstObservationAt))
                << "\n";
        }
        if (metrics->lastObservationAt) {
            out << "  Last observation: "
                << formatUTCInternetDateTime(static_cast<double>(*metrics->lastObservationAt))
                << "\n";
        }
    }
    out << "  Recorder active: "
        << (statusData.recorderLikelyActive ? "likely yes" : "no recent activity") << "\n";
    if (statusData.lastDbModified) {
        out << "  Last modified: " << formatUTCInternetDateTime(*statusData.lastDbModified) << "\n";
    }

    if (metrics) {
        // The labels are padded to line the values up; "Total observations:"
        // and "Observations (5min):" are too long for the column and keep
        // one space.
        out << "\n";
        out << "=== Operational Metrics ===\n";
        out << "\n";
        out << "  Total frames:      " << metrics->totalFrames << "\n";
        out << "  Total observations: " << metrics->totalObservations << "\n";
        out << "  Pending analysis:  " << metrics->pendingFrames << "\n";
        out << "  Coverage:          " << humanCoverage(*metrics) << "%\n";
        if (metrics->lastFrameTimestamp) {
            out << "  Last frame:        " << formatUTCInternetDateTime(*metrics->lastFrameTimestamp)
                << "\n";
        }
        if (metrics->lastObservationTimestamp) {
            out << "  Last observation:  "
                << formatUTCInternetDateTime(*metrics->lastObservationTimestamp) << "\n";
        }
        out << "  Frames (5min):     " << metrics->framesLast5Min << "\n";
        out << "  Observations (5min): " << metrics->observationsLast5Min << "\n";
    }

    if (statusData.diagnosis && statusData.diagnosisMessage) {
        out << "\n=== Diagnosis ===\n\n";
        out << "  " << *statusData.diagnosis << "\n";
        out << "  " << *statusData.diagnosisMessage << "\n";
    }

    printTail("recorder.log", statusData.tailLogRecorder, out);
    printTail("mlx-bridge-recorder-vlm.log", statusData.tailLogBridge, out);
    printTail("mlx-bridge-recorder-vlm-stdout.log", statusData.tailLogBridgeErrors, out);
}

}  // namespace VarnholtQueryLib
