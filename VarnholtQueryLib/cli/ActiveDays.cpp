#include "cli/ActiveDays.h"

#include "cli/AnswerSnapshot.h"
#include "period/TimePresets.h"
#include "IndexCatalogue.h"
#include "SQLiteObservationTimeline.h"

namespace VarnholtQueryLib {

std::vector<std::string> daysWithActivity(const std::vector<std::string>& days, std::size_t count,
                                          const CommandEnvironment& environment) {
    std::vector<std::string> active;
    if (count == 0) return active;
    AnswerSnapshot database(environment.platform.homeDirectory);
    VarnholtSQLiteSupport::SQLiteReadConnection& connection = database.connection();
    RecentWorkTimelineSQLite::SQLiteObservationTimeline timeline(
        connection, VarnholtSQLiteSupport::IndexCatalogue::read(connection.handle()));
    for (const std::string& day : days) {
        // The day's range as the timeline command reads it, so that a day
        // offered is a day whose timeline has moments: every row the
        // timeline keeps makes a moment, so one row decides.
        const TimeRange range = TimePresets::range(environment.calendar, day, day);
        if (timeline.fetchTimeline(range.from, range.to, 1).empty()) continue;
        active.push_back(day);
        if (active.size() == count) break;
    }
    return active;
}

}  // namespace VarnholtQueryLib
