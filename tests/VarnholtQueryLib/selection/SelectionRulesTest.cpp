#include "selection/SelectionRules.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace VarnholtQueryLib {
namespace {

MatchTerm word(const std::string& text) { return {text, false}; }
MatchTerm phrase(const std::string& text) { return {text, true}; }

TEST(SelectionRulesTest, WordsAreSeparatedByWhiteSpace) {
    EXPECT_EQ(matchTermsOf("invoice  exporter\tfix\n"),
              (std::vector<MatchTerm>{word("invoice"), word("exporter"), word("fix")}));
    // Unicode's white space too: a no-break space and an ideographic space.
    EXPECT_EQ(matchTermsOf("caf\xC3\xA9\xC2\xA0r\xC3\xA9sum\xC3\xA9\xE3\x80\x80x"),
              (std::vector<MatchTerm>{word("caf\xC3\xA9"), word("r\xC3\xA9sum\xC3\xA9"), word("x")}));
}

TEST(SelectionRulesTest, QuotedPhrasesStayWhole) {
    EXPECT_EQ(matchTermsOf("\"invoice exporter\" fix"),
              (std::vector<MatchTerm>{phrase("invoice exporter"), word("fix")}));
    // A quote ends the word it touches.
    EXPECT_EQ(matchTermsOf("a\"b c\"d"), (std::vector<MatchTerm>{word("a"), phrase("b c"), word("d")}));
}

TEST(SelectionRulesTest, AnUnmatchedQuoteRunsToTheEnd) {
    EXPECT_EQ(matchTermsOf("fix \"the parser  "), (std::vector<MatchTerm>{word("fix"), phrase("the parser  ")}));
}

TEST(SelectionRulesTest, EmptyAndBlankPhrasesAreNoTerms) {
    EXPECT_EQ(matchTermsOf("\"\" \"   \" x"), (std::vector<MatchTerm>{word("x")}));
    EXPECT_TRUE(matchTermsOf("").empty());
    EXPECT_TRUE(matchTermsOf(" \t ").empty());
    EXPECT_TRUE(matchTermsOf("\"").empty());
}

TEST(SelectionRulesTest, OperatorsAndSymbolsAreTermsLikeAnyOther) {
    EXPECT_EQ(matchTermsOf("NEAR OR deploying* - *"),
              (std::vector<MatchTerm>{word("NEAR"), word("OR"), word("deploying*"), word("-"), word("*")}));
}

TEST(SelectionRulesTest, ANulByteSeparatesAndNeverReachesATerm) {
    const std::string words("a\0b \"c\0d\"", 9);
    EXPECT_EQ(matchTermsOf(words), (std::vector<MatchTerm>{word("a"), word("b"), phrase("c d")}));
}

TEST(SelectionRulesTest, ATextRuleNeedsATerm) {
    EXPECT_EQ(textRule("invoice").words, "invoice");
    EXPECT_EQ(textRule("*").words, "*");  // only the index knows it holds no word
    try {
        textRule(" \"\" ");
        FAIL() << "no term";
    } catch (const InvalidRule& invalid) {
        EXPECT_EQ(invalid.problem(), RuleProblem::noWord);
        EXPECT_EQ(invalid.given(), " \"\" ");
    }
}

TEST(SelectionRulesTest, ATextRuleHasTheKeywordsLengthLimit) {
    EXPECT_NO_THROW(textRule(std::string(kLongestMatchWords, 'a')));
    try {
        textRule(std::string(kLongestMatchWords + 1, 'a'));
        FAIL() << "too long";
    } catch (const InvalidRule& invalid) {
        EXPECT_EQ(invalid.problem(), RuleProblem::tooLong);
    }
}

TEST(SelectionRulesTest, AnApplicationRuleNeedsAName) {
    EXPECT_EQ(applicationRule("Xcode").name, "Xcode");
    EXPECT_THROW(applicationRule(""), InvalidRule);
}

TEST(SelectionRulesTest, AnEntityRuleSplitsAtTheFirstEquals) {
    EXPECT_EQ(entityRule("Swift"), (EntityRule{std::nullopt, "Swift"}));
    EXPECT_EQ(entityRule("programming_language=Swift"), (EntityRule{"programming_language", "Swift"}));
    EXPECT_EQ(entityRule("website=a=b"), (EntityRule{"website", "a=b"}));
}

TEST(SelectionRulesTest, AnEntityRuleNeedsAValueAndAKindBeforeItsEquals) {
    const auto problemOf = [](const std::string& text) {
        try {
            entityRule(text);
        } catch (const InvalidRule& invalid) {
            EXPECT_EQ(invalid.given(), text);
            return invalid.problem();
        }
        ADD_FAILURE() << text << " was accepted";
        return RuleProblem::noWord;
    };
    EXPECT_EQ(problemOf(""), RuleProblem::noEntityValue);
    EXPECT_EQ(problemOf("app="), RuleProblem::noEntityValue);
    EXPECT_EQ(problemOf("=Swift"), RuleProblem::noEntityKind);
}

}  // namespace
}  // namespace VarnholtQueryLib
