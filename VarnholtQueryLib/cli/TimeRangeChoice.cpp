#include "cli/TimeRangeChoice.h"

#include "cli/CommandBuilders.h"
#include "period/TimePresets.h"
#include "platform/LocalCalendar.h"
#include "platform/PlatformPorts.h"
#include "status/SQLiteOperationalStatusQuery.h"
#include "IndexCatalogue.h"
#include "SQLiteReadConnection.h"

namespace VarnholtQueryLib {

namespace {

// The one reading of the clock of the answer, handed to the metrics query
// so that nothing in the command sees a second, later "now".
class ClockReading final : public ClockPort {
public:
    explicit ClockReading(double now) : now_(now) {}
    double now() const override { return now_; }

private:
    const double now_;
};

}  // namespace

TimeRange chooseTimeRange(const TimeRangeRequest& request,
                          VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                          const VarnholtSQLiteSupport::IndexCatalogue& indexes,
                          const LocalCalendar& calendar, double now) {
    if (!request.preset) {
        if (request.since) return TimePresets::recent(*request.since, now);
        return TimePresets::today(calendar, now);
    }
    const std::string& preset = *request.preset;
    if (preset == "today") return TimePresets::today(calendar, now);
    if (preset == "yesterday") return TimePresets::yesterday(calendar, now);
    if (preset == "this-week") return TimePresets::thisWeek(calendar, now);
    if (preset == "range") {
        return TimePresets::range(calendar, request.rangeFrom.value_or(""),
                                  request.rangeTo.value_or(""));
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

}  // namespace VarnholtQueryLib
