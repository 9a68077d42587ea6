// Which way a differential comparison looks its texts up in the full-text
// index: confined to the window's rowids, or in the whole index.
#pragma once

#include <cstdint>

#include "selection/SQLiteFullTextMatch.h"

namespace VarnholtDifferential {

// Every window long enough to ask the whole index, without a limit that a
// random database could reach.
inline constexpr VarnholtQueryLib::SQLiteFullTextMatch::WholeIndexLookUps kEveryWindowWholeIndex{
    .fromWindowFrames = 0, .heldRowidsLimit = std::int64_t{1} << 40};

// The look-ups of the query whose comparisons begin at `comparisons`. Every
// other query asks the whole index for its texts, whatever the window, so
// that both ways are compared; each query adds two comparisons (literal and
// index-driven statements), hence every fourth count.
inline VarnholtQueryLib::SQLiteFullTextMatch::WholeIndexLookUps lookUpsOfQueryAt(int comparisons) {
    return comparisons % 4 == 0 ? kEveryWindowWholeIndex : VarnholtQueryLib::SQLiteFullTextMatch::WholeIndexLookUps{};
}

}  // namespace VarnholtDifferential
