#include "IndexedTimelineStatement.h"

#include "EffectiveTimeWindow.h"
#include "ObservationEntitiesJSON.h"
#include "TimelineRowConditions.h"

namespace RecentWorkTimelineSQLite {

using namespace VarnholtSQLiteSupport;

const char* const kFrameAtPositionStatement =
    "SELECT timestamp FROM frames\n"
    "WHERE timestamp >= :from AND timestamp <= :to\n"
    "ORDER BY timestamp DESC LIMIT 1 OFFSET :offset";

std::string indexedTimelineStatement(const std::vector<OrderTerm>& tieOrder) {
    WindowSelect eligible;
    eligible.columns = "o.rowid AS rid, {time} AS t" + orderTermColumns(tieOrder);
    eligible.bounds = {true, true};

    WindowSelect framed = eligible;
    framed.conditions = std::string(kUsableDescription) + "\n      AND " + kNoSeparateRecording;
    WindowSelect selfDated = eligible;
    selfDated.conditions = kUsableDescription;

    return "    WITH candidates AS (\n" + frameDatedRows(framed) + "\n    UNION ALL\n" +
           selfDatedRows(selfDated, "o.recording_id IS NULL") + "\n    UNION ALL\n" +
           selfDatedRows(selfDated, "o.recording_id = ''") +
           "\n    ),\n"
           "    newest AS (\n"
           "      SELECT * FROM candidates\n"
           "      ORDER BY t COLLATE BINARY DESC" +
           orderTermKeys("", tieOrder) +
           "\n      LIMIT :limit\n"
           "    )\n"
           "    SELECT o.id, o.vlm_description, o.apps, o.image_path, n.t,\n"
           "           " + kObservationEntitiesJSON + " AS entities_json\n"
           "    FROM newest n CROSS JOIN observations o ON o.rowid = n.rid\n"
           "    ORDER BY n.t COLLATE BINARY ASC" +
           orderTermKeys("n.", tieOrder);
}

}  // namespace RecentWorkTimelineSQLite
