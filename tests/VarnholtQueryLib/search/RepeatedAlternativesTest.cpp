#include "search/RepeatedAlternatives.h"

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace VarnholtQueryLib {
namespace {

TEST(RepeatedAlternativesTest, RepeatedBareWordsKeepTheirFirstCopies) {
    const auto repeats = repeatedAlternatives("error OR deploy OR error OR budget OR deploy OR error");
    ASSERT_TRUE(repeats);
    EXPECT_EQ(repeats->distinctMatchText, "error OR deploy OR budget");
    EXPECT_EQ(repeats->copyOf, (std::vector<int>{0, 1, 0, 2, 1, 0}));
}

TEST(RepeatedAlternativesTest, PhrasesAreAlternativesWithTheirSpacesInside) {
    const auto repeats = repeatedAlternatives("\"working on\" OR budget OR \"working on\" OR \"node.js\"");
    ASSERT_TRUE(repeats);
    EXPECT_EQ(repeats->distinctMatchText, "\"working on\" OR budget OR \"node.js\"");
    EXPECT_EQ(repeats->copyOf, (std::vector<int>{0, 1, 0, 2}));
    // " OR " inside a phrase is part of the phrase.
    const auto inside = repeatedAlternatives("\"a OR b\" OR \"a OR b\"");
    ASSERT_TRUE(inside);
    EXPECT_EQ(inside->distinctMatchText, "\"a OR b\"");
    EXPECT_EQ(inside->copyOf, (std::vector<int>{0, 0}));
}

TEST(RepeatedAlternativesTest, CopiesDifferingInCaseOrFormAreDistinct) {
    // FTS5 may match them alike, but each is its own phrase to BM25.
    const auto repeats = repeatedAlternatives("Error OR error OR errors OR error");
    ASSERT_TRUE(repeats);
    EXPECT_EQ(repeats->distinctMatchText, "Error OR error OR errors");
    EXPECT_EQ(repeats->copyOf, (std::vector<int>{0, 1, 2, 1}));
}

TEST(RepeatedAlternativesTest, WordsBeyondASCIIAreBareWords) {
    const auto repeats = repeatedAlternatives("Größe OR café OR Größe");
    ASSERT_TRUE(repeats);
    EXPECT_EQ(repeats->distinctMatchText, "Größe OR café");
}

TEST(RepeatedAlternativesTest, WithoutRepeatsThereIsNothingToGain) {
    EXPECT_FALSE(repeatedAlternatives("error"));
    EXPECT_FALSE(repeatedAlternatives("error OR deploy"));
    EXPECT_FALSE(repeatedAlternatives("\"a b\" OR c"));
}

TEST(RepeatedAlternativesTest, AnythingButAFlatOrIsLeftAlone) {
    for (const char* text : {
             "error deploy error",            // implicit AND
             "error AND deploy OR error",     // another operator
             "error OR NOT OR error",         // an operator as a word
             "err* OR deploy OR err*",        // a prefix query
             "a-b OR c OR a-b",               // not a bare word
             "error or deploy or error",      // lower-case "or" is a word
             "error  OR error",               // not exactly " OR "
             "error OR error ",               // a trailing blank
             " error OR error",               // a leading blank
             "\"a\"b OR \"a\"b",              // a phrase running into a word
             "\"open OR \"open",              // unbalanced quotes
             "error OR",                      // a dangling operator
             "",
         }) {
        EXPECT_FALSE(repeatedAlternatives(text)) << text;
    }
}

TEST(RepeatedAlternativesTest, CopiesArgumentListsPositions) {
    EXPECT_EQ(copiesArgument({0, 1, 0, 12}), "0 1 0 12");
    EXPECT_EQ(copiesArgument({0}), "0");
}

TEST(RepeatedAlternativesTest, GroupedAlternativesFormABalancedTree) {
    EXPECT_EQ(groupedAlternatives("a"), "a");
    EXPECT_EQ(groupedAlternatives("a OR b"), "a OR b");
    EXPECT_EQ(groupedAlternatives("a OR b OR c"), "a OR (b OR c)");
    EXPECT_EQ(groupedAlternatives("a OR b OR a OR d"), "(a OR b) OR (a OR d)");
    EXPECT_EQ(groupedAlternatives("\"a b\" OR c OR d OR e OR f"), "(\"a b\" OR c) OR (d OR (e OR f))");
    // Anything but a flat OR of bare words and phrases is left as it is.
    for (const char* text : {"a AND b OR c", "a OR b OR c*", "(a OR b) OR c", "a OR NEAR OR c", "a b c", ""}) {
        EXPECT_EQ(groupedAlternatives(text), text) << text;
    }
}

TEST(RepeatedAlternativesTest, GroupedAlternativesKeepEveryAlternativeInOrder) {
    std::string flat;
    for (int i = 0; i < 10000; ++i) flat += (i > 0 ? " OR w" : "w") + std::to_string(i);
    const std::string grouped = groupedAlternatives(flat);
    std::string withoutGroups;
    for (const char c : grouped) {
        if (c != '(' && c != ')') withoutGroups += c;
    }
    EXPECT_EQ(withoutGroups, flat);
    // Fourteen levels hold ten thousand alternatives.
    int depth = 0, deepest = 0;
    for (const char c : grouped) {
        depth += c == '(' ? 1 : (c == ')' ? -1 : 0);
        deepest = std::max(deepest, depth);
    }
    EXPECT_EQ(depth, 0);
    EXPECT_EQ(deepest, 13);
}

}  // namespace
}  // namespace VarnholtQueryLib
