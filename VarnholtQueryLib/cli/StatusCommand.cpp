#include "IndexCatalogue.h"
#include "SQLiteReadConnection.h"
#include "cli/CommandRunners.h"
#include "status/FSTailTailLogPort.h"
#include "status/SQLiteOperationalStatusQuery.h"
#include "status/StatusResponse.h"
#include "status/StatusUseCase.h"

namespace VarnholtQueryLib {

StatusData readStatus(VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                      const CommandEnvironment& environment) {
    const Platform& platform = environment.platform;
    SQLiteOperationalStatusQuery operationalQuery(
        connection, VarnholtSQLiteSupport::IndexCatalogue::read(connection.handle()), platform.clock);
    const FSTailTailLogPort tailLogPort(platform.processes);
    const StatusUseCase useCase(&operationalQuery, &tailLogPort, platform.fileSystem,
                                platform.clock, platform.homeDirectory);
    return useCase.execute();
}

JSON answerStatusCommand(VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                         const CommandEnvironment& environment) {
    return makeStatusResponse(readStatus(connection, environment), environment.calendar);
}

}  // namespace VarnholtQueryLib
