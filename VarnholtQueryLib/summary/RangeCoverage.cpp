#include "summary/RangeCoverage.h"

#include "summary/FrameCoverageRules.h"

namespace VarnholtQueryLib {

FrameCoverage readFrameCoverage(SummaryQueryPort& port, double from, double to, double coverEnd,
                                std::int64_t observationCount) {
    FrameCoverage coverage;
    coverage.counts = port.countFrames(from, to);
    FrameGapFinder gaps(from, coverEnd);
    if (from <= coverEnd) port.scanFrameTimes(from, coverEnd, [&gaps](double time) { gaps.add(time); });
    coverage.gaps = gaps.close();
    coverage.verdict = coverageVerdict(observationCount, coverage.counts);
    return coverage;
}

}  // namespace VarnholtQueryLib
