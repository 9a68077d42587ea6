#include "SQLiteObservationTimeline.h"

#include <sqlite3.h>

#include <algorithm>
#include <optional>
#include <string>

#include "EffectiveTimeWindow.h"
#include "IndexedTimelineStatement.h"
#include "LiteralFallback.h"
#include "NamedParameters.h"
#include "PageWarming.h"
#include "QueryPlan.h"
#include "ReadSnapshot.h"
#include "ScatteredReads.h"
#include "SQLiteReadConnection.h"
#include "SQLiteStatement.h"

namespace RecentWorkTimelineSQLite {

using RecentWorkTimelineCore::TimelineObservation;
using namespace VarnholtSQLiteSupport;

// The inner query picks the newest `limit` eligible rows; the outer one puts
// them back in time order. So a range with more than `limit` observations
// loses its oldest ones, never its latest activity. An observation belongs
// to the frame it describes: the frame's capture time wins, and its own time
// stands in when the frame is gone or has no time. Only numbers are times:
// text or a BLOB in a time column counts as no time (a number sorts below
// every text and BLOB, and NULL compares to nothing). Rows of separately
// imported recordings and rows without a usable description are not part of
// the work timeline; neither are entities whose kind or value is NULL or a
// BLOB, which name nothing (and a BLOB would fail json_object).
const char* const SQLiteObservationTimeline::kStatement =
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
    "        LIMIT ?\n"
    "    )\n"
    "    SELECT id, vlm_description, apps, image_path, frame_timestamp, entities_json\n"
    "    FROM eligible\n"
    "    ORDER BY frame_timestamp ASC";

namespace {

enum Column { kId, kDescription, kApps, kImagePath, kFrameTimestamp, kEntitiesJson };

// Both statements give these columns in this order, so one decoding serves
// both and they cannot drift apart.
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

std::vector<TimelineObservation> stepAll(sqlite3* handle, sqlite3_stmt* statement) {
    std::vector<TimelineObservation> rows;
    stepRows(handle, statement, [&rows](sqlite3_stmt* row) { rows.push_back(decodeRow(row)); });
    return rows;
}

// The time of the frame at `position` (0 = newest) of [from, to], if there
// are that many frames.
std::optional<double> frameTimeAtPosition(sqlite3* handle, double from, double to, std::int64_t position) {
    sqlite3_stmt* statement = prepareStatement(handle, kFrameAtPositionStatement);
    FinalizeOnExit finalize(statement);
    bindNamedDouble(statement, ":from", from);
    bindNamedDouble(statement, ":to", to);
    bindNamedInt64(statement, ":offset", position);
    std::optional<double> time;
    stepRows(handle, statement, [&time](sqlite3_stmt* row) { time = sqlite3_column_double(row, 0); });
    return time;
}

}  // namespace

SQLiteObservationTimeline::SQLiteObservationTimeline(SQLiteReadConnection& connection, IndexCatalogue indexes)
    : connection_(connection), indexes_(std::move(indexes)) {}

std::optional<std::vector<OrderTerm>> SQLiteObservationTimeline::indexedTieOrder() const {
    if (!servesEffectiveTimeWindows(indexes_) ||
        !indexes_.hasIndexOn("observation_entities", {"observation_id"})) {
        return std::nullopt;
    }
    const auto plan = explainQueryPlan(connection_.handle(), kStatement);
    if (!plan) return std::nullopt;
    return observationScanOrder(*plan, indexes_);
}

std::vector<TimelineObservation> SQLiteObservationTimeline::fetchTimeline(double from, double to,
                                                                         std::int64_t limit) {
    return withLiteralFallback(
        [&]() -> std::optional<std::vector<TimelineObservation>> {
            const auto tieOrder = indexedTieOrder();
            if (!tieOrder) return std::nullopt;
            return fetchIndexed(from, to, limit, *tieOrder);
        },
        [&] { return fetchLiteral(from, to, limit); });
}

std::vector<TimelineObservation> SQLiteObservationTimeline::fetchLiteral(double from, double to,
                                                                        std::int64_t limit) {
    sqlite3* handle = connection_.handle();
    sqlite3_stmt* statement = prepareStatement(handle, kStatement);
    FinalizeOnExit finalize(statement);
    sqlite3_bind_double(statement, 1, from);
    sqlite3_bind_double(statement, 2, to);
    bindInt32(statement, 3, limit);
    return stepAll(handle, statement);
}

// The self-dated parts walk observations by their own time from `to`
// downwards until they find an eligible row, however far back that is. A
// lower bound that cuts off no row of the answer keeps that walk short: we
// guess one from frames(timestamp) alone (the time of the frame a quarter
// beyond `limit` frames back; frames and eligible rows are nearly one to one)
// and accept the answer when it holds `limit` rows, because every row the
// bound left out is older than all of them. Otherwise we guess further back,
// and finally use `from` itself.
std::optional<std::vector<TimelineObservation>> SQLiteObservationTimeline::fetchIndexed(
    double from, double to, std::int64_t limit, const std::vector<OrderTerm>& tieOrder) {
    sqlite3* handle = connection_.handle();
    readScatteredPages(handle);
    // The guesses and the answer read one snapshot (each answer would be
    // exact without it, as it is checked on its own rows).
    const ReadSnapshot snapshot(handle);
    const std::string sql = indexedTimelineStatement(tieOrder);
    sqlite3_stmt* statement = prepareOrNull(handle, sql);
    if (statement == nullptr) return std::nullopt;
    FinalizeOnExit finalize(statement);
    bindNamedInt32(statement, ":limit", limit);
    bindNamedDouble(statement, ":to", to);

    // The helpers warm the range of the first run, newest first as the
    // statement walks it; a run further back (rare) reads the rest alone.
    std::optional<WarmingScope> warming;
    const auto runFrom = [&](double lowerBound) {
        if (!warming) {
            WarmingPlan plan;
            plan.lookups = {{sql, {{":limit", limit}}}};
            plan.from = lowerBound;
            plan.to = to;
            plan.walk = WarmingPlan::Walk::newestFirst;
            warming.emplace(connection_, plan);
        }
        sqlite3_reset(statement);
        bindNamedDouble(statement, ":from", lowerBound);
        return stepAll(handle, statement);
    };
    // LIMIT 0 answers nothing and a negative LIMIT means no limit: neither
    // has a cut-off to guess.
    if (limit > 0) {
        for (const std::int64_t framesBack : {limit + limit / 4, 4 * limit}) {
            const double guess = frameTimeAtPosition(handle, from, to, framesBack).value_or(from);
            if (!(guess > from)) break;
            std::vector<TimelineObservation> rows = runFrom(guess);
            if (static_cast<std::int64_t>(rows.size()) == limit) return rows;
        }
    }
    return runFrom(from);
}

}  // namespace RecentWorkTimelineSQLite
