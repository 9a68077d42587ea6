#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "summary/ActivityRecords.h"

namespace VarnholtQueryLib {

// How the frames of a range explain its account: where the recorder saw
// nothing, and why an account without rows has none.

// The stretches of [from, to] of at least `minimumSeconds` without a frame,
// from the frame times it is given in non-decreasing order: before the
// first frame, between two frames, after the last (the whole window when
// there is none). A window that ends before it starts has no gaps.
class FrameGapFinder {
public:
    // Half an hour: shorter pauses are part of working.
    static constexpr double kMinimumGapSeconds = 1800;

    FrameGapFinder(double from, double to, double minimumSeconds = kMinimumGapSeconds);

    // REQUIRES: from <= time <= to, not earlier than the time before.
    void add(double time);
    // The gaps, in time order, once every frame time was added.
    std::vector<FrameGap> close();

private:
    void gapUntil(double time);

    const double to_;
    const double minimumSeconds_;
    double last_;
    std::vector<FrameGap> gaps_;
};

// The verdicts, exactly as printed.
extern const char* const kNoFramesVerdict;
extern const char* const kAnalysisBehindVerdict;
extern const char* const kNoUsableDescriptionsVerdict;

// Why a range has no rows to count: no frames at all (kNoFramesVerdict);
// frames of which some still wait for the model (kAnalysisBehindVerdict);
// or frames that were all analysed (or failed) without a usable description
// (kNoUsableDescriptionsVerdict). Absent when there are rows.
std::optional<std::string> coverageVerdict(std::int64_t observationCount, const FrameCounts& counts);

}  // namespace VarnholtQueryLib
