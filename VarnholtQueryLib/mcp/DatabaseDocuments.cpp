#include "mcp/DatabaseDocuments.h"

#include <exception>

#include "cli/ActiveDays.h"
#include "cli/CLIError.h"
#include "cli/CommandRunners.h"
#include "mcp/CalendarDate.h"
#include "platform/LocalCalendar.h"
#include "platform/SystemPlatform.h"
#include "platform/UserHomeDirectory.h"

namespace VarnholtQueryLib::MCP {

namespace {

// How far back a search for days with activity looks: two months.
constexpr int kActiveDaysLookBack = 62;

// Runs `read` with what one run of varnholt-query would have: the real
// clock, files and children, the user's home, zone and locale, read afresh.
template <typename Read>
auto withCommandEnvironment(const SystemClock& clock, const Read& read) {
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
    return read(environment);
}

}  // namespace

ToolAnswer DatabaseDocuments::answer(const CommandRecipe& recipe) const {
    const SystemClock clock;
    try {
        return withCommandEnvironment(clock, [&](const CommandEnvironment& environment) {
            return ToolAnswer{
                answerFromDatabase(recipe(environment.calendar, clock.now()), environment), false};
        });
    } catch (...) {
        const CLIError error = describeFailure(std::current_exception());
        return {makeErrorEnvelope(error.code(), error.message(), clock.now()), true};
    }
}

std::vector<std::string> DatabaseDocuments::activeDays(const std::string& prefix, std::size_t count) const {
    // Days the client has ruled out by what it typed cost nothing, and do
    // not use up `count`.
    const auto today = CalendarDate::parse(localDays().today);
    if (!today) return {};
    std::vector<std::string> candidates;
    for (int back = 0; back < kActiveDaysLookBack; ++back) {
        std::string day = today->plusDays(-back).text();
        if (day.compare(0, prefix.size(), prefix) == 0) candidates.push_back(std::move(day));
    }
    return withActivity(candidates, count);
}

std::vector<std::string> DatabaseDocuments::activeDaysBefore(const std::string& day, std::size_t count) const {
    const auto first = CalendarDate::parse(day);
    if (!first) return {};
    std::vector<std::string> candidates;
    for (int back = 1; back <= kActiveDaysLookBack; ++back) candidates.push_back(first->plusDays(-back).text());
    return withActivity(candidates, count);
}

std::vector<std::string> DatabaseDocuments::withActivity(const std::vector<std::string>& candidates,
                                                         std::size_t count) const {
    // Day by day, newest first: one range over all of them would keep only
    // the newest observations of a busy fortnight. Days without
    // observations cost an index look-up each.
    const SystemClock clock;
    try {
        return withCommandEnvironment(clock, [&](const CommandEnvironment& environment) {
            return daysWithActivity(candidates, count, environment);
        });
    } catch (...) {
        // No database, or one we cannot read: nothing to offer.
        return {};
    }
}

LocalDays DatabaseDocuments::localDays() const {
    const double now = SystemClock().now();
    const LocalCalendar calendar = LocalCalendar::current();
    const double today = calendar.startOfDay(now);
    return {calendar.localDate(today), calendar.localDate(calendar.addingDays(today, -1)),
            calendar.localDate(calendar.startOfWeek(now))};
}

}  // namespace VarnholtQueryLib::MCP
