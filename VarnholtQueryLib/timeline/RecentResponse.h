#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "output/JSONWriter.h"
#include "period/TimeRange.h"
#include "TimelineMoment.h"

namespace VarnholtQueryLib {

class LocalCalendar;

// The answer of the timeline commands (today, yesterday, this-week,
// last-active-day, recent, range): the moments of a range inside the
// response envelope, with the query echoed and the local date and time of
// `now` in `calendar`, so an agent can tell what "today" meant.
//
// `moments` ascend by bucketStart. With `limit`, only the first `limit`
// moments are emitted: the earliest ones, deliberately, so a caller paging a
// day reads it from its start; "has_more" tells it that more follow. A
// negative limit emits no moment. `compact` leaves descriptions out;
// `images` adds each representative's image path (null when it has none).
// Descriptions are redacted and application names de-duplicated before they
// leave the process.
JSON makeRecentResponse(const std::vector<RecentWorkTimelineCore::TimelineMoment>& moments,
                        const TimeRange& timeRange, bool images, bool compact,
                        std::optional<std::int64_t> limit, const LocalCalendar& calendar,
                        double now);

}  // namespace VarnholtQueryLib
