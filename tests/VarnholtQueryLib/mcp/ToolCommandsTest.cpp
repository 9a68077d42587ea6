#include "mcp/ToolCommands.h"

#include <gtest/gtest.h>

#include "cli/CLIError.h"
#include "cli/CommandParser.h"
#include "mcp/ToolCatalog.h"
#include "platform/LocalCalendar.h"
#include "MemoryFileSystem.h"
#include "ThrownCLIError.h"
#include "TestInstants.h"

using namespace VarnholtQueryLib;
using namespace VarnholtQueryLib::MCP;

namespace {

using VarnholtTestSupport::kNow;  // 2026-04-01T10:00:00Z

// A tool call and the command line that asks the same.
struct Equivalent {
    const char* tool;
    const char* arguments;
    std::vector<std::string> commandLine;
};

class ToolCommandsTest : public ::testing::Test {
protected:
    Command fromTool(const std::string& tool, const char* arguments) const {
        const ToolArguments checked(JSON::parse(arguments), findTool(tool)->inputSchema);
        return commandForTool(tool, checked, calendar_, kNow);
    }

    Command fromCommandLine(std::vector<std::string> words) const {
        words.insert(words.begin(), "varnholt-query");
        return parseCommand(CommandArguments::fromProcessArguments(words), calendar_, kNow, files_);
    }

    std::string toolFailure(const std::string& tool, const char* arguments) const {
        return VarnholtTestSupport::thrownCLIError([&] { fromTool(tool, arguments); });
    }

    std::string commandLineFailure(const std::vector<std::string>& words) const {
        return VarnholtTestSupport::thrownCLIError([&] { fromCommandLine(words); });
    }

    LocalCalendar calendar_{"Europe/Berlin", "de_DE"};
    VarnholtTestSupport::MemoryFileSystem files_;
};

}  // namespace

TEST_F(ToolCommandsTest, EachCallIsTheCommandOfItsCommandLine) {
    // The file of a command line that names its categories in one.
    files_.files["a.json"] = R"([{"name": "Billing", "rules": ["text:invoice exporter", "app:QuickBooks"]},
                                 {"name": "A|B=C", "rules": ["entity:person=Jane"]}])";
    const std::vector<Equivalent> equivalents = {
        {"timeline", "{}", {"today"}},
        {"timeline", R"({"preset":"yesterday","limit":3,"compact":true})", {"yesterday", "--limit", "3", "--compact"}},
        {"timeline", R"({"preset":"this-week"})", {"this-week"}},
        {"timeline", R"({"preset":"this-week","week_start":"sunday"})", {"this-week", "--week-start", "sunday"}},
        {"timeline", R"({"week_start":"Monday"})", {"today", "--week-start", "Monday"}},
        {"timeline", R"({"since":"2h","week_start":"friday"})", {"recent", "--since", "2h", "--week-start", "friday"}},
        {"timeline", R"({"from":"2026-03-30","to":"2026-03-31","week_start":"monday"})",
         {"range", "--from", "2026-03-30", "--to", "2026-03-31", "--week-start", "monday"}},
        {"timeline", R"({"preset":"last-active-day","images":true})", {"last-active-day", "--images"}},
        {"timeline", R"({"since":"2h","images":true,"limit":0})", {"recent", "--since", "2h", "--images", "--limit", "0"}},
        {"timeline", R"({"since":"0h"})", {"recent", "--since", "0h"}},
        {"timeline", R"({"from":"2026-03-30","to":"2026-03-31T12:00:00Z","images":true})",
         {"range", "--from", "2026-03-30", "--to", "2026-03-31T12:00:00Z", "--images"}},
        {"search", R"({"keyword":"invoice"})", {"search", "invoice"}},
        {"search", R"({"keyword":"a b","app":"Mail","since":"1d","from":"2026-03-30","to":"2026-03-31",
                      "latest":true,"limit":7,"collapse":true,"images":true,"compact":true})",
         {"search", "a b", "--app", "Mail", "--since", "1d", "--from", "2026-03-30", "--to", "2026-03-31",
          "--latest", "--limit", "7", "--collapse", "--images", "--compact"}},
        {"search", R"({"keyword":"swift generics","all_words":true,"latest":true})",
         {"search", "swift generics", "--all-words", "--latest"}},
        {"search", R"({"keyword":"kw","all_words":false})", {"search", "kw"}},
        {"search", R"({"keyword":"kw","limit":1000})", {"search", "kw", "--limit", "1000"}},
        {"search", R"({"keyword":"kw","limit":-5})", {"search", "kw", "--limit", "-5"}},
        {"entities", "{}", {"entities"}},
        {"entities", R"({"since":"2h","kind":"app","limit":9999})", {"entities", "--since", "2h", "--kind", "app", "--limit", "9999"}},
        {"summary", "{}", {"summary", "--max-chars", "24000"}},
        {"summary", R"({"preset":"this-week","idle":"10m","kind":"app","limit":3,"max_chars":5000})",
         {"summary", "this-week", "--idle", "10m", "--kind", "app", "--limit", "3", "--max-chars", "5000"}},
        {"summary", R"({"since":"3d"})", {"summary", "--since", "3d", "--max-chars", "24000"}},
        {"summary", R"({"from":"2026-03-30","to":"2026-03-31","max_chars":null})",
         {"summary", "--from", "2026-03-30", "--to", "2026-03-31", "--max-chars", "24000"}},
        {"summary", R"({"match":["invoice exporter","\"graphql resolver\""],"app":["Xcode"],
                       "entity":["programming_language=Swift","Go"],"week_start":"monday","only":["days","entities"]})",
         {"summary", "--match", "invoice exporter", "--match", "\"graphql resolver\"", "--app", "Xcode", "--entity",
          "programming_language=Swift", "--entity", "Go", "--week-start", "monday", "--only", "days,entities",
          "--max-chars", "24000"}},
        {"summary", R"({"match":[],"app":[],"entity":[]})", {"summary", "--max-chars", "24000"}},
        {"timesheet", R"({"categories":[{"name":"Billing","rules":["text:invoice exporter","app:QuickBooks"]},
                                         {"name":"A|B=C","rules":["entity:person=Jane"]}],
                         "preset":"this-week","week_start":"monday","idle":"10m","max_chars":5000})",
         {"timesheet", "this-week", "--categories", "a.json", "--week-start", "monday", "--idle", "10m",
          "--max-chars", "5000"}},
        {"timesheet", R"({"categories":[{"name":"Coding","rules":["app:Xcode"]}],"since":"3d"})",
         {"timesheet", "--since", "3d", "--category", "Coding=app:Xcode", "--max-chars", "24000"}},
        {"status", "{}", {"status", "--json"}},
        {"support_context", "{}", {"support-context"}},
    };
    for (const Equivalent& equivalent : equivalents) {
        EXPECT_EQ(fromTool(equivalent.tool, equivalent.arguments), fromCommandLine(equivalent.commandLine))
            << equivalent.tool << " " << equivalent.arguments;
    }
}

TEST_F(ToolCommandsTest, TextsThatLookLikeFlagsAreJustTexts) {
    const Command search = fromTool("search", R"({"keyword":"--help","app":"--json"})");
    EXPECT_EQ(std::get<Command::Search>(search.value).keyword, "--help");
    EXPECT_EQ(std::get<Command::Search>(search.value).appFilter, "--json");
    EXPECT_EQ(std::get<Command::Search>(fromTool("search", R"({"keyword":""})").value).keyword, "");
    const Command entities = fromTool("entities", R"({"kind":"--since","since":""})");
    EXPECT_EQ(std::get<Command::Entities>(entities.value).kind, "--since");
    EXPECT_EQ(std::get<Command::Entities>(entities.value).since, "");
}

TEST_F(ToolCommandsTest, RefusalsUseTheCommandLinesWords) {
    EXPECT_EQ(toolFailure("search", "{}"), commandLineFailure({"search"}));
    EXPECT_EQ(toolFailure("search", R"({"since":"0h"})"), commandLineFailure({"search", "--since", "0h"}));
    EXPECT_EQ(toolFailure("search", R"({"keyword":"k","from":"April"})"),
              commandLineFailure({"search", "k", "--from", "April"}));
    EXPECT_EQ(toolFailure("search", R"({"keyword":"k","from":"2026-04-08","to":"2026-04-07"})"),
              commandLineFailure({"search", "k", "--from", "2026-04-08", "--to", "2026-04-07"}));
    EXPECT_EQ(toolFailure("timeline", R"({"from":"2026-04-01"})"),
              commandLineFailure({"range", "--from", "2026-04-01"}));
    EXPECT_EQ(toolFailure("timeline", R"({"to":"2026-04-01"})"), commandLineFailure({"range", "--to", "2026-04-01"}));
}

TEST_F(ToolCommandsTest, ASummaryRefusesWhatTheCommandLineRefusesInItsWords) {
    EXPECT_EQ(toolFailure("summary", R"({"preset":"today","since":"2h"})"),
              commandLineFailure({"summary", "today", "--since", "2h"}));
    EXPECT_EQ(toolFailure("summary", R"({"from":"2026-04-01"})"), commandLineFailure({"summary", "--from", "2026-04-01"}));
    EXPECT_EQ(toolFailure("summary", R"({"preset":"range"})"), commandLineFailure({"summary", "range"}));
    EXPECT_EQ(toolFailure("summary", R"({"idle":"2h"})"), commandLineFailure({"summary", "--idle", "2h"}));
    EXPECT_EQ(toolFailure("summary", R"({"idle":"x"})"), commandLineFailure({"summary", "--idle", "x"}));
    EXPECT_EQ(toolFailure("summary", R"({"limit":101})"), commandLineFailure({"summary", "--limit", "101"}));
    EXPECT_EQ(toolFailure("summary", R"({"max_chars":0})"), commandLineFailure({"summary", "--max-chars", "0"}));
    EXPECT_EQ(toolFailure("summary", R"({"limit":101})"),
              "INVALID_TIME_RANGE: --limit must be a whole number from 1 to 100, not '101'.");
    EXPECT_EQ(toolFailure("summary", R"({"match":[" "]})"), commandLineFailure({"summary", "--match", " "}));
    EXPECT_EQ(toolFailure("summary", R"({"app":[""]})"), commandLineFailure({"summary", "--app", ""}));
    EXPECT_EQ(toolFailure("summary", R"({"entity":["kind="]})"), commandLineFailure({"summary", "--entity", "kind="}));
    EXPECT_EQ(toolFailure("summary", R"({"week_start":"Mo"})"), commandLineFailure({"summary", "--week-start", "Mo"}));
    EXPECT_EQ(toolFailure("timeline", R"({"preset":"this-week","week_start":"Mo"})"),
              commandLineFailure({"this-week", "--week-start", "Mo"}));
    EXPECT_EQ(commandLineFailure({"this-week", "--week-start", "Mo"}),
              commandLineFailure({"summary", "--week-start", "Mo"}));
    EXPECT_EQ(toolFailure("summary", R"({"only":["days","hours"]})"),
              commandLineFailure({"summary", "--only", "days,hours"}));
    EXPECT_EQ(toolFailure("summary", R"({"only":[]})"), commandLineFailure({"summary", "--only", ""}));
}

TEST_F(ToolCommandsTest, ATimesheetRefusesWhatTheCommandLineRefusesInItsWords) {
    EXPECT_EQ(toolFailure("timesheet", "{}"), commandLineFailure({"timesheet"}));
    EXPECT_EQ(toolFailure("timesheet", R"({"categories":[]})"), commandLineFailure({"timesheet"}));
    EXPECT_EQ(toolFailure("timesheet", R"({"categories":[{"name":"A","rules":["nope"]}]})"),
              commandLineFailure({"timesheet", "--category", "A=nope"}));
    EXPECT_EQ(toolFailure("timesheet", R"({"categories":[{"name":"A","rules":["app:X"]},{"name":"A","rules":["app:Y"]}]})"),
              commandLineFailure({"timesheet", "--category", "A=app:X", "--category", "A=app:Y"}));
    EXPECT_EQ(toolFailure("timesheet", R"({"categories":[{"name":"A","rules":["app:X"]}],"idle":"2h"})"),
              commandLineFailure({"timesheet", "--category", "A=app:X", "--idle", "2h"}));
    // The categories' shape is the categories file's, in its words.
    EXPECT_EQ(toolFailure("timesheet", R"({"categories":[{"name":"A"}]})"),
              "INVALID_TIME_RANGE: Argument 'categories' must be an array of {\"name\": TEXT, \"rules\": [TEXT, "
              "...]} objects: [0].rules is not an array.");
    EXPECT_EQ(toolFailure("timesheet", R"({"categories":["A=app:X"]})"),
              "UNKNOWN_ERROR: Argument 'categories' must be an array of objects.");
}

TEST_F(ToolCommandsTest, ATimelineAskedTwoWaysIsRefused) {
    const std::string twoWays = "INVALID_TIME_RANGE: Use only one of preset, since, or from and to.";
    EXPECT_EQ(toolFailure("timeline", R"({"preset":"today","since":"2h"})"), twoWays);
    EXPECT_EQ(toolFailure("timeline", R"({"since":"2h","to":"2026-04-01"})"), twoWays);
    EXPECT_EQ(toolFailure("timeline", R"({"preset":"today","from":"2026-04-01","to":"2026-04-02"})"), twoWays);
}

TEST_F(ToolCommandsTest, OnlyTheFourPresetsArePresets) {
    EXPECT_EQ(toolFailure("timeline", R"({"preset":"range"})"), "INVALID_TIME_RANGE: Unknown preset 'range'.");
    EXPECT_EQ(toolFailure("timeline", R"({"preset":"recent"})"), "INVALID_TIME_RANGE: Unknown preset 'recent'.");
    EXPECT_EQ(toolFailure("timeline", R"({"preset":""})"), "INVALID_TIME_RANGE: Unknown preset ''.");
}
