// varnholt-mcp as an MCP host runs it: a process talked to over its standard
// input and output, answering from the database the same documents as
// varnholt-query, and holding nothing between calls.

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "JSONValueDifference.h"
#include "LineProcess.h"
#include "MCPClientSession.h"
#include "SampleDatabase.h"
#include "TemporaryHome.h"
#include "TestPrograms.h"
#include "output/JSONWriter.h"
#include "TestInstants.h"
#include "FileBytes.h"

namespace mcp_server_test {

using namespace VarnholtTestSupport;
using nlohmann::json;

namespace {

// Wednesday 1 April 2026, 10:00 UTC, as seconds since 1970.
using VarnholtTestSupport::kNow;

InvocationOptions frozen() {
    InvocationOptions options;
    options.timeZone = "Europe/Berlin";
    options.language = "de_DE.UTF-8";
    options.frozenTime = "2026-04-01 10:00:00";
    return options;
}

// Three days of synthetic activity ending half an hour before now, with
// `seed` deciding what happened.
void writeDatabase(const TemporaryHome& home, std::uint64_t seed = 1) {
    home.varnholtDirectory();
    VarnholtSampleData::SampleDatabaseOptions options;
    options.days = 3;
    options.seed = seed;
    options.endTime = kNow - 1800;
    options.homeForImagePaths = home.path();
    options.utcOffsetSeconds = 7200;
    VarnholtSampleData::writeSampleDatabase(home.databasePath(), options);
}

using VarnholtTestSupport::fileBytes;

// Characters of UTF-8 text: every byte but the continuation bytes.
std::size_t characters(const std::string& text) {
    std::size_t count = 0;
    for (const char c : text) count += (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    return count;
}

using Era = MCPEra;
using Server = MCPClientSession;

// The files below `directory` that process `pid` has open.
std::vector<std::string> openFilesBelow(int pid, const std::string& directory) {
    std::vector<std::string> open;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/fd")) {
        std::error_code error;
        const auto target = std::filesystem::read_symlink(entry.path(), error);
        if (!error && target.string().rfind(directory, 0) == 0) open.push_back(target.string());
    }
    return open;
}

}  // namespace

// The checks on one tool result against the document the command line
// printed for the same question: its text is that document on one line
// (written by our writer: sorted keys, no white space), and its text and its
// structured content are that value, integers as integers.
void expectTheCommandLinesValue(const json& result, const ProcessResult& expected, const std::string& label) {
    ASSERT_TRUE(result.contains("content")) << label;
    ASSERT_EQ(result["content"].size(), 1u) << label;
    const std::string text = result["content"][0]["text"].get<std::string>();
    const json printed = json::parse(expected.standardOutput);
    EXPECT_EQ(text, VarnholtQueryLib::serializeCompactJSON(printed).value_or("<unwritable>")) << label;
    EXPECT_EQ(jsonValueDifference(json::parse(text), printed), "") << label;
    EXPECT_EQ(jsonValueDifference(result["structuredContent"], printed), "") << label;
    EXPECT_EQ(result["isError"], expected.exitStatus == 1) << label;
}

TEST(MCPServerTest, EveryToolAnswersWithTheCommandLinesValue) {
    // The comparison tells an integer from a whole number with a fraction.
    ASSERT_NE(jsonValueDifference(json::parse(R"({"idle_seconds":300.0})"), json::parse(R"({"idle_seconds":300})")), "");
    TemporaryHome home;
    writeDatabase(home);
    Server server(home, frozen());
    const std::vector<std::pair<json, std::vector<std::string>>> cases = {
        {{"timeline", json::object()}, {"today"}},
        {{"timeline", {{"since", "2h"}, {"images", true}, {"limit", 3}}}, {"recent", "--since", "2h", "--images", "--limit", "3"}},
        {{"timeline", {{"preset", "this-week"}, {"week_start", "monday"}, {"limit", 3}}},
         {"this-week", "--week-start", "monday", "--limit", "3"}},
        {{"timeline", {{"from", "2026-03-30"}, {"to", "2026-03-31"}, {"compact", true}}},
         {"range", "--from", "2026-03-30", "--to", "2026-03-31", "--compact"}},
        {{"search", {{"keyword", "tests"}, {"limit", 5}, {"collapse", true}}}, {"search", "tests", "--limit", "5", "--collapse"}},
        {{"search", {{"keyword", "tests review"}, {"all_words", true}, {"latest", true}}},
         {"search", "tests review", "--all-words", "--latest"}},
        {{"search", json::object()}, {"search"}},
        {{"entities", {{"kind", "app"}, {"limit", 4}}}, {"entities", "--kind", "app", "--limit", "4"}},
        {{"summary", json::object()}, {"summary", "--max-chars", "24000"}},
        {{"summary", {{"preset", "this-week"}, {"idle", "10m"}, {"max_chars", 1500}}},
         {"summary", "this-week", "--idle", "10m", "--max-chars", "1500"}},
        {{"summary", {{"idle", "2h"}}}, {"summary", "--idle", "2h"}},
        {{"summary", {{"match", json::array({"tests", "\"fetch handler\""})}, {"app", json::array({"Xcode"})},
                      {"entity", json::array({"programming_language=swift"})}, {"preset", "this-week"},
                      {"week_start", "monday"}, {"only", json::array({"days", "applications"})}}},
         {"summary", "this-week", "--match", "tests", "--match", "\"fetch handler\"", "--app", "Xcode", "--entity",
          "programming_language=swift", "--week-start", "monday", "--only", "days,applications", "--max-chars",
          "24000"}},
        {{"summary", {{"match", json::array({"*"})}}}, {"summary", "--match", "*", "--max-chars", "24000"}},
        {{"timesheet",
          {{"categories", json::parse(R"([{"name": "Coding", "rules": ["app:Xcode", "text:\"fetch handler\""]},
                                          {"name": "Talk", "rules": ["entity:app=Slack"]}])")},
           {"preset", "this-week"},
           {"week_start", "monday"},
           {"idle", "10m"}}},
         {"timesheet", "this-week", "--category", "Coding=app:Xcode|text:\"fetch handler\"", "--category",
          "Talk=entity:app=Slack", "--week-start", "monday", "--idle", "10m", "--max-chars", "24000"}},
        {{"timesheet", {{"categories", json::parse(R"([{"name": "Coding", "rules": ["app:Xcode"]}])")},
                        {"since", "1d"},
                        {"max_chars", 1500}}},
         {"timesheet", "--since", "1d", "--category", "Coding=app:Xcode", "--max-chars", "1500"}},
        {{"timesheet", {{"categories", json::parse(R"([{"name": "Nothing", "rules": ["text:*"]}])")}}},
         {"timesheet", "--category", "Nothing=text:*"}},
        {{"summary", {{"idle", "1.01m"}}}, {"summary", "--idle", "1.01m", "--max-chars", "24000"}},
        {{"status", json::object()}, {"status", "--json"}},
        {{"support_context", json::object()}, {"support-context"}},
    };
    for (const auto& [call, commandLine] : cases) {
        expectTheCommandLinesValue(server.call(call[0], call[1]), home.run(commandLine, frozen()), call.dump());
    }
}

TEST(MCPServerTest, TheIdleGapIsTheSameIntegerInBothCopies) {
    TemporaryHome home;
    writeDatabase(home);
    Server server(home, frozen());
    const json result = server.call("summary", {{"preset", "this-week"}});
    ASSERT_TRUE(result.contains("structuredContent"));
    EXPECT_TRUE(result["structuredContent"]["meta"]["query"]["idle_seconds"].is_number_integer());
    EXPECT_NE(result["content"][0]["text"].get<std::string>().find(R"("idle_seconds":300,)"), std::string::npos);
}

namespace {

// Two weeks of sample activity ending half an hour before the frozen clock,
// at UTC+2: what a person's database holds after a fortnight.
void writeTwoWeeksOfSampleActivity(const TemporaryHome& home) {
    home.varnholtDirectory();
    VarnholtSampleData::SampleDatabaseOptions options;
    options.days = 14;
    options.seed = 1;
    options.endTime = kNow - 1800;
    options.homeForImagePaths = home.path();
    options.utcOffsetSeconds = 7200;
    VarnholtSampleData::writeSampleDatabase(home.databasePath(), options);
}

}  // namespace

// What a week's summary costs a model, written once as compact text and
// once as structure, against the printed document.
TEST(MCPServerTest, AWeeksSummaryIsWrittenCompactly) {
    TemporaryHome home;
    writeTwoWeeksOfSampleActivity(home);
    Server server(home, frozen());
    const json result = server.call("summary", {{"preset", "this-week"}});
    const ProcessResult printed = home.run({"summary", "this-week", "--max-chars", "24000"}, frozen());
    expectTheCommandLinesValue(result, printed, "summary this-week");
    const std::size_t text = characters(result["content"][0]["text"].get<std::string>());
    const std::size_t structured = characters(result["structuredContent"].dump());
    const std::size_t printedCharacters = characters(printed.standardOutput);
    EXPECT_LE(text * 100, printedCharacters * 65);
    RecordProperty("printed_characters", static_cast<int>(printedCharacters));
    RecordProperty("text_characters", static_cast<int>(text));
    RecordProperty("structured_characters", static_cast<int>(structured));
    std::cout << "summary this-week: printed " << printedCharacters << ", text item " << text
              << ", structuredContent " << structured << " characters\n";
}

// What each prompt costs a model, as a host receives it, on two weeks of
// sample activity: at most 20,000 characters, every document in it an answer.
TEST(MCPServerTest, EveryPromptFitsTwentyThousandCharacters) {
    TemporaryHome home;
    writeTwoWeeksOfSampleActivity(home);
    Server server(home, frozen(), Era::stateless);
    const std::vector<std::pair<std::string, json>> prompts = {
        {"stand-up", json::object()},
        {"stand-up", {{"date", "2026-03-31"}}},
        {"timesheet", json::object()},
        {"timesheet", {{"week_start", "2026-03-23"}}},
        {"timesheet", {{"week_start", "2026-03-23"}, {"categories", "Coding=app:Xcode|app:Terminal\nMail=app:Mail"}}},
        {"what-was-i-doing", {{"time", "2026-04-01T11:30:00"}}},
    };
    for (const auto& [name, arguments] : prompts) {
        const std::string label = name + " " + arguments.dump();
        const json reply = server.request("prompts/get", {{"name", name}, {"arguments", arguments}});
        ASSERT_TRUE(reply.contains("result")) << label << " " << reply.dump();
        const json& messages = reply["result"]["messages"];
        EXPECT_GE(messages.size(), 2u) << label;
        for (const json& message : messages) {
            const std::string text = message["content"]["text"];
            if (text.starts_with("{")) {
                EXPECT_EQ(json::parse(text).value("ok", false), true) << label << " " << text;
            }
        }
        const std::size_t size = characters(reply["result"].dump());
        EXPECT_LE(size, 20000u) << label;
        std::cout << "prompt " << label << ": " << size << " characters\n";
    }
}

TEST(MCPServerTest, ADatabaseThatAppearsLaterIsRead) {
    TemporaryHome home;
    Server server(home, frozen());
    const json missing = server.call("status");
    EXPECT_EQ(missing["isError"], true);
    EXPECT_EQ(missing["structuredContent"]["error"]["code"], "DB_NOT_FOUND");
    EXPECT_FALSE(std::filesystem::exists(home.databasePath()));

    writeDatabase(home);
    const json found = server.call("status");
    EXPECT_EQ(found["isError"], false);
    EXPECT_GT(found["structuredContent"]["data"]["operational"]["total_observations"].get<int>(), 0);
}

TEST(MCPServerTest, NothingOfTheDatabaseIsHeldBetweenCalls) {
    TemporaryHome home;
    writeDatabase(home, 1);
    Server server(home, frozen());
    const std::string database = fileBytes(home.databasePath());
    const json before = server.call("entities", {{"limit", 1}});
    EXPECT_EQ(before["isError"], false);
    EXPECT_EQ(openFilesBelow(server.process().pid(), home.varnholtDirectory()), std::vector<std::string>{});
    {
        // The look-up sees an open database file: here, our own.
        std::ifstream held(home.databasePath());
        EXPECT_EQ(openFilesBelow(getpid(), home.varnholtDirectory()),
                  std::vector<std::string>{home.databasePath()});
    }
    // Answering read the database and changed nothing in it.
    EXPECT_EQ(fileBytes(home.databasePath()), database);

    // The recorder replaces its database: the next call reads the new one.
    std::filesystem::remove(home.databasePath());
    std::filesystem::remove(home.databasePath() + "-wal");
    std::filesystem::remove(home.databasePath() + "-shm");
    writeDatabase(home, 2);
    const json after = server.call("entities", {{"limit", 1}});
    EXPECT_EQ(after["isError"], false);
    EXPECT_EQ(after["structuredContent"], json::parse(home.run({"entities", "--limit", "1"}, frozen()).standardOutput));
    EXPECT_NE(after["structuredContent"]["data"], before["structuredContent"]["data"]);
}

TEST(MCPServerTest, TheClockIsReadForEachCall) {
    TemporaryHome home;
    writeDatabase(home);
    const std::string clock = home.path() + "/clock";
    home.writeFile("clock", "1775037600\n");  // 10:00 UTC
    InvocationOptions options;
    options.timeZone = "UTC";
    options.clockFile = clock;
    Server server(home, options);
    EXPECT_EQ(server.call("timeline")["structuredContent"]["meta"]["current_datetime"], "2026-04-01T10:00:00Z");
    home.writeFile("clock", "1775127600\n");  // a day and an hour later
    const json later = server.call("timeline");
    EXPECT_EQ(later["structuredContent"]["meta"]["current_datetime"], "2026-04-02T11:00:00Z");
    EXPECT_EQ(later["structuredContent"]["meta"]["query"]["from"], "2026-04-02T00:00:00Z");
}

TEST(MCPServerTest, TheEndOfInputEndsTheServer) {
    TemporaryHome home;
    Server server(home, frozen());
    server.process().writeLine("not json");
    EXPECT_EQ(json::parse(server.process().readLine().value_or("{}"))["error"]["code"], -32700);
    server.process().closeInput();
    EXPECT_EQ(server.process().waitForExit(), 0);
    EXPECT_EQ(server.process().standardError(), "");
}

TEST(MCPServerTest, AClosedOutputEndsTheServerWithStatusOne) {
    TemporaryHome home;
    Server server(home, frozen());
    server.process().closeOutput();
    server.process().writeLine(R"({"jsonrpc":"2.0","id":7,"method":"ping"})");
    EXPECT_EQ(server.process().waitForExit(), 1);
    EXPECT_EQ(server.process().standardError(), "varnholt-mcp: cannot write to standard output; stopping.\n");
}

TEST(MCPServerTest, HelpVersionAndUnknownArguments) {
    TemporaryHome home;
    const ProcessResult version = home.runProgram(kMCPBinary, {"--version"});
    EXPECT_EQ(version.exitStatus, 0);
    EXPECT_EQ(version.standardOutput.rfind("varnholt-mcp 0.6.6-beta (", 0), 0u) << version.standardOutput;
    EXPECT_EQ(home.runProgram(kMCPBinary, {"-v"}).standardOutput, version.standardOutput);
    const ProcessResult help = home.runProgram(kMCPBinary, {"--help"});
    EXPECT_EQ(help.exitStatus, 0);
    EXPECT_NE(help.standardOutput.find("{\"mcpServers\": {\"varnholt\": {\"command\": \"varnholt-mcp\"}}}"),
              std::string::npos);
    const ProcessResult unknown = home.runProgram(kMCPBinary, {"--stdio"});
    EXPECT_EQ(unknown.exitStatus, 2);
    EXPECT_EQ(unknown.standardOutput, "");
    EXPECT_EQ(unknown.standardError.rfind("varnholt-mcp: unexpected argument '--stdio'\n", 0), 0u);
}

TEST(MCPServerTest, EveryResourceIsTheCommandLinesDocumentInBothEras) {
    TemporaryHome home;
    writeDatabase(home);
    for (const Era era : {Era::handshake, Era::stateless}) {
        Server server(home, frozen(), era);
        EXPECT_EQ(server.read("varnholt://status"), home.run({"status", "--json"}, frozen()).standardOutput) << nameOf(era);
        EXPECT_EQ(server.read("varnholt://summary/today"),
                  home.run({"summary", "--max-chars", "24000"}, frozen()).standardOutput) << nameOf(era);
        for (const char* day : {"2026-03-30", "2026-03-31", "2026-04-01", "2026-04-02"}) {
            EXPECT_EQ(server.read(std::string("varnholt://timeline/day/") + day),
                      home.run({"range", "--from", day, "--to", day}, frozen()).standardOutput)
                << nameOf(era) << " " << day;
            EXPECT_EQ(server.read(std::string("varnholt://summary/day/") + day),
                      home.run({"summary", "--from", day, "--to", day, "--max-chars", "24000"}, frozen()).standardOutput)
                << nameOf(era) << " " << day;
        }
        EXPECT_EQ(server.read("varnholt://summary/week/2026-03-27"),
                  home.run({"summary", "--from", "2026-03-27", "--to", "2026-04-02", "--max-chars", "24000"}, frozen())
                      .standardOutput) << nameOf(era);
    }
}

TEST(MCPServerTest, AReadIsAnsweredAfreshEachTime) {
    TemporaryHome home;
    Server server(home, frozen(), Era::stateless);
    const std::string missing = server.read("varnholt://status");
    EXPECT_NE(missing.find("DB_NOT_FOUND"), std::string::npos);
    writeDatabase(home);
    EXPECT_EQ(server.read("varnholt://status"), home.run({"status", "--json"}, frozen()).standardOutput);
}

TEST(MCPServerTest, NoChildWritesToTheServersStandardErrorInEitherEra) {
    // The recorder's logs are missing, so every status runs tail on files
    // that are not there; a host that pipes our standard error and never
    // reads it would see the server stall once that pipe filled.
    TemporaryHome home;
    writeDatabase(home);
    ASSERT_FALSE(std::filesystem::exists(home.varnholtDirectory() + "/logs"));
    for (const Era era : {Era::handshake, Era::stateless}) {
        Server server(home, frozen(), era);
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(server.call("status")["isError"], false) << nameOf(era);
            EXPECT_EQ(server.call("support_context")["isError"], false) << nameOf(era);
            EXPECT_NE(server.read("varnholt://status").find("\"ok\" : true"), std::string::npos) << nameOf(era);
        }
        server.process().closeInput();
        EXPECT_EQ(server.process().waitForExit(), 0);
        EXPECT_EQ(server.process().standardError(), "") << nameOf(era);
    }
}

TEST(MCPServerTest, IntegerIdsInAnyFormAreEchoedAsSentInBothEras) {
    TemporaryHome home;
    for (const Era era : {Era::handshake, Era::stateless}) {
        Server server(home, frozen(), era);
        for (const std::string id : {"2.0", "1e2", "18446744073709551616", "123456789012345678901234567890"}) {
            ASSERT_TRUE(server.process().writeLine(R"({"jsonrpc":"2.0","id":)" + id +
                                                   R"(,"method":"tools/list","params":)" + server.paramsText("") + "}"));
            const std::string reply = server.process().readLine().value_or("");
            EXPECT_EQ(reply.rfind(R"({"id":)" + id + R"(,"jsonrpc":"2.0","result":{)", 0), 0u) << nameOf(era) << " " << reply.substr(0, 80);
        }
    }
}

TEST(MCPServerTest, ANullCursorIsTheFirstPageInBothEras) {
    TemporaryHome home;
    for (const Era era : {Era::handshake, Era::stateless}) {
        Server server(home, frozen(), era);
        for (const char* method : {"tools/list", "resources/list", "resources/templates/list", "prompts/list"}) {
            const json first = server.request(method, json::object());
            EXPECT_EQ(server.request(method, {{"cursor", nullptr}})["result"], first["result"]) << nameOf(era) << " " << method;
            EXPECT_EQ(server.request(method, {{"cursor", "2"}})["error"]["code"], -32602) << nameOf(era) << " " << method;
        }
    }
}

TEST(MCPServerTest, TheLineLimitLeavesOutTheCarriageReturnInBothEras) {
    TemporaryHome home;
    for (const Era era : {Era::handshake, Era::stateless}) {
        Server server(home, frozen(), era);
        // A request of exactly the limit, padded inside a string.
        std::string line = R"({"jsonrpc":"2.0","id":"big","method":"tools/list","params":)";
        const std::string params = server.paramsText(R"("pad":"")");
        const std::size_t padAt = line.size() + params.find(R"("pad":"")") + 7;
        line += params + "}";
        line.insert(padAt, std::string(4 * 1024 * 1024 - line.size(), 'x'));
        ASSERT_EQ(line.size(), 4u * 1024 * 1024);
        ASSERT_TRUE(server.process().writeLine(line + "\r"));
        EXPECT_TRUE(json::parse(server.process().readLine().value_or("{}")).contains("result")) << nameOf(era);
        ASSERT_TRUE(server.process().writeLine("x" + line + "\r"));
        EXPECT_EQ(json::parse(server.process().readLine().value_or("{}"))["error"]["message"],
                  "Invalid Request: a message may be at most 4194304 bytes") << nameOf(era);
    }
}

TEST(MCPServerTest, BatchesAreBounded) {
    TemporaryHome home;
    writeDatabase(home);
    LineProcess process(kMCPBinary, {}, home.environment(frozen()));
    process.writeLine(R"({"jsonrpc":"2.0","id":0,"method":"initialize","params":{"protocolVersion":"2025-03-26","capabilities":{},"clientInfo":{"name":"e2e","version":"1"}}})");
    ASSERT_TRUE(process.readLine().has_value());
    const auto batchOf = [](int count) {
        std::string batch = "[";
        for (int i = 1; i <= count; ++i) {
            batch += (i > 1 ? "," : "") + std::string(R"({"jsonrpc":"2.0","id":)") + std::to_string(i) +
                     R"(,"method":"tools/call","params":{"name":"timeline","arguments":{"preset":"yesterday"}}})";
        }
        return batch + "]";
    };
    process.writeLine(batchOf(65));
    EXPECT_EQ(process.readLine().value_or(""),
              R"({"error":{"code":-32600,"message":"Invalid Request: a batch may hold at most 64 messages"},"id":null,"jsonrpc":"2.0"})");
    process.writeLine(batchOf(64));
    const json replies = json::parse(process.readLine(std::chrono::seconds(120)).value_or("[]"));
    ASSERT_EQ(replies.size(), 64u);
    const std::string yesterday =
        VarnholtQueryLib::serializeCompactJSON(json::parse(home.run({"yesterday"}, frozen()).standardOutput)).value_or("");
    ASSERT_NE(yesterday, "");
    std::size_t served = 0;
    for (const json& reply : replies) {
        if (reply.contains("result")) {
            EXPECT_EQ(reply["result"]["content"][0]["text"], yesterday);
            ++served;
        } else {
            EXPECT_EQ(reply["error"]["code"], -32603);
        }
    }
    // Three days of activity make a yesterday of some hundred kilobytes, so
    // all of them fit the bound; the bound itself is a unit test's affair.
    EXPECT_EQ(served, 64u);
}

TEST(MCPServerTest, ADateCompletesWithTheDaysThatHaveActivity) {
    TemporaryHome home;
    writeDatabase(home);
    // The days whose timeline has moments, newest first, by the command line.
    json expected = json::array();
    for (const char* day : {"2026-04-01", "2026-03-31", "2026-03-30", "2026-03-29", "2026-03-28", "2026-03-27"}) {
        const json timeline = json::parse(home.run({"range", "--from", day, "--to", day}, frozen()).standardOutput);
        if (timeline["meta"]["total_moments"].get<int>() > 0) expected.push_back(day);
    }
    ASSERT_GE(expected.size(), 3u);
    for (const Era era : {Era::handshake, Era::stateless}) {
        Server server(home, frozen(), era);
        const json completion = server.request("completion/complete",
                                               {{"ref", {{"type", "ref/resource"}, {"uri", "varnholt://timeline/day/{date}"}}},
                                                {"argument", {{"name", "date"}, {"value", ""}}}})["result"]["completion"];
        EXPECT_EQ(completion["values"], expected) << nameOf(era);
        EXPECT_EQ(completion["total"], expected.size());
        const json narrowed = server.request("completion/complete",
                                             {{"ref", {{"type", "ref/resource"}, {"uri", "varnholt://timeline/day/{date}"}}},
                                              {"argument", {{"name", "date"}, {"value", "2026-03-3"}}}})["result"]["completion"];
        for (const json& day : narrowed["values"]) EXPECT_EQ(day.get<std::string>().rfind("2026-03-3", 0), 0u);
    }
    // Without a database there is nothing to offer.
    TemporaryHome empty;
    Server server(empty, frozen(), Era::stateless);
    EXPECT_EQ(server.request("completion/complete", {{"ref", {{"type", "ref/resource"}, {"uri", "varnholt://timeline/day/{date}"}}},
                                                     {"argument", {{"name", "date"}, {"value", ""}}}})["result"]["completion"]["values"],
              json::array());
}

}  // namespace mcp_server_test
