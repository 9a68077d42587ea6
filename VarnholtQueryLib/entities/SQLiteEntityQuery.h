#pragma once

#include <optional>
#include <string>
#include <vector>

#include "IndexCatalogue.h"
#include "entities/EntityQueryPort.h"

struct sqlite3;

namespace VarnholtSQLiteSupport {
class PageWarming;
class SQLiteReadConnection;
}

namespace VarnholtQueryLib {

// Entity aggregation as one GROUP BY statement over observation_entities,
// dated by the effective time of each mentioning observation. composeSQL
// gives the statement that defines the answer; for a bounded window with the
// recorder's indexes present the adapter runs the statement of
// IndexedEntityStatement.h instead, which reads only the window's mentions
// and answers the same.
//
// Copies only the connection's raw handle and its warming at construction
// and keeps no reference to the connection: whoever builds it must keep the
// connection alive until the last aggregate() has returned.
class SQLiteEntityQuery final : public EntityQueryPort {
public:
    SQLiteEntityQuery(const VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                      VarnholtSQLiteSupport::IndexCatalogue indexes);

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
    std::vector<EntityAggregation> aggregateLiteral(const EntityQueryParams& params);
    // Absent when the index-driven statement cannot serve `params` here.
    std::optional<std::vector<EntityAggregation>> aggregateIndexed(const EntityQueryParams& params);

    sqlite3* const handle_;
    VarnholtSQLiteSupport::PageWarming* const warming_;
    const VarnholtSQLiteSupport::IndexCatalogue indexes_;
};

}  // namespace VarnholtQueryLib
