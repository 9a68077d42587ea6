#include "summary/CoverageResponse.h"

#include "platform/LocalCalendar.h"

namespace VarnholtQueryLib {

JSON coverageJSON(const FrameCoverage& coverage, const std::vector<FrameGap>& gaps, std::int64_t observations) {
    JSON gapList = JSON::array();
    for (const FrameGap& gap : gaps) {
        gapList.push_back({{"from_iso", formatUTCInternetDateTime(gap.from)},
                           {"to_iso", formatUTCInternetDateTime(gap.to)}});
    }
    return {
        {"frames", coverage.counts.frames},
        {"analyzed_frames", coverage.counts.analyzedFrames},
        {"pending_frames", coverage.counts.pendingFrames},
        {"failed_frames", coverage.counts.failedFrames},
        {"observations", observations},
        {"gaps", std::move(gapList)},
        {"verdict", coverage.verdict ? JSON(*coverage.verdict) : JSON(nullptr)},
    };
}

}  // namespace VarnholtQueryLib
