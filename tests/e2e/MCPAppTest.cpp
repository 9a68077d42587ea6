// varnholt-mcp and a host that shows MCP Apps: the time view is a resource
// and the summary tool links to it for a client that announces the
// extension, in either era; every other client's answers stay as they were.

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>

#include "MCPClientSession.h"
#include "SampleDatabase.h"
#include "TemporaryHome.h"
#include "view/TimeView.h"

namespace mcp_app_test {

using namespace VarnholtTestSupport;
using nlohmann::json;

namespace {

InvocationOptions frozen() {
    InvocationOptions options;
    options.timeZone = "Europe/Berlin";
    options.language = "de_DE.UTF-8";
    options.frozenTime = "2026-04-01 10:00:00";
    return options;
}

void writeDatabase(const TemporaryHome& home) {
    home.varnholtDirectory();
    VarnholtSampleData::SampleDatabaseOptions options;
    options.days = 2;
    options.seed = 3;
    options.endTime = 1775037600 - 1800;
    options.homeForImagePaths = home.path();
    options.utcOffsetSeconds = 7200;
    VarnholtSampleData::writeSampleDatabase(home.databasePath(), options);
}

const json kShowsApps = {{"extensions", {{"io.modelcontextprotocol/ui", {{"mimeTypes", {"text/html;profile=mcp-app"}}}}}}};

std::string viewURI() { return "ui://varnholt/time-view-" + std::string(VarnholtQueryLib::timeViewDigest()) + ".html"; }

// The result of `method` without what only a stateless reply carries anyway.
json result(MCPClientSession& server, const std::string& method, const json& params = json::object()) {
    return server.request(method, params)["result"];
}

}  // namespace

TEST(MCPAppTest, AClientThatShowsAppsGetsTheViewInBothEras) {
    TemporaryHome home;
    writeDatabase(home);
    for (const MCPEra era : {MCPEra::handshake, MCPEra::stateless}) {
        MCPClientSession shows(home, frozen(), era, kShowsApps);
        const json resources = result(shows, "resources/list")["resources"];
        ASSERT_FALSE(resources.empty()) << nameOf(era);
        EXPECT_EQ(resources.back()["uri"], viewURI()) << nameOf(era);
        EXPECT_EQ(resources.back()["mimeType"], "text/html;profile=mcp-app") << nameOf(era);

        const json contents = result(shows, "resources/read", {{"uri", viewURI()}})["contents"];
        ASSERT_EQ(contents.size(), 1u) << nameOf(era);
        EXPECT_EQ(contents[0]["text"], std::string(VarnholtQueryLib::timeViewHTML())) << nameOf(era);
        EXPECT_EQ(contents[0]["mimeType"], "text/html;profile=mcp-app") << nameOf(era);
        EXPECT_EQ(contents[0]["_meta"]["ui"]["prefersBorder"], true) << nameOf(era);

        const json tools = result(shows, "tools/list")["tools"];
        for (const json& tool : tools) {
            if (tool["name"] == "summary" || tool["name"] == "timesheet") {
                EXPECT_EQ(tool["_meta"]["ui"]["resourceUri"], viewURI()) << tool["name"];
                EXPECT_EQ(tool["_meta"]["ui/resourceUri"], viewURI()) << tool["name"];
            } else {
                EXPECT_FALSE(tool.contains("_meta")) << tool["name"];
            }
        }
    }
}

TEST(MCPAppTest, AnswersAreTheSameWithAndWithoutTheExtension) {
    TemporaryHome home;
    writeDatabase(home);
    for (const MCPEra era : {MCPEra::handshake, MCPEra::stateless}) {
        MCPClientSession shows(home, frozen(), era, kShowsApps);
        MCPClientSession plain(home, frozen(), era);
        for (const json& call : {json{{"name", "summary"}, {"arguments", json::object()}},
                                 json{{"name", "summary"}, {"arguments", {{"since", "1d"}, {"max_chars", 3000}}}},
                                 json{{"name", "timesheet"},
                                      {"arguments", {{"since", "1d"},
                                                     {"categories", json::parse(R"([{"name": "Coding",
                                                                    "rules": ["app:Xcode", "text:parser"]}])")}}}},
                                 json{{"name", "timeline"}, {"arguments", {{"limit", 2}}}}}) {
            EXPECT_EQ(result(shows, "tools/call", call), result(plain, "tools/call", call)) << call.dump();
        }
        for (const char* method : {"resources/templates/list", "prompts/list"}) {
            EXPECT_EQ(result(shows, method), result(plain, method)) << method;
        }
        EXPECT_EQ(result(shows, "resources/read", {{"uri", "varnholt://summary/today"}}),
                  result(plain, "resources/read", {{"uri", "varnholt://summary/today"}}));
        json linked = result(shows, "tools/list");
        for (json& tool : linked["tools"]) tool.erase("_meta");
        EXPECT_EQ(linked, result(plain, "tools/list")) << nameOf(era);
    }
}

TEST(MCPAppTest, WithoutTheExtensionThereIsNoView) {
    TemporaryHome home;
    writeDatabase(home);
    const json otherExtension = {{"extensions", {{"io.example/other", json::object()}}}};
    for (const MCPEra era : {MCPEra::handshake, MCPEra::stateless}) {
        for (const json& capabilities : {json::object(), otherExtension}) {
            MCPClientSession plain(home, frozen(), era, capabilities);
            const json resources = result(plain, "resources/list")["resources"];
            for (const json& resource : resources) {
                EXPECT_EQ(resource["mimeType"], "application/json") << resource["uri"];
            }
            const json tools = result(plain, "tools/list")["tools"];
            for (const json& tool : tools) {
                EXPECT_FALSE(tool.contains("_meta")) << tool["name"];
            }
            const json reply = plain.request("resources/read", {{"uri", viewURI()}});
            EXPECT_EQ(reply["error"]["message"], "Resource not found") << nameOf(era);
        }
    }
}

}  // namespace mcp_app_test
