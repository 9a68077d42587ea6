#pragma once

#include <string>
#include <vector>

#include "entities/EntityQueryPort.h"

struct sqlite3;

namespace VarnholtSQLiteSupport {
class SQLiteReadConnection;
}

namespace VarnholtQueryLib {

// Entity aggregation as one GROUP BY statement over observation_entities,
// dated by the effective time of each mentioning observation.
//
// Copies only the connection's raw handle at construction and keeps no
// reference to the connection: whoever builds it must keep the connection
// alive until the last aggregate() has returned.
class SQLiteEntityQuery final : public EntityQueryPort {
public:
    explicit SQLiteEntityQuery(const VarnholtSQLiteSupport::SQLiteReadConnection& connection);

    // Throws DatabaseError: queryFailed (prepare or step failed), locked (the
    // recorder held the database past the busy timeout).
    // REQUIRES: params.limit fits a signed 32-bit integer (else the process
    // stops).
    std::vector<EntityAggregation> aggregate(const EntityQueryParams& params) override;

    // The statement for `params`: a fixed head, a WHERE clause with only the
    // conditions whose values are present (from, to, kind, in that order),
    // and a fixed tail ending in "LIMIT ?". The placeholders are bound in
    // that same order, the limit last.
    static std::string composeSQL(const EntityQueryParams& params);

private:
    sqlite3* const handle_;
};

}  // namespace VarnholtQueryLib
