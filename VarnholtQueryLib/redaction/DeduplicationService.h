#pragma once

#include <cstddef>
#include <string>
#include <unordered_set>
#include <vector>

namespace VarnholtQueryLib {

// A list with repeats removed, and whether it was cut to its limit.
struct DeduplicatedList {
    std::vector<std::string> items;
    bool truncated = false;

    bool operator==(const DeduplicatedList&) const = default;
};

// Removing repeats before results are shown: application names that differ
// only in letter case, and search results that describe the same thing.
// Every response that lists names may use it. Stateless.
namespace DeduplicationService {

// The key under which names count as the same: the name after full Unicode
// lower-casing in the root locale, not trimmed.
std::string nameKey(const std::string& name);

// Keeps the first spelling of each name (compared by nameKey), then at most
// `limit` of them.
DeduplicatedList deduplicate(const std::vector<std::string>& items, std::size_t limit);
// deduplicate with a limit of 10.
DeduplicatedList deduplicateApps(const std::vector<std::string>& items);

// The key under which two descriptions say the same thing: the description
// lower-cased as nameKey does, then trimmed of white space and line breaks
// at both ends (every code point with the Unicode White_Space property).
std::string descriptionKey(const std::string& description);

// Keeps the first result of each description (compared by descriptionKey);
// order is kept, so the best-ranked (or newest) result of a group survives.
// `Result` is a search result (ObservationSearchResult) or anything else
// with a text `vlmDescription`; the search's records stay the search's own.
template <typename Result>
std::vector<Result> collapseObservations(const std::vector<Result>& results) {
    std::vector<Result> kept;
    std::unordered_set<std::string> seen;
    for (const Result& result : results) {
        if (seen.insert(descriptionKey(result.vlmDescription)).second) kept.push_back(result);
    }
    return kept;
}

}  // namespace DeduplicationService

}  // namespace VarnholtQueryLib
