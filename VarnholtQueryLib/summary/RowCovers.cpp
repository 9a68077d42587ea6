#include "summary/RowCovers.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace VarnholtQueryLib {

RowCovers::RowCovers(double idleSeconds, double coverEnd, Count count)
    : idleSeconds_(idleSeconds), coverEnd_(coverEnd), count_(std::move(count)) {}

void RowCovers::restart() { ties_.clear(); }

void RowCovers::add(ActivityRow row) {
    if (!ties_.empty() && row.time != ties_.front().time) {
        if (row.time < ties_.front().time) throw std::logic_error("Activity rows out of time order");
        settleTies(row.time);
    }
    ties_.push_back(std::move(row));
}

void RowCovers::close() {
    if (!ties_.empty()) settleTies(std::nullopt);
}

void RowCovers::settleTies(std::optional<double> nextTime) {
    // Among equal times only the last row covers anything, so which row is
    // last must not be left to the database: id, then sequence, decide.
    std::sort(ties_.begin(), ties_.end(), [](const ActivityRow& a, const ActivityRow& b) {
        if (a.id != b.id) return a.id < b.id;
        return a.sequence < b.sequence;
    });
    const double time = ties_.front().time;
    const double lastCover = nextTime ? std::min(*nextTime - time, idleSeconds_)
                                      : std::clamp(coverEnd_ - time, 0.0, idleSeconds_);
    for (std::size_t i = 0; i < ties_.size(); ++i) {
        count_(ties_[i], i + 1 < ties_.size() ? 0.0 : lastCover);
    }
    ties_.clear();
}

}  // namespace VarnholtQueryLib
