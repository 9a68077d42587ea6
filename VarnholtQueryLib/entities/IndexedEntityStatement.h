#pragma once

#include <string>

#include "IndexCatalogue.h"
#include "entities/EntityQueryPort.h"

namespace VarnholtQueryLib {

// Entity aggregation from indexes: the same rows, order and values as the
// literal statement (SQLiteEntityQuery::composeSQL), reading only the
// mentions of the window's observations instead of every mention ever made.
//
// The window's observations come in their two parts (EffectiveTimeWindow.h),
// every recording_id value alike, as the literal statement counts them all;
// their mentions through observation_entities(observation_id). Each mention
// is counted once with its observation's effective time, so counts, first
// and last sightings are those of the literal statement, and the grouping
// and ordering clauses are the literal ones.
//
// Parameters :from and :to (those present in `params`), :kind when
// `params.kind` is present, and :limit.
// REQUIRES: params.fromTs or params.toTs is present (with neither there is
// no window to walk, and the literal statement is the fastest plan).
std::string indexedEntityStatement(const EntityQueryParams& params);

// Whether the catalogue has every index the statement walks.
bool servesIndexedEntities(const VarnholtSQLiteSupport::IndexCatalogue& catalogue);

}  // namespace VarnholtQueryLib
