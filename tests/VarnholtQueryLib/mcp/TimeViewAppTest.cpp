#include "mcp/TimeViewApp.h"

#include <gtest/gtest.h>

#include "view/TimeView.h"

using namespace VarnholtQueryLib;
using namespace VarnholtQueryLib::MCP;

namespace {

JSON capabilities(const char* extensions) {
    return JSON::parse(std::string(R"({"roots": {}, "extensions": )") + extensions + "}");
}

}  // namespace

TEST(TimeViewAppTest, TheExtensionIsAnnouncedForOurKindOfView) {
    EXPECT_TRUE(announcesApps(capabilities(R"({"io.modelcontextprotocol/ui": {"mimeTypes": ["text/html;profile=mcp-app"]}})")));
    EXPECT_TRUE(announcesApps(capabilities(
        R"({"other/x": {}, "io.modelcontextprotocol/ui": {"mimeTypes": ["text/other", "text/html;profile=mcp-app"]}})")));
}

TEST(TimeViewAppTest, AnythingElseAnnouncesNothing) {
    EXPECT_FALSE(announcesApps(JSON::object()));
    EXPECT_FALSE(announcesApps(JSON()));
    EXPECT_FALSE(announcesApps(JSON::array()));
    EXPECT_FALSE(announcesApps(capabilities("{}")));
    EXPECT_FALSE(announcesApps(capabilities("[]")));
    EXPECT_FALSE(announcesApps(capabilities(R"({"io.modelcontextprotocol/ui": true})")));
    // The extension requires its media types; a view is of one of them.
    EXPECT_FALSE(announcesApps(capabilities(R"({"io.modelcontextprotocol/ui": {}})")));
    EXPECT_FALSE(announcesApps(capabilities(R"({"io.modelcontextprotocol/ui": {"mimeTypes": []}})")));
    EXPECT_FALSE(announcesApps(capabilities(R"({"io.modelcontextprotocol/ui": {"mimeTypes": "text/html;profile=mcp-app"}})")));
    EXPECT_FALSE(announcesApps(capabilities(R"({"io.modelcontextprotocol/ui": {"mimeTypes": ["text/html", 5]}})")));
    EXPECT_FALSE(announcesApps(capabilities(R"({"io.modelcontextprotocol/UI": {"mimeTypes": ["text/html;profile=mcp-app"]}})")));
    // Only under extensions.
    EXPECT_FALSE(announcesApps(JSON::parse(R"({"io.modelcontextprotocol/ui": {"mimeTypes": ["text/html;profile=mcp-app"]}})")));
}

TEST(TimeViewAppTest, TheURIChangesWithTheView) {
    EXPECT_EQ(timeViewURI(), "ui://varnholt/time-view-" + std::string(timeViewDigest()) + ".html");
}

TEST(TimeViewAppTest, TheViewDrawsSummariesAndTimesheets) {
    EXPECT_TRUE(drawnByTimeView("summary"));
    EXPECT_TRUE(drawnByTimeView("timesheet"));
    for (const char* tool : {"timeline", "search", "entities", "status", "support_context", "Summary", ""}) {
        EXPECT_FALSE(drawnByTimeView(tool)) << tool;
    }
}

TEST(TimeViewAppTest, ALinkNamesTheViewBothWays) {
    JSON tool = {{"name", "summary"}, {"_meta", {{"other", 1}}}};
    linkToTimeView(tool);
    EXPECT_EQ(tool["_meta"], (JSON{{"other", 1}, {"ui", {{"resourceUri", timeViewURI()}}}, {"ui/resourceUri", timeViewURI()}}));
    JSON bare = {{"name", "summary"}};
    linkToTimeView(bare);
    EXPECT_EQ(bare["_meta"]["ui"]["resourceUri"], timeViewURI());
}

TEST(TimeViewAppTest, TheResourceIsThePage) {
    const JSON listed = timeViewResource(ProtocolRevision::r2025_06_18);
    EXPECT_EQ(listed["uri"], timeViewURI());
    EXPECT_EQ(listed["mimeType"], "text/html;profile=mcp-app");
    EXPECT_EQ(listed["name"], "time-view");
    EXPECT_EQ(listed["title"], "Time view");
    EXPECT_EQ(listed["_meta"], JSON::parse(R"({"ui": {"prefersBorder": true}})"));
    EXPECT_FALSE(timeViewResource(ProtocolRevision::r2024_11_05).contains("title"));

    const JSON contents = timeViewContents();
    EXPECT_EQ(contents["uri"], timeViewURI());
    EXPECT_EQ(contents["mimeType"], "text/html;profile=mcp-app");
    EXPECT_EQ(contents["text"], std::string(timeViewHTML()));
    EXPECT_EQ(contents["_meta"], listed["_meta"]);
}

TEST(TimeViewAppTest, TheServerAnnouncesTheExtensionBack) {
    EXPECT_EQ(withAppsExtension(JSON{{"tools", JSON::object()}}),
              JSON::parse(R"({"tools": {}, "extensions": {"io.modelcontextprotocol/ui": {}}})"));
}
