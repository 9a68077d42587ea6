#include "mcp/DatabaseDocuments.h"

#include <exception>

#include "cli/CLIError.h"
#include "cli/CommandBuilders.h"
#include "cli/CommandRunners.h"
#include "mcp/CalendarDate.h"
#include "platform/LocalCalendar.h"
#include "platform/SystemPlatform.h"
#include "platform/UserHomeDirectory.h"

namespace VarnholtQueryLib::MCP {

namespace {

// How far back a search for days with activity looks: two months.
constexpr int kActiveDaysLookBack = 62;

// The timeline of the local day `day`, one moment of it: whether there is
// any is all that is asked.
Command::Recent oneDayTimeline(const std::string& day) {
    return timelineRangeCommand(day, day, true, 1);
}

}  // namespace

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
                                userHomeDirectory(),
                                false};
        const LocalCalendar calendar = LocalCalendar::current();
        const CommandEnvironment environment{platform, calendar};
        return {answerFromDatabase(recipe(calendar, clock.now()), environment), false};
    } catch (...) {
        const CLIError error = describeFailure(std::current_exception());
        return {makeErrorEnvelope(error.code(), error.message(), clock.now()), true};
    }
}

std::vector<std::string> DatabaseDocuments::activeDays(std::size_t count) const {
    // A day has activity when its timeline has a moment; asking day by day
    // keeps each answer to one day's rows, where one range over all of them
    // would keep only the newest observations of a busy fortnight. Days
    // without observations cost an index look-up each.
    std::vector<std::string> days;
    const auto today = CalendarDate::parse(localDays().today);
    if (!today) return days;
    for (int back = 0; back < kActiveDaysLookBack && days.size() < count; ++back) {
        const std::string day = today->plusDays(-back).text();
        const ToolAnswer answer = this->answer([&](const LocalCalendar&, double) {
            return Command{oneDayTimeline(day)};
        });
        // No database, or one we cannot read: nothing to offer.
        if (answer.isError) return {};
        const JSON& meta = answer.document["meta"];
        if (meta.contains("total_moments") && meta["total_moments"].is_number() &&
            meta["total_moments"].get<double>() > 0) {
            days.push_back(day);
        }
    }
    return days;
}

LocalDays DatabaseDocuments::localDays() const {
    const double now = SystemClock().now();
    const LocalCalendar calendar = LocalCalendar::current();
    const double today = calendar.startOfDay(now);
    return {calendar.localDate(today), calendar.localDate(calendar.addingDays(today, -1)),
            calendar.localDate(calendar.startOfWeek(now))};
}

}  // namespace VarnholtQueryLib::MCP
