#include "summary/RangeDays.h"

#include <utility>

namespace VarnholtQueryLib {

TooManyDays::TooManyDays(std::size_t most)
    : std::runtime_error("The range has more than " + std::to_string(most) + " days"), most_(most) {}

RangeDays::RangeDays(const LocalCalendar& calendar, double rangeStart, double coverEnd) : calendar_(calendar) {
    auto listed = calendar_.daysBeginningBefore(rangeStart, coverEnd, kMostDays);
    if (!listed) throw TooManyDays(kMostDays);
    for (LocalDay& day : *listed) dates_.push_back(std::move(day.date));
    listed_ = dates_.size();
}

void RangeDays::restart() {
    dates_.resize(listed_);
    cursor_ = 0;
    dayStart_ = dayEnd_ = 0;
}

std::size_t RangeDays::dayOf(double time) {
    if (cursor_ < dates_.size() && time >= dayStart_ && time < dayEnd_) return cursor_;
    std::string date = calendar_.localDate(time);
    dayStart_ = calendar_.startOfDay(time);
    dayEnd_ = calendar_.startOfDay(calendar_.addingDays(dayStart_, 1));
    // Where the calendar cannot say where the day ends (at its limits),
    // every time asks again.
    if (!(dayStart_ <= time && time < dayEnd_)) dayStart_ = dayEnd_ = 0;
    // Times come in order, and so do the days: the day of `time` is the
    // current one, a later listed one, or one after every listed day.
    std::size_t found = cursor_;
    while (found < dates_.size() && dates_[found] != date) ++found;
    if (found == dates_.size()) dates_.push_back(std::move(date));
    cursor_ = found;
    return found;
}

}  // namespace VarnholtQueryLib
