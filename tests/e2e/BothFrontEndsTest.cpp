// The command line and the MCP server take their arguments by one set of
// rules: a value one front end brings within bounds, the other brings within
// the same bounds, and what one refuses the other refuses in the same words.

#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "FixtureDatabase.h"
#include "JSONValueDifference.h"
#include "MCPClientSession.h"
#include "TemporaryHome.h"

namespace both_front_ends_test {

using namespace VarnholtTestSupport;
using nlohmann::json;

namespace {

// 150 observations in the last hour before 2026-04-01T10:00:00Z, each
// mentioning its own tool and matching "invoice": more entities than the
// default limit of 100, fewer than the largest of 500.
constexpr const char* kFixture = R"SQL(
WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 150)
INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at)
SELECT printf('O-%03d', i), 'visual', 1775037600.0 - 20 * i, 'Reviewing invoice ' || i, '["Mail"]',
       '2026-04-01T09:00:00Z'
FROM n;
INSERT INTO observation_entities (entity_id, observation_id, entity_kind, entity_value, confidence, created_at)
SELECT 'E-' || id, id, 'software_tool', 'tool ' || substr(id, 3), 0.9, 0 FROM observations;
)SQL";

InvocationOptions frozen() {
    InvocationOptions options;
    options.timeZone = "Europe/Berlin";
    options.frozenTime = "2026-04-01 10:00:00";
    return options;
}

class BothFrontEndsTest : public ::testing::Test {
protected:
    void SetUp() override {
        home_.varnholtDirectory();
        createFixtureDatabase(home_.databasePath(), kFixture);
    }

    // What the command line printed, parsed; null when it printed no JSON.
    json commandLine(const std::vector<std::string>& arguments) const {
        const ProcessResult result = home_.run(arguments, frozen());
        EXPECT_EQ(result.standardError, "") << arguments[0];
        return json::parse(result.standardOutput, nullptr, false);
    }

    // The structured result of a tool call, after checking that its text is
    // the same value.
    json toolCall(MCPClientSession& server, const std::string& tool, const json& arguments) const {
        const json result = server.call(tool, arguments);
        if (!result.is_object()) return json();
        EXPECT_EQ(jsonValueDifference(json::parse(result["content"][0]["text"].get<std::string>()),
                                      result["structuredContent"]),
                  "");
        return result["structuredContent"];
    }

    static std::string errorOf(const json& document) {
        if (!document.is_object() || !document["error"].is_object()) return "<no error>";
        return document["error"]["code"].get<std::string>() + ": " + document["error"]["message"].get<std::string>();
    }

    TemporaryHome home_;
};

}  // namespace

TEST_F(BothFrontEndsTest, ALimitBeyondSixtyFourBitsIsTheLargestOrTheSmallestAllowed) {
    MCPClientSession server(home_, frozen());
    const std::string huge = "100000000000000000000";  // 10^20
    const json hugeNumber = json::parse(huge);
    const json negativeNumber = json::parse("-" + huge);

    const json entities = commandLine({"entities", "--limit", huge});
    EXPECT_EQ(entities["meta"]["returned_entities"], 150);
    EXPECT_EQ(jsonValueDifference(toolCall(server, "entities", {{"limit", hugeNumber}}), entities), "");
    const json oneEntity = commandLine({"entities", "--limit", "-" + huge});
    EXPECT_EQ(oneEntity["meta"]["returned_entities"], 1);
    EXPECT_EQ(jsonValueDifference(toolCall(server, "entities", {{"limit", negativeNumber}}), oneEntity), "");

    for (const std::string& limit : {huge, std::string("9223372036854775808")}) {
        const json search = commandLine({"search", "invoice", "--limit", limit});
        EXPECT_EQ(search["meta"]["query"]["limit"], 200) << limit;
        EXPECT_EQ(search["meta"]["returned_results"], 150) << limit;
        EXPECT_EQ(jsonValueDifference(toolCall(server, "search", {{"keyword", "invoice"}, {"limit", json::parse(limit)}}), search), "");
    }
    const json oneResult = commandLine({"search", "invoice", "--limit", "-" + huge});
    EXPECT_EQ(oneResult["meta"]["query"]["limit"], 1);
    EXPECT_EQ(jsonValueDifference(toolCall(server, "search", {{"keyword", "invoice"}, {"limit", negativeNumber}}), oneResult), "");

    // The timeline keeps the earliest `limit` moments: none at all below one.
    const json noMoments = commandLine({"today", "--limit", "-" + huge});
    EXPECT_EQ(noMoments["meta"]["returned_moments"], 0);
    EXPECT_GT(noMoments["meta"]["total_moments"], 0);
    EXPECT_EQ(jsonValueDifference(toolCall(server, "timeline", {{"limit", negativeNumber}}), noMoments), "");
}

TEST_F(BothFrontEndsTest, AKeywordOfAHundredThousandBytesIsSearched) {
    std::string keyword = "invoice";
    while (keyword.size() + 9 <= 100000) keyword += " ledger42";
    keyword += std::string(100000 - keyword.size(), 'x');
    ASSERT_EQ(keyword.size(), 100000u);
    const json printed = commandLine({"search", keyword, "--limit", "3"});
    EXPECT_EQ(printed["ok"], true) << errorOf(printed);
    EXPECT_EQ(printed["meta"]["returned_results"], 3);
    // Every one of its words required: no row has them all.
    const json everyWord = commandLine({"search", keyword, "--all-words"});
    EXPECT_EQ(everyWord["ok"], true) << errorOf(everyWord);
    EXPECT_EQ(everyWord["meta"]["returned_results"], 0);
    for (const MCPEra era : {MCPEra::handshake, MCPEra::stateless}) {
        MCPClientSession server(home_, frozen(), era);
        EXPECT_EQ(jsonValueDifference(toolCall(server, "search", {{"keyword", keyword}, {"limit", 3}}), printed), "") << nameOf(era);
        EXPECT_EQ(jsonValueDifference(toolCall(server, "search", {{"keyword", keyword}, {"all_words", true}}), everyWord),
                  "")
            << nameOf(era);
    }
}

TEST_F(BothFrontEndsTest, AllWordsAsksTheSameOfBothFrontEnds) {
    // Any word: every invoice; every word: the one invoice numbered 7.
    EXPECT_EQ(commandLine({"search", "invoice 7"})["meta"]["returned_results"], 50);
    const json seventh = commandLine({"search", "invoice 7", "--all-words"});
    ASSERT_EQ(seventh["meta"]["returned_results"], 1) << seventh.dump();
    EXPECT_EQ(seventh["data"]["results"][0]["observation_id"], "O-007");
    EXPECT_EQ(seventh["meta"]["query"]["all_words"], true);
    for (const MCPEra era : {MCPEra::handshake, MCPEra::stateless}) {
        MCPClientSession server(home_, frozen(), era);
        EXPECT_EQ(jsonValueDifference(toolCall(server, "search", {{"keyword", "invoice 7"}, {"all_words", true}}), seventh),
                  "")
            << nameOf(era);
    }
}

TEST_F(BothFrontEndsTest, ALongerKeywordIsRefusedAlikeAndTheServerAnswersOn) {
    const std::string keyword = "invoice " + std::string(99993, 'x');
    ASSERT_EQ(keyword.size(), 100001u);
    const std::string expected =
        "INVALID_TIME_RANGE: The keyword is 100001 bytes long; at most 100000 are allowed. Search for a "
        "shorter excerpt.";
    const ProcessResult refused = home_.run({"search", keyword}, frozen());
    EXPECT_EQ(refused.exitStatus, 1);
    EXPECT_EQ(errorOf(json::parse(refused.standardOutput, nullptr, false)), expected);
    std::string pasted;
    while (pasted.size() < (2u << 20)) pasted += "word" + std::to_string(pasted.size()) + " ";
    for (const MCPEra era : {MCPEra::handshake, MCPEra::stateless}) {
        MCPClientSession server(home_, frozen(), era);
        const json result = server.call("search", {{"keyword", keyword}});
        EXPECT_EQ(result["isError"], true) << nameOf(era);
        EXPECT_EQ(errorOf(result["structuredContent"]), expected) << nameOf(era);

        // Only a tool call can carry megabytes; it is refused before any search.
        EXPECT_EQ(errorOf(server.call("search", {{"keyword", pasted}})["structuredContent"]),
                  "INVALID_TIME_RANGE: The keyword is " + std::to_string(pasted.size()) +
                      " bytes long; at most 100000 are allowed. Search for a shorter excerpt.")
            << nameOf(era);
        EXPECT_TRUE(server.request("tools/list", json::object()).contains("result")) << nameOf(era);
    }
    MCPClientSession handshake(home_, frozen());
    EXPECT_EQ(handshake.request("ping", json::object())["result"], json::object());
}

}  // namespace both_front_ends_test
