#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace VarnholtQueryLib {

// A stretch of one category's time, the evidence behind its seconds: the
// timeline of [start, end] shows what was on screen.
struct TimesheetSpan {
    double start = 0;    // its first row's time
    double end = 0;      // its last row's time plus that row's cover
    double seconds = 0;  // the covers of its rows
    std::int64_t observationCount = 0;
    // The description most of its rows hold (the timeline's collapsing key,
    // the text as stored), among equals the one whose first row comes
    // first; masked by PIIFilter.
    std::string description;

    bool operator==(const TimesheetSpan&) const = default;
};

// The spans of one category, made as its rows arrive in the order the
// rule of covers takes them: a span is a run of the category's rows in
// which each row is at most the idle gap before the category's next row
// (exactly the idle gap still continues it); the rows of other categories
// in between do not matter.
//
// Holds only the distinct descriptions of the span still open, never those
// of all rows. Single-threaded.
class CategorySpans {
public:
    // REQUIRES: idleSeconds > 0.
    explicit CategorySpans(double idleSeconds);

    // One row of the category: its time, its cover, and its description as
    // stored. REQUIRES: rows arrive in the rule's order (time never earlier
    // than the row before).
    void add(double time, double cover, const std::string& description);
    // Every span, in time order, the open one closed. The spans are
    // forgotten afterwards.
    std::vector<TimesheetSpan> close();

private:
    struct DescriptionTally {
        std::int64_t rows = 0;
        std::int64_t firstRow = 0;  // the place of its first row in the span
    };

    void closeOpenSpan();

    double idleSeconds_;
    std::vector<TimesheetSpan> spans_;
    bool open_ = false;
    double lastTime_ = 0;
    TimesheetSpan current_;
    std::unordered_map<std::string, DescriptionTally> descriptions_;
};

}  // namespace VarnholtQueryLib
