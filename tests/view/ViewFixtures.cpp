// Makes what the time view's browser test draws: real answers of the built
// programs on small recorder databases made for the purpose, under a frozen
// clock.
//
// Usage: varnholt-view-fixtures OUT_DIR
//
// Writes into OUT_DIR:
//   pages/NAME.html     the page `--format html` printed
//   answers/NAME.json   the JSON answer of the same question
//   mcp/view.json       the view as varnholt-mcp serves it from
//                       resources/read, for a client that shows MCP Apps
//   mcp/NAME.json       the tools/call result for the same question
//   fixtures.json       what each page must show beyond its answer's values
// Exits 1 with the reason on standard error when a program does not answer
// as a fixture needs.

#include <ctime>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "FixtureDatabase.h"
#include "LineProcess.h"
#include "TestPrograms.h"
#include "TemporaryHome.h"
#include "mcp/TimeViewApp.h"

using namespace VarnholtTestSupport;
using JSON = nlohmann::json;

namespace {

// Seconds since 1970 of a UTC time "YYYY-MM-DD hh:mm".
double utc(const std::string& text) {
    std::tm fields{};
    if (strptime(text.c_str(), "%Y-%m-%d %H:%M", &fields) == nullptr) throw std::runtime_error("bad time " + text);
    return static_cast<double>(timegm(&fields));
}

std::string quoted(const std::string& text) {
    std::string sql = "'";
    for (const char c : text) sql += c == '\'' ? std::string("''") : std::string(1, c);
    return sql + "'";
}

// A stretch of work as the recorder stores it: a frame and an observation
// every minute from `start` (UTC) for `minutes`, all with one description
// and one list of applications, and optionally an entity on each.
std::string work(const std::string& id, const std::string& start, int minutes, const std::string& description,
                 const std::string& apps, const std::string& entityKind = "", const std::string& entityValue = "") {
    const std::string begin = std::to_string(static_cast<long long>(utc(start)));
    const std::string count = std::to_string(minutes - 1);
    std::string sql =
        "WITH RECURSIVE m(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM m WHERE i < " + count + ")\n"
        "INSERT INTO frames (id, display_id, captured_at, timestamp, image_path, analyzed)\n"
        "SELECT 'F-" + id + "-' || i, 'main', 'x', " + begin + " + 60 * i, '/f.png', 1 FROM m;\n"
        "WITH RECURSIVE m(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM m WHERE i < " + count + ")\n"
        "INSERT INTO observations (id, recording_id, frame_id, type, timestamp, vlm_description, apps, created_at)\n"
        "SELECT 'O-" + id + "-' || i, NULL, 'F-" + id + "-' || i, 'visual', " + begin + " + 60 * i, " +
        quoted(description) + ", " + quoted(apps) + ", 'x' FROM m;\n";
    if (!entityKind.empty()) {
        sql += "WITH RECURSIVE m(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM m WHERE i < " + count + ")\n"
               "INSERT INTO observation_entities (entity_id, observation_id, entity_kind, entity_value, confidence, "
               "created_at) SELECT 'E-" + id + "-' || i, 'O-" + id + "-' || i, " + quoted(entityKind) + ", " +
               quoted(entityValue) + ", 0.9, 0 FROM m;\n";
    }
    return sql;
}

// A week in Berlin, Monday 23 to Sunday 29 March 2026, the last day 23
// hours long: work on five days, none on Wednesday, a morning with a gap of
// half an hour without frames, and a session that runs past midnight.
std::string weekRows() {
    return work("mon1", "2026-03-23 08:00", 90, "Writing the invoice exporter's CSV header", R"(["VS Code","Terminal"])",
                "project", "invoice exporter") +
           work("mon2", "2026-03-23 10:00", 60, "Reviewing pull requests of the web dashboard", R"(["Safari"])") +
           work("mon3", "2026-03-23 12:30", 90, "Sprint planning call in Zoom", R"(["Zoom","Notes"])", "app", "Zoom") +
           work("tue1", "2026-03-24 07:30", 150, "Fixing the sync bug in the iOS app", R"(["Xcode","Simulator"])",
                "programming_language", "Swift") +
           work("tue2", "2026-03-24 12:40", 75, "Answering e-mail about the release", R"(["Mail"])") +
           work("thu1", "2026-03-26 08:00", 120, "Writing the invoice exporter's tests", R"(["VS Code","Terminal"])",
                "project", "invoice exporter") +
           work("thu2", "2026-03-26 22:40", 40, "Reading about time zones late at night", R"(["Safari"])") +
           work("fri1", "2026-03-27 09:00", 120, "Pairing on the web dashboard's charts", R"(["Zoom","VS Code"])",
                "app", "Zoom") +
           work("sat1", "2026-03-28 10:00", 25, "Sorting photos", R"(["Photos"])") +
           work("sun1", "2026-03-29 09:00", 30, "Planning the week in the calendar", R"(["Calendar"])");
}

// Wednesday 1 April 2026 until 10:00 UTC (noon in Berlin): a morning of
// three sessions.
std::string dayRows() {
    return work("d1", "2026-04-01 06:30", 70, "Writing the invoice exporter's CSV header", R"(["VS Code","Terminal"])",
                "project", "invoice exporter") +
           work("d2", "2026-04-01 07:50", 40, "Standup and planning in Zoom", R"(["Zoom"])", "app", "Zoom") +
           work("d3", "2026-04-01 08:45", 60, "Reviewing the dashboard's pull request", R"(["Safari","Slack"])");
}

// Descriptions and names that would be markup or code if anything read them
// as such, and text written right to left.
std::string hostileRows() {
    return work("h1", "2026-04-01 06:30", 30, "Reading </script><script>alert(1)</script> in a diff",
                R"(["VS Code"])") +
           work("h2", "2026-04-01 07:10", 30, "Styling <b>bold</b> & <i>italic</i> text <!-- not a comment -->",
                R"(["<img src=x onerror=alert(2)>"])") +
           work("h3", "2026-04-01 07:50", 30, "\xd7\xa7\xd7\x95\xd7\xa8\xd7\x90 \xd7\x90\xd7\xaa \xd7\x94\xd7\x93\xd7\x95\xd7\x97 "
                "\xd7\xa2\xd7\x9c \xd7\x94\xd7\xaa\xd7\xa7\xd7\xa6\xd7\x99\xd7\x91 (budget 2026)",
                R"(["Safari"])") +
           work("h4", "2026-04-01 08:30", 20, "\xd9\x85\xd8\xb1\xd8\xa7\xd8\xac\xd8\xb9\xd8\xa9 \xd8\xa7\xd9\x84\xd8\xaa\xd9\x82\xd8\xb1\xd9\x8a\xd8\xb1 \xd8\xa7\xd9\x84\xd8\xb4\xd9\x87\xd8\xb1\xd9\x8a",
                R"(["Pages"])");
}

// Monday 30 March and Wednesday 1 April 2026, nothing on the Tuesday: work
// that three categories take (invoicing, a client, meetings) and some that
// none does, a name that is markup, and a rule that two categories share.
std::string timesheetRows() {
    return work("ts1", "2026-03-30 07:00", 90, "Writing the invoice exporter's CSV header", R"(["VS Code","Terminal"])",
                "project", "invoice exporter") +
           work("ts2", "2026-03-30 08:30", 30, "Weekly planning call in Zoom", R"(["Zoom"])", "app", "Zoom") +
           work("ts3", "2026-03-30 09:10", 50, "Answering Acme's questions about the <API> in Slack", R"(["Slack"])",
                "company", "Acme") +
           work("ts4", "2026-03-30 10:00", 20, "Reading Hacker News", R"(["Safari"])", "website",
                "news.ycombinator.com") +
           work("ts5", "2026-04-01 12:00", 45, "Fixing rounding in the invoice exporter", R"(["VS Code"])") +
           work("ts6", "2026-04-01 13:00", 20, "Acme: reviewing the contract draft", R"(["Preview"])") +
           work("ts7", "2026-04-01 13:20", 40, "Sprint review in Zoom with Acme", R"(["Zoom"])", "app", "Zoom") +
           work("ts8", "2026-04-01 14:00", 8, "Cleaning up the downloads folder", R"(["Finder"])");
}

// Frames of a morning that the model has not analysed yet: no observation.
std::string unanalysedRows() {
    return "WITH RECURSIVE m(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM m WHERE i < 59)\n"
           "INSERT INTO frames (id, display_id, captured_at, timestamp, image_path, analyzed)\n"
           "SELECT 'F-u-' || i, 'main', 'x', " + std::to_string(static_cast<long long>(utc("2026-04-01 07:00"))) +
           " + 60 * i, '/f.png', 0 FROM m;\n";
}

void writeFile(const std::filesystem::path& path, const std::string& content) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << content;
    if (!file) throw std::runtime_error("cannot write " + path.string());
}

// One fixture: a database, a question and what its page must show.
struct SummaryFixture {
    std::string name;
    std::string rows;
    std::vector<std::string> question;  // the arguments after the command's name
    JSON toolArguments;                 // the same question to the tool of that name
    std::string now;                    // the frozen clock, UTC
    JSON expect;
    std::string command = "summary";    // "summary" or "timesheet"
};

class FixtureWriter {
public:
    explicit FixtureWriter(std::filesystem::path out) : out_(std::move(out)) {}

    void answer(const SummaryFixture& fixture) {
        TemporaryHome home;
        home.varnholtDirectory();
        createFixtureDatabase(home.databasePath(), fixture.rows);
        const InvocationOptions options = frozenAt(fixture.now, "Europe/Berlin");
        std::vector<std::string> arguments = {fixture.command};
        arguments.insert(arguments.end(), fixture.question.begin(), fixture.question.end());
        const ProcessResult answer = home.run(arguments, options);
        arguments.insert(arguments.end(), {"--format", "html"});
        const ProcessResult page = home.run(arguments, options);
        if (answer.exitStatus != 0 || page.exitStatus != 0 || !page.standardError.empty()) {
            throw std::runtime_error(fixture.name + ": varnholt-query failed: " + answer.standardOutput +
                                     page.standardError);
        }
        writeFile(out_ / "answers" / (fixture.name + ".json"), answer.standardOutput);
        writeFile(out_ / "pages" / (fixture.name + ".html"), page.standardOutput);
        if (!fixture.toolArguments.is_null()) {
            toolResult(home, options, fixture.name, fixture.command, fixture.toolArguments);
        }
        add(fixture.name, fixture.command, "varnholt-query " + fixture.command, fixture.expect);
    }

    // `fixture` with the largest budget, in steps of 100 characters, at which
    // the summary leaves out sessions but keeps every day.
    SummaryFixture withBudgetForSessions(SummaryFixture fixture) {
        TemporaryHome home;
        home.varnholtDirectory();
        createFixtureDatabase(home.databasePath(), fixture.rows);
        std::vector<std::string> arguments = {"summary"};
        arguments.insert(arguments.end(), fixture.question.begin(), fixture.question.end());
        for (int budget = 20000; budget > 500; budget -= 100) {
            std::vector<std::string> budgeted = arguments;
            budgeted.insert(budgeted.end(), {"--max-chars", std::to_string(budget)});
            const ProcessResult result = home.run(budgeted, frozenAt(fixture.now, "Europe/Berlin"));
            const JSON omitted = JSON::parse(result.standardOutput)["meta"]["omitted"];
            if (omitted.value("days", 0) > 0) break;
            if (omitted.value("sessions", 0) >= 3) {
                fixture.question.insert(fixture.question.end(), {"--max-chars", std::to_string(budget)});
                return fixture;
            }
        }
        throw std::runtime_error(fixture.name + ": no budget leaves out sessions but no day");
    }

    // `fixture`, a timesheet, with the largest budget, in steps of 50
    // characters, at which every span is left out: what a budget drops
    // first, while the days table stays whole.
    SummaryFixture withBudgetForSpans(SummaryFixture fixture) {
        TemporaryHome home;
        home.varnholtDirectory();
        createFixtureDatabase(home.databasePath(), fixture.rows);
        std::vector<std::string> arguments = {fixture.command};
        arguments.insert(arguments.end(), fixture.question.begin(), fixture.question.end());
        const ProcessResult whole = home.run(arguments, frozenAt(fixture.now, "Europe/Berlin"));
        const JSON data = JSON::parse(whole.standardOutput)["data"];
        std::size_t spans = data["uncategorized"]["spans"].size();
        for (const JSON& category : data["categories"]) spans += category["spans"].size();
        for (int budget = 20000; budget > 500; budget -= 50) {
            std::vector<std::string> budgeted = arguments;
            budgeted.insert(budgeted.end(), {"--max-chars", std::to_string(budget)});
            const ProcessResult result = home.run(budgeted, frozenAt(fixture.now, "Europe/Berlin"));
            const JSON omitted = JSON::parse(result.standardOutput)["meta"]["omitted"];
            if (omitted.value("spans", std::size_t{0}) == spans) {
                fixture.question.insert(fixture.question.end(), {"--max-chars", std::to_string(budget)});
                return fixture;
            }
        }
        throw std::runtime_error(fixture.name + ": no budget leaves out every span");
    }

    // The view as varnholt-mcp serves it to a client that shows MCP Apps,
    // in both eras; both must be the same.
    void view() {
        TemporaryHome home;
        const JSON handshake = readView(home, false);
        const JSON stateless = readView(home, true);
        if (handshake != stateless) throw std::runtime_error("the eras serve different views");
        writeFile(out_ / "mcp" / "view.json", handshake.dump(2) + "\n");
        // A call that fails: its error envelope is what the view receives.
        toolResult(home, frozenAt("2026-04-01 10:00:00", "Europe/Berlin"), "summary-error", "summary", {{"idle", "2h"}});
    }

    void finish() { writeFile(out_ / "fixtures.json", manifest_.dump(2) + "\n"); }

private:
    static JSON appsCapabilities() {
        return {{"extensions", {{VarnholtQueryLib::MCP::kAppsExtension, {{"mimeTypes", {VarnholtQueryLib::MCP::kAppMimeType}}}}}}};
    }

    // The reply to one request on `server`.
    static JSON ask(LineProcess& server, int id, const std::string& method, const JSON& params) {
        server.writeLine(JSON{{"jsonrpc", "2.0"}, {"id", id}, {"method", method}, {"params", params}}.dump());
        const auto line = server.readLine();
        if (!line) throw std::runtime_error("varnholt-mcp did not answer " + method + ": " + server.standardError());
        return JSON::parse(*line);
    }

    static void initialize(LineProcess& server) {
        const JSON reply = ask(server, 1, "initialize",
                               {{"protocolVersion", "2025-06-18"}, {"capabilities", appsCapabilities()},
                                {"clientInfo", {{"name", "view-fixtures"}, {"version", "1"}}}});
        if (!reply.contains("result")) throw std::runtime_error("initialize failed: " + reply.dump());
        server.writeLine(R"({"jsonrpc":"2.0","method":"notifications/initialized"})");
    }

    static JSON readView(const TemporaryHome& home, bool stateless) {
        LineProcess server(kMCPBinary, {}, home.environment(frozenAt("2026-04-01 10:00:00", "Europe/Berlin")));
        JSON params = {{"uri", VarnholtQueryLib::MCP::timeViewURI()}};
        if (stateless) {
            params["_meta"] = {{"io.modelcontextprotocol/protocolVersion", "2026-07-28"},
                               {"io.modelcontextprotocol/clientCapabilities", appsCapabilities()}};
        } else {
            initialize(server);
        }
        const JSON reply = ask(server, 2, "resources/read", params);
        if (!reply.contains("result") || reply["result"]["contents"].size() != 1) {
            throw std::runtime_error("resources/read of the view failed: " + reply.dump());
        }
        return reply["result"]["contents"][0];
    }

    void toolResult(const TemporaryHome& home, const InvocationOptions& options, const std::string& name,
                    const std::string& tool, const JSON& arguments) {
        LineProcess server(kMCPBinary, {}, home.environment(options));
        initialize(server);
        const JSON reply = ask(server, 2, "tools/call", {{"name", tool}, {"arguments", arguments}});
        if (!reply.contains("result")) throw std::runtime_error(name + ": tools/call failed: " + reply.dump());
        writeFile(out_ / "mcp" / (name + ".json"), reply["result"].dump(2) + "\n");
    }

    void add(const std::string& name, const std::string& kind, const std::string& source, JSON expect) {
        manifest_.push_back({{"name", name}, {"kind", kind}, {"source", source}, {"expect", std::move(expect)}});
    }

    std::filesystem::path out_;
    JSON manifest_ = JSON::array();
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: varnholt-view-fixtures OUT_DIR\n";
        return 2;
    }
    try {
        FixtureWriter writer(argv[1]);
        const std::vector<std::string> week = {"2026-03-23", "2026-03-24", "2026-03-25", "2026-03-26",
                                               "2026-03-27", "2026-03-28", "2026-03-29"};
        writer.answer({"summary-day", dayRows(), {}, JSON::object(), "2026-04-01 10:00:00",
                        {{"days", {"2026-04-01"}}, {"emptyDays", JSON::array()}}});
        writer.answer({"summary-week", weekRows(), {"--from", "2026-03-23", "--to", "2026-03-29"},
                        {{"from", "2026-03-23"}, {"to", "2026-03-29"}}, "2026-04-01 10:00:00",
                        {{"days", week}, {"emptyDays", {"2026-03-25"}}, {"crossesMidnight", true}}});
        writer.answer({"summary-verdict", unanalysedRows(), {}, JSON(), "2026-04-01 10:00:00",
                        {{"days", {"2026-04-01"}}, {"emptyDays", {"2026-04-01"}}}});
        writer.answer({"summary-hostile", hostileRows(), {}, JSON(), "2026-04-01 10:00:00",
                        {{"days", {"2026-04-01"}}, {"emptyDays", JSON::array()}, {"hostile", true}}});
        writer.answer(writer.withBudgetForSessions(
            {"summary-week-budget", weekRows(), {"--from", "2026-03-23", "--to", "2026-03-29"}, JSON(),
             "2026-04-01 10:00:00", {{"days", week}, {"emptyDays", {"2026-03-25"}}, {"truncated", true}}}));
        // Three categories, one rule shared by two of them (the first
        // takes its rows), and time that none takes.
        const std::vector<std::string> categories = {
            "--from", "2026-03-30", "--to", "2026-04-01", "--category", "Invoicing=text:invoice exporter",
            "--category", "Client Acme & Co=text:acme|app:Slack", "--category", "Meetings=app:Zoom|text:acme"};
        const JSON categoryArguments = {
            {"from", "2026-03-30"},
            {"to", "2026-04-01"},
            {"categories", JSON::parse(R"([{"name": "Invoicing", "rules": ["text:invoice exporter"]},
                {"name": "Client Acme & Co", "rules": ["text:acme", "app:Slack"]},
                {"name": "Meetings", "rules": ["app:Zoom", "text:acme"]}])")}};
        const JSON timesheetDays = {{"days", {"2026-03-30", "2026-03-31", "2026-04-01"}},
                                    {"emptyDays", {"2026-03-31"}}};
        writer.answer({"timesheet-three-categories", timesheetRows(), categories, categoryArguments,
                       "2026-04-01 16:00:00", timesheetDays, "timesheet"});
        JSON truncated = timesheetDays;
        truncated["truncated"] = true;
        writer.answer(writer.withBudgetForSpans({"timesheet-spans-dropped", timesheetRows(), categories, JSON(),
                                                 "2026-04-01 16:00:00", truncated, "timesheet"}));
        writer.view();
        writer.finish();
    } catch (const std::exception& error) {
        std::cerr << "varnholt-view-fixtures: " << error.what() << "\n";
        return 1;
    }
    return 0;
}
