#pragma once

#include <vector>

#include "entities/EntityQueryPort.h"

namespace VarnholtQueryLib {

// The `entities` question: which entities were mentioned most in a range.
// Fills in the default range (the last 24 hours) when the caller gave no
// bound, and runs the aggregation. Borrows its port, which must outlive it.
class EntitiesUseCase {
public:
    // The aggregated rows and the params they were queried with; the
    // response echoes the latter.
    struct Result {
        std::vector<EntityAggregation> entities;
        EntityQueryParams params;
    };

    explicit EntitiesUseCase(EntityQueryPort& entityQuery);

    // With neither bound in `params`, the lower bound becomes `now` minus one
    // day (the upper stays open) and the limit is clamped to 1..500. With
    // either bound present `params` are used unchanged: the command has
    // already clamped the limit. Rethrows the port's DatabaseError.
    Result execute(const EntityQueryParams& params, double now);

private:
    EntityQueryPort& entityQuery_;
};

}  // namespace VarnholtQueryLib
