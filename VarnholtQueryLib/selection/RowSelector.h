#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "redaction/NameKeyCache.h"
#include "selection/FullTextMatchPort.h"
#include "selection/SelectionRules.h"

namespace VarnholtQueryLib {

// Decides, row by row as the rows of a range stream by, which rule set
// picks a row: a summary's one set of --match, --app and --entity rules,
// or a timesheet's categories in their order (a row goes to the first).
//
// Text rules are answered before the first row, as sets of rowids from the
// full-text index (one look-up per distinct text, never a scan of
// descriptions); application and entity rules compare the row's own lists
// by the name key. The caller holds the read transaction in which both the
// look-ups and the rows are read, so that they describe one database state.
//
// Owns the resolved rowid sets. Single-threaded; the name keys it computes
// are kept for the next row.
class RowSelector {
public:
    // The row as a rule sees it: where it is stored (needed only for text
    // rules), the applications as the recorder listed them (a malformed list
    // is empty) and the entities whose kind and value are text.
    struct Row {
        std::optional<std::int64_t> rowid;
        const std::vector<std::string>& apps;
        const std::vector<std::pair<std::string, std::string>>& entities;
    };

    // `ruleSets` with their text rules looked up through `index` for the
    // rows of [from, to]. Each text term the index's tokenizer finds no word
    // in is left out; a text rule left without terms throws InvalidRule
    // noWord with the rule's place (ruleSet, rule). Rethrows the index's
    // database error.
    static RowSelector resolve(const std::vector<RuleSet>& ruleSets, FullTextMatchPort& index, double from,
                               double to);

    // The first rule set with a rule that matches `row`; absent when none
    // does. REQUIRES: row.rowid is present when readsRowids().
    std::optional<std::size_t> firstMatchingSet(const Row& row);
    // Whether any rule set picks `row`.
    bool selects(const Row& row) { return firstMatchingSet(row).has_value(); }

    // What the rules read of a row, so that a source can leave out the rest.
    bool readsRowids() const { return readsRowids_; }
    bool readsApplications() const { return readsApplications_; }
    bool readsEntities() const { return readsEntities_; }
    // The first rule set with an entity rule; absent when none has one.
    // A row that a set before it picks without its entities is picked by
    // that set whatever its entities are.
    std::optional<std::size_t> firstSetReadingEntities() const { return firstSetReadingEntities_; }

private:
    enum class Kind { text, application, entity };
    struct CompiledRule {
        Kind kind = Kind::text;
        std::size_t match = 0;            // text: its place in matches_
        std::string key;                  // application, entity: the name key
        std::optional<std::string> entityKind;
    };

    RowSelector() = default;
    bool matches(const CompiledRule& rule, const Row& row);

    std::vector<std::vector<CompiledRule>> sets_;
    std::vector<std::vector<std::int64_t>> matches_;  // ascending rowids per distinct text
    NameKeyCache keys_;
    bool readsRowids_ = false;
    bool readsApplications_ = false;
    bool readsEntities_ = false;
    std::optional<std::size_t> firstSetReadingEntities_;
};

}  // namespace VarnholtQueryLib
