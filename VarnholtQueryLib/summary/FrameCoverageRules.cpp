#include "summary/FrameCoverageRules.h"

namespace VarnholtQueryLib {

FrameGapFinder::FrameGapFinder(double from, double to, double minimumSeconds)
    : to_(to), minimumSeconds_(minimumSeconds), last_(from) {}

void FrameGapFinder::gapUntil(double time) {
    if (time - last_ >= minimumSeconds_) gaps_.push_back({last_, time});
}

void FrameGapFinder::add(double time) {
    gapUntil(time);
    last_ = time;
}

std::vector<FrameGap> FrameGapFinder::close() {
    gapUntil(to_);
    return std::move(gaps_);
}

const char* const kNoFramesVerdict =
    "No frames were captured in this range: the recorder was not capturing the screen.";
const char* const kAnalysisBehindVerdict =
    "Frames were captured in this range but are not analysed yet: the model is behind. Ask again later.";
const char* const kNoUsableDescriptionsVerdict =
    "Frames in this range were analysed, but none gave a usable description.";

std::optional<std::string> coverageVerdict(std::int64_t observationCount, const FrameCounts& counts) {
    if (observationCount > 0) return std::nullopt;
    if (counts.frames == 0) return kNoFramesVerdict;
    if (counts.pendingFrames > 0) return kAnalysisBehindVerdict;
    return kNoUsableDescriptionsVerdict;
}

}  // namespace VarnholtQueryLib
