#include "cli/CLI.h"

#include <exception>
#include <iostream>
#include <memory>

#include "cli/BuildMetadata.h"
#include "cli/CLIError.h"
#include "cli/CommandArguments.h"
#include "cli/CommandLineTexts.h"
#include "cli/CommandParser.h"
#include "cli/CommandRunners.h"
#include "DatabaseError.h"
#include "output/JSONWriter.h"
#include "platform/LocalCalendar.h"
#include "SQLiteReadConnection.h"
#include "platform/SystemPlatform.h"
#include "UserHomeDirectory.h"

namespace VarnholtQueryLib {

namespace {

using VarnholtSQLiteSupport::DatabaseError;
using VarnholtSQLiteSupport::SQLiteReadConnection;

template <class... Handlers>
struct Overloaded : Handlers... {
    using Handlers::operator()...;
};
template <class... Handlers>
Overloaded(Handlers...) -> Overloaded<Handlers...>;

// The commands and what they need: help, version and the monitor answer
// without the database; every other command shares the one connection,
// opened before its runner starts so that a missing, locked or too old
// database is reported the same way for all of them.
void dispatch(const Command& command, const CommandEnvironment& environment) {
    const auto withDatabase = [&](auto&& run) {
        SQLiteReadConnection connection;
        run(connection);
    };
    std::visit(
        Overloaded{
            [](const Command::Help&) {
                // Help goes to standard error on purpose, unlike the version:
                // a caller reading standard output never mistakes it for data.
                std::cerr << kHelpText;
                std::cerr.flush();
            },
            [](const Command::Version&) {
                std::cout << BuildMetadata::versionLine() << '\n';
            },
            [&](const Command::Top&) { runTopCommand(environment); },
            [&](const Command::Search& search) {
                withDatabase([&](SQLiteReadConnection& c) { runSearchCommand(search, c, environment); });
            },
            [&](const Command::Recent& recent) {
                withDatabase([&](SQLiteReadConnection& c) { runTimelineCommand(recent, c, environment); });
            },
            [&](const Command::Entities& entities) {
                withDatabase([&](SQLiteReadConnection& c) { runEntitiesCommand(entities, c, environment); });
            },
            [&](const Command::Status& status) {
                withDatabase([&](SQLiteReadConnection& c) { runStatusCommand(status, c, environment); });
            },
            [&](const Command::SupportContext&) {
                withDatabase([&](SQLiteReadConnection& c) { runSupportContextCommand(c, environment); });
            },
        },
        command.value);
}

// The one error exit: every failure, from parsing or from running, becomes
// one envelope on standard output and exit status 1.
[[noreturn]] void exitWithError(std::exception_ptr failure) {
    try {
        std::rethrow_exception(failure);
    } catch (const CLIError& error) {
        outputError(error.code(), error.message());
    } catch (const DatabaseError& error) {
        const CLIError mapped = mapDatabaseError(error);
        outputError(mapped.code(), mapped.message());
    } catch (const std::exception& error) {
        outputError("UNKNOWN_ERROR", error.what());
    } catch (...) {
        outputError("UNKNOWN_ERROR", "Unknown error");
    }
}

// The end of every successful run: an answer that never arrived (standard
// output closed, full, or its reader gone) is a failure, whatever the
// command made of it.
void exitUnlessOutputWritten() {
    if (!confirmOutputWritten()) std::exit(1);
}

}  // namespace

void runCLI(const std::vector<std::string>& arguments) {
    const CommandArguments commandArguments = CommandArguments::fromProcessArguments(arguments);
    // Agents discover the commands with `--help --json`; nothing else matters then.
    if (containsArgument(commandArguments.args, "--help") &&
        containsArgument(commandArguments.args, "--json")) {
        std::cout << kCommandListJSON << '\n';
        exitUnlessOutputWritten();
        return;
    }
    try {
        const SystemClock clock;
        const SystemFileSystem fileSystem;
        const SystemProcess processes;
        const SystemSleep sleeper;
        const Platform platform{clock,
                                fileSystem,
                                processes,
                                sleeper,
                                VarnholtSQLiteSupport::userHomeDirectory(),
                                standardOutputIsTerminal()};
        const LocalCalendar calendar = LocalCalendar::current();
        const CommandEnvironment environment{platform, calendar};

        const Command command = parseCommand(commandArguments, calendar, clock.now());
        dispatch(command, environment);
    } catch (...) {
        exitWithError(std::current_exception());
    }
    exitUnlessOutputWritten();
}

}  // namespace VarnholtQueryLib
