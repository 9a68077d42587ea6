#include "ObservationScanOrder.h"

#include <string_view>

namespace VarnholtSQLiteSupport {

namespace {

constexpr std::string_view kTableScan = "SCAN o";
constexpr std::string_view kRowidLookup = "SEARCH o USING INTEGER PRIMARY KEY (rowid=?)";
constexpr std::string_view kFullTextScanPrefix = "SCAN fts VIRTUAL TABLE";
constexpr std::string_view kMultiIndexOr = "MULTI-INDEX OR";
constexpr std::string_view kIndexSearchPrefix = "SEARCH o USING INDEX ";
constexpr std::string_view kRecordingConstraint = " (recording_id=?)";

bool startsWith(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

// A plan line that walks `o` (the alias is followed by a blank or ends the line).
bool walksObservations(std::string_view detail) {
    for (std::string_view verb : {std::string_view("SCAN o"), std::string_view("SEARCH o")}) {
        if (startsWith(detail, verb) && (detail.size() == verb.size() || detail[verb.size()] == ' ')) {
            return true;
        }
    }
    return false;
}

bool isFullTextScan(std::string_view detail) { return startsWith(detail, kFullTextScanPrefix); }

const std::vector<OrderTerm> kRowidOrder = {{"o.rowid", "BINARY", false}};

// The index named in "SEARCH o USING INDEX <name> (recording_id=?)", or empty.
std::string recordingIndexOf(std::string_view detail) {
    if (!startsWith(detail, kIndexSearchPrefix)) return {};
    std::string_view rest = detail.substr(kIndexSearchPrefix.size());
    if (rest.size() <= kRecordingConstraint.size() ||
        rest.substr(rest.size() - kRecordingConstraint.size()) != kRecordingConstraint) {
        return {};
    }
    return std::string(rest.substr(0, rest.size() - kRecordingConstraint.size()));
}

const IndexDescription* recordingIndex(const std::string& name, const IndexCatalogue& catalogue) {
    const IndexDescription* index = catalogue.find(name);
    if (index == nullptr || index->partial || index->keyColumns.empty() ||
        index->keyColumns.front().name != "recording_id") {
        return nullptr;
    }
    for (const IndexKeyColumn& column : index->keyColumns) {
        if (column.name.empty()) return nullptr;  // an expression: not reproduced
    }
    return index;
}

// The index's key columns after recording_id, as terms. With `branch` set,
// each term counts only within that branch (NULL elsewhere, so equal there).
void appendBranchTerms(const IndexDescription& index, const std::string& branch, std::vector<OrderTerm>& terms) {
    for (std::size_t i = 1; i < index.keyColumns.size(); ++i) {
        const IndexKeyColumn& column = index.keyColumns[i];
        const std::string value = "o." + quotedIdentifier(column.name);
        const std::string expression = branch.empty() ? value : "CASE WHEN " + branch + " THEN " + value + " END";
        terms.push_back({expression, column.collation, column.descending});
    }
}

std::optional<std::vector<OrderTerm>> recordingBranchesOrder(const std::string& nullBranchIndex,
                                                             const std::string& emptyBranchIndex,
                                                             const IndexCatalogue& catalogue) {
    const IndexDescription* first = recordingIndex(nullBranchIndex, catalogue);
    const IndexDescription* second = recordingIndex(emptyBranchIndex, catalogue);
    if (first == nullptr || second == nullptr) return std::nullopt;
    // The IS NULL branch runs first: false (0) sorts before true (1).
    std::vector<OrderTerm> terms = {{"(o.recording_id IS NOT NULL)", "BINARY", false}};
    if (first == second) {
        appendBranchTerms(*first, "", terms);
    } else {
        // With statistics the two branches may walk different indexes.
        appendBranchTerms(*first, "o.recording_id IS NULL", terms);
        appendBranchTerms(*second, "o.recording_id IS NOT NULL", terms);
    }
    terms.push_back(kRowidOrder.front());
    return terms;
}

}  // namespace

std::string orderTermColumns(const std::vector<OrderTerm>& terms) {
    std::string columns;
    for (std::size_t i = 0; i < terms.size(); ++i) {
        columns += ", " + terms[i].expression + " AS k" + std::to_string(i);
    }
    return columns;
}

std::string orderTermKeys(const std::string& qualifier, const std::vector<OrderTerm>& terms) {
    std::string order;
    for (std::size_t i = 0; i < terms.size(); ++i) {
        order += ", " + qualifier + "k" + std::to_string(i) + " COLLATE " + terms[i].collation +
                 (terms[i].descending ? " DESC" : " ASC");
    }
    return order;
}

std::string quotedIdentifier(const std::string& name) {
    std::string quoted = "\"";
    for (char c : name) {
        if (c == '"') quoted += '"';
        quoted += c;
    }
    return quoted + "\"";
}

std::optional<std::vector<OrderTerm>> observationScanOrder(const std::vector<std::string>& planDetails,
                                                           const IndexCatalogue& catalogue) {
    std::vector<std::string_view> walks;
    bool multiIndexOr = false;
    bool fullTextFirst = false;
    for (std::string_view detail : planDetails) {
        if (detail == kMultiIndexOr) multiIndexOr = true;
        if (isFullTextScan(detail) && walks.empty()) fullTextFirst = true;
        if (walksObservations(detail)) walks.push_back(detail);
    }
    if (walks.size() == 1 && !multiIndexOr) {
        if (walks.front() == kTableScan) return kRowidOrder;
        if (walks.front() == kRowidLookup && fullTextFirst) return kRowidOrder;
        return std::nullopt;
    }
    if (walks.size() == 2 && multiIndexOr) {
        return recordingBranchesOrder(recordingIndexOf(walks[0]), recordingIndexOf(walks[1]), catalogue);
    }
    return std::nullopt;
}

}  // namespace VarnholtSQLiteSupport
