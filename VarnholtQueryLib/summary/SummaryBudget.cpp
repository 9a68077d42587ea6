#include "summary/SummaryBudget.h"

#include <string>

namespace VarnholtQueryLib {

std::int64_t printedCharacters(const JSON& document) {
    const auto text = serializeJSON(document);
    if (!text) return 0;
    std::int64_t characters = 1;  // the newline writeJSON adds
    for (const char byte : *text) {
        // Every UTF-8 byte but a continuation byte starts a character.
        if ((static_cast<unsigned char>(byte) & 0xC0) != 0x80) ++characters;
    }
    return characters;
}

SummaryBudgetTooSmall::SummaryBudgetTooSmall(std::int64_t budget, std::int64_t minimum)
    : std::runtime_error("A budget of " + std::to_string(budget) +
                         " characters is too small for this summary"),
      budget_(budget),
      minimum_(minimum) {}

JSON fitByDrops(std::size_t dropCount, std::int64_t budget, const std::function<JSON(std::size_t)>& documentAfter) {
    JSON document = documentAfter(0);
    if (printedCharacters(document) <= budget) return document;
    JSON smallest = documentAfter(dropCount);
    const std::int64_t minimum = printedCharacters(smallest);
    if (minimum > budget) throw SummaryBudgetTooSmall(budget, minimum);

    // Each drop makes the document shorter, so the fewest drops that fit
    // are found by bisection: `tooFew` drops do not fit, `enough` do.
    std::size_t tooFew = 0;
    std::size_t enough = dropCount;
    while (enough - tooFew > 1) {
        const std::size_t middle = tooFew + (enough - tooFew) / 2;
        JSON candidate = documentAfter(middle);
        if (printedCharacters(candidate) <= budget) {
            enough = middle;
            smallest = std::move(candidate);
        } else {
            tooFew = middle;
        }
    }
    return smallest;
}

std::int64_t leastEchoedBudget(std::int64_t minimum, const std::function<void(std::int64_t)>& fit) {
    // The answer echoes its budget, so the minimum is the budget whose own
    // digits fit too: one that needs more digits than the budget asked for
    // needs more room.
    for (;;) {
        try {
            fit(minimum);
            return minimum;
        } catch (const SummaryBudgetTooSmall& larger) {
            minimum = larger.minimum();
        }
    }
}

JSON fitToBudget(const SummaryDetail& detail, std::int64_t budget, const SummaryRenderer& render) {
    const std::vector<DetailDrop> order = dropOrder(detail);
    OmittedDetail omitted;
    return fitByDrops(order.size(), budget, [&](std::size_t drops) {
        return render(withoutFirstDrops(detail, order, drops, omitted), omitted);
    });
}

}  // namespace VarnholtQueryLib
