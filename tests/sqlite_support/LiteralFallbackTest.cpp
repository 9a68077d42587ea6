#include "LiteralFallback.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

using namespace VarnholtSQLiteSupport;

namespace {

std::string literalAnswer() { return "literal"; }

}  // namespace

TEST(LiteralFallbackTest, TheIndexedAnswerStandsWhenThereIsOne) {
    EXPECT_EQ(withLiteralFallback([] { return std::optional<std::string>("indexed"); }, literalAnswer), "indexed");
}

TEST(LiteralFallbackTest, NoIndexedAnswerRunsTheLiteralStatement) {
    EXPECT_EQ(withLiteralFallback([] { return std::optional<std::string>(); }, literalAnswer), "literal");
}

TEST(LiteralFallbackTest, AFailedIndexedStatementLeavesTheWordToTheLiteralOne) {
    EXPECT_EQ(withLiteralFallback(
                  []() -> std::optional<std::string> { throw DatabaseError::queryFailed("no such column: x"); },
                  literalAnswer),
              "literal");
    try {
        withLiteralFallback([]() -> std::optional<std::string> { throw DatabaseError::queryFailed("ours"); },
                            []() -> std::string { throw DatabaseError::queryFailed("the literal one's"); });
        FAIL() << "expected a DatabaseError";
    } catch (const DatabaseError& error) {
        EXPECT_EQ(error.message(), "the literal one's");
    }
}

TEST(LiteralFallbackTest, TheRecordersLockPassesStraightOn) {
    bool literalRan = false;
    try {
        withLiteralFallback([]() -> std::optional<std::string> { throw DatabaseError::locked(); },
                            [&] {
                                literalRan = true;
                                return std::string("literal");
                            });
        FAIL() << "expected a DatabaseError";
    } catch (const DatabaseError& error) {
        EXPECT_EQ(error.errorCase(), DatabaseError::Case::locked);
    }
    EXPECT_FALSE(literalRan);
}
