#pragma once

#include <cstdint>

#include "summary/ActivityRecords.h"
#include "summary/SummaryQueryPort.h"

namespace VarnholtQueryLib {

// What the frames of [from, to] say about an account of its rows: their
// counts by analysis state over the whole range, the gaps of at least half
// an hour without a frame up to `coverEnd` (the end of the range or now,
// whichever is earlier), and, when the account has no rows
// (`observationCount` 0), why (coverageVerdict). Every account of a range's
// time shows it the same way. Rethrows the port's database error.
FrameCoverage readFrameCoverage(SummaryQueryPort& port, double from, double to, double coverEnd,
                                std::int64_t observationCount);

}  // namespace VarnholtQueryLib
