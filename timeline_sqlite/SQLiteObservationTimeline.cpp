#include "SQLiteObservationTimeline.h"

#include <sqlite3.h>

#include "SQLiteReadConnection.h"
#include "SQLiteStatement.h"

namespace RecentWorkTimelineSQLite {

using RecentWorkTimelineCore::TimelineObservation;
using namespace VarnholtSQLiteSupport;

// The inner query picks the newest `limit` eligible rows; the outer one puts
// them back in time order. So a range with more than `limit` observations
// loses its oldest ones, never its latest activity. An observation belongs
// to the frame it describes: the frame's capture time wins, and its own time
// stands in when the frame is gone or has no time. Rows of separately
// imported recordings and rows without a usable description are not part of
// the work timeline.
const char* const SQLiteObservationTimeline::kStatement =
    "    WITH eligible AS (\n"
    "        SELECT o.id, o.vlm_description, o.apps, o.image_path,\n"
    "               COALESCE(f.timestamp, o.timestamp) AS frame_timestamp,\n"
    "               (SELECT json_group_array(json_object('kind', entity_kind, 'value', entity_value))\n"
    "                FROM observation_entities WHERE observation_id = o.id) AS entities_json\n"
    "        FROM observations o\n"
    "        LEFT JOIN frames f ON o.frame_id = f.id\n"
    "        WHERE COALESCE(f.timestamp, o.timestamp) >= ?\n"
    "          AND COALESCE(f.timestamp, o.timestamp) <= ?\n"
    "          AND o.vlm_description IS NOT NULL\n"
    "          AND length(trim(o.vlm_description)) > 0\n"
    "          AND (o.recording_id IS NULL OR o.recording_id = '')\n"
    "        ORDER BY frame_timestamp DESC\n"
    "        LIMIT ?\n"
    "    )\n"
    "    SELECT id, vlm_description, apps, image_path, frame_timestamp, entities_json\n"
    "    FROM eligible\n"
    "    ORDER BY frame_timestamp ASC";

namespace {

enum Column { kId, kDescription, kApps, kImagePath, kFrameTimestamp, kEntitiesJson };

TimelineObservation decodeRow(sqlite3_stmt* statement) {
    TimelineObservation row;
    row.id = columnText(statement, kId);
    row.vlmDescription = columnOptionalText(statement, kDescription).value_or("");
    row.apps = SQLiteReadConnection::parseJsonArray(
        columnOptionalText(statement, kApps).value_or("[]"));
    row.imagePath = columnOptionalText(statement, kImagePath);
    row.timestamp = sqlite3_column_double(statement, kFrameTimestamp);
    row.entitiesJson = columnOptionalText(statement, kEntitiesJson);
    return row;
}

}  // namespace

SQLiteObservationTimeline::SQLiteObservationTimeline(SQLiteReadConnection& connection)
    : connection_(connection) {}

std::vector<TimelineObservation> SQLiteObservationTimeline::fetchTimeline(double from, double to,
                                                                         std::int64_t limit) {
    sqlite3* handle = connection_.handle();
    sqlite3_stmt* statement = prepareStatement(handle, kStatement);
    FinalizeOnExit finalize(statement);
    sqlite3_bind_double(statement, 1, from);
    sqlite3_bind_double(statement, 2, to);
    bindInt32(statement, 3, limit);

    std::vector<TimelineObservation> rows;
    stepRows(handle, statement, [&rows](sqlite3_stmt* row) { rows.push_back(decodeRow(row)); });
    return rows;
}

}  // namespace RecentWorkTimelineSQLite
