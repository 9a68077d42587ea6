#include "mcp/EraSelection.h"

#include <gtest/gtest.h>

using namespace VarnholtQueryLib;
using namespace VarnholtQueryLib::MCP;

namespace {

IncomingMessage request(const std::string& method, std::optional<JSON> params = std::nullopt) {
    IncomingMessage message;
    message.kind = IncomingMessage::Kind::request;
    message.id = RequestId(JSON(1));
    message.method = method;
    message.params = std::move(params);
    return message;
}

const JSON kEnvelope = JSON::parse(R"({"_meta":{"io.modelcontextprotocol/protocolVersion":"2026-07-28",
    "io.modelcontextprotocol/clientCapabilities":{}}})");

}  // namespace

TEST(EraSelectionTest, AnEnvelopeMakesARequestStateless) {
    EXPECT_EQ(eraOf(request("tools/list", kEnvelope)), Era::stateless);
    EXPECT_EQ(eraOf(request("initialize", kEnvelope)), Era::stateless);
    EXPECT_EQ(eraOf(request("ping", kEnvelope)), Era::stateless);
}

TEST(EraSelectionTest, DiscoveryIsStatelessEvenWithoutAnEnvelope) {
    EXPECT_EQ(eraOf(request("server/discover")), Era::stateless);
    EXPECT_EQ(eraOf(request("server/discover", JSON::object())), Era::stateless);
}

TEST(EraSelectionTest, EverythingElseIsTheHandshakeEra) {
    EXPECT_EQ(eraOf(request("initialize", JSON::parse(R"({"protocolVersion":"2026-07-28"})"))), Era::handshake);
    EXPECT_EQ(eraOf(request("tools/call", JSON::parse(R"({"name":"status","_meta":{"progressToken":1}})"))),
              Era::handshake);
    EXPECT_EQ(eraOf(request("tools/list")), Era::handshake);
}

TEST(EraSelectionTest, OnlyAStatelessRequestOtherThanDiscoveryChoosesTheEra) {
    LineHistory history;
    EXPECT_FALSE(history.refusesInitialize());
    history.noteStatelessRequest("server/discover");
    EXPECT_FALSE(history.refusesInitialize());
    history.noteStatelessRequest("tools/list");
    EXPECT_TRUE(history.refusesInitialize());
    history.noteStatelessRequest("server/discover");
    EXPECT_TRUE(history.refusesInitialize());
}
