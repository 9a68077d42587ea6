#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace VarnholtQueryLib {

// One observation as the support context shows it.
struct SupportContextObservation {
    double timestamp = 0;  // the frame's time, else the observation's own; seconds since 1970
    std::string vlmDescription;  // "" when the recorder stored none
    std::vector<std::string> applications;

    bool operator==(const SupportContextObservation&) const = default;
};

// What the user was just doing, for a support request: the distinct recent
// descriptions, newest first.
struct SupportContextSnapshot {
    double generatedAt = 0;  // the `now` the snapshot was taken for
    std::int64_t windowSeconds = 0;
    std::vector<SupportContextObservation> observations;  // newest first

    bool operator==(const SupportContextSnapshot&) const = default;
};

// Reads the observations of a recent window.
class SupportContextQueryPort {
public:
    virtual ~SupportContextQueryPort() = default;
    // Every observation whose effective time is at or after `since` (seconds
    // since 1970), newest first, unlimited: the caller limits after
    // collapsing repeats. Throws DatabaseError.
    virtual std::vector<SupportContextObservation> findRecentObservations(double since) = 0;

protected:
    SupportContextQueryPort() = default;
    SupportContextQueryPort(const SupportContextQueryPort&) = delete;
    SupportContextQueryPort& operator=(const SupportContextQueryPort&) = delete;
};

}  // namespace VarnholtQueryLib
