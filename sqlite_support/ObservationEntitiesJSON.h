#pragma once

namespace VarnholtSQLiteSupport {

// The entities of observation o as one JSON text, for the index-driven
// statements (the literal statements spell out the same sub-select):
// json_group_array of {"kind", "value"} objects from observation_entities,
// in the order observation_entities(observation_id) lists them.
//
// An entity whose kind or value is NULL or a BLOB is left out: it names
// nothing a reader could use, and json_object() fails the whole statement
// on a BLOB. A number stored there has become text already (the columns have
// TEXT affinity), and in a table without that affinity it stays a JSON
// number, which the readers skip.
extern const char* const kObservationEntitiesJSON;

}  // namespace VarnholtSQLiteSupport
