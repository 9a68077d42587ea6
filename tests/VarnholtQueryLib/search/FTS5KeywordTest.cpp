#include "search/FTS5Keyword.h"

#include <string>

#include <gtest/gtest.h>

namespace VarnholtQueryLib {
namespace {

using FTS5Keyword::RepeatedTerms;

std::string literal(const std::string& keyword) { return FTS5Keyword::literal(keyword); }

// ---------------------------------------------------------------------------
// The literal form: what the user typed, word by word, as phrases.

TEST(FTS5KeywordTest, OrdinaryWordsThatAreFTS5SyntaxBecomePhrases) {
    EXPECT_EQ(literal("node.js"), "\"node.js\"");
    EXPECT_EQ(literal("feature-flag"), "\"feature-flag\"");
    EXPECT_EQ(literal("C++"), "\"C++\"");
    EXPECT_EQ(literal("it's"), "\"it's\"");
    EXPECT_EQ(literal("TypeError: x"), "\"TypeError:\" OR \"x\"");
    EXPECT_EQ(literal("localhost:3000"), "\"localhost:3000\"");
}

TEST(FTS5KeywordTest, QuotesAreDroppedButStillMakePhrases) {
    EXPECT_EQ(literal("\"quarterly invoice\" budget"), "\"quarterly invoice\" OR \"budget\"");
    EXPECT_EQ(literal("say \"hello world"), "\"say\" OR \"hello world\"");
    // A closing quote ends its term, even inside a word.
    EXPECT_EQ(literal("ab\"c d\"ef"), "\"abc d\" OR \"ef\"");
    EXPECT_EQ(literal("it\"s"), "\"its\"");
}

TEST(FTS5KeywordTest, TermsAreTrimmedOfBlanksAndEmptyOnesLeftOut) {
    EXPECT_EQ(literal("\"  spaced out\t\" x"), "\"spaced out\" OR \"x\"");
    EXPECT_EQ(literal("\"\" x \" \""), "\"x\"");
    // Newlines are not blanks: a phrase keeps them.
    EXPECT_EQ(literal("\"a\nb\""), "\"a\nb\"");
}

TEST(FTS5KeywordTest, NothingLeftIsEmpty) {
    EXPECT_EQ(literal(""), "");
    EXPECT_EQ(literal("   "), "");
    EXPECT_EQ(literal("\""), "");
    EXPECT_EQ(literal("\"\"\"\""), "");
}

TEST(FTS5KeywordTest, OperatorsAreWordsLiterally) {
    EXPECT_EQ(literal("invoice AND budget-2026"), "\"invoice\" OR \"AND\" OR \"budget-2026\"");
    EXPECT_EQ(literal("NEAR(a b)"), "\"NEAR(a\" OR \"b)\"");
}

// ---------------------------------------------------------------------------
// Every term required: the literal terms, each quoted, side by side.

TEST(FTS5KeywordTest, AllWordsQuotesEveryTermAndRequiresEach) {
    EXPECT_EQ(FTS5Keyword::allWords("Swift compiler error generics"),
              "\"Swift\" \"compiler\" \"error\" \"generics\"");
    EXPECT_EQ(FTS5Keyword::allWords("invoice"), "\"invoice\"");
    EXPECT_EQ(FTS5Keyword::allWords("\"unit tests\" parser"), "\"unit tests\" \"parser\"");
    EXPECT_EQ(FTS5Keyword::allWords("say \"hello world"), "\"say\" \"hello world\"");
}

TEST(FTS5KeywordTest, AllWordsReadsNothingAsFTS5Syntax) {
    EXPECT_EQ(FTS5Keyword::allWords("invoice OR budget NOT draft"),
              "\"invoice\" \"OR\" \"budget\" \"NOT\" \"draft\"");
    EXPECT_EQ(FTS5Keyword::allWords("deploy* NEAR/3 node.js C++ -"),
              "\"deploy*\" \"NEAR/3\" \"node.js\" \"C++\" \"-\"");
    EXPECT_EQ(FTS5Keyword::allWords("vlm_description:secret (a)"), "\"vlm_description:secret\" \"(a)\"");
}

TEST(FTS5KeywordTest, AllWordsOfNothingIsEmpty) {
    EXPECT_EQ(FTS5Keyword::allWords(""), "");
    EXPECT_EQ(FTS5Keyword::allWords(" \t "), "");
    EXPECT_EQ(FTS5Keyword::allWords("\"\""), "");
}

TEST(FTS5KeywordTest, AllWordsDropsRepeatsOnlyWhenAsked) {
    EXPECT_EQ(FTS5Keyword::allWords("error at error"), "\"error\" \"at\" \"error\"");
    EXPECT_EQ(FTS5Keyword::allWords("error at error", RepeatedTerms::drop), "\"error\" \"at\"");
}

// ---------------------------------------------------------------------------
// Repeated terms.

TEST(FTS5KeywordTest, RepeatsAreKeptUnlessDropped) {
    EXPECT_EQ(FTS5Keyword::transformed("error at error at line"),
              "error OR at OR error OR at OR line");
    EXPECT_EQ(FTS5Keyword::transformed("error at error at line", RepeatedTerms::drop),
              "error OR at OR line");
    EXPECT_EQ(FTS5Keyword::transformed("\"a b\" c \"a b\"", RepeatedTerms::drop), "\"a b\" OR c");
    EXPECT_EQ(FTS5Keyword::literal("x.y z x.y", RepeatedTerms::keep), "\"x.y\" OR \"z\" OR \"x.y\"");
    EXPECT_EQ(FTS5Keyword::literal("x.y z x.y", RepeatedTerms::drop), "\"x.y\" OR \"z\"");
}

TEST(FTS5KeywordTest, RepeatsStayWhereTermsCarryFTS5Syntax) {
    // Parentheses, prefixes and column filters can reach across the " OR "
    // that joins the terms, so the alternatives are not one flat OR.
    EXPECT_EQ(FTS5Keyword::transformed("(a b (a b)", RepeatedTerms::drop), "(a OR b OR (a OR b)");
    EXPECT_EQ(FTS5Keyword::transformed("inv* x inv*", RepeatedTerms::drop), "inv* OR x OR inv*");
    EXPECT_EQ(FTS5Keyword::transformed("a", RepeatedTerms::drop), "a");
    EXPECT_EQ(FTS5Keyword::transformed("a AND a", RepeatedTerms::drop), "a AND a");
}

TEST(FTS5KeywordTest, BareWordsAreASCIILettersDigitsUnderscoreAndAnythingBeyondASCII) {
    EXPECT_TRUE(FTS5Keyword::isBareWord("deploy_v2"));
    EXPECT_TRUE(FTS5Keyword::isBareWord("Grüße"));
    EXPECT_TRUE(FTS5Keyword::isBareWord("日本語"));
    EXPECT_TRUE(FTS5Keyword::isBareWord("OR"));  // an operator is a bare word too
    EXPECT_FALSE(FTS5Keyword::isBareWord(""));
    EXPECT_FALSE(FTS5Keyword::isBareWord("node.js"));
    EXPECT_FALSE(FTS5Keyword::isBareWord("feature-flag"));
    EXPECT_FALSE(FTS5Keyword::isBareWord("inv*"));
    EXPECT_FALSE(FTS5Keyword::isBareWord("\"a\""));
    EXPECT_FALSE(FTS5Keyword::isBareWord("a b"));
}

TEST(FTS5KeywordTest, RepeatsDifferingInCaseAreDifferentTerms) {
    EXPECT_EQ(FTS5Keyword::transformed("Error error", RepeatedTerms::drop), "Error OR error");
}

TEST(FTS5KeywordTest, TenThousandWordsTranslateWordByWord) {
    std::string keyword, expected, literalExpected, deduplicated;
    for (int i = 0; i < 10000; ++i) {
        const std::string word = "w" + std::to_string(i % 100);
        keyword += word + " ";
        expected += (i ? " OR " : "") + word;
        literalExpected += std::string(i ? " OR " : "") + "\"" + word + "\"";
        if (i < 100) deduplicated += (i ? " OR " : "") + word;
    }
    EXPECT_EQ(FTS5Keyword::transformed(keyword), expected);
    EXPECT_EQ(FTS5Keyword::transformed(keyword, RepeatedTerms::drop), deduplicated);
    EXPECT_EQ(FTS5Keyword::literal(keyword), literalExpected);
}

}  // namespace
}  // namespace VarnholtQueryLib
