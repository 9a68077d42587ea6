#pragma once

#include "status/OperationalMetrics.h"
#include "platform/PlatformPorts.h"

namespace VarnholtSQLiteSupport {
class SQLiteReadConnection;
}

namespace VarnholtQueryLib {

// The operational metrics as one aggregate statement over frames and
// observations. Borrows the run's connection, which must outlive it; reads
// the clock once per call for the five-minute window.
class SQLiteOperationalStatusQuery final : public OperationalStatusQueryPort {
public:
    SQLiteOperationalStatusQuery(VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                                 const ClockPort& clock);

    // Throws DatabaseError::queryFailed when the statement cannot be prepared
    // or yields no row ("Operational metrics query returned no rows").
    OperationalMetrics getOperationalMetrics() override;

private:
    VarnholtSQLiteSupport::SQLiteReadConnection& connection_;
    const ClockPort& clock_;
};

}  // namespace VarnholtQueryLib
