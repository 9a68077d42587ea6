#pragma once

#include <cstdint>
#include <string>

namespace VarnholtQueryLib {

// A byte count as a file manager shows it, in decimal (1000-based) units:
// "Zero KB", "1 byte", "532 bytes", "12 KB", "12.3 MB", "1.23 GB", then TB,
// PB and EB with two decimals. Kilobytes have no decimals, megabytes one,
// larger units two; the value is rounded half away from zero, trailing zeros
// of the fraction are dropped ("12 MB", "1.2 GB"), and a value that rounds up
// to 1000 of a unit is shown in the next one (999,999 bytes is "1 MB").
// Negative counts get a leading "-".
std::string formatByteCount(std::int64_t bytes);

}  // namespace VarnholtQueryLib
