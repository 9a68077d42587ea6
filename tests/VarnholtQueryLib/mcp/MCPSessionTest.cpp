#include "mcp/MCPSession.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <vector>

#include "cli/BuildMetadata.h"
#include "FakeDocumentSource.h"
#include "mcp/ServerIdentity.h"
#include "mcp/ToolCatalog.h"

using namespace VarnholtQueryLib;
using namespace VarnholtQueryLib::MCP;

namespace {

std::string initializeLine(const std::string& revision, const std::string& id = "1") {
    return R"({"jsonrpc":"2.0","id":)" + id + R"(,"method":"initialize","params":{"protocolVersion":")" +
           revision + R"(","capabilities":{},"clientInfo":{"name":"test","version":"1"}}})";
}

class MCPSessionTest : public ::testing::Test {
protected:
    // The reply to `line` as JSON; null when there is none.
    JSON send(const std::string& line) {
        const auto reply = session_.replyTo(line);
        if (!reply) return nullptr;
        EXPECT_EQ(reply->find('\n'), std::string::npos) << *reply;
        return JSON::parse(*reply);
    }

    void initialize(const std::string& revision = "2025-06-18") {
        ASSERT_TRUE(send(initializeLine(revision)).contains("result"));
        EXPECT_TRUE(send(R"({"jsonrpc":"2.0","method":"notifications/initialized"})").is_null());
    }

    // "code message" of an error reply, and its id.
    static std::string errorOf(const JSON& reply) {
        if (!reply.contains("error")) return "<no error: " + reply.dump() + ">";
        return std::to_string(reply["error"]["code"].get<int>()) + " " +
               reply["error"]["message"].get<std::string>();
    }

    JSON call(const std::string& arguments) {
        return send(R"({"jsonrpc":"2.0","id":9,"method":"tools/call","params":{"name":"search","arguments":)" +
                    arguments + "}}");
    }

    FakeDocumentSource documents_;
    MCPSession session_{documents_};
};

}  // namespace

TEST_F(MCPSessionTest, InitializeAgreesOnTheClientsRevision) {
    const JSON reply = send(initializeLine("2025-03-26", "\"init\""));
    EXPECT_EQ(reply["id"], "init");
    EXPECT_EQ(reply["jsonrpc"], "2.0");
    const JSON& result = reply["result"];
    EXPECT_EQ(result["protocolVersion"], "2025-03-26");
    EXPECT_EQ(result["capabilities"], JSON::parse(R"({"tools":{"listChanged":false},"completions":{},
        "prompts":{"listChanged":false},"resources":{"listChanged":false,"subscribe":false}})"));
    EXPECT_EQ(result["serverInfo"], (JSON{{"name", "varnholt-mcp"}, {"version", BuildMetadata::version}}));
    EXPECT_TRUE(result["instructions"].is_string());
    EXPECT_EQ(session_.revision(), ProtocolRevision::r2025_03_26);
}

TEST_F(MCPSessionTest, InitializeOffersTheLatestForAnUnknownRevision) {
    const JSON result = send(initializeLine("2099-01-01"))["result"];
    EXPECT_EQ(result["protocolVersion"], "2025-11-25");
    EXPECT_EQ(result["serverInfo"]["title"], "Varnholt work memory");
}

TEST_F(MCPSessionTest, InitializeChecksItsParams) {
    EXPECT_EQ(errorOf(send(R"({"jsonrpc":"2.0","id":1,"method":"initialize"})")),
              "-32602 Invalid params: protocolVersion must be a string");
    EXPECT_EQ(errorOf(send(R"({"jsonrpc":"2.0","id":1,"method":"initialize","params":{"protocolVersion":1}})")),
              "-32602 Invalid params: protocolVersion must be a string");
    EXPECT_EQ(errorOf(send(R"({"jsonrpc":"2.0","id":1,"method":"initialize","params":{"protocolVersion":"2025-06-18"}})")),
              "-32602 Invalid params: capabilities must be an object");
    EXPECT_EQ(errorOf(send(R"({"jsonrpc":"2.0","id":1,"method":"initialize","params":{"protocolVersion":"2025-06-18","capabilities":{},"clientInfo":{"name":"x"}}})")),
              "-32602 Invalid params: clientInfo must be an object with a name and a version");
    EXPECT_EQ(errorOf(send(R"({"jsonrpc":"2.0","id":1,"method":"initialize","params":[]})")),
              "-32602 Invalid params: params must be an object");
    EXPECT_FALSE(session_.revision().has_value());
}

TEST_F(MCPSessionTest, OnlyPingBeforeInitialize) {
    EXPECT_EQ(send(R"({"jsonrpc":"2.0","id":"p","method":"ping"})"),
              JSON::parse(R"({"jsonrpc":"2.0","id":"p","result":{}})"));
    for (const char* method : {"tools/list", "tools/call"}) {
        const JSON reply = send(std::string(R"({"jsonrpc":"2.0","id":2,"method":")") + method + "\"}");
        EXPECT_EQ(errorOf(reply), "-32600 Invalid Request: the session is not initialized; send initialize first");
        EXPECT_EQ(reply["id"], 2);
    }
    EXPECT_TRUE(documents_.commands.empty());
}

TEST_F(MCPSessionTest, InitializeOnlyOnce) {
    initialize();
    EXPECT_EQ(errorOf(send(initializeLine("2025-03-26", "5"))), "-32600 Invalid Request: the session is already initialized");
    EXPECT_EQ(session_.revision(), ProtocolRevision::r2025_06_18);
}

TEST_F(MCPSessionTest, ToolsListFollowsTheRevision) {
    initialize("2025-06-18");
    const JSON reply = send(R"({"jsonrpc":"2.0","id":3,"method":"tools/list","params":{"_meta":{"x":1}}})");
    EXPECT_EQ(reply["result"], (JSON{{"tools", listTools(ProtocolRevision::r2025_06_18)}}));
    EXPECT_EQ(errorOf(send(R"({"jsonrpc":"2.0","id":3,"method":"tools/list","params":{"cursor":"next"}})")),
              "-32602 Invalid params: unknown cursor");
    // A null cursor asks for the first page, like none at all.
    EXPECT_EQ(send(R"({"jsonrpc":"2.0","id":3,"method":"tools/list","params":{"cursor":null}})")["result"],
              reply["result"]);
}

TEST_F(MCPSessionTest, TheOldestRevisionHasNoCompletionsCapability) {
    const JSON result = send(initializeLine("2024-11-05"))["result"];
    EXPECT_FALSE(result["capabilities"].contains("completions"));
    EXPECT_TRUE(result["capabilities"].contains("resources"));
    EXPECT_FALSE(result["serverInfo"].contains("title"));
}

TEST_F(MCPSessionTest, AToolCallAnswersWithTheDocumentTwice) {
    initialize("2025-06-18");
    documents_.fixedAnswer = ToolAnswer{JSON{{"ok", true}, {"path", "/a/b"}, {"n", 1.5}}, false};
    const JSON reply = call(R"({"keyword":"x"})");
    EXPECT_EQ(documents_.described(), std::vector<std::string>{"search x"});
    EXPECT_EQ(reply["id"], 9);
    const JSON& result = reply["result"];
    EXPECT_EQ(result["isError"], false);
    EXPECT_EQ(result["structuredContent"], documents_.fixedAnswer->document);
    ASSERT_EQ(result["content"].size(), 1u);
    EXPECT_EQ(result["content"][0]["type"], "text");
    // The same value on one line, as the structured content is written.
    EXPECT_EQ(result["content"][0]["text"], R"({"n":1.5,"ok":true,"path":"/a/b"})");
}

TEST_F(MCPSessionTest, AFailedToolIsAResultNotAProtocolError) {
    initialize("2025-11-25");
    // A search without a keyword, refused as the command line refuses it.
    const JSON result = call("{}")["result"];
    EXPECT_EQ(result["isError"], true);
    EXPECT_EQ(result["structuredContent"]["error"].get<std::string>().rfind("Missing keyword. Usage: ", 0), 0u)
        << result.dump();
    EXPECT_TRUE(documents_.commands.empty());
}

TEST_F(MCPSessionTest, OlderRevisionsGetTextOnly) {
    initialize("2025-03-26");
    const JSON result = call("{}")["result"];
    EXPECT_FALSE(result.contains("structuredContent"));
    EXPECT_EQ(result["content"][0]["type"], "text");
}

TEST_F(MCPSessionTest, ToolCallParamsAreChecked) {
    initialize();
    EXPECT_EQ(errorOf(send(R"({"jsonrpc":"2.0","id":4,"method":"tools/call","params":{"name":"frobnicate"}})")),
              "-32602 Invalid params: Unknown tool: frobnicate");
    EXPECT_EQ(errorOf(send(R"({"jsonrpc":"2.0","id":4,"method":"tools/call","params":{}})")),
              "-32602 Invalid params: name must be a string");
    EXPECT_EQ(errorOf(send(R"({"jsonrpc":"2.0","id":4,"method":"tools/call","params":{"name":"status","arguments":[]}})")),
              "-32602 Invalid params: arguments must be an object");
    EXPECT_TRUE(documents_.commands.empty());
    // No arguments, or null, is an empty object.
    send(R"({"jsonrpc":"2.0","id":4,"method":"tools/call","params":{"name":"status"}})");
    send(R"({"jsonrpc":"2.0","id":4,"method":"tools/call","params":{"name":"status","arguments":null}})");
    EXPECT_EQ(documents_.described(), (std::vector<std::string>{"status", "status"}));
}

TEST_F(MCPSessionTest, UnknownMethodsAreNotFound) {
    initialize();
    for (const char* method : {"logging/setLevel", "resources/subscribe", "resources/unsubscribe", "tasks/list",
                               "sampling/createMessage", ""}) {
        const JSON reply = send(std::string(R"({"jsonrpc":"2.0","id":"m","method":")") + method + "\"}");
        EXPECT_EQ(errorOf(reply), std::string("-32601 Method not found: ") + method);
        EXPECT_EQ(reply["id"], "m");
    }
}

TEST_F(MCPSessionTest, NotificationsAndResponsesAreNeverAnswered) {
    for (const char* line : {R"({"jsonrpc":"2.0","method":"notifications/initialized"})",
                             R"({"jsonrpc":"2.0","method":"notifications/cancelled","params":{"requestId":1}})",
                             R"({"jsonrpc":"2.0","method":"no/such/notification"})",
                             R"({"jsonrpc":"2.0","method":"tools/call","params":{"name":"status"}})",
                             R"({"jsonrpc":"2.0","id":1,"result":{}})", "", "   \r"}) {
        EXPECT_TRUE(send(line).is_null()) << line;
    }
    EXPECT_TRUE(documents_.commands.empty());
}

TEST_F(MCPSessionTest, ParseErrorsAnswerWithNullId) {
    for (const std::string& line : {std::string("garbage"), std::string(R"({"jsonrpc":"2.0","id":1)"),
                                   std::string("{\"jsonrpc\":\"2.0\",\"id\":1,\"method\":\"p\xff\"}"),
                                   std::string(R"({"jsonrpc":"2.0","id":1,"method":"\ud800"})"),
                                   std::string(R"({"a":1} {"b":2})")}) {
        const JSON reply = send(line);
        EXPECT_EQ(errorOf(reply), "-32700 Parse error: the line is not a JSON text") << line;
        EXPECT_TRUE(reply["id"].is_null());
    }
}

TEST_F(MCPSessionTest, InvalidRequestsEchoAUsableId) {
    EXPECT_EQ(send(R"({"jsonrpc":"2.0","id":null,"method":"ping"})"),
              JSON::parse(R"({"jsonrpc":"2.0","id":null,"error":{"code":-32600,
                  "message":"Invalid Request: \"id\" must be a string or an integer"}})"));
    EXPECT_EQ(send(R"({"jsonrpc":"1.0","id":"x","method":"ping"})")["id"], "x");
    EXPECT_EQ(errorOf(send("42")), "-32600 Invalid Request: a message must be a JSON object");
}

TEST_F(MCPSessionTest, BatchesOnlyIn20250326) {
    const std::string batch = R"([{"jsonrpc":"2.0","id":1,"method":"ping"}])";
    EXPECT_EQ(errorOf(send(batch)), "-32600 Invalid Request: batches are not part of this protocol revision");
    initialize("2025-06-18");
    EXPECT_EQ(errorOf(send(batch)), "-32600 Invalid Request: batches are not part of this protocol revision");
}

TEST_F(MCPSessionTest, ABatchGetsABatchOfReplies) {
    initialize("2025-03-26");
    const JSON replies = send(R"([{"jsonrpc":"2.0","id":1,"method":"ping"},
        {"jsonrpc":"2.0","method":"notifications/initialized"},
        {"jsonrpc":"2.0","id":2,"method":"tools/call","params":{"name":"status"}},
        {"jsonrpc":"2.0","id":3,"method":"nope"},
        7,
        {"jsonrpc":"2.0","id":4,"method":"initialize","params":{}}])");
    ASSERT_TRUE(replies.is_array());
    ASSERT_EQ(replies.size(), 5u);
    EXPECT_EQ(replies[0]["result"], JSON::object());
    EXPECT_EQ(replies[1]["result"]["isError"], false);
    EXPECT_EQ(errorOf(replies[2]), "-32601 Method not found: nope");
    EXPECT_EQ(errorOf(replies[3]), "-32600 Invalid Request: a message must be a JSON object");
    EXPECT_EQ(errorOf(replies[4]), "-32600 Invalid Request: initialize must not be part of a batch");
    EXPECT_TRUE(send(R"([{"jsonrpc":"2.0","method":"notifications/initialized"}])").is_null());
    EXPECT_EQ(errorOf(send("[]")), "-32600 Invalid Request: an empty batch");
}

TEST_F(MCPSessionTest, DeepNestingIsRefusedBeforeParsing) {
    initialize("2025-06-18");
    const std::string deepBatch = std::string(100000, '[') + std::string(100000, ']');
    EXPECT_EQ(errorOf(send(deepBatch)), "-32600 Invalid Request: a message may nest at most 64 levels");
    const std::string deepParams = R"({"jsonrpc":"2.0","id":1,"method":"ping","params":{"a":)" +
                                   std::string(100000, '[') + std::string(100000, ']') + "}}";
    EXPECT_TRUE(send(deepParams)["id"].is_null());
    // Brackets inside strings are text, and 64 levels are fine.
    const std::string brackets = R"({"jsonrpc":"2.0","id":1,"method":"ping","params":{"a":"[[[[\"[[[[)" +
                                 std::string(200, '[') + R"("}})";
    EXPECT_EQ(send(brackets)["result"], JSON::object());
    const std::string deepEnough = R"({"jsonrpc":"2.0","id":1,"method":"ping","params":{"a":)" +
                                   std::string(62, '[') + std::string(62, ']') + "}}";
    EXPECT_EQ(send(deepEnough)["result"], JSON::object());
}

TEST_F(MCPSessionTest, OversizedLinesGetAnErrorWithNullId) {
    const JSON reply = JSON::parse(session_.replyToOversizedLine());
    EXPECT_EQ(errorOf(reply), "-32600 Invalid Request: a message may be at most 4194304 bytes");
    EXPECT_TRUE(reply["id"].is_null());
}

TEST_F(MCPSessionTest, AnUnwritableDocumentIsAnInternalError) {
    initialize();
    documents_.fixedAnswer = ToolAnswer{JSON{{"text", "\xff"}}, false};
    EXPECT_EQ(errorOf(call(R"({"keyword":"x"})")), "-32603 Internal error: Failed to serialize JSON");
}

TEST_F(MCPSessionTest, ABatchIsBounded) {
    initialize("2025-03-26");
    std::string batch = "[";
    for (std::size_t i = 0; i <= MCPSession::kMaxBatchMessages; ++i) {
        batch += (i ? "," : "") + std::string(R"({"jsonrpc":"2.0","id":)") + std::to_string(i) +
                 R"(,"method":"tools/call","params":{"name":"status"}})";
    }
    const JSON refused = send(batch + "]");
    EXPECT_EQ(errorOf(refused), "-32600 Invalid Request: a batch may hold at most 64 messages");
    EXPECT_TRUE(refused["id"].is_null());
    EXPECT_TRUE(documents_.commands.empty());
}

TEST_F(MCPSessionTest, ABatchStopsServingOnceItsRepliesAreTooLarge) {
    initialize("2025-03-26");
    // Each answer takes 9 MiB (as text only in this revision), so the first
    // two pass the bound and the rest are refused unserved.
    documents_.fixedAnswer = ToolAnswer{JSON{{"pad", std::string(9 * 1024 * 1024, 'x')}}, false};
    std::string batch = "[";
    for (int i = 0; i < 5; ++i) {
        batch += (i ? "," : "") + std::string(R"({"jsonrpc":"2.0","id":)") + std::to_string(i) +
                 R"(,"method":"tools/call","params":{"name":"status"}})";
    }
    const JSON replies = send(batch + R"(,{"jsonrpc":"2.0","method":"notifications/x"}])");
    ASSERT_EQ(replies.size(), 5u);
    EXPECT_EQ(documents_.commands.size(), 2u);
    EXPECT_TRUE(replies[1].contains("result"));
    for (int i = 2; i < 5; ++i) {
        EXPECT_EQ(replies[i]["id"], i);
        EXPECT_EQ(errorOf(replies[i]),
                  "-32603 Internal error: the batch's replies passed 16777216 bytes; send this request again on its own");
    }
}

TEST_F(MCPSessionTest, IntegerIdsInAnyFormAreAnsweredWithTheirBytes) {
    initialize("2025-03-26");
    for (const std::string id : {"2.0", "1e2", "18446744073709551616", "-123456789012345678901234567890"}) {
        const auto reply = session_.replyTo(R"({"jsonrpc":"2.0","id":)" + id + R"(,"method":"ping"})");
        ASSERT_TRUE(reply.has_value());
        EXPECT_EQ(*reply, R"({"id":)" + id + R"(,"jsonrpc":"2.0","result":{}})");
    }
    const auto fractional = session_.replyTo(R"({"jsonrpc":"2.0","id":2.5,"method":"ping"})");
    EXPECT_EQ(*fractional,
              R"({"error":{"code":-32600,"message":"Invalid Request: \"id\" must be a string or an integer"},"id":2.5,"jsonrpc":"2.0"})");
    const auto batch = session_.replyTo(
        R"([{"jsonrpc":"2.0","id":1e2,"method":"ping"},{"jsonrpc":"2.0","id":7,"method":"ping"},{"jsonrpc":"2.0","id":3.0,"method":"ping"}])");
    EXPECT_EQ(*batch, R"([{"id":1e2,"jsonrpc":"2.0","result":{}},{"id":7,"jsonrpc":"2.0","result":{}},{"id":3.0,"jsonrpc":"2.0","result":{}}])");
}

namespace {

const std::string kEnvelopeMember =
    R"("_meta":{"io.modelcontextprotocol/protocolVersion":"2026-07-28","io.modelcontextprotocol/clientCapabilities":{}})";

std::string statelessLine(const std::string& id, const std::string& method, const std::string& members = "") {
    return R"({"jsonrpc":"2.0","id":)" + id + R"(,"method":")" + method + R"(","params":{)" + members +
           (members.empty() ? "" : ",") + kEnvelopeMember + "}}";
}

}  // namespace

TEST_F(MCPSessionTest, AStatelessRequestNeedsNoInitialize) {
    const JSON reply = send(statelessLine("1", "tools/call", R"("name":"search","arguments":{"keyword":"x"})"));
    EXPECT_EQ(reply["result"]["structuredContent"], (JSON{{"command", "search x"}}));
    EXPECT_EQ(reply["result"]["resultType"], "complete");
    EXPECT_EQ(documents_.described(), std::vector<std::string>{"search x"});
    EXPECT_FALSE(session_.revision().has_value());
}

TEST_F(MCPSessionTest, DiscoveryThenInitializeFallsBackToTheHandshake) {
    EXPECT_TRUE(send(statelessLine("1", "server/discover")).contains("result"));
    // A client that prefers a handshake revision may still start one.
    const JSON reply = send(initializeLine("2025-06-18", "2"));
    EXPECT_EQ(reply["result"]["protocolVersion"], "2025-06-18");
    EXPECT_FALSE(reply["result"].contains("resultType"));
}

TEST_F(MCPSessionTest, AFailedDiscoveryLeavesInitializeOpen) {
    EXPECT_EQ(errorOf(send(R"({"jsonrpc":"2.0","id":1,"method":"server/discover","params":{}})")),
              "-32602 Invalid params: _meta must be an object");
    EXPECT_EQ(errorOf(send(statelessLine("1", "tools/list").replace(statelessLine("1", "tools/list").find("2026-07-28"), 10,
                                                                   "2099-01-01"))),
              "-32022 Unsupported protocol version");
    EXPECT_EQ(send(initializeLine("2025-11-25"))["result"]["protocolVersion"], "2025-11-25");
}

TEST_F(MCPSessionTest, AfterAStatelessRequestInitializeIsRefused) {
    EXPECT_TRUE(send(statelessLine("1", "tools/list")).contains("result"));
    const JSON refused = send(initializeLine("2025-06-18", "2"));
    EXPECT_EQ(refused["error"], JSON::parse(R"({"code":-32022,"message":"Unsupported protocol version",
        "data":{"supported":["2026-07-28"],"requested":"2025-06-18"}})"));
    EXPECT_EQ(refused["id"], 2);
    EXPECT_FALSE(session_.revision().has_value());
    // With an envelope, initialize is a method the revision does not have.
    EXPECT_EQ(errorOf(send(statelessLine("3", "initialize", R"("protocolVersion":"2025-06-18")"))),
              "-32601 Method not found: initialize");
    // Without a protocol version, still refused with what we serve.
    EXPECT_EQ(send(R"({"jsonrpc":"2.0","id":4,"method":"initialize"})")["error"]["data"],
              JSON::parse(R"({"supported":["2026-07-28"],"requested":null})"));
}

TEST_F(MCPSessionTest, BothErasOnOneLine) {
    initialize("2025-03-26");
    // The handshake session keeps its revision: text only, no resultType.
    const JSON old = call("{}")["result"];
    EXPECT_FALSE(old.contains("structuredContent"));
    EXPECT_FALSE(old.contains("resultType"));
    // A stateless request beside it is served on its own revision.
    const JSON modern = send(statelessLine("\"m\"", "tools/call", R"("name":"status")"))["result"];
    EXPECT_EQ(modern["structuredContent"], (JSON{{"command", "status"}}));
    EXPECT_EQ(modern["resultType"], "complete");
    EXPECT_EQ(modern["_meta"]["io.modelcontextprotocol/serverInfo"], serverInfo(ProtocolRevision::r2026_07_28));
    // And the handshake session is none the wiser.
    EXPECT_EQ(session_.revision(), ProtocolRevision::r2025_03_26);
    EXPECT_FALSE(call("{}")["result"].contains("structuredContent"));
    EXPECT_EQ(errorOf(send(R"({"jsonrpc":"2.0","id":5,"method":"ping","params":{)" + kEnvelopeMember + "}}")),
              "-32601 Method not found: ping");
    EXPECT_EQ(send(R"({"jsonrpc":"2.0","id":6,"method":"ping"})")["result"], JSON::object());
}

TEST_F(MCPSessionTest, StatelessRequestsHoldNoState) {
    // The same request gives the same reply whatever came before it.
    const std::string read = statelessLine("1", "resources/read", R"("uri":"varnholt://status")");
    const auto first = session_.replyTo(read);
    send(initializeLine("2025-06-18", "2"));
    send(statelessLine("3", "tools/call", R"("name":"status")"));
    send(R"({"jsonrpc":"2.0","method":"notifications/initialized"})");
    EXPECT_EQ(session_.replyTo(read), first);
    MCPSession fresh(documents_);
    EXPECT_EQ(fresh.replyTo(read), first);
}

TEST_F(MCPSessionTest, AStatelessRequestCannotBeBatched) {
    initialize("2025-03-26");
    const JSON replies = send("[" + statelessLine("1", "tools/list") + R"(,{"jsonrpc":"2.0","id":2,"method":"ping"}])");
    ASSERT_EQ(replies.size(), 2u);
    EXPECT_EQ(errorOf(replies[0]), "-32600 Invalid Request: a request with an envelope cannot be batched");
    EXPECT_EQ(replies[0]["id"], 1);
    EXPECT_EQ(replies[1]["result"], JSON::object());
    // Outside a 2025-03-26 session no batch at all, envelope or not.
    MCPSession fresh(documents_);
    EXPECT_EQ(JSON::parse(*fresh.replyTo("[" + statelessLine("1", "tools/list") + "]"))["error"]["message"],
              "Invalid Request: batches are not part of this protocol revision");
}

TEST_F(MCPSessionTest, StatelessIdsAreEchoedAsWritten) {
    for (const std::string id : {"2.0", "1e2", "99999999999999999999", "\"x\""}) {
        const auto reply = session_.replyTo(statelessLine(id, "resources/templates/list"));
        ASSERT_TRUE(reply.has_value());
        EXPECT_EQ(reply->substr(0, 6 + id.size() + 1), R"({"id":)" + id + ",") << *reply;
    }
    const auto refused = session_.replyTo(R"({"jsonrpc":"2.0","id":1e2,"method":"server/discover"})");
    EXPECT_EQ(*refused,
              R"({"error":{"code":-32602,"message":"Invalid params: params with _meta are required"},"id":1e2,"jsonrpc":"2.0"})");
}

TEST_F(MCPSessionTest, StatelessNotificationsAreNeverAnswered) {
    EXPECT_TRUE(send(R"({"jsonrpc":"2.0","method":"notifications/cancelled","params":{"requestId":1,)" + kEnvelopeMember + "}}")
                    .is_null());
    EXPECT_TRUE(send(R"({"jsonrpc":"2.0","method":"server/discover"})").is_null());
}

TEST_F(MCPSessionTest, JSONRPCErrorsAreTheSameForStatelessMessages) {
    EXPECT_EQ(errorOf(send(R"({"jsonrpc":"1.0","id":1,"method":"tools/list","params":{)" + kEnvelopeMember + "}}")),
              "-32600 Invalid Request: \"jsonrpc\" must be \"2.0\"");
    EXPECT_EQ(errorOf(send(R"({"jsonrpc":"2.0","id":true,"method":"tools/list","params":{)" + kEnvelopeMember + "}}")),
              "-32600 Invalid Request: \"id\" must be a string or an integer");
    EXPECT_EQ(errorOf(send(statelessLine("1", "tools/list").substr(1))), "-32700 Parse error: the line is not a JSON text");
    // None of these had a valid envelope, so initialize is still open.
    EXPECT_EQ(session_.replyTo(initializeLine("2025-06-18")).value_or("").find("-32022"), std::string::npos);
}

TEST_F(MCPSessionTest, AStatelessRequestThatFailsStillCommitsTheLine) {
    // Its envelope was valid: the client speaks the stateless revision.
    EXPECT_EQ(errorOf(send(statelessLine("2", "tools/call", R"("name":"frobnicate")"))),
              "-32602 Invalid params: Unknown tool: frobnicate");
    EXPECT_EQ(errorOf(send(initializeLine("2025-06-18"))), "-32022 Unsupported protocol version");
    EXPECT_TRUE(documents_.commands.empty());
}

// Every session reads the whole tool list before its first question. The
// reply stays within 12,000 characters with every tool, and until the
// timesheet tool joins the list, room for it is kept.
TEST_F(MCPSessionTest, TheToolListFitsTwelveThousandCharacters) {
    constexpr std::size_t kLongestReply = 12000;
    constexpr std::size_t kTimesheetRoom = 2500;
    const std::size_t room = findTool("timesheet") ? 0 : kTimesheetRoom;
    // Characters, not bytes: every byte but the continuation bytes of UTF-8.
    const auto characters = [](const std::string& text) {
        return static_cast<std::size_t>(std::count_if(
            text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
    };
    const std::string stateless = session_.replyTo(statelessLine("1", "tools/list")).value_or("");
    MCPSession handshake(documents_);
    handshake.replyTo(initializeLine("2025-11-25"));
    const std::string listed =
        handshake.replyTo(R"({"jsonrpc":"2.0","id":2,"method":"tools/list"})").value_or("");
    for (const std::string* reply : {&stateless, &listed}) {
        EXPECT_EQ(JSON::parse(*reply)["result"]["tools"].size(), toolCatalog().size());
        EXPECT_LE(characters(*reply) + room, kLongestReply);
    }
    RecordProperty("tools_list_characters", static_cast<int>(characters(listed)));
    std::cout << "tools/list: " << characters(listed) << " characters (2025-11-25), " << characters(stateless)
              << " (2026-07-28)\n";
}
