#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace VarnholtQueryLib {

// What a full-text search asks for.
struct ObservationSearchParams {
    std::string keyword;                   // as typed, before any FTS5 rewriting
    std::optional<std::string> appFilter;  // whole-entry, case-insensitive match
    std::optional<double> fromTs;          // inclusive, seconds since 1970 UTC
    std::optional<double> toTs;            // inclusive
    bool latestOnly = false;               // newest first instead of by relevance
    std::int64_t limit = 50;
    bool collapse = false;                 // the caller will collapse repeats
    bool allWords = false;                 // every word and phrase must occur, not any one
};

struct SearchResultEntity {
    std::string kind;
    std::string value;

    bool operator==(const SearchResultEntity&) const = default;
};

// One matching observation.
struct ObservationSearchResult {
    std::string observationId;
    double frameTimestamp = 0;  // the frame's time, else the observation's own
    std::string vlmDescription;  // empty when the column is NULL
    std::vector<std::string> apps;
    std::optional<std::string> imagePath;
    std::vector<SearchResultEntity> entities;

    bool operator==(const ObservationSearchResult&) const = default;
};

}  // namespace VarnholtQueryLib
