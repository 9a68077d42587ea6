#pragma once

#include <optional>
#include <string>

#include "status/OperationalMetrics.h"
#include "platform/PlatformPorts.h"
#include "status/StatusData.h"
#include "status/TailLogPort.h"

namespace VarnholtQueryLib {

// A short verdict on the recorder's pipeline: a machine code such as
// "HEALTHY" and a sentence for the user. Both present or both absent.
struct StatusDiagnosis {
    std::optional<std::string> code;
    std::optional<std::string> message;

    bool operator==(const StatusDiagnosis&) const = default;
};

// Gathers what `status` reports about the recorder's health into one
// StatusData: the database file's size and age, the operational metrics and
// their diagnosis, the tails of the recorder's logs and the bridge's health.
//
// It never fails as a whole: each source that cannot be read degrades to a
// neutral value on its own (a missing database to size 0 and not active, a
// failing metrics query to absent metrics and diagnosis, a missing,
// unreadable or malformed failure report, or anything at its path that is
// not a regular file, to "healthy"). Nothing it reads can make it wait: a
// log path that holds something other than a regular file (a FIFO, a
// directory) gives an empty tail without running tail.
//
// Both ports are optional (nullptr = absent) and borrowed; `support-context`
// builds it without a tail port. All references must outlive the use case.
class StatusUseCase {
public:
    StatusUseCase(OperationalStatusQueryPort* operationalQuery, const TailLogPort* tailLogPort,
                  const FileSystemPort& fileSystem, const ClockPort& clock,
                  std::string homeDirectory);

    // Never throws for an unreadable source.
    StatusData execute() const;

    // The first matching rule wins: no frames at all, no frames in the last
    // five minutes, observations in the last five minutes, a backlog without
    // any observation ever, a backlog of at most 100, a larger backlog.
    // Absent metrics give an absent diagnosis. Pure.
    static StatusDiagnosis computeDiagnosis(const std::optional<OperationalMetrics>& metrics);

    // The database modified less than this many seconds ago means the
    // recorder is likely writing to it.
    static constexpr double kActivityWindowSeconds = 60.0;
    static constexpr std::int64_t kTailLineCount = 20;

private:
    // The last lines of the log at `path` through the tail port, or "" when
    // `path` exists but is not a regular file. REQUIRES: a tail port.
    std::string tailOfLog(const std::string& path) const;

    OperationalStatusQueryPort* operationalQuery_;  // may be null
    const TailLogPort* tailLogPort_;                // may be null
    const FileSystemPort& fileSystem_;
    const ClockPort& clock_;
    const std::string homeDirectory_;
};

}  // namespace VarnholtQueryLib
