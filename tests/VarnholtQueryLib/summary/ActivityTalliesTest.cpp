#include "summary/ActivityTallies.h"

#include <gtest/gtest.h>

#include <vector>

namespace VarnholtQueryLib {
namespace {

TEST(ActivityTalliesTest, ApplicationsCountOncePerRowNamedByTheEarliestRow) {
    ApplicationTally tally;
    tally.add({"Xcode", "Safari", "xcode"}, 120);
    tally.add({"XCODE"}, 60);
    tally.add({"Mail"}, 0);
    EXPECT_EQ(tally.ranked(), (std::vector<ApplicationTime>{{"Xcode", 180, 2}, {"Safari", 120, 1}, {"Mail", 0, 1}}));
}

TEST(ActivityTalliesTest, ApplicationsOfEqualPrintedSecondsOrderByName) {
    ApplicationTally tally;
    tally.add({"b"}, 10.4);
    tally.add({"a"}, 9.6);
    EXPECT_EQ(tally.ranked(), (std::vector<ApplicationTime>{{"a", 9.6, 1}, {"b", 10.4, 1}}));
}

TEST(ActivityTalliesTest, EntitiesAreOneWhateverTheirLetterCaseSpeltAsMostRowsSpellThem) {
    EntityTally tally;
    tally.add({{"programming_language", "swift"}}, 100, 10);
    tally.add({{"programming_language", "Swift"}, {"programming_language", "SWIFT"}}, 200, 20);
    tally.add({{"programming_language", "Swift"}, {"programming_language", "Swift"}}, 300, 30);
    tally.add({{"app", "Swift"}}, 400, 5);
    const auto ranked = tally.ranked();
    ASSERT_EQ(ranked.size(), 2u);
    EXPECT_EQ(ranked[0], (EntityTime{"programming_language", "Swift", 60, 3, 100, 300}));
    EXPECT_EQ(ranked[1], (EntityTime{"app", "Swift", 5, 1, 400, 400}));
}

TEST(ActivityTalliesTest, AmongEquallyUsedSpellingsTheEarliestWins) {
    EntityTally tally;
    tally.add({{"tool", "git"}}, 1, 1);
    tally.add({{"tool", "Git"}}, 2, 1);
    EXPECT_EQ(tally.ranked().at(0).value, "git");
}

// A spelling listed twice by one row counts that row once: here "SWIFT",
// in two rows, outnumbers "Swift", in one (counted twice it would tie, and
// the earlier spelling would win). Short lists and long ones alike.
TEST(ActivityTalliesTest, ASpellingARowListsTwiceCountsOnce) {
    for (const std::size_t others : {0u, 3u, 100u}) {
        std::vector<EntityPair> first;
        for (std::size_t i = 0; i < others; ++i) first.push_back({"tool", "t" + std::to_string(i)});
        first.insert(first.begin() + others / 2, {"lang", "Swift"});
        first.push_back({"lang", "Swift"});
        EntityTally tally("lang");
        tally.add(first, 1, 1);
        tally.add({{"lang", "SWIFT"}}, 2, 1);
        tally.add({{"lang", "SWIFT"}}, 3, 1);
        EXPECT_EQ(tally.ranked(), (std::vector<EntityTime>{{"lang", "SWIFT", 3, 3, 1, 3}})) << others << " others";
    }
}

TEST(ActivityTalliesTest, AKindConfinesTheEntities) {
    EntityTally tally("app");
    tally.add({{"app", "Xcode"}, {"tool", "git"}}, 1, 7);
    EXPECT_EQ(tally.ranked(), (std::vector<EntityTime>{{"app", "Xcode", 7, 1, 1, 1}}));
}

}  // namespace
}  // namespace VarnholtQueryLib
