#include "mcp/JSONRPC.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace VarnholtQueryLib;
using namespace VarnholtQueryLib::MCP;

namespace {

using Kind = IncomingMessage::Kind;

IncomingMessage classify(const std::string& text, std::optional<std::string> idText = std::nullopt) {
    return classifyMessage(JSON::parse(text), idText);
}

std::string pingWithId(const std::string& id) {
    return R"({"jsonrpc":"2.0","id":)" + id + R"(,"method":"ping"})";
}

}  // namespace

TEST(JSONRPCTest, RequestsKeepTheirIdAsGiven) {
    for (const char* id : {"1", "0", "-7", "18446744073709551615", "\"abc\"", "\"\"", "\"\\u00e9\""}) {
        const IncomingMessage message = classify(pingWithId(id));
        EXPECT_EQ(message.kind, Kind::request) << id;
        EXPECT_EQ(message.id.value(), JSON::parse(id)) << id;
        EXPECT_EQ(message.method, "ping");
        EXPECT_FALSE(message.params.has_value());
    }
}

TEST(JSONRPCTest, IntegersInOtherFormsAreIdsEchoedAsWritten) {
    for (const char* id : {"2.0", "1e2", "-3E0", "18446744073709551616", "123456789012345678901234567890"}) {
        const IncomingMessage message = classify(pingWithId(id), id);
        EXPECT_EQ(message.kind, Kind::request) << id;
        EXPECT_EQ(message.id.wireText(), id);
    }
}

TEST(JSONRPCTest, AFractionalIdIsRefusedButEchoed) {
    for (const char* id : {"1.5", "-0.25", "1e-3"}) {
        const IncomingMessage message = classify(pingWithId(id), id);
        EXPECT_EQ(message.kind, Kind::invalid) << id;
        EXPECT_EQ(message.id.wireText(), id);
        EXPECT_EQ(message.problem, "\"id\" must be a string or an integer");
    }
}

TEST(JSONRPCTest, IdsThatCannotBeEchoedAreAnsweredWithNull) {
    for (const char* id : {"null", "true", "{}", "[1]"}) {
        const IncomingMessage message = classify(pingWithId(id));
        EXPECT_EQ(message.kind, Kind::invalid) << id;
        EXPECT_TRUE(message.id.isNull()) << id;
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
    EXPECT_EQ(classify(R"({"jsonrpc":"1.0","id":"a","method":"ping"})").id.wireText(), "\"a\"");
    EXPECT_EQ(classify(R"({"jsonrpc":"2.0","id":3,"method":"x","params":1})").id.wireText(), "3");
    EXPECT_EQ(classify(R"({"jsonrpc":"1.0","id":1e2,"method":"ping"})", "1e2").id.wireText(), "1e2");
}

TEST(JSONRPCTest, ArrayParamsAreLeftToTheMethod) {
    const IncomingMessage message = classify(R"({"jsonrpc":"2.0","id":1,"method":"ping","params":[1]})");
    EXPECT_EQ(message.kind, Kind::request);
    EXPECT_EQ(message.params, JSON::parse("[1]"));
}

TEST(JSONRPCTest, RepliesOnTheWire) {
    EXPECT_EQ(encodeReply(resultReply(RequestId(JSON("a/b")), {{"x", "é\nz"}})),
              R"({"id":"a/b","jsonrpc":"2.0","result":{"x":"é\nz"}})");
    EXPECT_EQ(encodeReply(errorReply(RequestId(), ErrorCode::parseError, "Parse error")),
              R"({"error":{"code":-32700,"message":"Parse error"},"id":null,"jsonrpc":"2.0"})");
    EXPECT_EQ(encodeReply(errorReply(RequestId::fromNumberText("1e2"), ErrorCode::unsupportedProtocolVersion,
                                     "Unsupported protocol version", JSON{{"requested", "x"}})),
              R"({"error":{"code":-32022,"data":{"requested":"x"},"message":"Unsupported protocol version"},"id":1e2,"jsonrpc":"2.0"})");
    EXPECT_EQ(static_cast<int>(ErrorCode::invalidRequest), -32600);
    EXPECT_EQ(static_cast<int>(ErrorCode::methodNotFound), -32601);
    EXPECT_EQ(static_cast<int>(ErrorCode::invalidParams), -32602);
    EXPECT_EQ(static_cast<int>(ErrorCode::internalError), -32603);
    EXPECT_EQ(static_cast<int>(ErrorCode::resourceNotFound), -32002);
    EXPECT_EQ(static_cast<int>(ErrorCode::missingRequiredClientCapability), -32021);
}

TEST(JSONRPCTest, InvalidParamsSayWhyInOneForm) {
    EXPECT_EQ(encodeReply(errorReply(RequestId(JSON(3)), RPCError::invalidParams("uri must be a string"))),
              R"({"error":{"code":-32602,"message":"Invalid params: uri must be a string"},"id":3,"jsonrpc":"2.0"})");
    EXPECT_EQ(encodeReply(errorReply(RequestId(JSON("r")),
                                     RPCError::invalidParams("bad date", JSON{{"uri", "varnholt://x"}}))),
              R"({"error":{"code":-32602,"data":{"uri":"varnholt://x"},"message":"Invalid params: bad date"},"id":"r","jsonrpc":"2.0"})");
}

TEST(JSONRPCTest, RepliesReadAsAJSONObjectOfOursWould) {
    // The hand-written form must equal what the JSON library writes for the
    // same object, so that replies are the bytes they were before ids were kept.
    for (const JSON& id : {JSON(7), JSON("x\"y"), JSON(-1), JSON(18446744073709551615ull)}) {
        const JSON result = {{"b", 1}, {"a", {{"text", "é/\u0001"}}}};
        EXPECT_EQ(encodeReply(resultReply(RequestId(id), result)),
                  (JSON{{"jsonrpc", "2.0"}, {"id", id}, {"result", result}}).dump());
        const Reply error = errorReply(RequestId(id), ErrorCode::invalidParams, "no", JSON{{"uri", "u"}});
        EXPECT_EQ(encodeReply(error), (JSON{{"jsonrpc", "2.0"}, {"id", id}, {"error", error.error}}).dump());
    }
}

TEST(JSONRPCTest, NumbersOnTheWireAreWrittenAsInThePrintedDocuments) {
    // A whole double is the same integer here as in the text varnholt-query
    // prints, so that a result's structured content and its text agree.
    const JSON result = {{"idle_seconds", 300.0}, {"timestamp", 1775037600.25}, {"count", 3}, {"nan", std::nan("")}};
    EXPECT_EQ(encodeReply(resultReply(RequestId(JSON(1)), result)),
              R"({"id":1,"jsonrpc":"2.0","result":{"count":3,"idle_seconds":300,"nan":null,"timestamp":1775037600.25}})");
    // Text that is not UTF-8 does not cost the reply.
    EXPECT_EQ(encodeReply(resultReply(RequestId(JSON(2)), {{"text", std::string("caf\xe9")}})),
              "{\"id\":2,\"jsonrpc\":\"2.0\",\"result\":{\"text\":\"caf\xef\xbf\xbd\"}}");
}
