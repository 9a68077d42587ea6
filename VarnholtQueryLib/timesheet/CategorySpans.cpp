#include "timesheet/CategorySpans.h"

#include <utility>

#include "redaction/PIIFilter.h"

namespace VarnholtQueryLib {

CategorySpans::CategorySpans(double idleSeconds) : idleSeconds_(idleSeconds) {}

void CategorySpans::add(double time, double cover, const std::string& description) {
    if (open_ && time - lastTime_ > idleSeconds_) closeOpenSpan();
    if (!open_) {
        open_ = true;
        current_ = {};
        current_.start = time;
    }
    lastTime_ = time;
    current_.end = time + cover;
    current_.seconds += cover;
    auto [tally, added] = descriptions_.try_emplace(description);
    if (added) tally->second.firstRow = current_.observationCount;
    ++tally->second.rows;
    ++current_.observationCount;
}

void CategorySpans::closeOpenSpan() {
    if (!open_) return;
    const std::string* chosen = nullptr;
    DescriptionTally best;
    for (const auto& [description, tally] : descriptions_) {
        if (chosen == nullptr || tally.rows > best.rows ||
            (tally.rows == best.rows && tally.firstRow < best.firstRow)) {
            chosen = &description;
            best = tally;
        }
    }
    current_.description = PIIFilter::redact(*chosen);
    spans_.push_back(std::move(current_));
    descriptions_.clear();
    open_ = false;
}

std::vector<TimesheetSpan> CategorySpans::close() {
    closeOpenSpan();
    return std::exchange(spans_, {});
}

}  // namespace VarnholtQueryLib
