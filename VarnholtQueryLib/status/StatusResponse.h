#pragma once

#include <iosfwd>

#include "output/JSONWriter.h"
#include "status/OperationalMetrics.h"
#include "status/StatusData.h"

namespace VarnholtQueryLib {

class LocalCalendar;

// The two renderings of a StatusData: the JSON envelope that agents read and
// the text report for a person at a terminal. Both only present: they compute
// nothing but the coverage figure and the date texts. Instants are written in
// UTC ("2026-04-01T09:30:00Z"); only the envelope's meta carries the local
// zone.

// The envelope: data {database, recorder_likely_active, last_db_modified,
// operational (with metrics), bridge_health (only when degraded)}, meta
// {timezone}.
JSON makeStatusResponse(const StatusData& statusData, const LocalCalendar& calendar);

// The human report, line by line, to `out`.
void printHumanStatus(const StatusData& statusData, std::ostream& out);

// The ten-key "operational" object, shared with the support context:
// counters, coverage_percent, the two newest times (or null) and the
// diagnosis (or null). REQUIRES: statusData.operationalMetrics is present.
JSON makeOperationalJSON(const StatusData& statusData);

// The four-key "bridge_health" object, or absent unless the bridge is
// degraded: a healthy bridge is shown by leaving the key out.
std::optional<JSON> makeDegradedBridgeHealthJSON(const StatusData& statusData);

// Observations per frame, rounded half away from zero to two decimals: 1 of
// 3 is 0.33. 0 without frames. A ratio despite its JSON name
// "coverage_percent", which agents already read.
double coverageRatio(const OperationalMetrics& metrics);

}  // namespace VarnholtQueryLib
