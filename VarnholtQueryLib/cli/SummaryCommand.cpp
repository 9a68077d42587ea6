#include <string>

#include "cli/CLIError.h"
#include "cli/CommandBuilders.h"
#include "cli/CommandRunners.h"
#include "cli/TimeRangeChoice.h"
#include "selection/SQLiteFullTextMatch.h"
#include "selection/SelectionRules.h"
#include "summary/ActivityAccountant.h"
#include "summary/SQLiteSummaryQuery.h"
#include "summary/SummaryBudget.h"
#include "summary/SummaryResponse.h"
#include "summary/SummaryUseCase.h"
#include "IndexCatalogue.h"
#include "SQLiteReadConnection.h"

namespace VarnholtQueryLib {

namespace {

// The rules as the builder accepted them, in the order text, application,
// entity: a row is picked when any matches, so the order decides nothing.
RuleSet selectionOf(const Command::Summary& command) {
    RuleSet rules;
    for (const std::string& words : command.match) rules.push_back(textRule(words));
    for (const std::string& name : command.app) rules.push_back(applicationRule(name));
    for (const std::string& entity : command.entity) rules.push_back(entityRule(entity));
    return rules;
}

SummarySections sectionsOf(const Command::Summary& command) {
    if (!command.only) return SummarySections::all();
    return SummarySections::named(*command.only).value_or(SummarySections::all());
}

}  // namespace

JSON answerSummaryCommand(const Command::Summary& command,
                          VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                          const CommandEnvironment& environment) {
    // One reading of the clock serves the range, the covers that end at now
    // and the "current_*" fields, so they always agree.
    const double now = environment.platform.clock.now();
    const auto indexes = VarnholtSQLiteSupport::IndexCatalogue::read(connection.handle());
    const TimeRange range =
        chooseTimeRange({command.preset, command.since, command.rangeFrom, command.rangeTo, command.weekStart},
                        connection, indexes, environment.calendar, now);

    SummaryQuery query;
    query.from = range.from;
    query.to = range.to;
    query.idleSeconds = command.idleSeconds;
    query.kind = command.kind;
    query.sections = sectionsOf(command);
    SummaryFindings findings;
    try {
        query.selection = selectionOf(command);
        SQLiteSummaryQuery summaryQuery(connection, indexes);
        SQLiteFullTextMatch fullText(connection, indexes);
        SummaryUseCase useCase(summaryQuery, fullText, environment.calendar);
        findings = useCase.execute(query, now);
    } catch (const InvalidRule& invalid) {
        throw selectionRuleError(invalid);
    } catch (const TooManyDays& tooMany) {
        throw tooManyDaysError(tooMany.most());
    }

    SummaryEcho echo;
    echo.range = range;
    echo.idleSeconds = command.idleSeconds;
    echo.kind = command.kind;
    echo.limit = command.limit;
    echo.maxChars = command.maxChars;
    echo.match = command.match;
    echo.app = command.app;
    echo.entity = command.entity;
    echo.weekStart = command.weekStart;
    echo.only = command.only;
    echo.sections = query.sections;
    try {
        return makeSummaryResponse(findings, echo, environment.calendar, now);
    } catch (const SummaryBudgetTooSmall& tooSmall) {
        throw CLIError::invalidTimeRange("--max-chars " + std::to_string(tooSmall.budget()) +
                                         " is too small for this summary: its totals alone need " +
                                         std::to_string(tooSmall.minimum()) + " characters.");
    }
}

}  // namespace VarnholtQueryLib
