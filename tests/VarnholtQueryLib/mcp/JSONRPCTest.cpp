#include "mcp/JSONRPC.h"

#include <gtest/gtest.h>

using namespace VarnholtQueryLib;
using namespace VarnholtQueryLib::MCP;

namespace {

using Kind = IncomingMessage::Kind;

IncomingMessage classify(const char* text) { return classifyMessage(JSON::parse(text)); }

}  // namespace

TEST(JSONRPCTest, RequestsKeepTheirIdAsGiven) {
    for (const char* id : {"1", "0", "-7", "18446744073709551615", "\"abc\"", "\"\"", "\"\\u00e9\""}) {
        const std::string text = std::string(R"({"jsonrpc":"2.0","id":)") + id + R"(,"method":"ping"})";
        const IncomingMessage message = classify(text.c_str());
        EXPECT_EQ(message.kind, Kind::request) << id;
        EXPECT_EQ(message.id, JSON::parse(id)) << id;
        EXPECT_EQ(message.method, "ping");
        EXPECT_FALSE(message.params.has_value());
    }
}

TEST(JSONRPCTest, UnusableIdsAreAnsweredWithNull) {
    for (const char* id : {"null", "1.5", "1.0", "true", "{}", "[1]", "1e40"}) {
        const std::string text = std::string(R"({"jsonrpc":"2.0","id":)") + id + R"(,"method":"ping"})";
        const IncomingMessage message = classify(text.c_str());
        EXPECT_EQ(message.kind, Kind::invalid) << id;
        EXPECT_TRUE(message.id.is_null()) << id;
        EXPECT_EQ(message.problem, "\"id\" must be a string or an integer");
    }
}

TEST(JSONRPCTest, WithoutAnIdItIsANotification) {
    const IncomingMessage message =
        classify(R"({"jsonrpc":"2.0","method":"notifications/initialized","params":{}})");
    EXPECT_EQ(message.kind, Kind::notification);
    EXPECT_EQ(message.params, JSON::object());
}

TEST(JSONRPCTest, RepliesToUsAreResponses) {
    EXPECT_EQ(classify(R"({"jsonrpc":"2.0","id":1,"result":{}})").kind, Kind::response);
    EXPECT_EQ(classify(R"({"jsonrpc":"2.0","id":null,"error":{"code":1,"message":"x"}})").kind,
              Kind::response);
}

TEST(JSONRPCTest, MalformedMessagesSayWhy) {
    const auto problem = [](const char* text) {
        const IncomingMessage message = classify(text);
        EXPECT_EQ(message.kind, Kind::invalid) << text;
        return message.problem;
    };
    EXPECT_EQ(problem("[]"), "a message must be a JSON object");
    EXPECT_EQ(problem("42"), "a message must be a JSON object");
    EXPECT_EQ(problem(R"({"id":1,"method":"ping"})"), "\"jsonrpc\" must be \"2.0\"");
    EXPECT_EQ(problem(R"({"jsonrpc":"1.0","id":1,"method":"ping"})"), "\"jsonrpc\" must be \"2.0\"");
    EXPECT_EQ(problem(R"({"jsonrpc":2.0,"id":1,"method":"ping"})"), "\"jsonrpc\" must be \"2.0\"");
    EXPECT_EQ(problem(R"({"jsonrpc":"2.0","id":1})"), "\"method\" is missing");
    EXPECT_EQ(problem(R"({"jsonrpc":"2.0","id":1,"method":7})"), "\"method\" must be a string");
    EXPECT_EQ(problem(R"({"jsonrpc":"2.0","id":1,"method":"ping","params":"x"})"),
              "\"params\" must be an object");
    // Without a usable id, still invalid rather than a silent notification.
    EXPECT_EQ(problem(R"({"jsonrpc":"2.0","method":1,"params":"bar"})"), "\"method\" must be a string");
}

TEST(JSONRPCTest, TheIdOfAMalformedRequestIsKeptWhenUsable) {
    EXPECT_EQ(classify(R"({"jsonrpc":"1.0","id":"a","method":"ping"})").id, "a");
    EXPECT_EQ(classify(R"({"jsonrpc":"2.0","id":3,"method":"x","params":1})").id, 3);
}

TEST(JSONRPCTest, ArrayParamsAreLeftToTheMethod) {
    const IncomingMessage message = classify(R"({"jsonrpc":"2.0","id":1,"method":"ping","params":[1]})");
    EXPECT_EQ(message.kind, Kind::request);
    EXPECT_EQ(message.params, JSON::parse("[1]"));
}

TEST(JSONRPCTest, ResponsesOnTheWire) {
    EXPECT_EQ(encodeMessage(makeResultResponse("a/b", {{"x", "é\nz"}})),
              R"({"id":"a/b","jsonrpc":"2.0","result":{"x":"é\nz"}})");
    EXPECT_EQ(encodeMessage(makeErrorResponse(nullptr, ErrorCode::parseError, "Parse error")),
              R"({"error":{"code":-32700,"message":"Parse error"},"id":null,"jsonrpc":"2.0"})");
    EXPECT_EQ(static_cast<int>(ErrorCode::invalidRequest), -32600);
    EXPECT_EQ(static_cast<int>(ErrorCode::methodNotFound), -32601);
    EXPECT_EQ(static_cast<int>(ErrorCode::invalidParams), -32602);
    EXPECT_EQ(static_cast<int>(ErrorCode::internalError), -32603);
}
