#include "status/SQLiteOperationalStatusQuery.h"

#include <sqlite3.h>

#include "LiteralFallback.h"
#include "NamedParameters.h"
#include "SQLiteReadConnection.h"
#include "SQLiteStatement.h"
#include "status/IndexedMetricsStatement.h"

namespace VarnholtQueryLib {

using namespace VarnholtSQLiteSupport;

// One pass over both tables: every row is read to count it. Only numbers are
// times: text or a BLOB in a time column counts as no time, as NULL does
// (a number sorts below every text and BLOB, "timestamp < ''" holds for
// numbers only); otherwise MAX would pick the text, read as 1970.
const char* const SQLiteOperationalStatusQuery::kStatement =
    "    WITH\n"
    "      frame_stats AS (\n"
    "        SELECT\n"
    "          COUNT(*) AS total_frames,\n"
    "          COUNT(CASE WHEN analyzed = 0 THEN 1 END) AS pending_frames,\n"
    "          MAX(CASE WHEN timestamp < '' THEN timestamp END) AS last_frame_ts,\n"
    "          COUNT(CASE WHEN timestamp >= ? AND timestamp < '' THEN 1 END) AS frames_last_5min\n"
    "        FROM frames\n"
    "      ),\n"
    "      observation_stats AS (\n"
    "        SELECT\n"
    "          COUNT(*) AS total_observations,\n"
    "          MIN(CASE WHEN timestamp < '' THEN timestamp END) AS first_observation_at,\n"
    "          MAX(CASE WHEN timestamp < '' THEN timestamp END) AS last_observation_at,\n"
    "          COUNT(CASE WHEN timestamp >= ? AND timestamp < '' THEN 1 END) AS observations_last_5min\n"
    "        FROM observations\n"
    "      )\n"
    "    SELECT\n"
    "      f.total_frames,\n"
    "      f.pending_frames,\n"
    "      f.last_frame_ts,\n"
    "      f.frames_last_5min,\n"
    "      o.total_observations,\n"
    "      o.first_observation_at,\n"
    "      o.last_observation_at,\n"
    "      o.observations_last_5min\n"
    "    FROM frame_stats f\n"
    "    CROSS JOIN observation_stats o";

namespace {

// The recent-activity window, in the recorder's seconds.
constexpr double kRecentWindowSeconds = 300.0;

// Both statements answer the same eight columns in one row, decoded here
// for both.
OperationalMetrics stepOneRow(sqlite3_stmt* statement) {
    if (sqlite3_step(statement) != SQLITE_ROW) {
        throw DatabaseError::queryFailed("Operational metrics query returned no rows");
    }
    // Four counters are read through 32-bit columns on purpose; the totals
    // and observation times through 64-bit ones. An integer read of a REAL
    // observation time truncates it to the whole second.
    OperationalMetrics metrics;
    metrics.totalFrames = sqlite3_column_int(statement, 0);
    metrics.pendingFrames = sqlite3_column_int(statement, 1);
    metrics.lastFrameTimestamp = columnOptionalDouble(statement, 2);
    metrics.framesLast5Min = sqlite3_column_int(statement, 3);
    metrics.totalObservations = sqlite3_column_int64(statement, 4);
    metrics.firstObservationAt = columnOptionalInt64(statement, 5);
    metrics.lastObservationAt = columnOptionalInt64(statement, 6);
    if (metrics.lastObservationAt) {
        metrics.lastObservationTimestamp = static_cast<double>(*metrics.lastObservationAt);
    }
    metrics.observationsLast5Min = sqlite3_column_int(statement, 7);
    return metrics;
}

}  // namespace

SQLiteOperationalStatusQuery::SQLiteOperationalStatusQuery(SQLiteReadConnection& connection,
                                                           IndexCatalogue indexes, const ClockPort& clock)
    : connection_(connection), indexes_(std::move(indexes)), clock_(clock) {}

OperationalMetrics SQLiteOperationalStatusQuery::getOperationalMetrics() {
    const double windowStart = clock_.now() - kRecentWindowSeconds;
    return withLiteralFallback([&] { return indexedMetrics(windowStart); },
                               [&] { return literalMetrics(windowStart); });
}

OperationalMetrics SQLiteOperationalStatusQuery::literalMetrics(double windowStart) {
    sqlite3_stmt* statement = prepareStatement(connection_.handle(), kStatement);
    FinalizeOnExit finalize(statement);
    sqlite3_bind_double(statement, 1, windowStart);
    sqlite3_bind_double(statement, 2, windowStart);
    return stepOneRow(statement);
}

std::optional<OperationalMetrics> SQLiteOperationalStatusQuery::indexedMetrics(double windowStart) {
    if (!servesIndexedMetrics(indexes_)) return std::nullopt;
    sqlite3_stmt* statement = prepareOrNull(connection_.handle(), indexedMetricsStatement());
    if (statement == nullptr) return std::nullopt;
    FinalizeOnExit finalize(statement);
    bindNamedDouble(statement, ":since", windowStart);
    return stepOneRow(statement);
}

}  // namespace VarnholtQueryLib
