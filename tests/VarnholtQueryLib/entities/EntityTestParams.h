#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "entities/EntityQueryPort.h"

namespace VarnholtQueryLib {

// An entity query in the order the tests think of it: the window, the kind,
// the limit (the command's default when not given).
inline EntityQueryParams params(std::optional<double> fromTs, std::optional<double> toTs,
                                std::optional<std::string> kind, std::int64_t limit = 100) {
    return {fromTs, toTs, std::move(kind), limit};
}

}  // namespace VarnholtQueryLib
