#pragma once

#include <vector>

#include "entities/EntityQueryPort.h"
#include "output/JSONWriter.h"

namespace VarnholtQueryLib {

class LocalCalendar;

// The `entities` answer as a JSON document: the success envelope with
// "data" {"entities": [...]} in result order, each entity with "kind",
// "value", "count", "first_seen_iso" and "last_seen_iso" (UTC), and "meta"
// with the local "timezone", "current_date" and "current_datetime" of `now`,
// "returned_entities", and the echoed "kind_filter", "from" and "to" where
// `params` has them. The limit is not echoed.
JSON makeEntitiesResponse(const std::vector<EntityAggregation>& results,
                          const EntityQueryParams& params, const LocalCalendar& calendar,
                          double now);

}  // namespace VarnholtQueryLib
