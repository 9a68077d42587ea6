#include <iostream>

#include "IndexCatalogue.h"
#include "SQLiteReadConnection.h"
#include "cli/CommandRunners.h"
#include "status/FSTailTailLogPort.h"
#include "status/SQLiteOperationalStatusQuery.h"
#include "status/StatusResponse.h"
#include "status/StatusUseCase.h"

namespace VarnholtQueryLib {

// The one command with a human-readable form: a person at a terminal gets the
// report, everyone else (a pipe, or --json) the JSON document.
void runStatusCommand(const Command::Status& command,
                      VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                      const CommandEnvironment& environment) {
    const Platform& platform = environment.platform;
    SQLiteOperationalStatusQuery operationalQuery(
        connection, VarnholtSQLiteSupport::IndexCatalogue::read(connection.handle()), platform.clock);
    const FSTailTailLogPort tailLogPort(platform.processes);
    const StatusUseCase useCase(&operationalQuery, &tailLogPort, platform.fileSystem,
                                platform.clock, platform.homeDirectory);
    const StatusData statusData = useCase.execute();

    if (command.jsonFlag || !platform.standardOutputIsTerminal) {
        outputStatusJSON(statusData, environment.calendar);
    } else {
        printHumanStatus(statusData, std::cout);
        std::cout.flush();
    }
}

}  // namespace VarnholtQueryLib
