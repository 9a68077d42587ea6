#include "mcp/StatelessRequests.h"

#include <gtest/gtest.h>

#include "cli/BuildMetadata.h"
#include "FakeDocumentSource.h"
#include "mcp/ServerIdentity.h"
#include "mcp/TimeViewApp.h"
#include "mcp/ToolCatalog.h"

using namespace VarnholtQueryLib;
using namespace VarnholtQueryLib::MCP;

namespace {

const JSON kMeta = JSON::parse(R"({"io.modelcontextprotocol/protocolVersion":"2026-07-28",
    "io.modelcontextprotocol/clientCapabilities":{},
    "io.modelcontextprotocol/clientInfo":{"name":"test","version":"1"}})");

class StatelessRequestsTest : public ::testing::Test {
protected:
    // The reply to `method` with `params` and the envelope, as a JSON object.
    JSON serve(const std::string& method, JSON params = JSON::object()) {
        params["_meta"] = kMeta;
        return serveWithout(method, params);
    }

    // The same with `params` exactly as given.
    JSON serveWithout(const std::string& method, std::optional<JSON> params) {
        IncomingMessage request;
        request.kind = IncomingMessage::Kind::request;
        request.id = RequestId(JSON("r"));
        request.method = method;
        request.params = std::move(params);
        const StatelessReply reply = serveStatelessRequest(services_, request);
        lastServed_ = reply.served;
        return JSON::parse(encodeReply(reply.reply));
    }

    static JSON identity() {
        return {{"io.modelcontextprotocol/serverInfo",
                 {{"name", "varnholt-mcp"}, {"title", "Varnholt work memory"}, {"version", BuildMetadata::version}}}};
    }

    FakeDocumentSource documents_;
    ServerServices services_{documents_};
    bool lastServed_ = false;
};

}  // namespace

TEST_F(StatelessRequestsTest, DiscoveryNamesEveryRevisionAndTheServer) {
    const JSON reply = serve("server/discover");
    EXPECT_EQ(reply["id"], "r");
    EXPECT_EQ(reply["result"], (JSON{
                                   {"resultType", "complete"},
                                   {"supportedVersions", {"2026-07-28", "2025-11-25", "2025-06-18", "2025-03-26", "2024-11-05"}},
                                   {"capabilities", JSON::parse(R"({"tools":{"listChanged":false},"completions":{},
                                       "prompts":{"listChanged":false},"resources":{"listChanged":false,"subscribe":false}})")},
                                   {"instructions", serverInstructions()},
                                   {"ttlMs", 3600000},
                                   {"cacheScope", "public"},
                                   {"_meta", identity()},
                               }));
    EXPECT_TRUE(lastServed_);
}

TEST_F(StatelessRequestsTest, ListsMayBeCachedByEveryone) {
    const JSON tools = serve("tools/list")["result"];
    EXPECT_EQ(tools["tools"], listTools(ProtocolRevision::r2026_07_28));
    for (const char* method : {"tools/list", "resources/list", "resources/templates/list", "prompts/list"}) {
        const JSON result = serve(method)["result"];
        EXPECT_EQ(result["resultType"], "complete") << method;
        EXPECT_EQ(result["ttlMs"], 3600000) << method;
        EXPECT_EQ(result["cacheScope"], "public") << method;
        EXPECT_EQ(result["_meta"], identity()) << method;
    }
}

TEST_F(StatelessRequestsTest, AReadIsTheUsersAndNotToBeKept) {
    const JSON result = serve("resources/read", {{"uri", "varnholt://status"}})["result"];
    EXPECT_EQ(result["ttlMs"], 0);
    EXPECT_EQ(result["cacheScope"], "private");
    EXPECT_EQ(result["resultType"], "complete");
    ASSERT_EQ(result["contents"].size(), 1u);
    EXPECT_EQ(result["contents"][0]["text"], "{\n  \"command\" : \"status\"\n}\n");
}

TEST_F(StatelessRequestsTest, CallsGetPromptsAndCompletionsAreNotCached) {
    const JSON call = serve("tools/call", {{"name", "status"}})["result"];
    EXPECT_EQ(call["structuredContent"], (JSON{{"command", "status"}}));
    EXPECT_EQ(call["resultType"], "complete");
    EXPECT_EQ(call["_meta"], identity());
    const JSON prompt = serve("prompts/get", {{"name", "what-was-i-doing"}, {"arguments", {{"time", "2026-04-01T09:00:00"}}}})["result"];
    const JSON completion = serve("completion/complete", JSON::parse(R"({"ref":{"type":"ref/resource",
        "uri":"varnholt://timeline/day/{date}"},"argument":{"name":"date","value":"2026-03"}})"))["result"];
    EXPECT_EQ(completion["completion"]["values"], JSON::parse(R"(["2026-03-31","2026-03-27"])"));
    for (const JSON& result : {call, prompt, completion}) {
        EXPECT_FALSE(result.contains("ttlMs")) << result.dump();
        EXPECT_FALSE(result.contains("cacheScope")) << result.dump();
        EXPECT_EQ(result["resultType"], "complete");
    }
}

TEST_F(StatelessRequestsTest, MethodsTheRevisionRemovedAreNotFound) {
    for (const char* method : {"initialize", "ping", "logging/setLevel", "resources/subscribe", "resources/unsubscribe",
                               "subscriptions/listen", "tasks/get", "notifications/initialized", "roots/list", "nope"}) {
        const JSON reply = serve(method);
        EXPECT_EQ(reply["error"], (JSON{{"code", -32601}, {"message", std::string("Method not found: ") + method}}));
        EXPECT_EQ(reply["id"], "r");
    }
}

TEST_F(StatelessRequestsTest, TheEnvelopeIsCheckedBeforeTheMethod) {
    EXPECT_EQ(serveWithout("server/discover", JSON::object())["error"],
              (JSON{{"code", -32602}, {"message", "Invalid params: _meta must be an object"}}));
    EXPECT_EQ(serveWithout("server/discover", std::nullopt)["error"]["code"], -32602);
    EXPECT_FALSE(lastServed_);
    const JSON old = JSON::parse(R"({"_meta":{"io.modelcontextprotocol/protocolVersion":"2025-06-18",
        "io.modelcontextprotocol/clientCapabilities":{}}})");
    EXPECT_EQ(serveWithout("ping", old)["error"],
              JSON::parse(R"({"code":-32022,"message":"Unsupported protocol version",
                  "data":{"supported":["2026-07-28"],"requested":"2025-06-18"}})"));
    EXPECT_FALSE(lastServed_);
}

TEST_F(StatelessRequestsTest, AnUnknownResourceIsInvalidParamsWithItsURI) {
    EXPECT_EQ(serve("resources/read", {{"uri", "varnholt://nothing"}})["error"],
              JSON::parse(R"({"code":-32602,"message":"Resource not found","data":{"uri":"varnholt://nothing"}})"));
    EXPECT_EQ(serve("resources/read", {{"uri", "varnholt://timeline/day/2026-02-30"}})["error"],
              JSON::parse(R"({"code":-32602,"message":"Invalid params: the date in varnholt://timeline/day/2026-02-30 must be a local date of the form yyyy-MM-dd",
                  "data":{"uri":"varnholt://timeline/day/2026-02-30"}})"));
    EXPECT_TRUE(documents_.commands.empty());
}

TEST_F(StatelessRequestsTest, NoClientCapabilityIsEverRequired) {
    // With an empty capabilities object every method answers; nothing we do
    // asks the client for input.
    for (const char* method : {"server/discover", "tools/list", "resources/list", "resources/templates/list", "prompts/list"}) {
        EXPECT_TRUE(serve(method).contains("result")) << method;
    }
    EXPECT_TRUE(serve("tools/call", {{"name", "status"}}).contains("result"));
}

// Each request says for itself whether its client shows MCP Apps.
TEST_F(StatelessRequestsTest, TheAppsExtensionCountsForTheRequestThatAnnouncesIt) {
    JSON withApps = kMeta;
    withApps["io.modelcontextprotocol/clientCapabilities"] =
        JSON::parse(R"({"extensions": {"io.modelcontextprotocol/ui": {"mimeTypes": ["text/html;profile=mcp-app"]}}})");
    const auto serveWithApps = [&](const std::string& method, JSON params = JSON::object()) {
        params["_meta"] = withApps;
        return serveWithout(method, params);
    };
    const JSON resources = serveWithApps("resources/list")["result"]["resources"];
    EXPECT_EQ(resources.back(), timeViewResource(ProtocolRevision::r2026_07_28));
    const JSON read = serveWithApps("resources/read", {{"uri", timeViewURI()}})["result"];
    EXPECT_EQ(read["contents"], JSON::array({timeViewContents()}));
    EXPECT_EQ(read["resultType"], "complete");
    EXPECT_EQ(serveWithApps("server/discover")["result"]["capabilities"]["extensions"],
              JSON::parse(R"({"io.modelcontextprotocol/ui": {}})"));

    // The next request without it is answered as before: nothing was kept.
    EXPECT_EQ(serve("resources/list")["result"]["resources"].size(), resources.size() - 1);
    EXPECT_EQ(serve("resources/read", {{"uri", timeViewURI()}})["error"]["code"], -32602);
    EXPECT_EQ(serve("tools/list")["result"]["tools"], listTools(ProtocolRevision::r2026_07_28));
    EXPECT_NE(serveWithApps("tools/list")["result"]["tools"], listTools(ProtocolRevision::r2026_07_28));
}
