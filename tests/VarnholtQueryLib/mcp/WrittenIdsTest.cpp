#include "mcp/WrittenIds.h"

#include <gtest/gtest.h>

using namespace VarnholtQueryLib::MCP;

using Ids = std::vector<std::optional<std::string>>;

TEST(WrittenIdsTest, TheNumberTextOfAMessagesId) {
    EXPECT_EQ(writtenNumberIds(R"({"jsonrpc":"2.0","id":1e2,"method":"ping"})"), (Ids{"1e2"}));
    EXPECT_EQ(writtenNumberIds(R"({"id":2.0})"), (Ids{"2.0"}));
    EXPECT_EQ(writtenNumberIds(R"({"id": 18446744073709551616 })"), (Ids{"18446744073709551616"}));
}

TEST(WrittenIdsTest, OtherIdsAndNestedIdsAreNotTaken) {
    EXPECT_EQ(writtenNumberIds(R"({"id":"1e2"})"), (Ids{std::nullopt}));
    EXPECT_EQ(writtenNumberIds(R"({"id":7})"), (Ids{std::nullopt}));
    EXPECT_EQ(writtenNumberIds(R"({"params":{"id":1.5},"method":"x"})"), (Ids{std::nullopt}));
    EXPECT_EQ(writtenNumberIds(R"({"params":{"id":1.5},"id":2.5})"), (Ids{"2.5"}));
    EXPECT_EQ(writtenNumberIds(R"({"id":[1.5]})"), (Ids{std::nullopt}));
}

TEST(WrittenIdsTest, OneEntryPerElementOfABatch) {
    EXPECT_EQ(writtenNumberIds(R"([{"id":1.0},7,{"method":"n"},[1.5],{"id":"a"},{"id":3e0,"x":{"id":9.5}}])"),
              (Ids{"1.0", std::nullopt, std::nullopt, std::nullopt, std::nullopt, "3e0"}));
}

TEST(WrittenIdsTest, NothingForOtherLines) {
    EXPECT_TRUE(writtenNumberIds("1.5").empty());
    EXPECT_TRUE(writtenNumberIds(R"({"id":1.5)").empty());
    EXPECT_TRUE(writtenNumberIds("garbage").empty());
}
