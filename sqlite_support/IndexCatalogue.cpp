#include "IndexCatalogue.h"

#include <sqlite3.h>

#include <algorithm>
#include <cctype>
#include <optional>

namespace VarnholtSQLiteSupport {

namespace {

bool literalStatementsOnly = false;

// Every key column of every index of every table, in key order. The
// table-valued pragmas read the schema SQLite has already parsed; nothing
// here touches table rows.
constexpr const char* kIndexColumnsSQL =
    "SELECT m.name, il.name, il.\"unique\", il.partial, ix.name, ix.coll, ix.\"desc\"\n"
    "FROM main.sqlite_master m\n"
    "JOIN pragma_index_list(m.name, 'main') il\n"
    "JOIN pragma_index_xinfo(il.name, 'main') ix\n"
    "WHERE m.type = 'table' AND ix.key = 1\n"
    "ORDER BY m.name, il.name, ix.seqno";

std::string lowerASCII(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return lower;
}

std::string textColumn(sqlite3_stmt* statement, int column) {
    const unsigned char* text = sqlite3_column_text(statement, column);
    return text != nullptr ? reinterpret_cast<const char*>(text) : "";
}

std::optional<std::vector<IndexDescription>> readIndexes(sqlite3* handle) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(handle, kIndexColumnsSQL, -1, &statement, nullptr) != SQLITE_OK) {
        sqlite3_finalize(statement);
        return std::nullopt;
    }
    std::vector<IndexDescription> indexes;
    int result = SQLITE_ROW;
    while ((result = sqlite3_step(statement)) == SQLITE_ROW) {
        const std::string table = lowerASCII(textColumn(statement, 0));
        const std::string name = textColumn(statement, 1);
        if (indexes.empty() || indexes.back().name != name || indexes.back().table != table) {
            IndexDescription index;
            index.name = name;
            index.table = table;
            index.unique = sqlite3_column_int(statement, 2) != 0;
            index.partial = sqlite3_column_int(statement, 3) != 0;
            indexes.push_back(std::move(index));
        }
        IndexKeyColumn column;
        column.name = lowerASCII(textColumn(statement, 4));
        column.collation = textColumn(statement, 5);
        column.descending = sqlite3_column_int(statement, 6) != 0;
        indexes.back().keyColumns.push_back(std::move(column));
    }
    sqlite3_finalize(statement);
    if (result != SQLITE_DONE) return std::nullopt;
    return indexes;
}

}  // namespace

IndexCatalogue::IndexCatalogue(std::vector<IndexDescription> indexes) : indexes_(std::move(indexes)) {}

IndexCatalogue IndexCatalogue::read(sqlite3* handle) {
    if (literalStatementsOnly || handle == nullptr) return IndexCatalogue();
    std::optional<std::vector<IndexDescription>> indexes = readIndexes(handle);
    if (!indexes) return IndexCatalogue();
    return IndexCatalogue(std::move(*indexes));
}

bool IndexCatalogue::hasIndexOn(std::string_view table,
                                std::initializer_list<std::string_view> leadingColumns) const {
    return hasMatchingIndex(table, leadingColumns, false);
}

bool IndexCatalogue::hasUniqueIndexOn(std::string_view table,
                                      std::initializer_list<std::string_view> leadingColumns) const {
    return hasMatchingIndex(table, leadingColumns, true);
}

bool IndexCatalogue::hasMatchingIndex(std::string_view table,
                                      std::initializer_list<std::string_view> leadingColumns,
                                      bool uniqueOnly) const {
    const std::string wantedTable = lowerASCII(table);
    for (const IndexDescription& index : indexes_) {
        if (index.table != wantedTable || index.partial || (uniqueOnly && !index.unique)) continue;
        if (index.keyColumns.size() < leadingColumns.size()) continue;
        bool matches = true;
        std::size_t position = 0;
        for (std::string_view wanted : leadingColumns) {
            const IndexKeyColumn& column = index.keyColumns[position++];
            if (column.name.empty() || column.name != lowerASCII(wanted) ||
                lowerASCII(column.collation) != "binary") {
                matches = false;
                break;
            }
        }
        if (matches) return true;
    }
    return false;
}

const IndexDescription* IndexCatalogue::find(std::string_view name) const {
    for (const IndexDescription& index : indexes_) {
        if (index.name == name) return &index;
    }
    return nullptr;
}

void IndexCatalogue::useLiteralStatementsOnly() { literalStatementsOnly = true; }

}  // namespace VarnholtSQLiteSupport
