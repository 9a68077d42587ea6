#include "entities/EntitiesUseCase.h"

#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "DatabaseError.h"
#include "TestInstants.h"
#include "EntityTestParams.h"

namespace VarnholtQueryLib {
namespace {

using VarnholtSQLiteSupport::DatabaseError;

// 2026-04-01T10:00:00Z.
using VarnholtTestSupport::kNow;

// Records every request and answers with a fixed list, or fails on request.
class FakeEntityQuery final : public EntityQueryPort {
public:
    std::vector<EntityAggregation> aggregate(const EntityQueryParams& params) override {
        requests.push_back(params);
        if (failure) throw *failure;
        return answer;
    }

    std::vector<EntityQueryParams> requests;
    std::vector<EntityAggregation> answer;
    std::optional<DatabaseError> failure;
};

class EntitiesUseCaseTest : public ::testing::Test {
protected:
    // The params the port was asked with for `requested`.
    EntityQueryParams effective(const EntityQueryParams& requested) {
        EntitiesUseCase useCase(port_);
        const EntitiesUseCase::Result result = useCase.execute(requested, kNow);
        EXPECT_EQ(port_.requests.size(), 1u);
        EXPECT_EQ(result.params, port_.requests.back());
        return port_.requests.back();
    }

    FakeEntityQuery port_;
};

TEST_F(EntitiesUseCaseTest, WithoutBoundsAsksForTheLastDay) {
    EXPECT_EQ(effective(params({}, {}, {}, 100)), params(kNow - 86400, {}, {}, 100));
}

TEST_F(EntitiesUseCaseTest, WithoutBoundsKeepsTheKind) {
    EXPECT_EQ(effective(params({}, {}, "app", 7)), params(kNow - 86400, {}, "app", 7));
}

TEST_F(EntitiesUseCaseTest, WithoutBoundsRaisesZeroLimitToOne) {
    EXPECT_EQ(effective(params({}, {}, {}, 0)), params(kNow - 86400, {}, {}, 1));
}

TEST_F(EntitiesUseCaseTest, WithoutBoundsRaisesNegativeLimitToOne) {
    EXPECT_EQ(effective(params({}, {}, {}, -5)), params(kNow - 86400, {}, {}, 1));
}

TEST_F(EntitiesUseCaseTest, WithoutBoundsCapsLimitAtFiveHundred) {
    EXPECT_EQ(effective(params({}, {}, {}, 10000)), params(kNow - 86400, {}, {}, 500));
    port_.requests.clear();
    EXPECT_EQ(effective(params({}, {}, {}, 500)), params(kNow - 86400, {}, {}, 500));
}

TEST_F(EntitiesUseCaseTest, LowerBoundIsUsedUnchanged) {
    EXPECT_EQ(effective(params(kNow - 7200, kNow, "app", 10000)),
              params(kNow - 7200, kNow, "app", 10000));
}

TEST_F(EntitiesUseCaseTest, LowerBoundAloneIsNotClamped) {
    EXPECT_EQ(effective(params(kNow - 60, {}, {}, 0)), params(kNow - 60, {}, {}, 0));
}

TEST_F(EntitiesUseCaseTest, UpperBoundAloneKeepsLowerBoundOpen) {
    EXPECT_EQ(effective(params({}, kNow - 60, {}, -5)), params({}, kNow - 60, {}, -5));
}

TEST_F(EntitiesUseCaseTest, ReturnsThePortsRowsInOrder) {
    port_.answer = {{"app", "Xcode", 3, kNow - 50, kNow - 10}, {"tool", "git", 1, kNow, kNow}};
    EntitiesUseCase useCase(port_);
    const EntitiesUseCase::Result result = useCase.execute(params({}, {}, {}, 10), kNow);
    EXPECT_EQ(result.entities, port_.answer);
    EXPECT_EQ(result.params, params(kNow - 86400, {}, {}, 10));
}

TEST_F(EntitiesUseCaseTest, PortFailurePassesThrough) {
    port_.failure = DatabaseError::locked();
    EntitiesUseCase useCase(port_);
    try {
        useCase.execute(params({}, {}, {}, 10), kNow);
        FAIL() << "expected DatabaseError";
    } catch (const DatabaseError& error) {
        EXPECT_EQ(error.errorCase(), DatabaseError::Case::locked);
        EXPECT_EQ(error.message(), DatabaseError::kLockedMessage);
    }
}

}  // namespace
}  // namespace VarnholtQueryLib
