#pragma once

#include <cstdint>
#include <vector>

#include "output/JSONWriter.h"
#include "summary/ActivityRecords.h"

namespace VarnholtQueryLib {

// The "coverage" object of every answer that accounts for a range's time
// (summary, timesheet): the frames whose own time lies in the range, by
// analysis state, the `observations` counted, the `gaps` shown (the budget
// may have dropped some) and the verdict (null with rows).
JSON coverageJSON(const FrameCoverage& coverage, const std::vector<FrameGap>& gaps, std::int64_t observations);

}  // namespace VarnholtQueryLib
