#pragma once

#include <optional>
#include <string>
#include <vector>

namespace VarnholtQueryLib {

// The parts of a summary's answer besides its totals, each of which can be
// asked for alone: what is not asked for is neither computed nor printed.
// The totals (active time, rows, first and last activity) always are.
struct SummarySections {
    bool sessions = true;
    bool applications = true;
    bool entities = true;
    bool days = true;
    bool coverage = true;

    // Every section: the answer when nothing narrows it.
    static SummarySections all() { return {}; }
    // Only the sections named in `names` ("sessions", "applications",
    // "entities", "days", "coverage", as the answer's keys are named);
    // absent when a name is none of those.
    static std::optional<SummarySections> named(const std::vector<std::string>& names);

    bool operator==(const SummarySections&) const = default;
};

// The sections' names, in the order the answer's keys sort.
inline const char* const kSummarySectionNames[] = {"applications", "coverage", "days", "entities", "sessions"};

}  // namespace VarnholtQueryLib
