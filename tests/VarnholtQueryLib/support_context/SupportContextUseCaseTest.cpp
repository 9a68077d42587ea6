#include "support_context/SupportContextUseCase.h"

#include <gtest/gtest.h>

#include "DatabaseError.h"
#include "TestInstants.h"

using namespace VarnholtQueryLib;
using VarnholtSQLiteSupport::DatabaseError;

namespace {

using VarnholtTestSupport::kNow;

// Serves fixed rows, newest first, and records the `since` it was asked for.
class FakeSupportContextQuery final : public SupportContextQueryPort {
public:
    explicit FakeSupportContextQuery(std::vector<SupportContextObservation> rows)
        : rows_(std::move(rows)) {}
    std::vector<SupportContextObservation> findRecentObservations(double since) override {
        askedSince.push_back(since);
        return rows_;
    }
    std::vector<double> askedSince;

private:
    std::vector<SupportContextObservation> rows_;
};

class FailingSupportContextQuery final : public SupportContextQueryPort {
public:
    std::vector<SupportContextObservation> findRecentObservations(double) override {
        throw DatabaseError::locked();
    }
};

// Rows one minute apart, newest first, with the given descriptions.
std::vector<SupportContextObservation> rowsDescribed(const std::vector<std::string>& descriptions) {
    std::vector<SupportContextObservation> rows;
    double timestamp = kNow - 10;
    for (const auto& description : descriptions) {
        rows.push_back({timestamp, description, {"App " + description}});
        timestamp -= 60;
    }
    return rows;
}

std::vector<std::string> descriptionsOf(const SupportContextSnapshot& snapshot) {
    std::vector<std::string> descriptions;
    for (const auto& observation : snapshot.observations) {
        descriptions.push_back(observation.vlmDescription);
    }
    return descriptions;
}

SupportContextSnapshot run(const std::vector<std::string>& descriptions, std::int64_t limit = 5) {
    FakeSupportContextQuery query(rowsDescribed(descriptions));
    return SupportContextUseCase(query).execute(7200, limit, kNow);
}

using Texts = std::vector<std::string>;

}  // namespace

TEST(SupportContextUseCaseTest, AsksForTheWindowBeforeNow) {
    FakeSupportContextQuery query({});
    const SupportContextSnapshot snapshot = SupportContextUseCase(query).execute(7200, 5, kNow);
    EXPECT_EQ(query.askedSince, std::vector<double>{kNow - 7200});
    EXPECT_EQ(snapshot, (SupportContextSnapshot{kNow, 7200, {}}));
}

TEST(SupportContextUseCaseTest, KeepsTimestampsAndApplicationsOfKeptRows) {
    FakeSupportContextQuery query({{kNow - 5, "  Writing tests\n", {"VS Code", "Terminal"}},
                                   {kNow - 65, "Reading mail", {}}});
    const SupportContextSnapshot snapshot = SupportContextUseCase(query).execute(600, 5, kNow);
    const std::vector<SupportContextObservation> expected = {
        {kNow - 5, "Writing tests", {"VS Code", "Terminal"}},
        {kNow - 65, "Reading mail", {}},
    };
    EXPECT_EQ(snapshot.observations, expected);
    EXPECT_EQ(snapshot.windowSeconds, 600);
    EXPECT_EQ(snapshot.generatedAt, kNow);
}

TEST(SupportContextUseCaseTest, OnlyRunsOfEqualNeighboursCollapse) {
    const SupportContextSnapshot snapshot = run({"A", "A", "B", "A"});
    EXPECT_EQ(descriptionsOf(snapshot), (Texts{"A", "B", "A"}));
    // The first of each run is kept, with its own time.
    EXPECT_EQ(snapshot.observations[0].timestamp, kNow - 10);
    EXPECT_EQ(snapshot.observations[1].timestamp, kNow - 130);
    EXPECT_EQ(snapshot.observations[2].timestamp, kNow - 190);
}

TEST(SupportContextUseCaseTest, BlankRowsAreSkippedWithoutSeparatingRepeats) {
    EXPECT_EQ(descriptionsOf(run({"A", "", "  \n\t", "A", "B"})), (Texts{"A", "B"}));
}

TEST(SupportContextUseCaseTest, RepeatsAreComparedAfterTrimming) {
    EXPECT_EQ(descriptionsOf(run({"A", " A", "A\n", "B"})), (Texts{"A", "B"}));
}

TEST(SupportContextUseCaseTest, RepeatsAreComparedExactly) {
    EXPECT_EQ(descriptionsOf(run({"Editing", "editing", "editing "})), (Texts{"Editing", "editing"}));
}

TEST(SupportContextUseCaseTest, SevenDistinctDescriptionsKeepTheFiveNewest) {
    EXPECT_EQ(descriptionsOf(run({"1", "2", "3", "4", "5", "6", "7"})),
              (Texts{"1", "2", "3", "4", "5"}));
}

TEST(SupportContextUseCaseTest, TenIdenticalDescriptionsGiveOne) {
    EXPECT_EQ(descriptionsOf(run(Texts(10, "Same screen"))), (Texts{"Same screen"}));
}

TEST(SupportContextUseCaseTest, TheLimitCountsKeptRowsNotRowsRead) {
    EXPECT_EQ(descriptionsOf(run({"A", "A", "A", "B", "", "C"}, 3)), (Texts{"A", "B", "C"}));
}

TEST(SupportContextUseCaseTest, LimitOfZeroOrBelowKeepsEveryDistinctRow) {
    const Texts descriptions = {"1", "2", "2", "3", "4", "5", "6", "7"};
    EXPECT_EQ(descriptionsOf(run(descriptions, 0)), (Texts{"1", "2", "3", "4", "5", "6", "7"}));
    EXPECT_EQ(descriptionsOf(run(descriptions, -1)), (Texts{"1", "2", "3", "4", "5", "6", "7"}));
}

TEST(SupportContextUseCaseTest, PortFailurePassesThroughUnchanged) {
    FailingSupportContextQuery query;
    try {
        SupportContextUseCase(query).execute(7200, 5, kNow);
        FAIL() << "expected a DatabaseError";
    } catch (const DatabaseError& error) {
        EXPECT_EQ(error.errorCase(), DatabaseError::Case::locked);
        EXPECT_EQ(error.message(), DatabaseError::kLockedMessage);
    }
}

TEST(SupportContextUseCaseTest, TrimsUnicodeWhiteSpaceAndLineBreaks) {
    EXPECT_EQ(SupportContextUseCase::trimmedDescription(" \t\r\n\v\fText\n"), "Text");
    // No-break space, ideographic space, line and paragraph separators, NEL.
    EXPECT_EQ(SupportContextUseCase::trimmedDescription(
                  "\u00A0\u3000\u2028Grüße aus Köln\u2029\u0085\u2003"),
              "Grüße aus Köln");
    // Inner white space stays.
    EXPECT_EQ(SupportContextUseCase::trimmedDescription("  a \n b  "), "a \n b");
    EXPECT_EQ(SupportContextUseCase::trimmedDescription("\u3000\n "), "");
    EXPECT_EQ(SupportContextUseCase::trimmedDescription(""), "");
    // Not white space: zero-width space and malformed bytes are text.
    EXPECT_EQ(SupportContextUseCase::trimmedDescription("\u200Bx"), "\u200Bx");
    EXPECT_EQ(SupportContextUseCase::trimmedDescription(" \xff "), "\xff");
}

// Neighbours are compared as recorded; redaction belongs to the printed
// answer, as in search and the timeline.
TEST(SupportContextUseCaseTest, NeighboursAreComparedBeforeRedaction) {
    EXPECT_EQ(descriptionsOf(run({"Replying to ada@example.com", "Replying to bob@example.org",
                                  "Replying to bob@example.org"})),
              (Texts{"Replying to ada@example.com", "Replying to bob@example.org"}));
}
