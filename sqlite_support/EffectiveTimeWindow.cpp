#include "EffectiveTimeWindow.h"

namespace VarnholtSQLiteSupport {

namespace {

std::string withTime(std::string columns, const std::string& time) {
    const std::string placeholder = "{time}";
    for (std::size_t at = columns.find(placeholder); at != std::string::npos;
         at = columns.find(placeholder, at + time.size())) {
        columns.replace(at, placeholder.size(), time);
    }
    return columns;
}

std::string andAlso(const std::string& conditions) {
    return conditions.empty() ? std::string() : "\n      AND " + conditions;
}

// Self-dated candidates whose frame lies in the window are frame-dated and
// fall out anyway; ruling them out against a small in-memory list of the
// window's frame ids is cheaper than probing frames for each of them. Only
// the rest get the frames look-up that decides.
std::string notAWindowFrame(const WindowBounds& bounds) {
    return "(o.frame_id IS NULL OR o.frame_id NOT IN (SELECT w.id FROM frames w WHERE " +
           windowCondition("w.timestamp", bounds) + " AND w.id IS NOT NULL))";
}

// A candidate whose frame has the candidate's own time is frame-dated: one
// seek in frames(timestamp) tells (the unary plus keeps SQLite on that
// index rather than on frames(id), whose look-ups are scattered).
constexpr const char* kNoFrameAtOwnTime =
    "(o.frame_id IS NULL OR NOT EXISTS (SELECT 1 FROM frames s WHERE s.timestamp = o.timestamp AND +s.id = o.frame_id))";

std::string selfDatedBody(const WindowSelect& select) {
    const std::string framedCandidates = select.framedCandidates == FramedCandidates::frameAtOwnTime
                                             ? kNoFrameAtOwnTime
                                             : notAWindowFrame(select.bounds);
    return windowCondition("o.timestamp", select.bounds) + "\n      AND " + framedCandidates + "\n      AND " +
           kNoFrameTime + andAlso(select.conditions);
}

}  // namespace

const char* const kEffectiveTime =
    "COALESCE(CASE WHEN f.timestamp < '' THEN f.timestamp END, CASE WHEN o.timestamp < '' THEN o.timestamp END)";

const char* const kNoFrameTime = "(f.timestamp IS NULL OR f.timestamp >= '')";

const char* const kRecordingGroups =
    "recording_ids(recording_id) AS (\n"
    "      SELECT recording_id FROM (SELECT recording_id FROM observations\n"
    "                                WHERE recording_id IS NOT NULL\n"
    "                                ORDER BY recording_id COLLATE BINARY LIMIT 1)\n"
    "      UNION ALL\n"
    "      SELECT (SELECT later.recording_id FROM observations later\n"
    "              WHERE later.recording_id > recording_ids.recording_id COLLATE BINARY\n"
    "              ORDER BY later.recording_id COLLATE BINARY LIMIT 1)\n"
    "      FROM recording_ids WHERE recording_ids.recording_id IS NOT NULL\n"
    "    ),\n"
    "    recording_groups(recording_id) AS (\n"
    "      SELECT NULL\n"
    "      UNION ALL\n"
    "      SELECT recording_id FROM recording_ids WHERE recording_id IS NOT NULL\n"
    "    )";

bool servesEffectiveTimeWindows(const IndexCatalogue& catalogue) {
    return catalogue.hasIndexOn("frames", {"timestamp"}) && catalogue.hasUniqueIndexOn("frames", {"id"}) &&
           catalogue.hasIndexOn("observations", {"frame_id"}) &&
           catalogue.hasIndexOn("observations", {"recording_id", "timestamp"});
}

std::string windowRowidRangeStatement(const WindowBounds& bounds) {
    WindowSelect window;
    window.columns = "o.rowid AS rid";
    window.bounds = bounds;
    return std::string("    WITH RECURSIVE\n    ") + kRecordingGroups +
           "\n    SELECT min(rid), max(rid) FROM (\n" + frameDatedRows(window) +
           "\n    UNION ALL\n"
           "    SELECT o.rowid FROM recording_groups g\n"
           "    CROSS JOIN observations o ON o.recording_id IS g.recording_id COLLATE BINARY\n"
           "    WHERE " +
           windowCondition("o.timestamp", window.bounds) + "\n    )";
}

std::string windowCondition(const std::string& column, const WindowBounds& bounds) {
    std::string condition;
    if (bounds.from) condition = column + " >= :from";
    if (bounds.to) condition += (condition.empty() ? "" : " AND ") + column + " <= :to";
    if (bounds.from && !bounds.to) condition += " AND " + column + " < ''";
    return condition;
}

std::string frameDatedRows(const WindowSelect& select) {
    return "    SELECT " + withTime(select.columns, "f.timestamp") +
           "\n    FROM frames f CROSS JOIN observations o ON " + select.frameJoin + select.joins +
           "\n    WHERE " + windowCondition("f.timestamp", select.bounds) + andAlso(select.conditions);
}

std::string selfDatedRows(const WindowSelect& select, const std::string& recordingCondition) {
    return "    SELECT " + withTime(select.columns, "o.timestamp") +
           "\n    FROM observations o LEFT JOIN frames f ON " + select.frameJoin + select.joins +
           "\n    WHERE " + recordingCondition + "\n      AND " + selfDatedBody(select);
}

std::string selfDatedRowsOfEveryRecording(const WindowSelect& select) {
    return "    SELECT " + withTime(select.columns, "o.timestamp") +
           "\n    FROM recording_groups g"
           "\n    CROSS JOIN observations o ON o.recording_id IS g.recording_id COLLATE BINARY"
           "\n    LEFT JOIN frames f ON " +
           select.frameJoin + select.joins + "\n    WHERE " + selfDatedBody(select);
}

std::string everyRecordingWindow(const std::string& name, const WindowSelect& select) {
    return std::string("    WITH RECURSIVE\n    ") + kRecordingGroups + ",\n    " + name + " AS (\n" +
           frameDatedRows(select) + "\n    UNION ALL\n" + selfDatedRowsOfEveryRecording(select) + "\n    )\n";
}

}  // namespace VarnholtSQLiteSupport
