#include "cli/CommandArguments.h"

#include <gtest/gtest.h>

using namespace VarnholtQueryLib;

namespace {

CommandArguments preprocess(std::vector<std::string> words) {
    words.insert(words.begin(), "varnholt-query");
    return CommandArguments::fromProcessArguments(words);
}

using Words = std::vector<std::string>;

}  // namespace

TEST(CommandArgumentsTest, DropsTheProgramName) {
    EXPECT_EQ(preprocess({"today", "--json"}).args, (Words{"today", "--json"}));
    EXPECT_TRUE(CommandArguments::fromProcessArguments({}).args.empty());
}

TEST(CommandArgumentsTest, PositionalSkipsFlagsAndTheirValues) {
    EXPECT_EQ(preprocess({"search", "invoice", "--app", "Mail", "--latest", "extra"}).positional,
              (Words{"search", "invoice", "extra"}));
    // A value-taking flag swallows the next argument even when it looks like a flag.
    EXPECT_EQ(preprocess({"recent", "--since", "--images", "word"}).positional, (Words{"recent", "word"}));
    EXPECT_EQ(preprocess({"-h", "status", "-v"}).positional, (Words{"status"}));
    // A single dash word is not a flag.
    EXPECT_EQ(preprocess({"-x", "today"}).positional, (Words{"-x", "today"}));
    // A trailing value-taking flag has nothing to swallow.
    EXPECT_EQ(preprocess({"entities", "--kind"}).positional, (Words{"entities"}));
}

TEST(CommandArgumentsTest, SwitchesArePresenceChecks) {
    const auto arguments = preprocess({"today", "--compact", "--json"});
    EXPECT_TRUE(arguments.compactRequested);
    EXPECT_FALSE(arguments.fullRequested);
    EXPECT_TRUE(arguments.jsonFlag);
    EXPECT_TRUE(preprocess({"--full"}).fullRequested);
}

TEST(CommandArgumentsTest, LimitIsAWholeDecimalAfterTheFirstLimitFlag) {
    EXPECT_EQ(preprocess({"--limit", "5"}).limit, 5);
    EXPECT_EQ(preprocess({"--limit", "+7"}).limit, 7);
    EXPECT_EQ(preprocess({"--limit", "-3"}).limit, -3);
    EXPECT_EQ(preprocess({"--limit", "9223372036854775807"}).limit, INT64_MAX);
    EXPECT_EQ(preprocess({"--limit", "-9223372036854775808"}).limit, INT64_MIN);
    // Beyond 64 bits: the nearest 64-bit value, which the commands clamp.
    EXPECT_EQ(preprocess({"--limit", "9223372036854775808"}).limit, INT64_MAX);
    EXPECT_EQ(preprocess({"--limit", "+100000000000000000000"}).limit, INT64_MAX);
    EXPECT_EQ(preprocess({"--limit", "-9223372036854775809"}).limit, INT64_MIN);
    EXPECT_FALSE(preprocess({"--limit", "1e20"}).limit.has_value());
    EXPECT_FALSE(preprocess({"--limit", "abc"}).limit.has_value());
    EXPECT_FALSE(preprocess({"--limit", ""}).limit.has_value());
    EXPECT_FALSE(preprocess({"--limit", "1.5"}).limit.has_value());
    EXPECT_FALSE(preprocess({"--limit", " 5"}).limit.has_value());
    EXPECT_FALSE(preprocess({"--limit", "+"}).limit.has_value());
    EXPECT_FALSE(preprocess({"--limit"}).limit.has_value());
    EXPECT_FALSE(preprocess({"today"}).limit.has_value());
    // Only the first --limit counts.
    EXPECT_FALSE(preprocess({"--limit", "x", "--limit", "4"}).limit.has_value());
}

TEST(CommandArgumentsTest, InvalidUTF8IsRepaired) {
    EXPECT_EQ(preprocess({"search", "x\xc0", "Grüße"}).args, (Words{"search", "x\uFFFD", "Grüße"}));
}
