#pragma once

#include <cstdint>
#include <vector>

#include "ObservationTimelinePort.h"

namespace VarnholtSQLiteSupport {
class SQLiteReadConnection;
}

namespace RecentWorkTimelineSQLite {

// The timeline's observations read from the recorder's database with one
// fixed statement: eligible observations of a closed time range, the newest
// `limit` of them, oldest first, each with its entities as a JSON array text.
//
// Borrows the run's connection, which must outlive the adapter.
class SQLiteObservationTimeline final : public RecentWorkTimelineCore::ObservationTimelinePort {
public:
    // The statement as prepared. Callers that measure or explain it rely on
    // this exact text, whitespace included.
    static const char* const kStatement;

    explicit SQLiteObservationTimeline(VarnholtSQLiteSupport::SQLiteReadConnection& connection);

    // REQUIRES: `limit` fits 32 bits (otherwise the process stops).
    // Throws DatabaseError: queryFailed (prepare or step failed) or locked
    // (the recorder held the database beyond the busy timeout); rows read
    // before the failure are dropped.
    std::vector<RecentWorkTimelineCore::TimelineObservation> fetchTimeline(
        double from, double to, std::int64_t limit) override;

private:
    VarnholtSQLiteSupport::SQLiteReadConnection& connection_;
};

}  // namespace RecentWorkTimelineSQLite
