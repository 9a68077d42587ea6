#include "cli/CommandBuilders.h"
#include "cli/CommandRunners.h"
#include "platform/LocalCalendar.h"
#include "timeline/RecentResponse.h"
#include "RecentWorkTimelineUseCase.h"
#include "SQLiteObservationTimeline.h"
#include "status/SQLiteOperationalStatusQuery.h"
#include "IndexCatalogue.h"
#include "SQLiteReadConnection.h"
#include "cli/TimePresets.h"

namespace VarnholtQueryLib {

namespace {

// Five-minute moments: fine enough to follow a working session, coarse
// enough that a day fits in one answer.
constexpr std::int64_t kBucketSeconds = 300;

// The one reading of the clock of this run, handed to the metrics query so
// that nothing in the command sees a second, later "now".
class ClockReading final : public ClockPort {
public:
    explicit ClockReading(double now) : now_(now) {}
    double now() const override { return now_; }

private:
    const double now_;
};

// The range a timeline command asks about. `last-active-day` is the one
// that must look at the database first: it follows the newest observation,
// and with none at all it shows today (and says so in its preset).
TimeRange chooseRange(const Command::Recent& command,
                      VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                      const VarnholtSQLiteSupport::IndexCatalogue& indexes,
                      const CommandEnvironment& environment, double now) {
    const LocalCalendar& calendar = environment.calendar;
    if (!command.preset) {
        if (command.since) return TimePresets::recent(*command.since, now);
        return TimePresets::today(calendar, now);
    }
    const std::string& preset = *command.preset;
    if (preset == "today") return TimePresets::today(calendar, now);
    if (preset == "yesterday") return TimePresets::yesterday(calendar, now);
    if (preset == "this-week") return TimePresets::thisWeek(calendar, now);
    if (preset == "range") {
        return TimePresets::range(calendar, command.rangeFrom.value_or(""),
                                  command.rangeTo.value_or(""));
    }
    if (preset == "last-active-day") {
        const ClockReading clock(now);
        SQLiteOperationalStatusQuery metricsQuery(connection, indexes, clock);
        const OperationalMetrics metrics = metricsQuery.getOperationalMetrics();
        if (metrics.lastObservationAt) {
            return TimePresets::lastActiveDay(calendar,
                                              static_cast<double>(*metrics.lastObservationAt));
        }
        return TimePresets::today(calendar, now);
    }
    throw unknownPresetError(preset);
}

}  // namespace

JSON answerTimelineCommand(const Command::Recent& command,
                           VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                           const CommandEnvironment& environment) {
    // One reading of the clock serves the range and the "current_*" fields,
    // so they always agree.
    const double now = environment.platform.clock.now();
    const auto indexes = VarnholtSQLiteSupport::IndexCatalogue::read(connection.handle());
    const TimeRange range = chooseRange(command, connection, indexes, environment, now);

    RecentWorkTimelineSQLite::SQLiteObservationTimeline timeline(connection, indexes);
    RecentWorkTimelineCore::RecentWorkTimelineUseCase useCase(timeline, kBucketSeconds);
    const auto moments = useCase.execute(range.from, range.to);

    // Always JSON, whatever --json says: agents read this output.
    return makeRecentResponse(moments, range, command.images, command.compact, command.limit,
                              environment.calendar, now);
}

}  // namespace VarnholtQueryLib
