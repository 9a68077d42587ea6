#pragma once

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
