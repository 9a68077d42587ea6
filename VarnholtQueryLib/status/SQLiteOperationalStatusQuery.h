#pragma once

#include <optional>

#include "IndexCatalogue.h"
#include "platform/PlatformPorts.h"
#include "status/OperationalMetrics.h"

namespace VarnholtSQLiteSupport {
class SQLiteReadConnection;
}

namespace VarnholtQueryLib {

// The operational metrics as one aggregate statement over frames and
// observations. The literal aggregate (in the source) defines the answer and
// reads every row; with the indexes of IndexedMetricsStatement.h present the
// same answer comes from those indexes in milliseconds. `status`,
// `support-context` and `last-active-day` all read the metrics here.
//
// Borrows the run's connection, which must outlive it; reads the clock once
// per call for the five-minute window.
class SQLiteOperationalStatusQuery final : public OperationalStatusQueryPort {
public:
    SQLiteOperationalStatusQuery(VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                                 VarnholtSQLiteSupport::IndexCatalogue indexes, const ClockPort& clock);

    // The statement that defines the answer, exactly as prepared.
    static const char* const kStatement;

    // Throws DatabaseError::queryFailed when the statement cannot be prepared
    // or yields no row ("Operational metrics query returned no rows").
    OperationalMetrics getOperationalMetrics() override;

private:
    OperationalMetrics literalMetrics(double windowStart);
    // Absent when the indexes the indexed statement walks are missing.
    std::optional<OperationalMetrics> indexedMetrics(double windowStart);

    VarnholtSQLiteSupport::SQLiteReadConnection& connection_;
    const VarnholtSQLiteSupport::IndexCatalogue indexes_;
    const ClockPort& clock_;
};

}  // namespace VarnholtQueryLib
