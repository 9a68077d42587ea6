// A home directory whose name is not UTF-8, as a system with a Latin-1
// locale can give one: its bytes end up in every path the tool prints and in
// every message that quotes one. Both front ends answer with that text
// repaired, or with an error envelope; neither ends silently.

#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "FixtureDatabase.h"
#include "MCPClientSession.h"
#include "JSONValueDifference.h"
#include "TemporaryHome.h"
#include "output/JSONWriter.h"

namespace home_directory_test {

using namespace VarnholtTestSupport;
using nlohmann::json;

namespace {

constexpr const char* kFixture = R"SQL(
INSERT INTO frames (id, display_id, captured_at, timestamp, image_path, analyzed) VALUES
  ('F1', '1', '2026-04-01T09:59:00Z', 1775037540.0, '/f1.png', 1);
INSERT INTO observations (id, frame_id, type, timestamp, vlm_description, apps, created_at) VALUES
  ('O1', 'F1', 'visual', 1775037540.0, 'Reviewing the invoice', '["Mail"]', '2026-04-01T09:59:05Z');
)SQL";

InvocationOptions frozen() {
    InvocationOptions options;
    options.frozenTime = "2026-04-01 10:00:00";
    return options;
}

// "café" in Latin-1: the "é" is the byte E9, which is no UTF-8; repaired, it
// is U+FFFD.
class HomeDirectoryTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::filesystem::create_directories(latin1Home() + "/.varnholt");
        home_.setPasswordDatabaseHome(latin1Home());
    }

    std::string latin1Home() const { return home_.path() + "/caf\xe9"; }
    std::string repairedDatabasePath() const { return home_.path() + "/caf\xef\xbf\xbd/.varnholt/varnholt.db"; }
    // The database and the recorder's logs, so that `status` has all it reads.
    void createDatabase() const {
        createFixtureDatabase(latin1Home() + "/.varnholt/varnholt.db", kFixture);
        std::filesystem::create_directories(latin1Home() + "/.varnholt/logs");
        for (const char* log : {"recorder.log", "mlx-bridge-recorder-vlm.log", "mlx-bridge-recorder-vlm-stdout.log"}) {
            std::ofstream(latin1Home() + "/.varnholt/logs/" + log) << "ready\n";
        }
    }

    TemporaryHome home_;
};

}  // namespace

TEST_F(HomeDirectoryTest, StatusPrintsThePathRepaired) {
    createDatabase();
    const ProcessResult result = home_.run({"status", "--json"}, frozen());
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    EXPECT_EQ(result.standardError, "");
    const json document = json::parse(result.standardOutput, nullptr, false);
    ASSERT_TRUE(document.is_object()) << result.standardOutput;
    EXPECT_EQ(document["data"]["database"]["path"], repairedDatabasePath());
    EXPECT_EQ(document["data"]["operational"]["total_observations"], 1);

    for (const MCPEra era : {MCPEra::handshake, MCPEra::stateless}) {
        MCPClientSession server(home_, frozen(), era);
        const json call = server.call("status");
        ASSERT_TRUE(call.is_object()) << nameOf(era);
        EXPECT_EQ(call["isError"], false) << nameOf(era);
        EXPECT_EQ(call["content"][0]["text"], VarnholtQueryLib::serializeCompactJSON(document)) << nameOf(era);
        EXPECT_EQ(jsonValueDifference(call["structuredContent"], document), "") << nameOf(era);
        EXPECT_EQ(server.read("varnholt://status"), result.standardOutput) << nameOf(era);
    }
}

TEST_F(HomeDirectoryTest, TheHumanReportPrintsThePathRepaired) {
    createDatabase();
    PseudoTerminalProcess terminal(home_, {"status"}, frozen());
    EXPECT_TRUE(terminal.waitForOutput("Recorder active", std::chrono::seconds(20))) << terminal.output();
    EXPECT_EQ(terminal.waitForExit(std::chrono::seconds(20)), 0);
    EXPECT_NE(terminal.output().find("  Database: " + repairedDatabasePath() + "\r\n"), std::string::npos)
        << terminal.output();
}

TEST_F(HomeDirectoryTest, AMissingDatabaseIsAnEnvelopeWithThePathRepaired) {
    const ProcessResult result = home_.run({"today"}, frozen());
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardError, "");
    const json document = json::parse(result.standardOutput, nullptr, false);
    ASSERT_TRUE(document.is_object()) << result.standardOutput;
    EXPECT_EQ(document["error"]["code"], "DB_NOT_FOUND");
    EXPECT_EQ(document["error"]["message"], "Database not found at " + repairedDatabasePath());

    for (const MCPEra era : {MCPEra::handshake, MCPEra::stateless}) {
        MCPClientSession server(home_, frozen(), era);
        const json call = server.call("timeline");
        ASSERT_TRUE(call.is_object()) << nameOf(era);
        EXPECT_EQ(call["isError"], true) << nameOf(era);
        EXPECT_EQ(call["structuredContent"]["error"], document["error"]) << nameOf(era);
    }
}

}  // namespace home_directory_test
