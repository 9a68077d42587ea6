#include "mcp/ToolCatalog.h"

#include <gtest/gtest.h>

#include <map>

using namespace VarnholtQueryLib;
using namespace VarnholtQueryLib::MCP;

namespace {

// "name:type" of every argument, in name order, and the required ones.
std::string argumentsOf(const std::string& tool) {
    const JSON& schema = findTool(tool)->inputSchema;
    std::string text;
    for (const auto& [name, property] : schema["properties"].items()) {
        text += name + ":" + property["type"].get<std::string>() + " ";
    }
    text += "required:" + schema.value("required", JSON::array()).dump();
    return text;
}

}  // namespace

TEST(ToolCatalogTest, SevenToolsInOrder) {
    std::vector<std::string> names;
    for (const ToolDefinition& tool : toolCatalog()) names.push_back(tool.name);
    EXPECT_EQ(names,
              (std::vector<std::string>{"timeline", "search", "entities", "summary", "timesheet", "status",
                                        "support_context"}));
    EXPECT_EQ(findTool("search")->name, "search");
    EXPECT_EQ(findTool("today"), nullptr);
    EXPECT_EQ(findTool("support-context"), nullptr);
}

TEST(ToolCatalogTest, InputSchemasDeclareEveryArgument) {
    EXPECT_EQ(argumentsOf("timeline"),
              "compact:boolean from:string images:boolean limit:integer preset:string since:string "
              "to:string week_start:string required:[]");
    EXPECT_EQ(argumentsOf("search"),
              "all_words:boolean app:string collapse:boolean compact:boolean from:string images:boolean "
              "keyword:string latest:boolean limit:integer since:string to:string required:[\"keyword\"]");
    EXPECT_EQ(argumentsOf("entities"), "kind:string limit:integer since:string required:[]");
    EXPECT_EQ(argumentsOf("summary"),
              "app:array entity:array from:string idle:string kind:string limit:integer match:array "
              "max_chars:integer only:array preset:string since:string to:string week_start:string required:[]");
    EXPECT_EQ(argumentsOf("timesheet"),
              "categories:array from:string idle:string max_chars:integer preset:string since:string to:string "
              "week_start:string required:[\"categories\"]");
    EXPECT_EQ(argumentsOf("status"), "required:[]");
    EXPECT_EQ(argumentsOf("support_context"), "required:[]");
}

TEST(ToolCatalogTest, InputSchemasAreClosedObjectsWithTheCommandsLimits) {
    for (const ToolDefinition& tool : toolCatalog()) {
        EXPECT_EQ(tool.inputSchema["type"], "object") << tool.name;
        EXPECT_EQ(tool.inputSchema["additionalProperties"], false) << tool.name;
        EXPECT_EQ(tool.outputSchema["type"], "object") << tool.name;
        for (const auto& [name, property] : tool.inputSchema["properties"].items()) {
            EXPECT_TRUE(property.contains("description")) << tool.name << "." << name;
        }
    }
    const JSON& timeline = findTool("timeline")->inputSchema["properties"];
    EXPECT_EQ(timeline["preset"]["enum"], JSON::parse(R"(["today","yesterday","this-week","last-active-day"])"));
    EXPECT_EQ(timeline["limit"]["minimum"], 0);
    const JSON& search = findTool("search")->inputSchema["properties"];
    EXPECT_EQ(search["limit"]["minimum"], 1);
    EXPECT_EQ(search["limit"]["maximum"], 200);
    EXPECT_EQ(search["limit"]["default"], 50);
    const JSON& entities = findTool("entities")->inputSchema["properties"];
    EXPECT_EQ(entities["limit"]["maximum"], 500);
    EXPECT_EQ(entities["limit"]["default"], 100);
    const JSON& summary = findTool("summary")->inputSchema["properties"];
    // The summary's periods are the timeline's and whole weeks and months.
    EXPECT_EQ(summary["preset"]["enum"], JSON::parse(R"(["today","yesterday","this-week","last-week","this-month",
                                                         "last-month","last-active-day"])"));
    EXPECT_EQ(summary["week_start"]["enum"], JSON::parse(R"(["monday","tuesday","wednesday","thursday","friday",
                                                             "saturday","sunday"])"));
    for (const char* selection : {"match", "app", "entity"}) {
        EXPECT_EQ(summary[selection]["items"]["type"], "string") << selection;
    }
    EXPECT_EQ(summary["only"]["items"]["enum"],
              JSON::parse(R"(["sessions","applications","entities","days","coverage"])"));
    EXPECT_EQ(summary["since"], timeline["since"]);
    EXPECT_EQ(summary["from"], timeline["from"]);
    EXPECT_EQ(summary["to"], timeline["to"]);
    EXPECT_EQ(summary["idle"]["default"], "5m");
    EXPECT_EQ(summary["limit"]["minimum"], 1);
    EXPECT_EQ(summary["limit"]["maximum"], 100);
    EXPECT_EQ(summary["limit"]["default"], 10);
    EXPECT_EQ(summary["max_chars"]["minimum"], 1);
    EXPECT_EQ(summary["max_chars"]["default"], 24000);
}

// An agent that reads only the timeline's description must learn that it
// cannot see a whole busy day, and where to look instead.
TEST(ToolCatalogTest, TheTimelineSendsWholeDaysAndWeeksToSummary) {
    const std::string& timeline = findTool("timeline")->description;
    EXPECT_NE(timeline.find("newest 5,000 observations"), std::string::npos) << timeline;
    EXPECT_NE(timeline.find("use summary"), std::string::npos) << timeline;
    EXPECT_NE(findTool("summary")->description.find("max_chars"), std::string::npos);
}

// The first answer rarely places everything: the description says how the
// second call places the rest.
TEST(ToolCatalogTest, TheTimesheetSaysHowToRefineItsCategories) {
    const ToolDefinition& timesheet = *findTool("timesheet");
    EXPECT_NE(timesheet.description.find("uncategorized.suggestions"), std::string::npos);
    const JSON& categories = timesheet.inputSchema["properties"]["categories"];
    EXPECT_EQ(categories["items"]["type"], "object");
    EXPECT_EQ(categories["items"]["required"], JSON::parse(R"(["name","rules"])"));
    EXPECT_EQ(categories["items"]["properties"]["rules"]["items"]["type"], "string");
    const JSON& properties = timesheet.inputSchema["properties"];
    const JSON& summary = findTool("summary")->inputSchema["properties"];
    EXPECT_EQ(properties["preset"], summary["preset"]);
    EXPECT_EQ(properties["week_start"], summary["week_start"]);
    // The timeline's this-week takes the same week start.
    EXPECT_EQ(findTool("timeline")->inputSchema["properties"]["week_start"], summary["week_start"]);
    EXPECT_EQ(properties["max_chars"]["default"], 24000);
    // Short: every tool's schemas travel in each tools/list, and the
    // timesheet has about 2,500 characters of it.
    const JSON listed = listTools(ProtocolRevision::r2025_11_25);
    for (const JSON& tool : listed) {
        if (tool["name"] != "timesheet") continue;
        EXPECT_LE(tool.dump().size(), 2500u);
    }
}

TEST(ToolCatalogTest, EachToolSaysWhatItAnswersInASentenceOrTwo) {
    for (const ToolDefinition& tool : toolCatalog()) {
        const std::string& description = tool.description;
        EXPECT_FALSE(description.empty()) << tool.name;
        EXPECT_EQ(description.back(), '.') << tool.name;
        // At most two sentences: at most one full stop followed by a space.
        const std::size_t firstStop = description.find(". ");
        if (firstStop != std::string::npos) {
            EXPECT_EQ(description.find(". ", firstStop + 1), std::string::npos) << tool.name;
        }
        EXPECT_FALSE(tool.title.empty()) << tool.name;
    }
}

// A model that remembers a moment must learn from the list how to find it.
TEST(ToolCatalogTest, SearchRecommendsAllWordsForARememberedMoment) {
    const std::string& search = findTool("search")->description;
    EXPECT_NE(search.find("remembers, use all_words with latest"), std::string::npos) << search;
    EXPECT_EQ(findTool("search")->inputSchema["properties"]["all_words"]["type"], "boolean");
}

TEST(ToolCatalogTest, ListingFollowsTheRevision) {
    const auto keysOfFirst = [](ProtocolRevision revision) {
        std::string keys;
        const JSON first = listTools(revision)[0];
        for (const auto& [key, value] : first.items()) keys += key + " ";
        return keys;
    };
    EXPECT_EQ(keysOfFirst(ProtocolRevision::r2024_11_05), "description inputSchema name ");
    EXPECT_EQ(keysOfFirst(ProtocolRevision::r2025_03_26), "annotations description inputSchema name ");
    EXPECT_EQ(keysOfFirst(ProtocolRevision::r2025_06_18),
              "annotations description inputSchema name outputSchema title ");
    EXPECT_EQ(keysOfFirst(ProtocolRevision::r2025_11_25),
              "annotations description inputSchema name outputSchema title ");
    EXPECT_EQ(listTools(ProtocolRevision::r2025_03_26)[0]["annotations"]["title"], "Work timeline");
    const JSON tools = listTools(ProtocolRevision::r2025_11_25);
    ASSERT_EQ(tools.size(), 7u);
    for (const JSON& tool : tools) {
        EXPECT_EQ(tool["annotations"]["readOnlyHint"], true);
        EXPECT_EQ(tool["annotations"]["openWorldHint"], false);
        // The tool's own title says it; annotations repeat it only before
        // tools had titles.
        EXPECT_FALSE(tool["annotations"].contains("title"));
        EXPECT_EQ(tool["inputSchema"], findTool(tool["name"])->inputSchema);
    }
}
