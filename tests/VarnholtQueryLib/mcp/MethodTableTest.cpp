#include "mcp/MethodTable.h"

#include <gtest/gtest.h>

#include "FakeDocumentSource.h"
#include "mcp/PromptCatalog.h"
#include "mcp/TimeViewApp.h"
#include "mcp/ToolCatalog.h"
#include "view/TimeView.h"

using namespace VarnholtQueryLib;
using namespace VarnholtQueryLib::MCP;

namespace {

class MethodTableTest : public ::testing::Test {
protected:
    // The result of `method`, or "code message" of its error.
    JSON call(const std::string& method, const char* params,
              const RequestTerms& terms = ProtocolRevision::r2025_11_25) {
        const MethodOutcome outcome = findMethod(method)->handler(services_, JSON::parse(params), terms);
        if (outcome.result) return *outcome.result;
        return std::to_string(static_cast<int>(outcome.code)) + " " + outcome.message +
               (outcome.data ? " " + outcome.data->dump() : "");
    }

    FakeDocumentSource documents_;
    ServerServices services_{documents_};
};

}  // namespace

TEST_F(MethodTableTest, WhichMethodInWhichEra) {
    EXPECT_FALSE(findMethod("server/discover")->handshakeEra);
    EXPECT_TRUE(findMethod("server/discover")->statelessEra);
    for (const char* method : {"tools/list", "tools/call", "resources/list", "resources/templates/list",
                               "resources/read", "prompts/list", "prompts/get", "completion/complete"}) {
        ASSERT_NE(findMethod(method), nullptr) << method;
        EXPECT_TRUE(findMethod(method)->handshakeEra) << method;
        EXPECT_TRUE(findMethod(method)->statelessEra) << method;
    }
    for (const char* method : {"initialize", "ping", "resources/subscribe", "logging/setLevel", ""}) {
        EXPECT_EQ(findMethod(method), nullptr) << method;
    }
}

TEST_F(MethodTableTest, OnlyTheFirstPageOfAnyList) {
    for (const char* method : {"tools/list", "resources/list", "resources/templates/list", "prompts/list"}) {
        EXPECT_TRUE(call(method, "{}").is_object()) << method;
        EXPECT_EQ(call(method, R"({"cursor":null})"), call(method, "{}")) << method;
        EXPECT_EQ(call(method, R"({"cursor":""})"), "-32602 Invalid params: unknown cursor") << method;
        EXPECT_EQ(call(method, R"({"cursor":"p2"})"), "-32602 Invalid params: unknown cursor") << method;
    }
}

TEST_F(MethodTableTest, ResourcesAreDocumentsOfOurs) {
    const JSON listed = call("resources/list", "{}")["resources"];
    EXPECT_EQ(listed[0], JSON::parse(R"({"uri":"varnholt://status","name":"status","title":"Recorder status",
        "mimeType":"application/json","description":"The recorder's health: database facts, pipeline metrics, a diagnosis, the bridge and log tails; the document of varnholt-query status --json."})"));
    const JSON old = call("resources/templates/list", "{}", ProtocolRevision::r2024_11_05)["resourceTemplates"];
    EXPECT_FALSE(old[0].contains("title"));
    EXPECT_EQ(old.size(), 3u);
    EXPECT_EQ(old[0]["uriTemplate"], "varnholt://summary/day/{date}");
    EXPECT_EQ(call("resources/read", R"({"uri":"varnholt://timeline/day/2026-03-31"})"),
              JSON::parse(R"({"contents":[{"uri":"varnholt://timeline/day/2026-03-31","mimeType":"application/json",
                  "text":"{\n  \"command\" : \"range 2026-03-31 2026-03-31\"\n}\n"}]})"));
}

TEST_F(MethodTableTest, AReadThatCannotBeServed) {
    EXPECT_EQ(call("resources/read", R"({"uri":"varnholt://x"})"),
              R"(-32002 Resource not found {"uri":"varnholt://x"})");
    EXPECT_EQ(call("resources/read", R"({"uri":"varnholt://x"})", ProtocolRevision::r2026_07_28),
              R"(-32602 Resource not found {"uri":"varnholt://x"})");
    EXPECT_EQ(call("resources/read", R"({"uri":"varnholt://timeline/day/31.03.2026"})"),
              "-32602 Invalid params: the date in varnholt://timeline/day/31.03.2026 must be a local date of the form "
              R"(yyyy-MM-dd {"uri":"varnholt://timeline/day/31.03.2026"})");
    EXPECT_EQ(call("resources/read", "{}"), "-32602 Invalid params: uri must be a string");
    EXPECT_EQ(call("resources/read", R"({"uri":7})"), "-32602 Invalid params: uri must be a string");
    EXPECT_TRUE(documents_.commands.empty());
}

TEST_F(MethodTableTest, APromptIsFetchedByNameWithItsArguments) {
    const JSON got = call("prompts/get", R"({"name":"what-was-i-doing","arguments":{"time":"2026-04-01T09:10:00Z"}})");
    EXPECT_EQ(got["description"], findPrompt("what-was-i-doing")->description);
    EXPECT_EQ(got["messages"].size(), 3u);
    EXPECT_EQ(call("prompts/get", R"({"name":"nope"})"), "-32602 Invalid params: Unknown prompt: nope");
    EXPECT_EQ(call("prompts/get", "{}"), "-32602 Invalid params: name must be a string");
    EXPECT_EQ(call("prompts/get", R"({"name":"what-was-i-doing"})"), "-32602 Invalid params: argument time is required");
    EXPECT_EQ(call("prompts/get", R"({"name":"what-was-i-doing","arguments":{"time":5}})"),
              "-32602 Invalid params: argument time must be a string");
    EXPECT_EQ(call("prompts/get", R"({"name":"what-was-i-doing","arguments":{"time":"x","when":"y"}})"),
              "-32602 Invalid params: Unknown argument 'when' of prompt what-was-i-doing");
    EXPECT_EQ(call("prompts/get", R"({"name":"what-was-i-doing","arguments":[]})"),
              "-32602 Invalid params: arguments must be an object");
}

TEST_F(MethodTableTest, DatesCompleteWithTheRecentActiveDays) {
    const auto complete = [&](const std::string& reference, const std::string& argument, const std::string& value) {
        return call("completion/complete", (R"({"ref":)" + reference + R"(,"argument":{"name":")" + argument +
                                            R"(","value":")" + value + R"("}})").c_str());
    };
    const std::string dayTimeline = R"({"type":"ref/resource","uri":"varnholt://timeline/day/{date}"})";
    EXPECT_EQ(complete(dayTimeline, "date", ""),
              JSON::parse(R"({"completion":{"values":["2026-04-01","2026-03-31","2026-03-27"],"total":3,"hasMore":false}})"));
    EXPECT_EQ(complete(dayTimeline, "date", "2026-03-3")["completion"]["values"], JSON::parse(R"(["2026-03-31"])"));
    EXPECT_EQ(complete(dayTimeline, "date", "2026-04-011")["completion"]["values"], JSON::array());
    // Ten are offered; one more tells whether there are more.
    EXPECT_EQ(documents_.askedDays, (std::vector<std::size_t>{11, 11, 11}));
    // Arguments that are no dates complete with nothing.
    EXPECT_EQ(complete(dayTimeline, "day", "")["completion"]["values"], JSON::array());
    EXPECT_EQ(complete(R"({"type":"ref/resource","uri":"varnholt://status"})", "date", "")["completion"]["total"], 0);
    EXPECT_EQ(complete(R"({"type":"ref/prompt","name":"what-was-i-doing"})", "time", "")["completion"]["values"],
              JSON::array());
    EXPECT_EQ(documents_.askedDays.size(), 3u);
}

TEST_F(MethodTableTest, ADateCompletesAmongAllActiveDaysNotJustTheNewestTen) {
    documents_.active = {"2026-04-01", "2026-03-31", "2026-03-30", "2026-03-27", "2026-03-26", "2026-03-25",
                         "2026-03-24", "2026-03-23", "2026-03-20", "2026-03-19", "2026-03-18", "2026-02-27"};
    const auto complete = [&](const std::string& value) {
        return call("completion/complete",
                    (R"({"ref":{"type":"ref/resource","uri":"varnholt://summary/day/{date}"},"argument":{"name":"date","value":")" +
                     value + R"("}})").c_str());
    };
    EXPECT_EQ(complete(""), JSON::parse(R"({"completion":{"values":["2026-04-01","2026-03-31","2026-03-30",
        "2026-03-27","2026-03-26","2026-03-25","2026-03-24","2026-03-23","2026-03-20","2026-03-19"],"hasMore":true}})"));
    EXPECT_EQ(complete("2026-02"), JSON::parse(R"({"completion":{"values":["2026-02-27"],"total":1,"hasMore":false}})"));
    EXPECT_EQ(complete("2026-03-1"), JSON::parse(R"({"completion":{"values":["2026-03-19","2026-03-18"],"total":2,"hasMore":false}})"));
}

TEST_F(MethodTableTest, ACompletionForSomethingUnknownIsInvalid) {
    EXPECT_EQ(call("completion/complete", R"({"ref":{"type":"ref/resource","uri":"varnholt://x/{date}"},"argument":{"name":"date","value":""}})"),
              "-32602 Invalid params: Unknown resource template: varnholt://x/{date}");
    EXPECT_EQ(call("completion/complete", R"({"ref":{"type":"ref/prompt","name":"x"},"argument":{"name":"date","value":""}})"),
              "-32602 Invalid params: Unknown prompt: x");
    EXPECT_EQ(call("completion/complete", R"({"ref":{"type":"ref/tool","name":"x"},"argument":{"name":"date","value":""}})"),
              "-32602 Invalid params: Unknown reference type: ref/tool");
    EXPECT_EQ(call("completion/complete", R"({"argument":{"name":"date","value":""}})"),
              "-32602 Invalid params: ref must be an object with a type");
    EXPECT_EQ(call("completion/complete", R"({"ref":{"type":"ref/prompt","name":"x"},"argument":{"name":"date"}})"),
              "-32602 Invalid params: argument must be an object with a name and a value");
}

// A client that shows MCP Apps gets the time view as a resource, and the
// tools whose answers it draws link to it; every other client gets exactly
// what it got before.
TEST_F(MethodTableTest, TheTimeViewIsThereForAClientThatShowsIt) {
    const RequestTerms apps(ProtocolRevision::r2025_11_25, true);
    const JSON resources = call("resources/list", "{}", apps)["resources"];
    EXPECT_EQ(resources.size(), call("resources/list", "{}")["resources"].size() + 1);
    EXPECT_EQ(resources.back(), timeViewResource(ProtocolRevision::r2025_11_25));
    const std::string read = R"({"uri":")" + timeViewURI() + R"("})";
    EXPECT_EQ(call("resources/read", read.c_str(), apps), (JSON{{"contents", JSON::array({timeViewContents()})}}));
    EXPECT_EQ(call("resources/read", read.c_str(), apps)["contents"][0]["text"], std::string(timeViewHTML()));

    const JSON tools = call("tools/list", "{}", apps)["tools"];
    for (const JSON& tool : tools) {
        if (tool["name"] == "summary" || tool["name"] == "timesheet") {
            const JSON link = {{"ui", {{"resourceUri", timeViewURI()}}}, {"ui/resourceUri", timeViewURI()}};
            EXPECT_EQ(tool["_meta"], link) << tool["name"];
        } else {
            EXPECT_FALSE(tool.contains("_meta")) << tool["name"];
        }
    }
    EXPECT_EQ(call("server/discover", "{}", apps)["capabilities"]["extensions"],
              JSON::parse(R"({"io.modelcontextprotocol/ui": {}})"));
    // The documents and templates are the same either way.
    EXPECT_EQ(call("resources/templates/list", "{}", apps), call("resources/templates/list", "{}"));
    EXPECT_EQ(call("resources/read", R"({"uri":"varnholt://status"})", apps),
              call("resources/read", R"({"uri":"varnholt://status"})"));
    EXPECT_EQ(call("tools/call", R"({"name":"summary"})", apps), call("tools/call", R"({"name":"summary"})"));
}

TEST_F(MethodTableTest, WithoutTheExtensionNothingChanges) {
    const std::string read = R"({"uri":")" + timeViewURI() + R"("})";
    const std::string notFound = "-32002 Resource not found " + JSON{{"uri", timeViewURI()}}.dump();
    EXPECT_EQ(call("resources/read", read.c_str()), notFound);
    const JSON resources = call("resources/list", "{}")["resources"];
    for (const JSON& resource : resources) {
        EXPECT_NE(resource["mimeType"], kAppMimeType);
    }
    EXPECT_EQ(call("tools/list", "{}")["tools"], listTools(ProtocolRevision::r2025_11_25));
    EXPECT_FALSE(call("server/discover", "{}", ProtocolRevision::r2026_07_28)["capabilities"].contains("extensions"));
    // An older view's URI is unknown, with the extension too.
    EXPECT_EQ(call("resources/read", R"({"uri":"ui://varnholt/time-view-0000000000000000.html"})",
                   RequestTerms(ProtocolRevision::r2025_11_25, true)),
              R"(-32002 Resource not found {"uri":"ui://varnholt/time-view-0000000000000000.html"})");
}
