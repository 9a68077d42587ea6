#pragma once

#include <string>

namespace VarnholtQueryLib {

// A pair of instants (seconds since 1970 UTC) and how it was chosen: the
// preset word, "recent" or "range".
struct TimeRange {
    double from = 0;
    double to = 0;
    std::string preset;
};

}  // namespace VarnholtQueryLib
