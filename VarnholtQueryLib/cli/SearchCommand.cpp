#include <algorithm>
#include <cstdint>
#include <optional>

#include "cli/CommandRunners.h"
#include "IndexCatalogue.h"
#include "SQLiteReadConnection.h"
#include "redaction/DeduplicationService.h"
#include "search/SQLiteObservationSearch.h"
#include "search/SearchResponse.h"
#include "search/SearchUseCase.h"

namespace VarnholtQueryLib {

namespace {

constexpr std::int64_t kMaximumSearchLimit = 200;

ObservationSearchParams paramsFor(const Command::Search& command) {
    ObservationSearchParams params;
    params.keyword = command.keyword;
    params.appFilter = command.appFilter;
    params.fromTs = command.from;
    params.toTs = command.to;
    params.latestOnly = command.latestOnly;
    params.limit = std::max<std::int64_t>(std::min(command.limit, kMaximumSearchLimit), 1);
    if (command.latestOnly) params.limit = 1;
    params.collapse = command.collapse;
    params.allWords = command.allWords;
    return params;
}

}  // namespace

JSON answerSearchCommand(const Command::Search& command,
                         VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                         const CommandEnvironment& environment) {
    // One reading of the clock serves the default window and the response.
    const double now = environment.platform.clock.now();
    SQLiteObservationSearch searchQuery(connection,
                                        VarnholtSQLiteSupport::IndexCatalogue::read(connection.handle()));
    const SearchUseCase useCase(searchQuery, now);
    SearchUseCase::Outcome outcome = useCase.execute(paramsFor(command));

    // Collapsing never raises the limit, so a collapsed search returns fewer
    // rows; the count before collapsing tells the caller how many there were.
    std::optional<std::int64_t> originalCount;
    if (outcome.effectiveParams.collapse) {
        originalCount = static_cast<std::int64_t>(outcome.results.size());
        outcome.results = DeduplicationService::collapseObservations(outcome.results);
    }
    return makeSearchResponse(outcome.results, outcome.effectiveParams, command.compact,
                              command.images, originalCount, environment.calendar, now);
}

}  // namespace VarnholtQueryLib
