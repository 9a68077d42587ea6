#pragma once

#include <optional>
#include <utility>

#include "DatabaseError.h"

namespace VarnholtSQLiteSupport {

// The one rule by which an index-driven statement gives way to the literal
// statement it stands in for: `indexed` returns no answer when it cannot
// serve this database (an index missing, a plan we do not reproduce, a
// statement SQLite refuses), and a failure while it runs is not ours to
// word. In both cases `literal` runs, and its answer or its failure is the
// answer. The recorder holding its lock is the exception: the literal
// statement would wait the same second for the same lock, so `locked`
// passes straight on.
template <typename Indexed, typename Literal>
auto withLiteralFallback(Indexed&& indexed, Literal&& literal) -> decltype(literal()) {
    try {
        if (std::optional<decltype(literal())> answer = indexed()) return std::move(*answer);
    } catch (const DatabaseError& failure) {
        if (failure.errorCase() == DatabaseError::Case::locked) throw;
    }
    return literal();
}

}  // namespace VarnholtSQLiteSupport
