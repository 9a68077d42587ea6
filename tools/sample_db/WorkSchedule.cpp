#include "WorkSchedule.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "CivilTime.h"

namespace VarnholtSampleData {

namespace {

constexpr double kHour = 3600.0;
constexpr double kMinute = 60.0;

using Interval = std::pair<double, double>;  // seconds after local midnight

std::vector<Interval> workSessions(int weekday, SampleRandom& random) {
    if (weekday >= 1 && weekday <= 5) {
        const double morning = random.between(8.5, 9.25) * kHour;
        const double lunch = random.between(12.25, 12.75) * kHour;
        const double afterLunch = lunch + random.between(40.0, 60.0) * kMinute;
        const double evening = random.between(17.5, 18.5) * kHour;
        return {{morning, lunch}, {afterLunch, evening}};
    }
    if (random.chance(0.4)) {
        const double start = random.between(10.0, 15.0) * kHour;
        return {{start, start + random.between(30.0, 150.0) * kMinute}};
    }
    return {};
}

// Cuts up to two short pauses (coffee, a colleague at the desk) out of a session.
std::vector<Interval> withPauses(const Interval& session, SampleRandom& random) {
    std::vector<Interval> pieces = {session};
    const int pauses = random.integer(0, 2);
    for (int i = 0; i < pauses; ++i) {
        Interval& longest = *std::max_element(pieces.begin(), pieces.end(), [](const auto& a, const auto& b) {
            return a.second - a.first < b.second - b.first;
        });
        const double length = random.between(3.0, 12.0) * kMinute;
        if (longest.second - longest.first < length + 20.0 * kMinute) continue;
        const double begin =
            random.between(longest.first + 10.0 * kMinute, longest.second - 10.0 * kMinute - length);
        const Interval after = {begin + length, longest.second};
        longest.second = begin;
        pieces.push_back(after);
    }
    std::sort(pieces.begin(), pieces.end());
    return pieces;
}

// Frames from `begin` to `end` (absolute seconds), one every `meanGap`
// seconds on average.
void appendFrames(std::vector<double>& times, double begin, double end, double meanGap,
                  SampleRandom& random) {
    double t = begin + random.between(0.0, 10.0);
    while (t < end) {
        times.push_back(std::round(t * 1000.0) / 1000.0);
        double gap = meanGap * (0.5 + random.uniform());
        // A still screen: reading, thinking, a call without slides.
        if (random.chance(0.002)) gap += random.between(30.0, 300.0);
        t += gap;
    }
}

}  // namespace

std::vector<double> frameTimesOfDay(std::int64_t day, int utcOffsetSeconds, SampleRandom& random) {
    const double midnight = localDayStart(day, utcOffsetSeconds);
    // How busy the screen is varies from day to day.
    const double meanGap = random.between(2.2, 3.8);
    std::vector<double> times;
    for (const Interval& session : workSessions(weekdayOfDay(day), random)) {
        for (const Interval& piece : withPauses(session, random)) {
            appendFrames(times, midnight + piece.first, midnight + piece.second, meanGap, random);
        }
    }
    return times;
}

void extendUntil(std::vector<double>& times, double endTime, SampleRandom& random) {
    constexpr double kQuietBeforeEnd = 30.0 * kMinute;
    if (!times.empty() && times.back() >= endTime - kQuietBeforeEnd) return;
    double begin = endTime - random.between(1.0, 2.0) * kHour;
    if (!times.empty()) begin = std::max(begin, times.back() + kMinute);
    appendFrames(times, begin, endTime, random.between(2.2, 3.8), random);
    while (!times.empty() && times.back() > endTime) times.pop_back();
}

}  // namespace VarnholtSampleData
