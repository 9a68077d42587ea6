#include "mcp/HandshakeSession.h"

#include <gtest/gtest.h>

#include "FakeDocumentSource.h"
#include "mcp/ServerIdentity.h"
#include "mcp/TimeViewApp.h"

using namespace VarnholtQueryLib;
using namespace VarnholtQueryLib::MCP;

namespace {

class HandshakeSessionTest : public ::testing::Test {
protected:
    JSON serve(const std::string& method, std::optional<JSON> params = std::nullopt, bool inBatch = false) {
        IncomingMessage request;
        request.kind = IncomingMessage::Kind::request;
        request.id = RequestId(JSON(1));
        request.method = method;
        request.params = std::move(params);
        return JSON::parse(encodeReply(session_.serve(request, inBatch)));
    }

    // The result of initialize on `revision` with `capabilities`.
    JSON initialize(const std::string& revision, const JSON& capabilities = JSON::object()) {
        const JSON reply = serve("initialize", JSON{{"protocolVersion", revision},
                                                    {"capabilities", capabilities},
                                                    {"clientInfo", {{"name", "t"}, {"version", "1"}}}});
        EXPECT_TRUE(reply.contains("result")) << reply.dump();
        return reply["result"];
    }

    FakeDocumentSource documents_;
    ServerServices services_{documents_};
    HandshakeSession session_{services_};
};

}  // namespace

TEST_F(HandshakeSessionTest, EveryMethodWaitsForInitialize) {
    for (const char* method : {"tools/list", "resources/list", "resources/read", "prompts/get", "completion/complete"}) {
        EXPECT_EQ(serve(method)["error"]["code"], -32600) << method;
    }
    EXPECT_EQ(serve("ping")["result"], JSON::object());
    EXPECT_TRUE(documents_.commands.empty());
}

TEST_F(HandshakeSessionTest, TheAgreedRevisionShapesTheAnswers) {
    initialize("2024-11-05");
    EXPECT_FALSE(serve("prompts/list")["result"]["prompts"][0].contains("title"));
    EXPECT_EQ(serve("resources/read", JSON{{"uri", "varnholt://none"}})["error"]["code"], -32002);
    const JSON read = serve("resources/read", JSON{{"uri", "varnholt://status"}})["result"];
    EXPECT_FALSE(read.contains("resultType"));
    EXPECT_FALSE(read.contains("ttlMs"));
    EXPECT_EQ(read["contents"][0]["mimeType"], "application/json");
}

TEST_F(HandshakeSessionTest, DiscoveryIsNoMethodOfThisEra) {
    initialize("2025-11-25");
    EXPECT_EQ(serve("server/discover")["error"]["code"], -32601);
}

TEST_F(HandshakeSessionTest, ParamsMustBeAnObject) {
    initialize("2025-11-25");
    EXPECT_EQ(serve("resources/list", JSON::array())["error"]["message"], "Invalid params: params must be an object");
}

TEST_F(HandshakeSessionTest, TheAppsExtensionAnnouncedInInitializeHoldsForTheLine) {
    const JSON result = initialize("2025-06-18", JSON::parse(R"({"extensions":
        {"io.modelcontextprotocol/ui": {"mimeTypes": ["text/html;profile=mcp-app"]}}})"));
    EXPECT_EQ(result["capabilities"], withAppsExtension(serverCapabilities(ProtocolRevision::r2025_06_18)));
    EXPECT_EQ(serve("resources/list")["result"]["resources"].back()["uri"], timeViewURI());
    EXPECT_EQ(serve("resources/read", JSON{{"uri", timeViewURI()}})["result"]["contents"][0]["mimeType"], kAppMimeType);
    bool linked = false;
    const JSON tools = serve("tools/list")["result"]["tools"];
    for (const JSON& tool : tools) {
        if (tool["name"] == "summary") linked = tool["_meta"]["ui"]["resourceUri"] == timeViewURI();
    }
    EXPECT_TRUE(linked);
}

TEST_F(HandshakeSessionTest, WithoutTheExtensionTheLineIsAsBefore) {
    const JSON result = initialize("2025-06-18", JSON::parse(R"({"extensions": {"other/x": {}}})"));
    EXPECT_EQ(result["capabilities"], serverCapabilities(ProtocolRevision::r2025_06_18));
    EXPECT_EQ(serve("resources/read", JSON{{"uri", timeViewURI()}})["error"]["code"], -32002);
    const JSON tools = serve("tools/list")["result"]["tools"];
    for (const JSON& tool : tools) EXPECT_FALSE(tool.contains("_meta")) << tool["name"];
}
