#include "status/IndexedMetricsStatement.h"

#include <string>

#include "EffectiveTimeWindow.h"

namespace VarnholtQueryLib {

using namespace VarnholtSQLiteSupport;

std::string indexedMetricsStatement() {
    return std::string("    WITH RECURSIVE\n    ") + kRecordingGroups +
           ",\n"
           "    per_recording AS (\n"
           "      SELECT\n"
           "        (SELECT min(o.timestamp) FROM observations o\n"
           "         WHERE o.recording_id IS g.recording_id COLLATE BINARY AND o.timestamp < '') AS first_at,\n"
           "        (SELECT max(o.timestamp) FROM observations o\n"
           "         WHERE o.recording_id IS g.recording_id COLLATE BINARY AND o.timestamp < '') AS last_at,\n"
           "        (SELECT count(*) FROM observations o\n"
           "         WHERE o.recording_id IS g.recording_id COLLATE BINARY\n"
           "           AND o.timestamp >= :since AND o.timestamp < '') AS recent\n"
           "      FROM recording_groups g\n"
           "    )\n"
           "    SELECT\n"
           "      (SELECT count(*) FROM frames),\n"
           "      (SELECT count(*) FROM frames WHERE analyzed = 0),\n"
           "      (SELECT max(timestamp) FROM frames WHERE timestamp < ''),\n"
           "      (SELECT count(*) FROM frames WHERE timestamp >= :since AND timestamp < ''),\n"
           "      (SELECT count(*) FROM observations),\n"
           "      (SELECT min(first_at) FROM per_recording),\n"
           "      (SELECT max(last_at) FROM per_recording),\n"
           "      (SELECT sum(recent) FROM per_recording)";
}

bool servesIndexedMetrics(const IndexCatalogue& catalogue) {
    return catalogue.hasIndexOn("frames", {"analyzed"}) && catalogue.hasIndexOn("frames", {"timestamp"}) &&
           catalogue.hasIndexOn("observations", {"recording_id", "timestamp"});
}

}  // namespace VarnholtQueryLib
