#pragma once

#include <optional>
#include <vector>

#include "IndexCatalogue.h"
#include "support_context/SupportContextQueryPort.h"

namespace VarnholtSQLiteSupport {
class SQLiteReadConnection;
}

namespace VarnholtQueryLib {

// The support context's observations from the recorder database. kStatement
// defines the answer; with the recorder's indexes present the adapter runs
// the statement of IndexedSupportContextStatement.h instead, which reads only
// the recent window, not all of history, and answers the same.
//
// Borrows the run's connection, which must outlive it.
class SQLiteSupportContextQuery final : public SupportContextQueryPort {
public:
    SQLiteSupportContextQuery(VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                              VarnholtSQLiteSupport::IndexCatalogue indexes);

    // The statement that defines the answer, exactly as prepared.
    static const char* const kStatement;

    // A NULL description reads as "", NULL or malformed apps as no
    // applications. Throws DatabaseError::locked when the recorder holds the
    // database beyond the busy timeout, DatabaseError::queryFailed otherwise.
    std::vector<SupportContextObservation> findRecentObservations(double since) override;

private:
    std::vector<SupportContextObservation> findLiteral(double since);
    // Absent when the index-driven statement cannot serve this database.
    std::optional<std::vector<SupportContextObservation>> findIndexed(double since);

    VarnholtSQLiteSupport::SQLiteReadConnection& connection_;
    const VarnholtSQLiteSupport::IndexCatalogue indexes_;
};

}  // namespace VarnholtQueryLib
