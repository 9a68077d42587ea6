#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/LocalCalendar.h"

namespace VarnholtQueryLib {

// A range whose days are more than an answer lists.
class TooManyDays : public std::runtime_error {
public:
    explicit TooManyDays(std::size_t most);
    std::size_t most() const { return most_; }

private:
    std::size_t most_;
};

// The local calendar days an account of a range lists, and the day each
// row's cover counts for (the local day of its time, in `calendar`): every
// local day that begins before `coverEnd` (the end of the range or now,
// whichever is earlier), from the day of `rangeStart` on, days without rows
// too, and any later day a row falls on (a row exactly at the end of a
// range that ends at midnight). Every account of a range's days (the
// summary's, a timesheet's) lists them so.
//
// Holds `calendar` by reference; it must outlive the days. Single-threaded.
class RangeDays {
public:
    // The most days an account lists: some 270 years.
    static constexpr std::size_t kMostDays = 100000;

    // Throws TooManyDays when the range has more than kMostDays days.
    RangeDays(const LocalCalendar& calendar, double rangeStart, double coverEnd);

    // Back to the listed days only, for a scan that starts again.
    void restart();
    // The place, among dates(), of the day of `time`; a day after the
    // listed ones is added. REQUIRES: times come in non-decreasing order
    // (since the last restart).
    std::size_t dayOf(double time);
    // The days so far, in date order ("yyyy-MM-dd").
    const std::vector<std::string>& dates() const { return dates_; }

private:
    const LocalCalendar& calendar_;
    std::size_t listed_ = 0;  // dates_ begins with the listed days
    std::vector<std::string> dates_;
    std::size_t cursor_ = 0;
    // The local day of dates_[cursor_]: [dayStart_, dayEnd_), or empty.
    double dayStart_ = 0;
    double dayEnd_ = 0;
};

}  // namespace VarnholtQueryLib
