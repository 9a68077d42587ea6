#include "status/StatusUseCase.h"

#include <utility>

#include "status/BridgeFailureReport.h"
#include "SchemaVersion.h"

namespace VarnholtQueryLib {

namespace {

// Above this many pending frames with nothing analysed recently, the queue is
// backed up rather than merely idle.
constexpr std::int64_t kBackpressureThreshold = 100;

StatusDiagnosis diagnosis(const char* code, const char* message) {
    return StatusDiagnosis{std::string(code), std::string(message)};
}

}  // namespace

StatusUseCase::StatusUseCase(OperationalStatusQueryPort* operationalQuery,
                             const TailLogPort* tailLogPort, const FileSystemPort& fileSystem,
                             const ClockPort& clock, std::string homeDirectory)
    : operationalQuery_(operationalQuery),
      tailLogPort_(tailLogPort),
      fileSystem_(fileSystem),
      clock_(clock),
      homeDirectory_(std::move(homeDirectory)) {}

StatusDiagnosis StatusUseCase::computeDiagnosis(const std::optional<OperationalMetrics>& metrics) {
    if (!metrics) return {};
    if (metrics->totalFrames == 0) {
        return diagnosis("NO_DATA",
                         "No frames captured yet. The recorder may be paused or waiting for Screen "
                         "Recording permission.");
    }
    if (metrics->framesLast5Min == 0) {
        return diagnosis("NO_CAPTURE",
                         "No recent capture activity. The recorder may be paused, the screen may "
                         "be locked, or the app may not be running.");
    }
    // Anything analysed recently means the bridge works, however long the
    // queue behind it.
    if (metrics->observationsLast5Min >= 1) {
        return diagnosis("HEALTHY", "Capture and analysis are both running normally.");
    }
    // The all-time total on purpose: a bridge that has never produced
    // anything most likely dies on startup.
    if (metrics->pendingFrames >= 1 && metrics->totalObservations == 0) {
        return diagnosis("BRIDGE_DEAD",
                         "Frames are being captured but analysis is not producing observations. "
                         "The VLM bridge may have crashed on startup.");
    }
    if (metrics->pendingFrames <= kBackpressureThreshold) {
        return diagnosis("IDLE",
                         "No recent analysis activity. User may be away or screen activity is "
                         "minimal.");
    }
    return diagnosis("BACKPRESSURE",
                     "Capture is running but the analysis queue is backed up. The bridge may be "
                     "slow or stuck.");
}

StatusData StatusUseCase::execute() const {
    StatusData data;
    data.dbPath = homeDirectory_ + "/.varnholt/varnholt.db";

    if (const auto attributes = fileSystem_.attributes(data.dbPath)) {
        data.sizeBytes = attributes->sizeBytes.value_or(0);
        data.lastDbModified = attributes->modifiedAt;
        // A modification time in the future (a clock set back) gives a
        // negative age and so counts as active.
        data.recorderLikelyActive =
            data.lastDbModified && clock_.now() - *data.lastDbModified < kActivityWindowSeconds;
    }

    data.schemaVersion = VarnholtSchema::SchemaVersion::current;

    if (operationalQuery_ != nullptr) {
        // The one deliberate local catch of the tool: an unreadable database
        // is something status reports by omission, not a failure of status.
        try {
            data.operationalMetrics = operationalQuery_->getOperationalMetrics();
        } catch (...) {
            data.operationalMetrics.reset();
        }
    }

    const StatusDiagnosis verdict = computeDiagnosis(data.operationalMetrics);
    data.diagnosis = verdict.code;
    data.diagnosisMessage = verdict.message;

    if (tailLogPort_ != nullptr) {
        const std::string logs = homeDirectory_ + "/.varnholt/logs/";
        data.tailLogRecorder = tailOfLog(logs + "recorder.log");
        data.tailLogBridge = tailOfLog(logs + "mlx-bridge-recorder-vlm.log");
        data.tailLogBridgeErrors = tailOfLog(logs + "mlx-bridge-recorder-vlm-stdout.log");
    }

    StatusData::BridgeHealth health;
    health.status = "healthy";
    // Whatever is at the report's path (a directory, a FIFO, a file that
    // cannot be read), only a valid report makes the bridge degraded: the
    // status of everything else must not hang on, or fail with, this file.
    std::optional<BridgeFailureReport> report;
    try {
        report = BridgeFailureReport::read(fileSystem_, homeDirectory_);
    } catch (...) {
        report.reset();
    }
    if (report) {
        health.status = "degraded";
        health.lastErrorReason = report->reason;
        health.reportTimestamp = report->timestamp;
        health.reportPath = BridgeFailureReport::reportPath(homeDirectory_);
    }
    data.bridgeHealth = health;
    return data;
}

std::string StatusUseCase::tailOfLog(const std::string& path) const {
    // tail would wait forever on a FIFO (or fail on a directory), so only a
    // regular file is tailed. A missing log is still handed to tail, which
    // says so on standard error and gives the same empty text.
    const std::optional<FileAttributes> attributes = fileSystem_.attributes(path);
    if (attributes && !attributes->isRegularFile) return "";
    return tailLogPort_->tailLog(path, kTailLineCount);
}

}  // namespace VarnholtQueryLib
