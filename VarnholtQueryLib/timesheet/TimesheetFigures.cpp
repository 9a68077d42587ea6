#include "timesheet/TimesheetFigures.h"

#include <cmath>
#include <optional>

#include "timesheet/LargestRemainders.h"

namespace VarnholtQueryLib {

namespace {

// The printed parts of `total`: the categories' parts, then the
// uncategorized part last.
std::vector<std::int64_t> apportioned(const std::vector<TimesheetPart>& categories, const TimesheetPart& uncategorized,
                                      double total, const std::optional<std::size_t>& day) {
    std::vector<double> parts;
    parts.reserve(categories.size() + 1);
    const auto partOf = [&](const TimesheetPart& part) { return day ? part.daySeconds[*day] : part.seconds; };
    for (const TimesheetPart& category : categories) parts.push_back(partOf(category));
    parts.push_back(partOf(uncategorized));
    return largestRemainders(parts, wholeSeconds(total));
}

}  // namespace

TimesheetFigures TimesheetFigures::of(const TimesheetAccount& account) {
    TimesheetFigures figures;
    figures.activeSeconds = wholeSeconds(account.activeSeconds);
    std::vector<std::int64_t> parts =
        apportioned(account.categories, account.uncategorized, account.activeSeconds, std::nullopt);
    figures.uncategorizedSeconds = parts.back();
    parts.pop_back();
    figures.categorySeconds = std::move(parts);
    for (std::size_t day = 0; day < account.days.size(); ++day) {
        Day printed;
        printed.date = account.days[day].date;
        printed.activeSeconds = wholeSeconds(account.days[day].activeSeconds);
        std::vector<std::int64_t> dayParts =
            apportioned(account.categories, account.uncategorized, account.days[day].activeSeconds, day);
        printed.uncategorizedSeconds = dayParts.back();
        dayParts.pop_back();
        printed.categorySeconds = std::move(dayParts);
        figures.days.push_back(std::move(printed));
    }
    return figures;
}

double shareOf(double seconds, double activeSeconds) {
    if (!(activeSeconds > 0)) return 0;
    return static_cast<double>(std::llround(seconds * 1000 / activeSeconds)) / 10;
}

}  // namespace VarnholtQueryLib
