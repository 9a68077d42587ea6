#pragma once

#include <optional>
#include <string>
#include <vector>

#include "IndexCatalogue.h"

namespace VarnholtSQLiteSupport {

// One term of an ORDER BY: an expression over `observations o`, compared
// with `collation`, ascending unless `descending`.
struct OrderTerm {
    std::string expression;
    std::string collation = "BINARY";
    bool descending = false;

    bool operator==(const OrderTerm&) const = default;
};

// The order in which a statement walks `observations o`, read from its plan
// (explainQueryPlan), as ORDER BY terms that reproduce that order exactly.
//
// Why it matters: the literal statements sort by effective time only, and
// observations of one frame (often many frames) share a time. SQLite's
// sorters keep rows of equal keys in the order the loop produced them (a
// sequence number in the sorter with LIMIT, a stable merge without), so
// among equal times the answer follows the loop over `o`, and which rows
// survive a LIMIT does too. The index-driven statements walk other indexes;
// they get the same answer by sorting on these terms after the time.
//
// Recognised walks, as SQLite 3.40 plans the literal statements:
//  - "SCAN o": the table in rowid order;
//  - the full-text table first ("SCAN fts VIRTUAL TABLE ..."), then
//    "SEARCH o USING INTEGER PRIMARY KEY (rowid=?)": FTS5 yields matches by
//    ascending rowid, so rowid order;
//  - "MULTI-INDEX OR" whose two branches read
//    "SEARCH o USING INDEX <i> (recording_id=?)", each with an index led by
//    recording_id: the timeline's "recording_id IS NULL OR recording_id =
//    ''", its NULL branch first, each branch in the order of its index's
//    other key columns and then rowid. Which indexes those are depends on the
//    order the recorder created them in and on statistics, so they are read,
//    not assumed.
// Any other plan gives nothing, and the caller must run its literal statement.
std::optional<std::vector<OrderTerm>> observationScanOrder(const std::vector<std::string>& planDetails,
                                                           const IndexCatalogue& catalogue);

// For statements that carry the terms through a sub-select: ", <term> AS k0,
// <term> AS k1, ..." for a select list, and ", <qualifier>k0 COLLATE <c>
// ASC, ..." for an ORDER BY over those columns (`qualifier` such as "n." or
// empty). The collation is spelt out because a sub-select's column does not
// always carry its expression's collation.
std::string orderTermColumns(const std::vector<OrderTerm>& terms);
std::string orderTermKeys(const std::string& qualifier, const std::vector<OrderTerm>& terms);

// `name` as a quoted SQL identifier.
std::string quotedIdentifier(const std::string& name);

}  // namespace VarnholtSQLiteSupport
