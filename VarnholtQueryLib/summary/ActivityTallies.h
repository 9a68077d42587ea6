#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "redaction/NameKeyCache.h"
#include "summary/ActivityRecords.h"

namespace VarnholtQueryLib {

// The applications and entities of counted rows, tallied as the summary
// tallies them, for every account that lists them (the summary's, a
// timesheet's suggestions). Rows arrive in the order the rule of covers
// takes them (RowCovers). Single-threaded.

// Applications: a row's apps, names compared by DeduplicationService's
// name key and counted once per row; an application is visible for the
// covers of the rows that list it and is named as its earliest row spells
// it.
class ApplicationTally {
public:
    void add(const std::vector<std::string>& apps, double cover);
    // Every application, most printed seconds (wholeSeconds) first, then by
    // name.
    std::vector<ApplicationTime> ranked() const;

private:
    std::vector<ApplicationTime> applications_;
    std::unordered_map<std::string, std::size_t> byKey_;
    NameKeyCache keys_;
    std::vector<std::size_t> listed_;  // the row's applications so far, kept to reuse its memory
};

// Entities: a kind and a value compared by the name key (of `kind` only,
// when given), so that "Swift", "swift" and "SWIFT" are one; its seconds are
// the covers of the rows that list it, its count those rows, and it is
// spelt as most of its rows spell it (a row holding several spellings
// counts for each), among equals as the earliest row does.
class EntityTally {
public:
    explicit EntityTally(std::optional<std::string> kind = std::nullopt);

    void add(const std::vector<EntityPair>& entities, double time, double cover);
    // Every entity, spelt, most printed seconds first, then by kind, then
    // by value.
    std::vector<EntityTime> ranked() const;

private:
    struct Spelling {
        std::string value;
        std::int64_t rows = 0;
    };
    struct Entity {
        EntityTime time;                  // value set when ranked
        std::vector<Spelling> spellings;  // in the order of their first rows
    };

    std::optional<std::string> kind_;
    std::vector<Entity> entities_;
    std::unordered_map<std::string, std::size_t> byKey_;
    NameKeyCache keys_;
    // Kept from row to row to reuse their memory: rows come by the hundred
    // thousand.
    std::vector<std::size_t> listed_;  // the row's entities so far
    std::string key_;                  // the byKey_ key being looked up
};

// The orders of the lists: most printed seconds first, so that two entries
// printing the same seconds order by name whatever their fractions.
bool ranksBefore(const ApplicationTime& a, const ApplicationTime& b);
bool ranksBefore(const EntityTime& a, const EntityTime& b);

}  // namespace VarnholtQueryLib
