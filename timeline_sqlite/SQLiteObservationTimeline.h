#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "IndexCatalogue.h"
#include "ObservationScanOrder.h"
#include "ObservationTimelinePort.h"

namespace VarnholtSQLiteSupport {
class SQLiteReadConnection;
}

namespace RecentWorkTimelineSQLite {

// The timeline's observations read from the recorder's database: eligible
// observations of a closed time range, the newest `limit` of them, oldest
// first, each with its entities as a JSON array text.
//
// kStatement defines the answer. With the recorder's indexes in place (as the
// catalogue tells) the adapter runs the index-driven statement of
// IndexedTimelineStatement.h instead, which gives the same answer in a time
// that grows with the rows returned, not with the history; without them, or
// when SQLite plans the literal statement in a way we do not reproduce, it
// runs kStatement itself.
//
// Borrows the run's connection, which must outlive the adapter.
class SQLiteObservationTimeline final : public RecentWorkTimelineCore::ObservationTimelinePort {
public:
    // The statement that defines the answer. Callers that measure or explain
    // it rely on this exact text, whitespace included.
    static const char* const kStatement;

    SQLiteObservationTimeline(VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                              VarnholtSQLiteSupport::IndexCatalogue indexes);

    // REQUIRES: `limit` fits 32 bits (otherwise the process stops).
    // Throws DatabaseError: queryFailed (prepare or step failed) or locked
    // (the recorder held the database beyond the busy timeout); rows read
    // before the failure are dropped.
    std::vector<RecentWorkTimelineCore::TimelineObservation> fetchTimeline(
        double from, double to, std::int64_t limit) override;

private:
    // The order among equal times that the index-driven statement must
    // reproduce, or absent when kStatement must run (an index is missing, or
    // its plan walks observations in a way we do not reproduce).
    std::optional<std::vector<VarnholtSQLiteSupport::OrderTerm>> indexedTieOrder() const;

    std::vector<RecentWorkTimelineCore::TimelineObservation> fetchLiteral(double from, double to,
                                                                          std::int64_t limit);
    // Absent when SQLite refuses the index-driven statement.
    std::optional<std::vector<RecentWorkTimelineCore::TimelineObservation>> fetchIndexed(
        double from, double to, std::int64_t limit,
        const std::vector<VarnholtSQLiteSupport::OrderTerm>& tieOrder);

    VarnholtSQLiteSupport::SQLiteReadConnection& connection_;
    const VarnholtSQLiteSupport::IndexCatalogue indexes_;
};

}  // namespace RecentWorkTimelineSQLite
