#include <algorithm>
#include <cstdint>

#include "cli/CommandRunners.h"
#include "entities/EntitiesResponse.h"
#include "entities/EntitiesUseCase.h"
#include "entities/SQLiteEntityQuery.h"
#include "period/TimePresets.h"
#include "IndexCatalogue.h"
#include "SQLiteReadConnection.h"

namespace VarnholtQueryLib {

namespace {

constexpr std::int64_t kMaximumEntitiesLimit = 500;

}  // namespace

JSON answerEntitiesCommand(const Command::Entities& command,
                           VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                           const CommandEnvironment& environment) {
    // One reading of the clock serves the --since window, the default
    // window and the response's current date.
    const double now = environment.platform.clock.now();

    EntityQueryParams params;
    if (command.since) {
        const TimeRange range = TimePresets::recent(*command.since, now);
        params.fromTs = range.from;
        params.toTs = range.to;
    }
    params.kind = command.kind;
    params.limit = std::max<std::int64_t>(std::min(command.limit, kMaximumEntitiesLimit), 1);

    // The query copies the connection's handle; `connection` outlives it here.
    SQLiteEntityQuery entityQuery(connection,
                                  VarnholtSQLiteSupport::IndexCatalogue::read(connection.handle()));
    EntitiesUseCase useCase(entityQuery);
    const EntitiesUseCase::Result result = useCase.execute(params, now);
    // Always JSON: agents are the main callers of this command.
    return makeEntitiesResponse(result.entities, result.params, environment.calendar, now);
}

}  // namespace VarnholtQueryLib
