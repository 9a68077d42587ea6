#pragma once

#include <vector>

#include "search/ObservationSearchQueryPort.h"
#include "search/ObservationSearchRecords.h"

namespace VarnholtQueryLib {

// The search request as it is actually run: a search without any time bound
// looks at the last day only, with a bounded limit.
//
// Borrows the port, which must outlive it. `now` (seconds since 1970 UTC) is
// read once by the caller, so that the default window and the response agree
// on the same instant.
class SearchUseCase {
public:
    struct Outcome {
        std::vector<ObservationSearchResult> results;
        // What was actually asked of the port; the response echoes these,
        // not the caller's params.
        ObservationSearchParams effectiveParams;
    };

    SearchUseCase(ObservationSearchQueryPort& searchQuery, double now);

    // With neither `fromTs` nor `toTs`: the lower bound becomes now minus one
    // day and the limit is clamped to 1..200 (1 with `latestOnly`). With any
    // bound the params pass unchanged, limit included: the command line has
    // already bounded it, and an explicit window is the caller's choice.
    // Throws whatever the port throws (DatabaseError), with no partial result.
    Outcome execute(const ObservationSearchParams& params) const;

private:
    ObservationSearchQueryPort& searchQuery_;
    const double now_;
};

}  // namespace VarnholtQueryLib
