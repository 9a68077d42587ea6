#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

struct sqlite3;

namespace VarnholtSQLiteSupport {

// One key column of an index, in key order.
struct IndexKeyColumn {
    std::string name;       // lower case; empty for an indexed expression
    std::string collation;  // as the schema names it, "BINARY" by default
    bool descending = false;
};

// One index of the recorder's database as its schema declares it.
struct IndexDescription {
    std::string name;   // exactly as stored (the query planner reports it so)
    std::string table;  // lower case
    bool unique = false;
    bool partial = false;                  // has a WHERE clause: covers only some rows
    std::vector<IndexKeyColumn> keyColumns;  // without the trailing rowid
};

// Which indexes the recorder's database has. The index-driven statements are
// only fast with the index each of them walks; without it SQLite would scan,
// and a scan with our extra steps is slower than the literal statement. So
// every adapter asks this catalogue before it picks its statement.
//
// The recorder names its indexes as it likes and may add or drop some between
// versions, so an index is recognised by its table and leading key columns,
// never by its name. Read once per run, after the connection is open; a value
// type that adapters copy.
class IndexCatalogue {
public:
    // A catalogue that knows no index: every query runs its literal statement.
    IndexCatalogue() = default;
    explicit IndexCatalogue(std::vector<IndexDescription> indexes);

    // The indexes of every table in the main schema of `handle`. Never
    // throws: a schema that cannot be read (or a process that asked for
    // literal statements only) gives an empty catalogue, which only costs
    // speed.
    static IndexCatalogue read(sqlite3* handle);

    // Whether a full (not partial) index on `table` starts with
    // `leadingColumns`, in that order, each compared with the BINARY
    // collation that our statements' comparisons use. Names compare without
    // regard to ASCII case, as SQL identifiers do.
    bool hasIndexOn(std::string_view table, std::initializer_list<std::string_view> leadingColumns) const;
    // The same, and the index is UNIQUE (a primary key counts): a look-up
    // finds at most one row.
    bool hasUniqueIndexOn(std::string_view table,
                          std::initializer_list<std::string_view> leadingColumns) const;

    // The index called `name` (exact spelling), or null.
    const IndexDescription* find(std::string_view name) const;

    const std::vector<IndexDescription>& indexes() const { return indexes_; }

    // Makes every later read() in this process return an empty catalogue, so
    // that every query runs its literal statement. Only the benchmark's
    // reference executable calls this, to time the literal statements with
    // the same binary code around them; the tool itself never does.
    static void useLiteralStatementsOnly();

private:
    bool hasMatchingIndex(std::string_view table, std::initializer_list<std::string_view> leadingColumns,
                          bool uniqueOnly) const;

    std::vector<IndexDescription> indexes_;
};

}  // namespace VarnholtSQLiteSupport
