#include "mcp/RequestEnvelope.h"

#include <gtest/gtest.h>

using namespace VarnholtQueryLib;
using namespace VarnholtQueryLib::MCP;

namespace {

std::optional<JSON> params(const char* text) { return JSON::parse(text); }

// "code message data" of the envelope's problem, or "served".
std::string problemOf(const std::optional<JSON>& given) {
    const auto read = readEnvelope(given);
    if (std::holds_alternative<RequestEnvelope>(read)) return "served";
    const auto& problem = std::get<EnvelopeProblem>(read);
    return std::to_string(static_cast<int>(problem.code)) + " " + problem.message +
           (problem.data ? " " + problem.data->dump() : "");
}

}  // namespace

TEST(RequestEnvelopeTest, TheTwoRequiredKeysMarkAnEnvelope) {
    EXPECT_TRUE(carriesEnvelope(params(R"({"_meta":{"io.modelcontextprotocol/protocolVersion":"x"}})")));
    EXPECT_TRUE(carriesEnvelope(params(R"({"_meta":{"io.modelcontextprotocol/clientCapabilities":{}}})")));
    EXPECT_FALSE(carriesEnvelope(std::nullopt));
    EXPECT_FALSE(carriesEnvelope(params(R"({})")));
    EXPECT_FALSE(carriesEnvelope(params(R"([1])")));
    EXPECT_FALSE(carriesEnvelope(params(R"({"_meta":"x"})")));
    // What the handshake revisions put into _meta is no envelope.
    EXPECT_FALSE(carriesEnvelope(params(R"({"_meta":{"progressToken":1,"io.modelcontextprotocol/related-task":{}}})")));
    EXPECT_FALSE(carriesEnvelope(params(R"({"protocolVersion":"2026-07-28"})")));
}

TEST(RequestEnvelopeTest, AFullEnvelopeIsRead) {
    const auto read = readEnvelope(params(R"({"_meta":{"io.modelcontextprotocol/protocolVersion":"2026-07-28",
        "io.modelcontextprotocol/clientCapabilities":{"elicitation":{}},
        "io.modelcontextprotocol/clientInfo":{"name":"c","version":"1","title":"C"},
        "io.modelcontextprotocol/logLevel":"warning","progressToken":"p"}})"));
    ASSERT_TRUE(std::holds_alternative<RequestEnvelope>(read));
    const auto& envelope = std::get<RequestEnvelope>(read);
    EXPECT_EQ(envelope.revision, ProtocolRevision::r2026_07_28);
    EXPECT_EQ(envelope.clientCapabilities, JSON::parse(R"({"elicitation":{}})"));
    EXPECT_EQ(envelope.clientInfo, JSON::parse(R"({"name":"c","version":"1","title":"C"})"));
}

TEST(RequestEnvelopeTest, ClientInfoIsOptional) {
    EXPECT_EQ(problemOf(params(R"({"_meta":{"io.modelcontextprotocol/protocolVersion":"2026-07-28",
        "io.modelcontextprotocol/clientCapabilities":{}}})")), "served");
}

TEST(RequestEnvelopeTest, AMissingPartIsInvalidParams) {
    EXPECT_EQ(problemOf(std::nullopt), "-32602 Invalid params: params with _meta are required");
    EXPECT_EQ(problemOf(params("[]")), "-32602 Invalid params: params must be an object");
    EXPECT_EQ(problemOf(params("{}")), "-32602 Invalid params: _meta must be an object");
    EXPECT_EQ(problemOf(params(R"({"_meta":[]})")), "-32602 Invalid params: _meta must be an object");
    EXPECT_EQ(problemOf(params(R"({"_meta":{"io.modelcontextprotocol/clientCapabilities":{}}})")),
              "-32602 Invalid params: _meta lacks io.modelcontextprotocol/protocolVersion");
    EXPECT_EQ(problemOf(params(R"({"_meta":{"io.modelcontextprotocol/protocolVersion":"2026-07-28"}})")),
              "-32602 Invalid params: _meta lacks io.modelcontextprotocol/clientCapabilities");
}

TEST(RequestEnvelopeTest, AMalformedPartIsInvalidParams) {
    const auto with = [](const std::string& members) {
        return problemOf(JSON::parse(R"({"_meta":{"io.modelcontextprotocol/protocolVersion":"2026-07-28",
            "io.modelcontextprotocol/clientCapabilities":{})" + members + "}}"));
    };
    EXPECT_EQ(problemOf(params(R"({"_meta":{"io.modelcontextprotocol/protocolVersion":20260728,
        "io.modelcontextprotocol/clientCapabilities":{}}})")),
              "-32602 Invalid params: io.modelcontextprotocol/protocolVersion must be a string");
    EXPECT_EQ(problemOf(params(R"({"_meta":{"io.modelcontextprotocol/protocolVersion":"2026-07-28",
        "io.modelcontextprotocol/clientCapabilities":null}})")),
              "-32602 Invalid params: io.modelcontextprotocol/clientCapabilities must be an object");
    EXPECT_EQ(with(R"(,"io.modelcontextprotocol/clientInfo":{"name":"c"})"),
              "-32602 Invalid params: io.modelcontextprotocol/clientInfo must be an object with a name and a version");
    EXPECT_EQ(with(R"(,"io.modelcontextprotocol/clientInfo":"c")"),
              "-32602 Invalid params: io.modelcontextprotocol/clientInfo must be an object with a name and a version");
    EXPECT_EQ(with(R"(,"io.modelcontextprotocol/logLevel":"verbose")"),
              "-32602 Invalid params: io.modelcontextprotocol/logLevel must be a logging level");
    EXPECT_EQ(with(R"(,"progressToken":{})"), "-32602 Invalid params: progressToken must be a string or a number");
    EXPECT_EQ(with(R"(,"progressToken":7)"), "served");
}

TEST(RequestEnvelopeTest, AVersionWeDoNotServeStatelesslyIsUnsupported) {
    for (const char* version : {"1900-01-01", "2025-11-25", "2024-11-05", "2026-07-29", ""}) {
        const JSON given = {{"_meta",
                             {{"io.modelcontextprotocol/protocolVersion", version},
                              {"io.modelcontextprotocol/clientCapabilities", JSON::object()}}}};
        EXPECT_EQ(problemOf(given), std::string(R"(-32022 Unsupported protocol version {"requested":")") +
                                        version + R"(","supported":["2026-07-28"]})");
    }
    // The version decides before anything else, whose shape a later revision may change.
    EXPECT_EQ(problemOf(params(R"({"_meta":{"io.modelcontextprotocol/protocolVersion":"2030-01-01"}})")),
              R"(-32022 Unsupported protocol version {"requested":"2030-01-01","supported":["2026-07-28"]})");
}
