#include "search/SearchUseCase.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace VarnholtQueryLib {

namespace {

constexpr double kDefaultWindowSeconds = 86400.0;
constexpr std::int64_t kMaximumLimit = 200;

}  // namespace

SearchUseCase::SearchUseCase(ObservationSearchQueryPort& searchQuery, double now)
    : searchQuery_(searchQuery), now_(now) {}

SearchUseCase::Outcome SearchUseCase::execute(const ObservationSearchParams& params) const {
    ObservationSearchParams effective = params;
    // Only the unbounded search is reshaped. A caller that names a bound gets
    // exactly its request, including its limit.
    if (!params.fromTs && !params.toTs) {
        effective.fromTs = now_ - kDefaultWindowSeconds;
        effective.limit =
            params.latestOnly ? 1 : std::max<std::int64_t>(std::min(params.limit, kMaximumLimit), 1);
    }
    Outcome outcome;
    outcome.results = searchQuery_.search(effective);
    outcome.effectiveParams = std::move(effective);
    return outcome;
}

}  // namespace VarnholtQueryLib
