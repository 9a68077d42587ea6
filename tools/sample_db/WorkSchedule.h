#pragma once

#include <cstdint>
#include <vector>

#include "SampleRandom.h"

namespace VarnholtSampleData {

// When the screen changed on one local day: the capture times (seconds since
// 1970, UTC, millisecond fractions) of its frames, ascending.
//
// Weekdays are working days, roughly 08:30-12:45 and 13:15-18:30 local time
// with a lunch break and a few short pauses; a frame arrives every 1 to 6
// seconds while the user works, with now and then a still screen for a few
// minutes. That gives about 5,000 to 14,000 frames per weekday. A weekend day
// has a short session now and then, or nothing.
std::vector<double> frameTimesOfDay(std::int64_t day, int utcOffsetSeconds, SampleRandom& random);

// A recorder database is usually looked at while the recorder runs: when the
// last half hour before `endTime` saw no capture, a working session of one to
// two hours is appended that lasts until `endTime`. `times` ascend and none
// lies after `endTime`.
void extendUntil(std::vector<double>& times, double endTime, SampleRandom& random);

}  // namespace VarnholtSampleData
