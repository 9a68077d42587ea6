#include "ObservationEntities.h"

#include <gtest/gtest.h>

using namespace RecentWorkTimelineCore;

TEST(ObservationEntitiesTest, PairsInOrderWithRepeats) {
    EXPECT_EQ(parseEntities(R"([{"kind":"app","value":"Xcode"},{"kind":"language","value":"Swift"},)"
                            R"({"kind":"app","value":"Xcode"}])"),
              (std::vector<EntityKey>{{"app", "Xcode"}, {"language", "Swift"}, {"app", "Xcode"}}));
}

TEST(ObservationEntitiesTest, AnElementWithoutTextKindOrValueIsSkippedAlone) {
    EXPECT_EQ(parseEntities(R"([{"kind":"app"},{"kind":"app","value":42},{"kind":null,"value":"x"},)"
                            R"({"kind":"tool","value":"git","extra":1}])"),
              (std::vector<EntityKey>{{"tool", "git"}}));
}

TEST(ObservationEntitiesTest, AnythingButAnArrayOfObjectsGivesNothing) {
    EXPECT_TRUE(parseEntities(std::nullopt).empty());
    EXPECT_TRUE(parseEntities("").empty());
    EXPECT_TRUE(parseEntities("not json").empty());
    EXPECT_TRUE(parseEntities(R"({"kind":"app","value":"Xcode"})").empty());
    EXPECT_TRUE(parseEntities(R"([{"kind":"app","value":"Xcode"},"loose"])").empty());
    EXPECT_TRUE(parseEntities("[]").empty());
}
