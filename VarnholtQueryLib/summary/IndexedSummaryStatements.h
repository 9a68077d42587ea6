#pragma once

#include <string>
#include <vector>

#include "IndexCatalogue.h"

namespace VarnholtQueryLib {

// The summary's index-driven statements. Together they answer what the
// literal statements of SQLiteSummaryQuery answer, without walking all of
// history.

// The eligible rows of [:from, :to] (as the timeline's statement selects
// them) in three parts, each ordered by effective time: frame-dated rows,
// and self-dated rows of the recording_id values NULL and '' (the parts of
// EffectiveTimeWindow.h). Every eligible row is in exactly one part; merged
// by time they are the literal statement's rows. Columns: t (the effective
// time), rid (the rowid), id, apps, entities_json; without `withEntities`,
// entities_json is an empty list and the rows' entities are not read at all
// (of the index pages a range reads, theirs are the most); with
// `withDescriptions` the description (vlm_description) last.
std::vector<std::string> indexedActivityStatements(bool withEntities = true, bool withDescriptions = false);

// The entities of the observation :id, as those statements' entities_json
// gives them: for rows read without their entities whose entities are
// needed after all, one by one.
std::string observationEntitiesStatement();

// Whether the catalogue has every index those statements walk.
bool servesIndexedActivity(const VarnholtSQLiteSupport::IndexCatalogue& catalogue);

// The frames of [:from, :to] by analysis state, in the literal counting
// statement's columns, from counts over frames(timestamp) and
// frames(analyzed, timestamp) that read no table row.
extern const char* const kIndexedFrameCountsStatement;

// Whether the catalogue has the indexes that statement counts over.
bool servesIndexedFrameCounts(const VarnholtSQLiteSupport::IndexCatalogue& catalogue);

}  // namespace VarnholtQueryLib
