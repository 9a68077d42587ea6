#pragma once

#include <cstdint>
#include <optional>

namespace VarnholtQueryLib {

// The recorder pipeline's counters, measured from the database alone: how
// much was captured and analysed, what is waiting, and how recent the newest
// work is.
struct OperationalMetrics {
    std::int64_t totalFrames = 0;
    std::int64_t totalObservations = 0;
    std::int64_t pendingFrames = 0;                       // frames with analyzed = 0
    std::optional<double> lastFrameTimestamp;             // seconds since 1970, fractions kept
    std::optional<double> lastObservationTimestamp;       // lastObservationAt as a double
    std::int64_t framesLast5Min = 0;                      // timestamp >= now - 300
    std::int64_t observationsLast5Min = 0;
    std::optional<std::int64_t> firstObservationAt;       // whole seconds, truncated
    std::optional<std::int64_t> lastObservationAt;        // whole seconds, truncated

    bool operator==(const OperationalMetrics&) const = default;
};

// Reads the operational metrics.
class OperationalStatusQueryPort {
public:
    virtual ~OperationalStatusQueryPort() = default;
    // Throws DatabaseError on failure.
    virtual OperationalMetrics getOperationalMetrics() = 0;

protected:
    OperationalStatusQueryPort() = default;
    OperationalStatusQueryPort(const OperationalStatusQueryPort&) = delete;
    OperationalStatusQueryPort& operator=(const OperationalStatusQueryPort&) = delete;
};

}  // namespace VarnholtQueryLib
