#pragma once

#include <string>
#include <vector>

#include "ObservationScanOrder.h"

namespace VarnholtQueryLib {

// The support context's observations from indexes: the same rows, order and
// values as the literal statement (SQLiteSupportContextQuery::kStatement),
// reading only the observations of the window instead of all of history.
//
// The window [:from, open) comes in its two parts (EffectiveTimeWindow.h),
// every recording_id value alike, as the literal statement keeps them all;
// rows far in the future and rows whose time is text (which sorts after
// every number) belong to an open window too. Newest first; equal times in
// the literal statement's walk order, `tieOrder` (observationScanOrder).
std::string indexedSupportContextStatement(const std::vector<VarnholtSQLiteSupport::OrderTerm>& tieOrder);

}  // namespace VarnholtQueryLib
