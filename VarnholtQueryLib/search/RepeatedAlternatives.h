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

// `matchText` with its alternatives grouped in parentheses as a balanced
// tree ("a OR b OR c OR d" -> "(a OR b) OR (c OR d)"), when it is a flat OR
// as repeatedAlternatives() takes it; any other text comes back unchanged.
// FTS5 flattens the groups again: the same rows match, and its phrases keep
// their order, so bm25 gives every row the same score, bit for bit. What
// changes is the cost of parsing: for each alternative of a flat OR, FTS5
// builds its OR node anew and copies every alternative so far into it,
// which makes a pasted text of ten thousand distinct words take time
// quadratic in its length. Grouped, each alternative is copied once per
// level of the tree.
std::string groupedAlternatives(const std::string& matchText);

}  // namespace VarnholtQueryLib
