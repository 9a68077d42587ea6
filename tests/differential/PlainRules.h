#pragma once

// The selection rules written plainly, for the differential tests'
// references: a rule holds for a row as a person reads the rule, the
// description cut into words by the full-text index's own tokenizer.

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "redaction/DeduplicationService.h"
#include "selection/FullTextTokenizer.h"

namespace VarnholtDifferential {

inline std::string nameKey(const std::string& name) {
    return VarnholtQueryLib::DeduplicationService::nameKey(name);
}

// The terms of a text rule, as a person reads them: words between blanks,
// "quoted phrases" whole, an unmatched quote running to the end.
inline std::vector<std::string> plainTerms(const std::string& words) {
    std::vector<std::string> terms;
    std::string current;
    bool quoted = false;
    for (const char c : words) {
        if (c == '"') {
            terms.push_back(current);
            current.clear();
            quoted = !quoted;
        } else if (!quoted && (c == ' ' || c == '\t')) {
            terms.push_back(current);
            current.clear();
        } else {
            current += c;
        }
    }
    terms.push_back(current);
    return terms;
}

// Whether `needle` stands in `haystack` as a run of neighbours.
inline bool holdsRun(const std::vector<std::string>& haystack, const std::vector<std::string>& needle) {
    return std::search(haystack.begin(), haystack.end(), needle.begin(), needle.end()) != haystack.end();
}

// A text rule: the description holds each term's words as neighbours.
inline bool textRuleHolds(const std::string& words, const std::string& description,
                          const VarnholtQueryLib::FullTextTokenizer& tokenizer) {
    using VarnholtQueryLib::FullTextTokenizer;
    const auto descriptionWords = *tokenizer.words(description, FullTextTokenizer::Purpose::document);
    for (const std::string& term : plainTerms(words)) {
        const auto termWords = *tokenizer.words(term, FullTextTokenizer::Purpose::query);
        if (!termWords.empty() && !holdsRun(descriptionWords, termWords)) return false;
    }
    return true;
}

// An application rule: one of the row's applications by the name key.
inline bool applicationRuleHolds(const std::string& app, const std::vector<std::string>& apps) {
    return std::any_of(apps.begin(), apps.end(), [&](const std::string& name) { return nameKey(name) == nameKey(app); });
}

// An entity rule: one of the row's entities, its value by the name key, of
// exactly the kind when one is given.
inline bool entityRuleHolds(const std::optional<std::string>& kind, const std::string& value,
                            const std::vector<std::pair<std::string, std::string>>& entities) {
    return std::any_of(entities.begin(), entities.end(), [&](const auto& pair) {
        return (!kind || pair.first == *kind) && nameKey(pair.second) == nameKey(value);
    });
}

}  // namespace VarnholtDifferential
