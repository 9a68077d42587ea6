#include <string>

#include "cli/CLIError.h"
#include "cli/CommandRunners.h"
#include "cli/TimeRangeChoice.h"
#include "summary/SQLiteSummaryQuery.h"
#include "summary/SummaryBudget.h"
#include "summary/SummaryResponse.h"
#include "summary/SummaryUseCase.h"
#include "IndexCatalogue.h"
#include "SQLiteReadConnection.h"

namespace VarnholtQueryLib {

JSON answerSummaryCommand(const Command::Summary& command,
                          VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                          const CommandEnvironment& environment) {
    // One reading of the clock serves the range, the covers that end at now
    // and the "current_*" fields, so they always agree.
    const double now = environment.platform.clock.now();
    const auto indexes = VarnholtSQLiteSupport::IndexCatalogue::read(connection.handle());
    const TimeRange range =
        chooseTimeRange({command.preset, command.since, command.rangeFrom, command.rangeTo},
                        connection, indexes, environment.calendar, now);

    SQLiteSummaryQuery summaryQuery(connection, indexes);
    SummaryUseCase useCase(summaryQuery, environment.calendar);
    const SummaryFindings findings =
        useCase.execute({range.from, range.to, command.idleSeconds, command.kind}, now);

    const SummaryEcho echo{range, command.idleSeconds, command.kind, command.limit, command.maxChars};
    try {
        return makeSummaryResponse(findings, echo, environment.calendar, now);
    } catch (const SummaryBudgetTooSmall& tooSmall) {
        throw CLIError::invalidTimeRange("--max-chars " + std::to_string(tooSmall.budget()) +
                                         " is too small for this summary: its totals alone need " +
                                         std::to_string(tooSmall.minimum()) + " characters.");
    }
}

}  // namespace VarnholtQueryLib
