#pragma once

#include "support_context/SupportContextQueryPort.h"

namespace VarnholtSQLiteSupport {
class SQLiteReadConnection;
}

namespace VarnholtQueryLib {

// The support context's observations from the recorder database. Borrows the
// run's connection, which must outlive it; keeps no other state.
class SQLiteSupportContextQuery final : public SupportContextQueryPort {
public:
    explicit SQLiteSupportContextQuery(VarnholtSQLiteSupport::SQLiteReadConnection& connection);

    // A NULL description reads as "", NULL or malformed apps as no
    // applications. Throws DatabaseError::locked when the recorder holds the
    // database beyond the busy timeout, DatabaseError::queryFailed otherwise.
    std::vector<SupportContextObservation> findRecentObservations(double since) override;

private:
    VarnholtSQLiteSupport::SQLiteReadConnection& connection_;
};

}  // namespace VarnholtQueryLib
