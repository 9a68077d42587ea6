#include "ObservationEntitiesJSON.h"

namespace VarnholtSQLiteSupport {

const char* const kObservationEntitiesJSON =
    "(SELECT json_group_array(json_object('kind', entity_kind, 'value', entity_value))\n"
    "            FROM observation_entities WHERE observation_id = o.id\n"
    "              AND typeof(entity_kind) NOT IN ('null', 'blob')\n"
    "              AND typeof(entity_value) NOT IN ('null', 'blob'))";

}  // namespace VarnholtSQLiteSupport
