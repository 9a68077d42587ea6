#include "mcp/DatabaseDocuments.h"

#include <exception>

#include "cli/CLIError.h"
#include "cli/CommandRunners.h"
#include "platform/LocalCalendar.h"
#include "platform/SystemPlatform.h"
#include "UserHomeDirectory.h"

namespace VarnholtQueryLib::MCP {

ToolAnswer DatabaseDocuments::answer(const CommandRecipe& recipe) const {
    const SystemClock clock;
    try {
        const SystemFileSystem fileSystem;
        // The host may pipe our standard error and never read it; a child
        // blocked on that full pipe would stall the answer forever.
        const SystemProcess processes(ChildErrors::discard);
        const SystemSleep sleeper;
        // Standard output is the protocol's; no command may take it for a
        // terminal, so status answers as JSON.
        const Platform platform{clock,      fileSystem,
                                processes,  sleeper,
                                VarnholtSQLiteSupport::userHomeDirectory(),
                                false};
        const LocalCalendar calendar = LocalCalendar::current();
        const CommandEnvironment environment{platform, calendar};
        return {answerFromDatabase(recipe(calendar, clock.now()), environment), false};
    } catch (...) {
        const CLIError error = describeFailure(std::current_exception());
        return {makeErrorEnvelope(error.code(), error.message(), clock.now()), true};
    }
}

std::vector<std::string> DatabaseDocuments::activeDays(std::size_t) const { return {}; }

LocalDays DatabaseDocuments::localDays() const {
    const double now = SystemClock().now();
    const LocalCalendar calendar = LocalCalendar::current();
    const double today = calendar.startOfDay(now);
    return {calendar.localDate(today), calendar.localDate(calendar.addingDays(today, -1)),
            calendar.localDate(calendar.startOfWeek(now))};
}

}  // namespace VarnholtQueryLib::MCP
