#include "summary/SQLiteSummaryQuery.h"

#include <sqlite3.h>


#include "LiteralFallback.h"
#include "NamedParameters.h"
#include "ObservationEntities.h"
#include "PageWarming.h"
#include "ScatteredReads.h"
#include "SQLiteReadConnection.h"
#include "SQLiteStatement.h"
#include "summary/IndexedSummaryStatements.h"

namespace VarnholtQueryLib {

using namespace VarnholtSQLiteSupport;

// The timeline's statement, all of its rows: the summary counts every
// observation the timeline would consider, not the newest 5000.
const char* const SQLiteSummaryQuery::kActivityStatement =
    "    WITH eligible AS (\n"
    "        SELECT o.id, o.vlm_description, o.apps, o.image_path,\n"
    "               COALESCE(CASE WHEN f.timestamp < '' THEN f.timestamp END,\n"
    "                        CASE WHEN o.timestamp < '' THEN o.timestamp END) AS frame_timestamp,\n"
    "               (SELECT json_group_array(json_object('kind', entity_kind, 'value', entity_value))\n"
    "                FROM observation_entities WHERE observation_id = o.id\n"
    "                  AND typeof(entity_kind) NOT IN ('null', 'blob')\n"
    "                  AND typeof(entity_value) NOT IN ('null', 'blob')) AS entities_json\n"
    "        FROM observations o\n"
    "        LEFT JOIN frames f ON o.frame_id = f.id\n"
    "        WHERE COALESCE(CASE WHEN f.timestamp < '' THEN f.timestamp END,\n"
    "                       CASE WHEN o.timestamp < '' THEN o.timestamp END) >= ?\n"
    "          AND COALESCE(CASE WHEN f.timestamp < '' THEN f.timestamp END,\n"
    "                       CASE WHEN o.timestamp < '' THEN o.timestamp END) <= ?\n"
    "          AND o.vlm_description IS NOT NULL\n"
    "          AND length(trim(o.vlm_description)) > 0\n"
    "          AND (o.recording_id IS NULL OR o.recording_id = '')\n"
    "        ORDER BY frame_timestamp DESC\n"
    "    )\n"
    "    SELECT id, vlm_description, apps, image_path, frame_timestamp, entities_json\n"
    "    FROM eligible\n"
    "    ORDER BY frame_timestamp ASC";

const char* const SQLiteSummaryQuery::kActivityWithRowidStatement =
    "    WITH eligible AS (\n"
    "        SELECT o.id, o.vlm_description, o.apps, o.image_path,\n"
    "               COALESCE(CASE WHEN f.timestamp < '' THEN f.timestamp END,\n"
    "                        CASE WHEN o.timestamp < '' THEN o.timestamp END) AS frame_timestamp,\n"
    "               (SELECT json_group_array(json_object('kind', entity_kind, 'value', entity_value))\n"
    "                FROM observation_entities WHERE observation_id = o.id\n"
    "                  AND typeof(entity_kind) NOT IN ('null', 'blob')\n"
    "                  AND typeof(entity_value) NOT IN ('null', 'blob')) AS entities_json,\n"
    "               o.rowid AS rid\n"
    "        FROM observations o\n"
    "        LEFT JOIN frames f ON o.frame_id = f.id\n"
    "        WHERE COALESCE(CASE WHEN f.timestamp < '' THEN f.timestamp END,\n"
    "                       CASE WHEN o.timestamp < '' THEN o.timestamp END) >= ?\n"
    "          AND COALESCE(CASE WHEN f.timestamp < '' THEN f.timestamp END,\n"
    "                       CASE WHEN o.timestamp < '' THEN o.timestamp END) <= ?\n"
    "          AND o.vlm_description IS NOT NULL\n"
    "          AND length(trim(o.vlm_description)) > 0\n"
    "          AND (o.recording_id IS NULL OR o.recording_id = '')\n"
    "        ORDER BY frame_timestamp DESC\n"
    "    )\n"
    "    SELECT id, vlm_description, apps, image_path, frame_timestamp, entities_json, rid\n"
    "    FROM eligible\n"
    "    ORDER BY frame_timestamp ASC";

// Frames are dated by their own time, numbers only: a text or BLOB time
// sorts above every number, so the closed range leaves it out, and NULL
// compares to nothing. 0 is pending, 1 analysed, 2 failed; other values
// count among the frames only.
const char* const SQLiteSummaryQuery::kFrameCountsStatement =
    "SELECT count(*),\n"
    "       count(CASE WHEN analyzed = 1 THEN 1 END),\n"
    "       count(CASE WHEN analyzed = 0 THEN 1 END),\n"
    "       count(CASE WHEN analyzed = 2 THEN 1 END)\n"
    "FROM frames\n"
    "WHERE timestamp >= ? AND timestamp <= ?";

const char* const SQLiteSummaryQuery::kFrameTimesStatement =
    "SELECT timestamp FROM frames\n"
    "WHERE timestamp >= ? AND timestamp <= ?\n"
    "ORDER BY timestamp";

const char* const SQLiteSummaryQuery::kDescriptionStatement =
    "SELECT vlm_description FROM observations WHERE rowid = ?";

namespace {

enum LiteralColumn { kId, kDescription, kApps, kImagePath, kFrameTimestamp, kEntitiesJson, kLiteralRowid };
enum IndexedColumn { kTime, kRowid, kIndexedId, kIndexedApps, kIndexedEntitiesJson, kIndexedDescription };

// Decoded texts kept at most: plenty for the application lists a recorder
// writes, bounded for one that writes a new one every time.
constexpr std::size_t kDecodedAppsLimit = 4096;

// One part of the index-driven rows, read one row ahead so that the parts
// can be merged by time.
class PartCursor {
public:
    PartCursor(sqlite3* handle, sqlite3_stmt* statement) : handle_(handle), statement_(statement) {}

    void step() {
        const int result = sqlite3_step(statement_);
        if (result == SQLITE_DONE) {
            hasRow_ = false;
        } else if (result == SQLITE_ROW) {
            hasRow_ = true;
        } else {
            throw stepFailure(handle_, result);
        }
    }
    bool hasRow() const { return hasRow_; }
    double time() const { return sqlite3_column_double(statement_, kTime); }
    sqlite3_stmt* row() const { return statement_; }

private:
    sqlite3* handle_;
    sqlite3_stmt* statement_;
    bool hasRow_ = false;
};

// The entities of the observation `id`, through observationEntitiesStatement.
decltype(ActivityRow::entities) entitiesOf(sqlite3_stmt* statement, const std::string& id) {
    sqlite3_reset(statement);
    bindNamedText(statement, ":id", id);
    std::optional<std::string> json;
    stepRows(sqlite3_db_handle(statement), statement,
             [&json](sqlite3_stmt* row) { json = columnOptionalText(row, 0); });
    return RecentWorkTimelineCore::parseEntities(json);
}

// The statements of the parts, finalized together on every path.
struct PreparedParts {
    PreparedParts() = default;
    ~PreparedParts() {
        for (sqlite3_stmt* statement : held) sqlite3_finalize(statement);
    }
    PreparedParts(const PreparedParts&) = delete;
    PreparedParts& operator=(const PreparedParts&) = delete;

    std::vector<sqlite3_stmt*> held;
};

}  // namespace

SQLiteSummaryQuery::SQLiteSummaryQuery(SQLiteReadConnection& connection, IndexCatalogue indexes)
    : connection_(connection), indexes_(std::move(indexes)) {}

SQLiteSummaryQuery::~SQLiteSummaryQuery() { sqlite3_finalize(description_); }

const std::vector<std::string>& SQLiteSummaryQuery::applicationsOf(const std::optional<std::string>& text) {
    const std::string& json = text ? *text : "[]";
    auto found = decodedApps_.find(json);
    if (found == decodedApps_.end()) {
        if (decodedApps_.size() >= kDecodedAppsLimit) decodedApps_.clear();
        found = decodedApps_.emplace(json, SQLiteReadConnection::parseJsonArray(json)).first;
    }
    return found->second;
}

void SQLiteSummaryQuery::scanActivity(double from, double to, const ActivityNeeds& needs, ActivityRowSink& sink) {
    withLiteralFallback(
        [&]() -> std::optional<bool> {
            if (!scanIndexed(from, to, needs, sink)) return std::nullopt;
            return true;
        },
        [&] {
            scanLiteral(from, to, needs, sink);
            return true;
        });
}

void SQLiteSummaryQuery::scanLiteral(double from, double to, const ActivityNeeds& needs, ActivityRowSink& sink) {
    sqlite3* handle = connection_.handle();
    sqlite3_stmt* statement =
        prepareStatement(handle, needs.rowids ? kActivityWithRowidStatement : kActivityStatement);
    FinalizeOnExit finalize(statement);
    sqlite3_bind_double(statement, 1, from);
    sqlite3_bind_double(statement, 2, to);
    sink.restart();
    std::int64_t place = 0;
    stepRows(handle, statement, [&](sqlite3_stmt* row) {
        ActivityRow activity;
        activity.time = sqlite3_column_double(row, kFrameTimestamp);
        activity.id = columnText(row, kId);
        activity.sequence = place++;
        activity.apps = applicationsOf(columnOptionalText(row, kApps));
        activity.entities = RecentWorkTimelineCore::parseEntities(columnOptionalText(row, kEntitiesJson));
        activity.description = columnOptionalText(row, kDescription).value_or("");
        if (needs.rowids) activity.rowid = sqlite3_column_int64(row, kLiteralRowid);
        sink.add(std::move(activity));
    });
}

bool SQLiteSummaryQuery::scanIndexed(double from, double to, const ActivityNeeds& needs, ActivityRowSink& sink) {
    if (!servesIndexedActivity(indexes_)) return false;
    sqlite3* handle = connection_.handle();
    readScatteredPages(handle);

    // With entitiesFor, the rows come without entities and those it asks
    // for are looked up one by one, by the same subquery.
    const bool entitiesByRow = needs.entities && needs.entitiesFor;
    PreparedParts statements;
    // The helpers read the parts over slices of the range, oldest first as
    // the parts are merged; the entities of single rows are left to the
    // answer, which alone knows which rows it needs them for.
    WarmingPlan warmingPlan;
    warmingPlan.from = from;
    warmingPlan.to = to;
    for (const std::string& part : indexedActivityStatements(needs.entities && !entitiesByRow, needs.descriptions)) {
        sqlite3_stmt* statement = prepareOrNull(handle, part);
        if (statement == nullptr) return false;
        statements.held.push_back(statement);
        warmingPlan.lookups.push_back({part, {}});
    }
    sqlite3_stmt* entitiesOfRow = nullptr;
    if (entitiesByRow) {
        entitiesOfRow = prepareOrNull(handle, observationEntitiesStatement());
        if (entitiesOfRow == nullptr) return false;
        // Not a part: held only to be finalized with them.
        statements.held.push_back(entitiesOfRow);
    }

    sink.restart();
    const WarmingScope warming(connection_, warmingPlan);
    std::vector<PartCursor> cursors;
    for (sqlite3_stmt* statement : statements.held) {
        if (statement == entitiesOfRow) continue;
        bindNamedDouble(statement, ":from", from);
        bindNamedDouble(statement, ":to", to);
        cursors.emplace_back(handle, statement);
        cursors.back().step();
    }
    for (;;) {
        PartCursor* next = nullptr;
        for (PartCursor& cursor : cursors) {
            if (cursor.hasRow() && (next == nullptr || cursor.time() < next->time())) next = &cursor;
        }
        if (next == nullptr) return true;
        sqlite3_stmt* row = next->row();
        ActivityRow activity;
        activity.time = next->time();
        activity.id = columnText(row, kIndexedId);
        activity.sequence = sqlite3_column_int64(row, kRowid);
        activity.rowid = activity.sequence;
        activity.apps = applicationsOf(columnOptionalText(row, kIndexedApps));
        if (needs.descriptions) activity.description = columnOptionalText(row, kIndexedDescription).value_or("");
        if (!entitiesByRow) {
            activity.entities = RecentWorkTimelineCore::parseEntities(columnOptionalText(row, kIndexedEntitiesJson));
        } else if (needs.entitiesFor(activity)) {
            activity.entities = entitiesOf(entitiesOfRow, activity.id);
        }
        sink.add(std::move(activity));
        next->step();
    }
}

FrameCounts SQLiteSummaryQuery::countFrames(double from, double to) {
    return withLiteralFallback([&] { return countIndexed(from, to); }, [&] { return countLiteral(from, to); });
}

namespace {

FrameCounts decodeCounts(sqlite3_stmt* row) {
    FrameCounts counts;
    counts.frames = sqlite3_column_int64(row, 0);
    counts.analyzedFrames = sqlite3_column_int64(row, 1);
    counts.pendingFrames = sqlite3_column_int64(row, 2);
    counts.failedFrames = sqlite3_column_int64(row, 3);
    return counts;
}

}  // namespace

FrameCounts SQLiteSummaryQuery::countLiteral(double from, double to) {
    sqlite3* handle = connection_.handle();
    sqlite3_stmt* statement = prepareStatement(handle, kFrameCountsStatement);
    FinalizeOnExit finalize(statement);
    sqlite3_bind_double(statement, 1, from);
    sqlite3_bind_double(statement, 2, to);
    FrameCounts counts;
    stepRows(handle, statement, [&counts](sqlite3_stmt* row) { counts = decodeCounts(row); });
    return counts;
}

std::optional<FrameCounts> SQLiteSummaryQuery::countIndexed(double from, double to) {
    if (!servesIndexedFrameCounts(indexes_)) return std::nullopt;
    sqlite3* handle = connection_.handle();
    sqlite3_stmt* statement = prepareOrNull(handle, kIndexedFrameCountsStatement);
    if (statement == nullptr) return std::nullopt;
    FinalizeOnExit finalize(statement);
    bindNamedDouble(statement, ":from", from);
    bindNamedDouble(statement, ":to", to);
    FrameCounts counts;
    stepRows(handle, statement, [&counts](sqlite3_stmt* row) { counts = decodeCounts(row); });
    return counts;
}

void SQLiteSummaryQuery::scanFrameTimes(double from, double to, const std::function<void(double)>& visit) {
    sqlite3* handle = connection_.handle();
    sqlite3_stmt* statement = prepareStatement(handle, kFrameTimesStatement);
    FinalizeOnExit finalize(statement);
    sqlite3_bind_double(statement, 1, from);
    sqlite3_bind_double(statement, 2, to);
    stepRows(handle, statement, [&visit](sqlite3_stmt* row) { visit(sqlite3_column_double(row, 0)); });
}

std::string SQLiteSummaryQuery::descriptionOf(std::int64_t sequence) {
    sqlite3* handle = connection_.handle();
    if (description_ == nullptr) description_ = prepareStatement(handle, kDescriptionStatement);
    sqlite3_reset(description_);
    sqlite3_bind_int64(description_, 1, sequence);
    std::string description;
    stepRows(handle, description_, [&description](sqlite3_stmt* row) {
        description = columnOptionalText(row, 0).value_or("");
    });
    return description;
}

}  // namespace VarnholtQueryLib
