#pragma once

#include "output/JSONWriter.h"
#include "status/StatusData.h"
#include "support_context/SupportContextQueryPort.h"

namespace VarnholtQueryLib {

class LocalCalendar;

// The support-context envelope: data {context_window_seconds,
// recent_observations [{timestamp, vlm_description, applications}], status
// {recorder_likely_active, last_db_modified, operational (with metrics),
// bridge_health (only when degraded)}}, meta {timezone, current_datetime}.
// Instants inside data are UTC texts; current_datetime is the snapshot's
// generatedAt in the calendar's zone with its offset. The status block
// carries no path, size, schema version or log tails. Each vlm_description
// is the snapshot's text passed through PIIFilter::redact, as in the search
// and timeline answers: the document is meant to be pasted elsewhere.
JSON makeSupportContextResponse(const SupportContextSnapshot& context, const StatusData& statusData,
                                const LocalCalendar& calendar);

}  // namespace VarnholtQueryLib
