// varnholt-mcp as an MCP host runs it: a process talked to over its standard
// input and output, answering from the database the same documents as
// varnholt-query, and holding nothing between calls.

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "LineProcess.h"
#include "SampleDatabase.h"
#include "TemporaryHome.h"

using namespace VarnholtTestSupport;
using nlohmann::json;

namespace {

// Wednesday 1 April 2026, 10:00 UTC, as seconds since 1970.
constexpr double kNow = 1775037600;

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

std::string fileBytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

// The server under a temporary home, initialised on 2025-06-18.
class Server {
public:
    Server(const TemporaryHome& home, const InvocationOptions& options)
        : process_(VARNHOLT_MCP_BINARY, {}, home.environment(options)) {
        const json reply = request("initialize", {{"protocolVersion", "2025-06-18"},
                                                  {"capabilities", json::object()},
                                                  {"clientInfo", {{"name", "e2e"}, {"version", "1"}}}});
        EXPECT_EQ(reply["result"]["protocolVersion"], "2025-06-18");
        process_.writeLine(R"({"jsonrpc":"2.0","method":"notifications/initialized"})");
    }

    json request(const std::string& method, const json& params) {
        const json message = {{"jsonrpc", "2.0"}, {"id", ++lastId_}, {"method", method}, {"params", params}};
        EXPECT_TRUE(process_.writeLine(message.dump()));
        const auto line = process_.readLine();
        if (!line) return json{{"no reply", true}};
        json reply = json::parse(*line);
        EXPECT_EQ(reply["id"], lastId_);
        return reply;
    }

    // The result of calling `tool`.
    json call(const std::string& tool, const json& arguments = json::object()) {
        return request("tools/call", {{"name", tool}, {"arguments", arguments}})["result"];
    }

    LineProcess& process() { return process_; }

private:
    LineProcess process_;
    int lastId_ = 0;
};

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

TEST(MCPServerTest, EveryToolAnswersWithTheCommandLinesDocument) {
    TemporaryHome home;
    writeDatabase(home);
    Server server(home, frozen());
    const std::vector<std::pair<json, std::vector<std::string>>> cases = {
        {{"timeline", json::object()}, {"today"}},
        {{"timeline", {{"since", "2h"}, {"images", true}, {"limit", 3}}}, {"recent", "--since", "2h", "--images", "--limit", "3"}},
        {{"timeline", {{"from", "2026-03-30"}, {"to", "2026-03-31"}, {"compact", true}}},
         {"range", "--from", "2026-03-30", "--to", "2026-03-31", "--compact"}},
        {{"search", {{"keyword", "tests"}, {"limit", 5}, {"collapse", true}}}, {"search", "tests", "--limit", "5", "--collapse"}},
        {{"search", json::object()}, {"search"}},
        {{"entities", {{"kind", "app"}, {"limit", 4}}}, {"entities", "--kind", "app", "--limit", "4"}},
        {{"summary", json::object()}, {"summary", "--max-chars", "24000"}},
        {{"summary", {{"preset", "this-week"}, {"idle", "10m"}, {"max_chars", 1500}}},
         {"summary", "this-week", "--idle", "10m", "--max-chars", "1500"}},
        {{"summary", {{"idle", "2h"}}}, {"summary", "--idle", "2h"}},
        {{"status", json::object()}, {"status", "--json"}},
        {{"support_context", json::object()}, {"support-context"}},
    };
    for (const auto& [call, commandLine] : cases) {
        const ProcessResult expected = home.run(commandLine, frozen());
        const json result = server.call(call[0], call[1]);
        ASSERT_TRUE(result.contains("content")) << call.dump();
        EXPECT_EQ(result["content"][0]["text"], expected.standardOutput) << call.dump();
        EXPECT_EQ(result["isError"], expected.exitStatus == 1) << call.dump();
        EXPECT_EQ(result["structuredContent"], json::parse(expected.standardOutput)) << call.dump();
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
    const ProcessResult version = home.runProgram(VARNHOLT_MCP_BINARY, {"--version"});
    EXPECT_EQ(version.exitStatus, 0);
    EXPECT_EQ(version.standardOutput.rfind("varnholt-mcp 0.6.6-beta (", 0), 0u) << version.standardOutput;
    EXPECT_EQ(home.runProgram(VARNHOLT_MCP_BINARY, {"-v"}).standardOutput, version.standardOutput);
    const ProcessResult help = home.runProgram(VARNHOLT_MCP_BINARY, {"--help"});
    EXPECT_EQ(help.exitStatus, 0);
    EXPECT_NE(help.standardOutput.find("{\"mcpServers\": {\"varnholt\": {\"command\": \"varnholt-mcp\"}}}"),
              std::string::npos);
    const ProcessResult unknown = home.runProgram(VARNHOLT_MCP_BINARY, {"--stdio"});
    EXPECT_EQ(unknown.exitStatus, 2);
    EXPECT_EQ(unknown.standardOutput, "");
    EXPECT_EQ(unknown.standardError.rfind("varnholt-mcp: unexpected argument '--stdio'\n", 0), 0u);
}
