#include "timesheet/DescriptionTerms.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace VarnholtQueryLib {
namespace {

using Terms = std::vector<std::string>;
using DescriptionTerms::termsOf;

TEST(DescriptionTermsTest, WordsAndNeighboursBecomeTerms) {
    EXPECT_EQ(termsOf("Fixing parser tests"),
              (Terms{"fixing", "parser", "fixing parser", "tests", "parser tests"}));
}

TEST(DescriptionTermsTest, CommonAndShortWordsAreNoTermsAndSeparateNeighbours) {
    // "a", "in", "the" and "to" hold fewer than three letters or are common;
    // "error" and "fetch" are not next to each other.
    EXPECT_EQ(termsOf("Fixing a type error in the fetch handler"),
              (Terms{"fixing", "type", "error", "type error", "fetch", "handler", "fetch handler"}));
    EXPECT_EQ(termsOf("The and with"), Terms{});
}

TEST(DescriptionTermsTest, PunctuationSeparatesWordsButNotNeighbours) {
    EXPECT_EQ(termsOf("node.js, TypeScript"),
              (Terms{"node", "typescript"}));  // "js" is too short, so node and typescript are not neighbours
    EXPECT_EQ(termsOf("invoice-exporter: review"),
              (Terms{"invoice", "exporter", "invoice exporter", "review", "exporter review"}));
}

TEST(DescriptionTermsTest, DigitsBelongToWordsButAreNoLetters) {
    EXPECT_EQ(termsOf("Release v2 of api3 in 2026, build 1234abc"),
              (Terms{"release", "api3", "build", "1234abc", "build 1234abc"}));
    EXPECT_EQ(termsOf("abc123 x9y 2026"), (Terms{"abc123"}));
}

TEST(DescriptionTermsTest, TermsAreLowerCasedByTheNameKey) {
    EXPECT_EQ(termsOf("STRAẞE Straße"), (Terms{"straße", "straße straße"}));
    EXPECT_EQ(termsOf("Ölmühle ÄRGER"), (Terms{"ölmühle", "ärger", "ölmühle ärger"}));
}

TEST(DescriptionTermsTest, LettersOfAnyScriptCount) {
    // Three Japanese letters are a word of three letters; Greek too.
    EXPECT_EQ(termsOf("東京都 Αθήνα"), (Terms{"東京都", "αθήνα", "東京都 αθήνα"}));
}

TEST(DescriptionTermsTest, EachTermOnceInOrderOfFirstAppearance) {
    EXPECT_EQ(termsOf("deploy staging, deploy staging again, staging deploy"),
              (Terms{"deploy", "staging", "deploy staging", "staging deploy"}));
}

TEST(DescriptionTermsTest, MaskedPartsAreWordsLikeAnyOther) {
    EXPECT_EQ(termsOf("Mail to [EMAIL] about api_key: [REDACTED]"),
              (Terms{"mail", "email", "api", "key", "api key", "redacted", "key redacted"}));
}

TEST(DescriptionTermsTest, IllFormedBytesSeparateWords) {
    EXPECT_EQ(termsOf("abc\xFF" "def"), (Terms{"abc", "def", "abc def"}));
    EXPECT_EQ(termsOf(""), Terms{});
}

TEST(DescriptionTermsTest, TheCommonWordsAreSortedLowerCasedAndLongEnough) {
    const auto& words = DescriptionTerms::commonWords();
    EXPECT_TRUE(std::is_sorted(words.begin(), words.end()));
    EXPECT_EQ(std::adjacent_find(words.begin(), words.end()), words.end());
    for (const std::string_view word : words) {
        EXPECT_GE(word.size(), 3u) << word;
        EXPECT_EQ(termsOf(word), Terms{}) << word;
    }
}

}  // namespace
}  // namespace VarnholtQueryLib
