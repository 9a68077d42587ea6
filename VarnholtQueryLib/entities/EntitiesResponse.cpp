#include "entities/EntitiesResponse.h"

#include <cstdint>

#include "platform/LocalCalendar.h"

namespace VarnholtQueryLib {

namespace {

constexpr std::int64_t kAPIVersion = 2;

JSON entityObject(const EntityAggregation& entity) {
    JSON object = JSON::object();
    object["kind"] = entity.kind;
    object["value"] = entity.value;
    object["count"] = entity.count;
    object["first_seen_iso"] = formatUTCInternetDateTime(entity.firstSeen);
    object["last_seen_iso"] = formatUTCInternetDateTime(entity.lastSeen);
    return object;
}

}  // namespace

JSON makeEntitiesResponse(const std::vector<EntityAggregation>& results,
                          const EntityQueryParams& params, const LocalCalendar& calendar,
                          double now) {
    JSON entities = JSON::array();
    for (const EntityAggregation& entity : results) entities.push_back(entityObject(entity));

    JSON meta = JSON::object();
    meta["timezone"] = calendar.timeZoneIdentifier();
    meta["current_date"] = calendar.localDate(now);
    meta["current_datetime"] = calendar.localInternetDateTime(now);
    meta["returned_entities"] = static_cast<std::int64_t>(results.size());
    if (params.kind) meta["kind_filter"] = *params.kind;
    if (params.fromTs) meta["from"] = formatUTCInternetDateTime(*params.fromTs);
    if (params.toTs) meta["to"] = formatUTCInternetDateTime(*params.toTs);

    JSON document = JSON::object();
    document["ok"] = true;
    document["api_version"] = kAPIVersion;
    document["data"] = JSON::object();
    document["data"]["entities"] = std::move(entities);
    document["error"] = nullptr;
    document["meta"] = std::move(meta);
    return document;
}

}  // namespace VarnholtQueryLib
