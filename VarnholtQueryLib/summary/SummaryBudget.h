#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <stdexcept>

#include "output/JSONWriter.h"
#include "summary/SummaryDetail.h"

namespace VarnholtQueryLib {

// A budget of characters for a summary answer: the document as writeJSON
// prints it, its trailing newline included, counted in Unicode characters
// (code points; a name in Japanese costs one per character, not three), the
// unit in which agent hosts cap what a tool may return.

// The characters of `document` as writeJSON prints it.
std::int64_t printedCharacters(const JSON& document);

// A budget below what the totals alone need.
class SummaryBudgetTooSmall : public std::runtime_error {
public:
    SummaryBudgetTooSmall(std::int64_t budget, std::int64_t minimum);
    std::int64_t budget() const { return budget_; }
    // The characters of the answer with every detail dropped.
    std::int64_t minimum() const { return minimum_; }

private:
    std::int64_t budget_;
    std::int64_t minimum_;
};

// The document with the fewest drops after which it fits `budget`
// characters, where `documentAfter(k)` is the document with the first k of
// `dropCount` drops made, each drop making it shorter. Found by bisection,
// so an answer of thousands of drops renders a few dozen documents. Without
// a drop needed, documentAfter(0). Throws SummaryBudgetTooSmall, with the
// characters of documentAfter(dropCount) as its minimum, when even that
// does not fit. Any answer with droppable detail shares this.
JSON fitByDrops(std::size_t dropCount, std::int64_t budget, const std::function<JSON(std::size_t)>& documentAfter);

// The least budget for an answer that echoes its own budget: at least
// `minimum` (the characters of the answer with every drop made), and more
// when the budget's own digits need the room. `fit(budget)` renders the
// answer for a budget and throws SummaryBudgetTooSmall, with a new
// minimum, when it does not fit.
std::int64_t leastEchoedBudget(std::int64_t minimum, const std::function<void(std::int64_t)>& fit);

// Builds the printed document of a summary from its (possibly trimmed)
// detail and what was omitted of it.
using SummaryRenderer = std::function<JSON(const SummaryDetail&, const OmittedDetail&)>;

// The document with as much of `detail` as fits `budget` characters: the
// fewest drops of dropOrder(detail) after which it fits. Deterministic: the
// same detail and budget always give the same document. Without a drop
// needed, nothing is omitted. Throws SummaryBudgetTooSmall when the
// document does not fit even with every drop made.
JSON fitToBudget(const SummaryDetail& detail, std::int64_t budget, const SummaryRenderer& render);

}  // namespace VarnholtQueryLib
