#include "cli/CommandRunners.h"
#include "cli/TimeRangeChoice.h"
#include "timeline/RecentResponse.h"
#include "RecentWorkTimelineUseCase.h"
#include "SQLiteObservationTimeline.h"
#include "IndexCatalogue.h"
#include "SQLiteReadConnection.h"

namespace VarnholtQueryLib {

namespace {

// Five-minute moments: fine enough to follow a working session, coarse
// enough that a day fits in one answer.
constexpr std::int64_t kBucketSeconds = 300;

}  // namespace

JSON answerTimelineCommand(const Command::Recent& command,
                           VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                           const CommandEnvironment& environment) {
    // One reading of the clock serves the range and the "current_*" fields,
    // so they always agree.
    const double now = environment.platform.clock.now();
    const auto indexes = VarnholtSQLiteSupport::IndexCatalogue::read(connection.handle());
    const TimeRange range =
        chooseTimeRange({command.preset, command.since, command.rangeFrom, command.rangeTo, command.weekStart},
                        connection, indexes, environment.calendar, now);

    RecentWorkTimelineSQLite::SQLiteObservationTimeline timeline(connection, indexes);
    RecentWorkTimelineCore::RecentWorkTimelineUseCase useCase(timeline, kBucketSeconds);
    const auto moments = useCase.execute(range.from, range.to);

    // Always JSON, whatever --json says: agents read this output.
    return makeRecentResponse(moments, range, command.images, command.compact, command.limit,
                              environment.calendar, now);
}

}  // namespace VarnholtQueryLib
