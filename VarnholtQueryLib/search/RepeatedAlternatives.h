#pragma once

#include <optional>
#include <string>
#include <vector>

namespace VarnholtQueryLib {

// A MATCH text that is a flat OR of alternatives ("a OR b OR a", or quoted
// phrases such as "\"a b\" OR \"c\""), some of them repeated, as a pasted log
// gives. FTS5 matches the same rows for the distinct alternatives, and BM25
// can be computed from them: every copy of an alternative has the same
// document frequency and the same hits in a row as its first copy. Ranking a
// flat OR therefore costs FTS5 work per distinct alternative, not per copy.
struct RepeatedAlternatives {
    // The distinct alternatives, first copies in their order, joined with
    // " OR " as in the original.
    std::string distinctMatchText;
    // For each alternative of the original, in its order, the position of
    // its first copy among the distinct ones.
    std::vector<int> copyOf;
};

// Absent unless `matchText` is exactly alternatives joined with " OR " (each
// an FTS5 bare word other than an operator, or a double-quoted phrase
// without quotes inside) and at least one alternative repeats.
std::optional<RepeatedAlternatives> repeatedAlternatives(const std::string& matchText);

// `copyOf` as the text bm25WithCopies takes: positions separated by spaces.
std::string copiesArgument(const std::vector<int>& copyOf);

}  // namespace VarnholtQueryLib
