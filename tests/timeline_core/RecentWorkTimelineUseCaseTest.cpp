#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "RecentWorkTimelineUseCase.h"

using namespace RecentWorkTimelineCore;

namespace {

// 2026-04-01T10:00:00Z, a whole multiple of five minutes.
constexpr double kTen = 1775037600.0;

// A port that hands out canned rows and records what it was asked.
class FakeTimelinePort final : public ObservationTimelinePort {
public:
    struct Call {
        double from;
        double to;
        std::int64_t limit;
    };

    std::vector<TimelineObservation> fetchTimeline(double from, double to,
                                                   std::int64_t limit) override {
        calls.push_back({from, to, limit});
        if (failure) throw std::runtime_error(*failure);
        return rows;
    }

    std::vector<TimelineObservation> rows;
    std::vector<Call> calls;
    std::optional<std::string> failure;
};

TimelineObservation observation(const std::string& id, double timestamp,
                                const std::string& description,
                                std::optional<std::string> entitiesJson = std::nullopt) {
    TimelineObservation row;
    row.id = id;
    row.timestamp = timestamp;
    row.vlmDescription = description;
    row.apps = {"Xcode"};
    row.entitiesJson = std::move(entitiesJson);
    return row;
}

class RecentWorkTimelineUseCaseTest : public ::testing::Test {
protected:
    std::vector<TimelineMoment> run(std::int64_t bucketSize = 300) {
        RecentWorkTimelineUseCase useCase(port, bucketSize);
        return useCase.execute(kTen - 3600, kTen + 3600);
    }

    // The entity counts of a single moment holding one observation per text.
    std::vector<EntityCount> entitiesOf(const std::vector<std::optional<std::string>>& entityTexts) {
        port.rows.clear();
        int index = 0;
        for (const auto& text : entityTexts) {
            std::string id = "o", description = "description ";
            id += std::to_string(index);
            description += std::to_string(index);
            port.rows.push_back(observation(id, kTen + index, description, text));
            ++index;
        }
        const auto moments = run();
        if (moments.size() != 1) {
            ADD_FAILURE() << "expected one moment, got " << moments.size();
            return {};
        }
        return moments.front().topEntities;
    }

    FakeTimelinePort port;
};

}  // namespace

TEST_F(RecentWorkTimelineUseCaseTest, EmptyRangeGivesNoMomentsAndAsksForTheWholeRange) {
    EXPECT_TRUE(run().empty());
    ASSERT_EQ(port.calls.size(), 1u);
    EXPECT_EQ(port.calls[0].from, kTen - 3600);
    EXPECT_EQ(port.calls[0].to, kTen + 3600);
    EXPECT_EQ(port.calls[0].limit, 5000);
}

TEST_F(RecentWorkTimelineUseCaseTest, PortErrorsPassThrough) {
    port.failure = "locked";
    RecentWorkTimelineUseCase useCase(port, 300);
    EXPECT_THROW(useCase.execute(0, 1), std::runtime_error);
}

TEST_F(RecentWorkTimelineUseCaseTest, FiveMinuteBucketsSplitAtTheBoundary) {
    port.rows = {observation("a", kTen, "editing"), observation("b", kTen + 299, "testing"),
                 observation("c", kTen + 300, "reviewing")};
    const auto moments = run();
    ASSERT_EQ(moments.size(), 2u);

    EXPECT_EQ(moments[0].bucketStart, kTen);
    EXPECT_EQ(moments[0].bucketEnd, kTen + 300);
    EXPECT_EQ(moments[0].observationCount, 2);
    EXPECT_EQ(moments[0].representative, port.rows[0]);
    EXPECT_TRUE(moments[0].topEntities.empty());

    EXPECT_EQ(moments[1].bucketStart, kTen + 300);
    EXPECT_EQ(moments[1].bucketEnd, kTen + 600);
    EXPECT_EQ(moments[1].observationCount, 1);
    EXPECT_EQ(moments[1].representative, port.rows[2]);
}

TEST_F(RecentWorkTimelineUseCaseTest, MomentsAscendWithGapsSkipped) {
    port.rows = {observation("a", kTen, "one"), observation("b", kTen + 1800, "two"),
                 observation("c", kTen + 3000, "three")};
    const auto moments = run();
    ASSERT_EQ(moments.size(), 3u);
    EXPECT_EQ(moments[0].bucketStart, kTen);
    EXPECT_EQ(moments[1].bucketStart, kTen + 1800);
    EXPECT_EQ(moments[2].bucketStart, kTen + 3000);
}

TEST_F(RecentWorkTimelineUseCaseTest, IdenticalConsecutiveDescriptionsCountOnceWithTheFirstAsRepresentative) {
    port.rows = {observation("first", kTen + 10, "same screen"),
                 observation("second", kTen + 20, "same screen"),
                 observation("third", kTen + 30, "same screen")};
    const auto moments = run();
    ASSERT_EQ(moments.size(), 1u);
    EXPECT_EQ(moments[0].observationCount, 1);
    EXPECT_EQ(moments[0].representative.id, "first");
}

TEST_F(RecentWorkTimelineUseCaseTest, OnlyAdjacentRepeatsCollapse) {
    port.rows = {observation("1", kTen + 1, "A"), observation("2", kTen + 2, "A"),
                 observation("3", kTen + 3, "B"), observation("4", kTen + 4, "A")};
    const auto moments = run();
    ASSERT_EQ(moments.size(), 1u);
    EXPECT_EQ(moments[0].observationCount, 3);
}

TEST_F(RecentWorkTimelineUseCaseTest, CollapsedRepeatsDoNotContributeEntities) {
    const std::string entities = R"([{"kind":"app","value":"Xcode"}])";
    port.rows = {observation("1", kTen + 1, "A", entities), observation("2", kTen + 2, "A", entities),
                 observation("3", kTen + 3, "B", entities)};
    const auto moments = run();
    ASSERT_EQ(moments.size(), 1u);
    EXPECT_EQ(moments[0].topEntities, (std::vector<EntityCount>{{"app", "Xcode", 2}}));
}

TEST_F(RecentWorkTimelineUseCaseTest, RepeatsCollapseAcrossABucketBoundary) {
    // The second row repeats the first, so it is gone before bucketing and
    // the next bucket gets no moment.
    port.rows = {observation("1", kTen + 299, "A"), observation("2", kTen + 301, "A")};
    const auto moments = run();
    ASSERT_EQ(moments.size(), 1u);
    EXPECT_EQ(moments[0].bucketStart, kTen);
}

TEST_F(RecentWorkTimelineUseCaseTest, EntitiesSortByCountThenKindThenValue) {
    const auto entities = entitiesOf({
        R"([{"kind":"programming_language","value":"Swift"},{"kind":"app","value":"Xcode"},{"kind":"app","value":"Safari"}])",
        R"([{"kind":"programming_language","value":"Swift"},{"kind":"app","value":"Xcode"},{"kind":"app","value":"Mail"}])",
        R"([{"kind":"programming_language","value":"Swift"},{"kind":"app","value":"Xcode"},{"kind":"framework","value":"SwiftUI"},{"kind":"framework","value":"Combine"}])",
        R"([{"kind":"framework","value":"SwiftUI"},{"kind":"framework","value":"Combine"}])",
    });
    EXPECT_EQ(entities, (std::vector<EntityCount>{
                            {"app", "Xcode", 3},
                            {"programming_language", "Swift", 3},
                            {"framework", "Combine", 2},
                            {"framework", "SwiftUI", 2},
                            {"app", "Mail", 1},
                            {"app", "Safari", 1},
                        }));
}

TEST_F(RecentWorkTimelineUseCaseTest, TiesCompareBytesNotLocale) {
    // Upper case sorts before lower case in byte order; "Zed" before "atom".
    const auto entities = entitiesOf({
        R"([{"kind":"app","value":"atom"},{"kind":"app","value":"Zed"},{"kind":"App","value":"b"}])",
    });
    EXPECT_EQ(entities, (std::vector<EntityCount>{
                            {"App", "b", 1}, {"app", "Zed", 1}, {"app", "atom", 1}}));
}

TEST_F(RecentWorkTimelineUseCaseTest, EntitiesDifferingInCaseAreCountedApart) {
    const auto entities = entitiesOf({R"([{"kind":"app","value":"Xcode"}])",
                                      R"([{"kind":"app","value":"xcode"}])"});
    EXPECT_EQ(entities, (std::vector<EntityCount>{{"app", "Xcode", 1}, {"app", "xcode", 1}}));
}

TEST_F(RecentWorkTimelineUseCaseTest, AtMostTenEntitiesAreKept) {
    std::string text = "[";
    for (int i = 0; i < 15; ++i) {
        if (i > 0) text += ",";
        // Two-digit values so that byte order equals numeric order.
        text += R"({"kind":"software_tool","value":"tool)" + std::to_string(10 + i) + R"("})";
    }
    text += "]";
    const auto entities = entitiesOf({text});
    ASSERT_EQ(entities.size(), 10u);
    EXPECT_EQ(entities.front(), (EntityCount{"software_tool", "tool10", 1}));
    EXPECT_EQ(entities.back(), (EntityCount{"software_tool", "tool19", 1}));
}

TEST_F(RecentWorkTimelineUseCaseTest, AnElementWithoutValueIsSkippedAlone) {
    const auto entities = entitiesOf({
        R"([{"kind":"app","value":"Xcode"},{"kind":"app"},{"kind":"app","value":"Mail"}])",
    });
    EXPECT_EQ(entities, (std::vector<EntityCount>{{"app", "Mail", 1}, {"app", "Xcode", 1}}));
}

TEST_F(RecentWorkTimelineUseCaseTest, AnElementWhoseValueOrKindIsNotTextIsSkippedAlone) {
    const auto entities = entitiesOf({
        R"([{"kind":"app","value":42},{"kind":7,"value":"Seven"},{"kind":"app","value":null},)"
        R"({"value":"NoKind"},{"kind":"app","value":"Xcode","confidence":0.9}])",
    });
    EXPECT_EQ(entities, (std::vector<EntityCount>{{"app", "Xcode", 1}}));
}

TEST_F(RecentWorkTimelineUseCaseTest, UnreadableEntityTextsCountNothing) {
    const auto entities = entitiesOf({
        R"({"kind":"app","value":"NotAnArray"})",   // an object, not an array
        R"("app")",                                  // a bare string
        R"([{"kind":"app","value":"Broken")",        // invalid JSON
        "",                                          // empty text
        R"(["app", {"kind":"app","value":"Mixed"}])",  // not all elements are objects
    });
    EXPECT_TRUE(entities.empty());
}

TEST_F(RecentWorkTimelineUseCaseTest, AbsentEntityTextCountsNothingAndDoesNotDisturbOthers) {
    const auto entities = entitiesOf({std::nullopt, R"([{"kind":"app","value":"Xcode"}])", "[]"});
    EXPECT_EQ(entities, (std::vector<EntityCount>{{"app", "Xcode", 1}}));
}

TEST_F(RecentWorkTimelineUseCaseTest, APairRepeatedInOneObservationCountsEachTime) {
    const auto entities = entitiesOf({
        R"([{"kind":"app","value":"Xcode"},{"kind":"app","value":"Xcode"}])",
        R"([{"kind":"app","value":"Xcode"}])",
    });
    EXPECT_EQ(entities, (std::vector<EntityCount>{{"app", "Xcode", 3}}));
}

TEST_F(RecentWorkTimelineUseCaseTest, BucketSizeBelowOneMeansFiveMinutes) {
    for (const std::int64_t size : {std::int64_t{0}, std::int64_t{-5}}) {
        RecentWorkTimelineUseCase useCase(port, size);
        EXPECT_EQ(useCase.bucketSize(), 300) << size;
        port.rows = {observation("a", kTen + 299, "x"), observation("b", kTen + 300, "y")};
        const auto moments = useCase.execute(kTen, kTen + 600);
        ASSERT_EQ(moments.size(), 2u) << size;
        EXPECT_EQ(moments[0].bucketStart, kTen);
        EXPECT_EQ(moments[0].bucketEnd, kTen + 300);
        EXPECT_EQ(moments[1].bucketStart, kTen + 300);
    }
}

TEST_F(RecentWorkTimelineUseCaseTest, OtherBucketSizesAreKept) {
    port.rows = {observation("a", kTen + 59, "x"), observation("b", kTen + 60, "y")};
    const auto moments = run(60);
    ASSERT_EQ(moments.size(), 2u);
    EXPECT_EQ(moments[0].bucketStart, kTen);
    EXPECT_EQ(moments[0].bucketEnd, kTen + 60);
    EXPECT_EQ(moments[1].bucketStart, kTen + 60);
    EXPECT_EQ(moments[1].bucketEnd, kTen + 120);
}

TEST_F(RecentWorkTimelineUseCaseTest, NegativeTimesFallIntoTheBucketBelow) {
    port.rows = {observation("a", -600, "a"), observation("b", -301, "b"),
                 observation("c", -300, "c"), observation("d", -1, "d"),
                 observation("e", -0.5, "e"), observation("f", 0, "f")};
    const auto moments = run();
    ASSERT_EQ(moments.size(), 3u);
    EXPECT_EQ(moments[0].bucketStart, -600);
    EXPECT_EQ(moments[0].bucketEnd, -300);
    EXPECT_EQ(moments[0].observationCount, 2);
    EXPECT_EQ(moments[1].bucketStart, -300);
    EXPECT_EQ(moments[1].bucketEnd, 0);
    EXPECT_EQ(moments[1].observationCount, 3);
    EXPECT_EQ(moments[2].bucketStart, 0);
    EXPECT_EQ(moments[2].observationCount, 1);
}

TEST_F(RecentWorkTimelineUseCaseTest, FractionalTimesUseTheirWholeSeconds) {
    port.rows = {observation("a", kTen + 299.999, "a"), observation("b", kTen + 300.25, "b")};
    const auto moments = run();
    ASSERT_EQ(moments.size(), 2u);
    EXPECT_EQ(moments[0].bucketStart, kTen);
    EXPECT_EQ(moments[0].representative.timestamp, kTen + 299.999);
    EXPECT_EQ(moments[1].bucketStart, kTen + 300);
    EXPECT_EQ(moments[1].representative.timestamp, kTen + 300.25);
}

TEST_F(RecentWorkTimelineUseCaseTest, RepresentativeKeepsEveryField) {
    TimelineObservation row = observation("id-1", kTen + 12.5, "Reading mail", R"([])");
    row.apps = {"Mail", "Safari"};
    row.imagePath = "/Users/a/frames/1.png";
    port.rows = {row};
    const auto moments = run();
    ASSERT_EQ(moments.size(), 1u);
    EXPECT_EQ(moments[0].representative, row);
}

TEST_F(RecentWorkTimelineUseCaseTest, RowsWhoseTimeHasNoBucketAreSkipped) {
    const double infinity = std::numeric_limits<double>::infinity();
    port.rows = {observation("bad-low", -infinity, "a"),
                 observation("bad-min", -1e19, "b"),
                 observation("good", kTen + 1, "c"),
                 observation("bad-nan", std::nan(""), "d"),
                 observation("bad-max", 1e19, "e"),
                 observation("bad-high", infinity, "f")};
    const auto moments = run();
    ASSERT_EQ(moments.size(), 1u);
    EXPECT_EQ(moments[0].representative.id, "good");
    EXPECT_EQ(moments[0].observationCount, 1);
}

TEST_F(RecentWorkTimelineUseCaseTest, ABucketReachingBeyond64BitsIsSkipped) {
    // The largest double below 2^63: its bucket of 10000 seconds starts at
    // 9223372036854770000 and would end at 9223372036854780000, past 2^63 - 1.
    // The smallest double at or above -2^63 starts a bucket below -2^63.
    port.rows = {observation("below", -9223372036854775808.0 + 4096, "a"),
                 observation("good", kTen, "b"),
                 observation("above", 9223372036854774784.0, "c")};
    const auto moments = run(10000);
    ASSERT_EQ(moments.size(), 1u);
    EXPECT_EQ(moments[0].representative.id, "good");
    EXPECT_EQ(moments[0].bucketStart, 1775030000.0);
    EXPECT_EQ(moments[0].bucketEnd, 1775040000.0);
}

TEST_F(RecentWorkTimelineUseCaseTest, TheOutermostRepresentableBucketsAreKept) {
    // With buckets of 256 seconds, -2^63 starts a bucket and 2^63 - 1024
    // starts one that ends at 2^63 - 768, both within 64 bits.
    port.rows = {observation("min", -9223372036854775808.0, "a"),
                 observation("max", 9223372036854774784.0, "b")};
    const auto moments = run(256);
    ASSERT_EQ(moments.size(), 2u);
    EXPECT_EQ(moments[0].representative.id, "min");
    EXPECT_EQ(moments[0].bucketStart, -9223372036854775808.0);
    EXPECT_EQ(moments[1].representative.id, "max");
    EXPECT_EQ(moments[1].bucketStart, 9223372036854774784.0);
}
