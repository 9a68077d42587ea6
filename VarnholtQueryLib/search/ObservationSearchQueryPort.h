#pragma once

#include <vector>

#include "search/ObservationSearchRecords.h"

namespace VarnholtQueryLib {

// Full-text search over observation descriptions, as the search use case sees
// it. The one production implementation is SQLiteObservationSearch; tests use
// fakes that record what they were asked.
class ObservationSearchQueryPort {
public:
    virtual ~ObservationSearchQueryPort() = default;

    // The observations matching `params`, at most `params.limit` of them, best
    // match first (newest first with `latestOnly`). Throws DatabaseError when
    // the query cannot run; no partial result is returned then.
    virtual std::vector<ObservationSearchResult> search(const ObservationSearchParams& params) = 0;

protected:
    ObservationSearchQueryPort() = default;
    ObservationSearchQueryPort(const ObservationSearchQueryPort&) = delete;
    ObservationSearchQueryPort& operator=(const ObservationSearchQueryPort&) = delete;
};

}  // namespace VarnholtQueryLib
