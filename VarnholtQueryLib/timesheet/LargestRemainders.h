#pragma once

#include <cstdint>
#include <vector>

namespace VarnholtQueryLib {

// Whole seconds that add up as printed. Each part's exact seconds are cut
// to whole seconds, and the seconds the cuts lost to reach `total` go one
// each to the parts with the largest fractions (the largest remainders),
// the earlier part among equal fractions. Every part is then its exact
// seconds rounded down or up, and the parts sum to `total` exactly, so a
// timesheet's categories add up to its printed active time.
//
// Should `total` lie below the parts' whole seconds (it never does when it
// is their rounded sum), the seconds are taken back one each from the
// parts with the smallest fractions, the later part among equals, never
// below 0.
//
// REQUIRES: every part is finite and not negative; total >= 0.
std::vector<std::int64_t> largestRemainders(const std::vector<double>& parts, std::int64_t total);

}  // namespace VarnholtQueryLib
