#include "search/SearchUseCase.h"

#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "DatabaseError.h"
#include "TestInstants.h"

namespace VarnholtQueryLib {
namespace {

using VarnholtSQLiteSupport::DatabaseError;

// 2026-04-01T10:00:00Z
using VarnholtTestSupport::kNow;

// Records every request and answers with canned rows, or fails on request.
class FakeSearchQuery final : public ObservationSearchQueryPort {
public:
    std::vector<ObservationSearchResult> search(const ObservationSearchParams& params) override {
        requests.push_back(params);
        if (failure) throw *failure;
        return rows;
    }

    std::vector<ObservationSearchParams> requests;
    std::vector<ObservationSearchResult> rows;
    std::optional<DatabaseError> failure;
};

ObservationSearchParams request(std::int64_t limit) {
    ObservationSearchParams params;
    params.keyword = "invoice budget";
    params.appFilter = "Mail";
    params.limit = limit;
    params.collapse = true;
    return params;
}

class SearchUseCaseTest : public ::testing::Test {
protected:
    // Runs the use case and checks that the port saw exactly the effective
    // params it reports.
    ObservationSearchParams effectiveParamsFor(const ObservationSearchParams& params) {
        const SearchUseCase useCase(port_, kNow);
        const SearchUseCase::Outcome outcome = useCase.execute(params);
        EXPECT_EQ(port_.requests.size(), 1u);
        if (!port_.requests.empty()) expectSame(port_.requests.back(), outcome.effectiveParams);
        return outcome.effectiveParams;
    }

    static void expectSame(const ObservationSearchParams& actual, const ObservationSearchParams& expected) {
        EXPECT_EQ(actual.keyword, expected.keyword);
        EXPECT_EQ(actual.appFilter, expected.appFilter);
        EXPECT_EQ(actual.fromTs, expected.fromTs);
        EXPECT_EQ(actual.toTs, expected.toTs);
        EXPECT_EQ(actual.latestOnly, expected.latestOnly);
        EXPECT_EQ(actual.limit, expected.limit);
        EXPECT_EQ(actual.collapse, expected.collapse);
    }

    FakeSearchQuery port_;
};

TEST_F(SearchUseCaseTest, UnboundedSearchLooksAtTheLastDay) {
    ObservationSearchParams expected = request(50);
    expected.fromTs = kNow - 86400.0;
    expectSame(effectiveParamsFor(request(50)), expected);
}

TEST_F(SearchUseCaseTest, UnboundedSearchClampsALargeLimit) {
    ObservationSearchParams expected = request(200);
    expected.fromTs = kNow - 86400.0;
    expectSame(effectiveParamsFor(request(500)), expected);
}

TEST_F(SearchUseCaseTest, UnboundedSearchRaisesAZeroLimit) {
    EXPECT_EQ(effectiveParamsFor(request(0)).limit, 1);
}

TEST_F(SearchUseCaseTest, UnboundedSearchRaisesANegativeLimit) {
    EXPECT_EQ(effectiveParamsFor(request(-5)).limit, 1);
}

TEST_F(SearchUseCaseTest, UnboundedLatestSearchAsksForOneRow) {
    ObservationSearchParams params = request(120);
    params.latestOnly = true;
    ObservationSearchParams expected = params;
    expected.fromTs = kNow - 86400.0;
    expected.limit = 1;
    expectSame(effectiveParamsFor(params), expected);
}

TEST_F(SearchUseCaseTest, OnlyAnUpperBoundKeepsTheOpenLowerBoundAndTheLimit) {
    ObservationSearchParams params = request(500);
    params.toTs = kNow - 3600.0;
    expectSame(effectiveParamsFor(params), params);
}

TEST_F(SearchUseCaseTest, LowerBoundKeepsTheLimit) {
    ObservationSearchParams params = request(500);
    params.fromTs = kNow - 7 * 86400.0;
    expectSame(effectiveParamsFor(params), params);
}

TEST_F(SearchUseCaseTest, BoundedLatestSearchKeepsItsLimit) {
    ObservationSearchParams params = request(30);
    params.latestOnly = true;
    params.fromTs = kNow - 7200.0;
    params.toTs = kNow;
    expectSame(effectiveParamsFor(params), params);
}

TEST_F(SearchUseCaseTest, ReturnsThePortsRowsInOrder) {
    ObservationSearchResult first;
    first.observationId = "O2";
    first.frameTimestamp = kNow - 60;
    ObservationSearchResult second;
    second.observationId = "O1";
    second.frameTimestamp = kNow - 120;
    port_.rows = {first, second};
    const SearchUseCase useCase(port_, kNow);
    EXPECT_EQ(useCase.execute(request(50)).results, port_.rows);
}

TEST_F(SearchUseCaseTest, PortFailurePassesThrough) {
    port_.failure = DatabaseError::queryFailed("unterminated string");
    const SearchUseCase useCase(port_, kNow);
    try {
        useCase.execute(request(50));
        FAIL() << "the port's error must reach the caller";
    } catch (const DatabaseError& error) {
        EXPECT_EQ(error.errorCase(), DatabaseError::Case::queryFailed);
        EXPECT_EQ(error.message(), "unterminated string");
    }
}

}  // namespace
}  // namespace VarnholtQueryLib
