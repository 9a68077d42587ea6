#include "IndexCatalogue.h"
#include "SQLiteReadConnection.h"
#include "cli/CommandRunners.h"
#include "status/SQLiteOperationalStatusQuery.h"
#include "support_context/SQLiteSupportContextQuery.h"
#include "status/StatusUseCase.h"
#include "support_context/SupportContextResponse.h"
#include "support_context/SupportContextUseCase.h"

namespace VarnholtQueryLib {

namespace {

// Two hours of recent work, the five newest distinct descriptions: enough to
// say what the user was doing without flooding a support request.
constexpr std::int64_t kContextWindowSeconds = 7200;
constexpr std::int64_t kContextObservationLimit = 5;

}  // namespace

// Always JSON: the output is meant for an agent drafting a support request.
JSON answerSupportContextCommand(VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                                 const CommandEnvironment& environment) {
    const Platform& platform = environment.platform;
    const double now = platform.clock.now();

    const auto indexes = VarnholtSQLiteSupport::IndexCatalogue::read(connection.handle());
    SQLiteSupportContextQuery supportContextQuery(connection, indexes);
    SupportContextUseCase contextUseCase(supportContextQuery);
    // A database failure here fails the command; nothing partial is written.
    const SupportContextSnapshot context =
        contextUseCase.execute(kContextWindowSeconds, kContextObservationLimit, now);

    // Without a tail port: log tails do not belong in a support summary.
    SQLiteOperationalStatusQuery operationalQuery(connection, indexes, platform.clock);
    const StatusUseCase statusUseCase(&operationalQuery, nullptr, platform.fileSystem,
                                      platform.clock, platform.homeDirectory);
    const StatusData statusData = statusUseCase.execute();

    return makeSupportContextResponse(context, statusData, environment.calendar);
}

}  // namespace VarnholtQueryLib
