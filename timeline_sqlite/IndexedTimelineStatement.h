#pragma once

#include <string>
#include <vector>

#include "ObservationScanOrder.h"

namespace RecentWorkTimelineSQLite {

// The timeline's index-driven statement. It answers exactly what the literal
// statement (SQLiteObservationTimeline::kStatement) answers - the same rows,
// in the same order, with the same values - without walking all of history:
//
//  - the eligible rows come from the two parts of an effective-time window
//    (EffectiveTimeWindow.h): frame-dated rows, and self-dated rows of the
//    recording_id values NULL and '' (the only ones the timeline keeps);
//  - the newest :limit of them are kept, newest first, equal times in the
//    literal statement's own walk order (`tieOrder`, from
//    observationScanOrder); SQLite merges the three parts in that order and
//    stops after :limit rows;
//  - they come back oldest first, equal times again in walk order, which is
//    where the literal statement's stable sorts leave them;
//  - descriptions, applications and entities are read for those rows only.
//
// Parameters: :from and :to (doubles, inclusive) and :limit. :from may be
// raised above the caller's lower bound to a time that provably cuts no row
// of the answer (see SQLiteObservationTimeline::fetchTimeline), which keeps
// the self-dated parts from walking far into history.
std::string indexedTimelineStatement(const std::vector<VarnholtSQLiteSupport::OrderTerm>& tieOrder);

// The time of the frame at position :offset (0 = newest) among the frames of
// [:from, :to], newest first; no row when there are fewer. Walks
// frames(timestamp) only. A guess for the raised lower bound above.
extern const char* const kFrameAtPositionStatement;

}  // namespace RecentWorkTimelineSQLite
