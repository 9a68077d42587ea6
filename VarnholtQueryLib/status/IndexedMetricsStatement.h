#pragma once

#include <string>

#include "IndexCatalogue.h"

namespace VarnholtQueryLib {

// The operational metrics answered from indexes: the same eight columns, in
// the same order and with the same values, as the literal aggregate (see
// SQLiteOperationalStatusQuery.cpp), without reading a table row.
//
//  - COUNT(*) of frames and of observations: SQLite counts the entries of
//    the table's smallest index;
//  - pending frames: a range of frames(analyzed);
//  - newest frame, and frames of the last five minutes: frames(timestamp);
//  - oldest and newest observation, and observations of the last five
//    minutes: observations(recording_id, timestamp), once per recording_id
//    value (kRecordingGroups). The minimum of the per-value minimums is the
//    minimum, the maximum of the maximums the maximum, and the counts add up,
//    because every observation has exactly one recording_id value.
//
// Every time condition carries "< ''", as in the literal aggregate: only
// numbers are times, and the index range ends below the first text value.
//
// Parameter :since is now minus five minutes, for both recent counts.
std::string indexedMetricsStatement();

// Whether the catalogue has the indexes the statement walks.
bool servesIndexedMetrics(const VarnholtSQLiteSupport::IndexCatalogue& catalogue);

}  // namespace VarnholtQueryLib
