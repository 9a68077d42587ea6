#include "cli/CLI.h"

#include <cstdlib>
#include <exception>
#include <iostream>
#include <memory>

#include "cli/BuildMetadata.h"
#include "cli/CLIError.h"
#include "cli/CommandArguments.h"
#include "cli/CommandLineTexts.h"
#include "cli/CommandParser.h"
#include "cli/CommandRunners.h"
#include "cli/Overloaded.h"
#include "output/JSONWriter.h"
#include "status/StatusData.h"
#include "status/StatusResponse.h"
#include "platform/LocalCalendar.h"
#include "platform/SystemPlatform.h"
#include "platform/UserHomeDirectory.h"
#include "view/TimeViewPage.h"
#include "UTF8Text.h"

namespace VarnholtQueryLib {

namespace {

// Writes a command's answer. One that cannot be written ends the run with
// status 1, never 0: a caller that sees 0 takes the empty output for an
// answer.
void writeAnswer(const JSON& answer) {
    if (writeJSON(answer)) return;
    confirmOutputWritten();
    std::exit(1);
}

// Writes the time view with `answer` in it, for a person to open in a
// browser; a page that cannot be written fails the run as an answer does.
void writePage(const JSON& answer) {
    const auto page = timeViewPage(answer);
    if (page) {
        std::cout << *page;
        std::cout.flush();
        if (std::cout) return;
    } else {
        std::cerr << "Failed to serialize JSON\n";
    }
    confirmOutputWritten();
    std::exit(1);
}

// The commands and what they need: help, version and the monitor answer
// without the database; every other command's answer is a JSON document,
// except the status report for a person at a terminal and the summary's
// page when it is asked for.
void dispatch(const Command& command, const CommandEnvironment& environment) {
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
            [&](const Command::Status& status) {
                // The one command with a human-readable form: a person at a
                // terminal gets the report, everyone else (a pipe, or --json)
                // the JSON document.
                if (status.jsonFlag || !environment.platform.standardOutputIsTerminal) {
                    writeAnswer(answerFromDatabase(command, environment));
                    return;
                }
                StatusData statusData = statusFromDatabase(environment);
                // The one text of the report from outside the database.
                statusData.dbPath = VarnholtText::repairedUTF8(statusData.dbPath);
                printHumanStatus(statusData, std::cout);
                std::cout.flush();
            },
            [&](const Command::Summary& summary) {
                // A failure never reaches this point: it is the JSON
                // envelope and exit status 1, whatever the format.
                const JSON answer = answerFromDatabase(command, environment);
                if (summary.format == AnswerFormat::html) {
                    writePage(answer);
                } else {
                    writeAnswer(answer);
                }
            },
            [&](const auto&) { writeAnswer(answerFromDatabase(command, environment)); },
        },
        command.value);
}

// The one error exit: every failure, from parsing or from running, becomes
// one envelope on standard output and exit status 1.
[[noreturn]] void exitWithError(std::exception_ptr failure) {
    const CLIError error = describeFailure(failure);
    outputError(error.code(), error.message());
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
                                userHomeDirectory(),
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
