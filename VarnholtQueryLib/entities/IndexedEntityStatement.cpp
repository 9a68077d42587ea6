#include "entities/IndexedEntityStatement.h"

#include "EffectiveTimeWindow.h"

namespace VarnholtQueryLib {

using namespace VarnholtSQLiteSupport;

std::string indexedEntityStatement(const EntityQueryParams& params) {
    WindowSelect mentions;
    mentions.columns = "oe.entity_kind AS entity_kind, oe.entity_value AS entity_value, {time} AS seen";
    // The literal statement's own join forms, so each equality compares
    // with the same collation.
    mentions.frameJoin = "f.id = o.frame_id";
    mentions.joins = "\n    CROSS JOIN observation_entities oe ON oe.observation_id = o.id";
    // The unary plus keeps SQLite from walking observation_entities(entity_kind)
    // for every observation, where no index leads with observation_id and
    // entity_kind together; the comparison itself is unchanged.
    mentions.conditions =
        "typeof(oe.entity_kind) NOT IN ('null', 'blob') AND typeof(oe.entity_value) NOT IN ('null', 'blob')";
    if (params.kind) mentions.conditions += " AND +oe.entity_kind = :kind";
    mentions.bounds = {params.fromTs.has_value(), params.toTs.has_value()};
    return everyRecordingWindow("mentions", mentions) +
           "    SELECT entity_kind, entity_value,\n"
           "           COUNT(*) AS occurrence_count,\n"
           "           MIN(seen COLLATE BINARY) AS first_seen,\n"
           "           MAX(seen COLLATE BINARY) AS last_seen\n"
           "    FROM mentions\n"
           "    GROUP BY entity_kind, entity_value\n"
           "    ORDER BY occurrence_count DESC, entity_kind ASC, entity_value ASC\n"
           "    LIMIT :limit";
}

bool servesIndexedEntities(const IndexCatalogue& catalogue) {
    return servesEffectiveTimeWindows(catalogue) && catalogue.hasUniqueIndexOn("observations", {"id"}) &&
           catalogue.hasIndexOn("observation_entities", {"observation_id"});
}

}  // namespace VarnholtQueryLib
