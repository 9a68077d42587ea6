#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "output/JSONWriter.h"
#include "search/ObservationSearchRecords.h"

namespace VarnholtQueryLib {

class LocalCalendar;

// The document the `search` command prints: the usual envelope ("ok",
// "api_version", "data", "error", "meta") with one object per result in
// "data.results", and in "meta" the effective query ("all_words" only when it
// was asked for), the local clock and whether more results are likely.
//
// `results` are printed in their order, already collapsed when collapsing was
// asked for; `params` are the effective ones (the use case's, not the
// command line's). `compact` leaves out the (redacted) descriptions; `images`
// adds "image_path", null when an observation has none. `originalCount` is
// the number of results before collapsing, absent without collapsing; it
// decides "has_more" and, when collapsing removed anything, "collapsed_from".
// `calendar` and `now` give "timezone", "current_date" and
// "current_datetime". Never throws.
JSON makeSearchResponse(const std::vector<ObservationSearchResult>& results,
                        const ObservationSearchParams& params, bool compact, bool images,
                        std::optional<std::int64_t> originalCount, const LocalCalendar& calendar,
                        double now);

}  // namespace VarnholtQueryLib
