#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "search/ObservationSearchRecords.h"

namespace VarnholtQueryLib {

// A list with repeats removed, and whether it was cut to its limit.
struct DeduplicatedList {
    std::vector<std::string> items;
    bool truncated = false;

    bool operator==(const DeduplicatedList&) const = default;
};

// Removing repeats before results are shown: application names that differ
// only in letter case, and search results that describe the same thing.
// Stateless.
namespace DeduplicationService {

// The key under which names count as the same: the name after full Unicode
// lower-casing in the root locale, not trimmed.
std::string nameKey(const std::string& name);

// Keeps the first spelling of each name (compared by nameKey), then at most
// `limit` of them.
DeduplicatedList deduplicate(const std::vector<std::string>& items, std::size_t limit);
// deduplicate with a limit of 10.
DeduplicatedList deduplicateApps(const std::vector<std::string>& items);

// Keeps the first result of each description, compared lower-cased and
// trimmed of whitespace and newlines at both ends; order is kept, so the
// best-ranked (or newest) result of a group survives.
std::vector<ObservationSearchResult> collapseObservations(
    const std::vector<ObservationSearchResult>& results);

}  // namespace DeduplicationService

}  // namespace VarnholtQueryLib
