#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace VarnholtQueryLib {

// The live state of the recorder's processing pipeline, as the recorder writes
// it every few seconds to ~/.varnholt/pipeline-status.json: screen capture,
// the analysis phase, the job queue, the vision-language-model bridge, the
// GLiNER entity extractor, backfill of older observations and resource use.
// This tool only reads that file, for the live monitor. A plain value.
//
// Instants are seconds since 1970-01-01 UTC. The free-text labels (states,
// phase, energy mode, method, job label) belong to the recorder and are shown
// verbatim; nothing here gives them meaning.
struct PipelineSnapshot {
    struct CaptureSnapshot {
        std::string state;
        std::optional<std::string> reason;

        bool operator==(const CaptureSnapshot&) const = default;
    };
    struct AnalysisSnapshot {
        std::string phase;
        std::optional<double> since;  // when the phase began

        bool operator==(const AnalysisSnapshot&) const = default;
    };
    struct QueueSnapshot {
        std::int64_t depth = 0;  // pending jobs of every priority
        std::int64_t realtime = 0;
        std::int64_t normal = 0;
        std::int64_t critical = 0;
        std::string currentJobLabel;  // empty when no job runs
        bool isProcessing = false;
        bool circuitOpen = false;  // the queue's circuit breaker
        std::string energyMode;

        bool operator==(const QueueSnapshot&) const = default;
    };
    struct BridgeSnapshot {
        std::string state;
        std::string method;  // how the bridge is reached or run; may be empty
        std::int32_t pid = 0;
        std::optional<double> since;  // when the bridge entered its state

        bool operator==(const BridgeSnapshot&) const = default;
    };
    struct GLiNERSnapshot {
        bool active = false;
        std::optional<double> since;  // since when it has been active

        bool operator==(const GLiNERSnapshot&) const = default;
    };
    struct BackfillSnapshot {
        bool active = false;
        std::int64_t attempted = 0;
        std::int64_t enriched = 0;

        bool operator==(const BackfillSnapshot&) const = default;
    };
    struct CPUSnapshot {
        double recorderRSS_GB = 0;  // resident memory, gigabytes
        double bridgeRSS_GB = 0;
        double bridgeCPU_pct = 0;  // percent of one core, as the recorder measures it

        bool operator==(const CPUSnapshot&) const = default;
    };

    double updatedAt = 0;  // when the recorder wrote the snapshot
    CaptureSnapshot capture;
    AnalysisSnapshot analysis;
    QueueSnapshot queue;
    BridgeSnapshot bridge;
    GLiNERSnapshot gliner;
    BackfillSnapshot backfill;
    CPUSnapshot cpu;

    bool operator==(const PipelineSnapshot&) const = default;
};

// Decodes the bytes of the status file. Member names are the field names
// above, exactly (camelCase). Every field is required with its JSON type
// except `capture.reason`, `analysis.since`, `bridge.since` and
// `gliner.since`, which may be missing or null. Dates are internet
// date-times with "Z" or a "±hh:mm" offset and whole seconds. Unknown members
// are ignored.
//
// Absent when the bytes are not one JSON object of that shape: not JSON, a
// required member missing, null or of another JSON type, a malformed date, an
// integer out of range. There is no partial result and no reason: the monitor
// treats every such file like a missing one. Never throws.
std::optional<PipelineSnapshot> decodePipelineSnapshot(std::string_view bytes);

// The snapshot in the file's format: dates as UTC internet date-times (whole
// seconds; a fraction is dropped), absent optional fields omitted rather than
// written as null. decodePipelineSnapshot reads it back unchanged when every
// date is a whole second.
std::string encodePipelineSnapshot(const PipelineSnapshot& snapshot);

}  // namespace VarnholtQueryLib
