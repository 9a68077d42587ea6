#include "entities/EntitiesUseCase.h"

#include <algorithm>
#include <cstdint>

namespace VarnholtQueryLib {

namespace {

constexpr double kDefaultWindowSeconds = 86400.0;
constexpr std::int64_t kMinimumLimit = 1;
constexpr std::int64_t kMaximumLimit = 500;

}  // namespace

EntitiesUseCase::EntitiesUseCase(EntityQueryPort& entityQuery) : entityQuery_(entityQuery) {}

EntitiesUseCase::Result EntitiesUseCase::execute(const EntityQueryParams& params, double now) {
    EntityQueryParams effective = params;
    if (!effective.fromTs && !effective.toTs) {
        // An unbounded aggregation would scan the whole history; the question
        // is about recent work.
        effective.fromTs = now - kDefaultWindowSeconds;
        effective.limit = std::max(std::min(effective.limit, kMaximumLimit), kMinimumLimit);
    }
    return {entityQuery_.aggregate(effective), effective};
}

}  // namespace VarnholtQueryLib
