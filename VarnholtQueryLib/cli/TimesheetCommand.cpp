#include <string>

#include "cli/CLIError.h"
#include "cli/CommandRunners.h"
#include "cli/TimeRangeChoice.h"
#include "selection/SQLiteFullTextMatch.h"
#include "selection/SelectionRules.h"
#include "summary/SQLiteSummaryQuery.h"
#include "summary/SummaryBudget.h"
#include "summary/RangeDays.h"
#include "timesheet/TimesheetResponse.h"
#include "timesheet/TimesheetUseCase.h"
#include "IndexCatalogue.h"
#include "SQLiteReadConnection.h"

namespace VarnholtQueryLib {

namespace {

// A text rule whose terms hold no word the index can find: only the index
// can tell, so it is refused here, in the words of a rule without a term.
CLIError ruleError(const InvalidRule& invalid, const Command::Timesheet& command) {
    if (invalid.ruleSet() < command.categories.size()) {
        const TimesheetCategory& category = command.categories[invalid.ruleSet()];
        if (invalid.problem() == RuleProblem::noWord && invalid.rule() < category.rules.size()) {
            return CLIError::invalidTimeRange(noWordMessage(category.rules[invalid.rule()], category.name));
        }
    }
    return CLIError::invalidTimeRange(invalid.what());
}

}  // namespace

JSON answerTimesheetCommand(const Command::Timesheet& command,
                            VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                            const CommandEnvironment& environment) {
    // One reading of the clock serves the range, the covers that end at now
    // and the "current_*" fields, so they always agree.
    const double now = environment.platform.clock.now();
    const auto indexes = VarnholtSQLiteSupport::IndexCatalogue::read(connection.handle());
    const TimeRange range =
        chooseTimeRange({command.preset, command.since, command.rangeFrom, command.rangeTo, command.weekStart},
                        connection, indexes,
                        environment.calendar, now);

    TimesheetQuery query;
    query.from = range.from;
    query.to = range.to;
    query.idleSeconds = command.idleSeconds;
    query.categories = ruleSetsOf(command.categories);
    TimesheetFindings findings;
    try {
        SQLiteSummaryQuery activity(connection, indexes);
        SQLiteFullTextMatch fullText(connection, indexes);
        TimesheetUseCase useCase(activity, fullText, environment.calendar);
        findings = useCase.execute(query, now);
    } catch (const InvalidRule& invalid) {
        throw ruleError(invalid, command);
    } catch (const TooManyDays& tooMany) {
        throw CLIError::invalidTimeRange("This range has more than " + std::to_string(tooMany.most()) +
                                         " days, more than a timesheet lists. Ask for a shorter range.");
    }

    TimesheetEcho echo;
    echo.range = range;
    echo.idleSeconds = command.idleSeconds;
    echo.weekStart = command.weekStart;
    echo.categories = command.categories;
    echo.maxChars = command.maxChars;
    try {
        return makeTimesheetResponse(findings, echo, environment.calendar, now);
    } catch (const SummaryBudgetTooSmall& tooSmall) {
        throw CLIError::invalidTimeRange("--max-chars " + std::to_string(tooSmall.budget()) +
                                         " is too small for this timesheet: its totals and days alone need " +
                                         std::to_string(tooSmall.minimum()) + " characters.");
    }
}

}  // namespace VarnholtQueryLib
