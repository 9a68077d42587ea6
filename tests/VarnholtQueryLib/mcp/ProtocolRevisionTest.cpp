#include "mcp/ProtocolRevision.h"

#include <gtest/gtest.h>

using namespace VarnholtQueryLib::MCP;

TEST(ProtocolRevisionTest, AClientsRevisionIsKeptWhenWeSpeakIt) {
    for (const char* name : {"2024-11-05", "2025-03-26", "2025-06-18", "2025-11-25"}) {
        EXPECT_EQ(revisionName(negotiateRevision(name)), name);
    }
}

TEST(ProtocolRevisionTest, OtherwiseTheLatestWeSpeak) {
    for (const char* name : {"2024-10-07", "2026-01-01", "2027-01-01", "DRAFT-2026-v1", "", "2025-6-18"}) {
        EXPECT_EQ(revisionName(negotiateRevision(name)), "2025-11-25") << name;
        EXPECT_FALSE(revisionNamed(name).has_value()) << name;
    }
}

TEST(ProtocolRevisionTest, FeaturesFollowTheRevision) {
    EXPECT_FALSE(allowsBatches(ProtocolRevision::r2024_11_05));
    EXPECT_TRUE(allowsBatches(ProtocolRevision::r2025_03_26));
    EXPECT_FALSE(allowsBatches(ProtocolRevision::r2025_06_18));
    EXPECT_FALSE(allowsBatches(ProtocolRevision::r2025_11_25));

    EXPECT_FALSE(hasToolAnnotations(ProtocolRevision::r2024_11_05));
    EXPECT_TRUE(hasToolAnnotations(ProtocolRevision::r2025_03_26));
    EXPECT_TRUE(hasToolAnnotations(ProtocolRevision::r2025_11_25));

    EXPECT_FALSE(hasStructuredToolOutput(ProtocolRevision::r2025_03_26));
    EXPECT_TRUE(hasStructuredToolOutput(ProtocolRevision::r2025_06_18));
    EXPECT_TRUE(hasStructuredToolOutput(ProtocolRevision::r2025_11_25));
}

TEST(ProtocolRevisionTest, TheStatelessRevisionIsNeverAgreedByHandshake) {
    EXPECT_EQ(revisionNamed("2026-07-28"), ProtocolRevision::r2026_07_28);
    EXPECT_TRUE(isStateless(ProtocolRevision::r2026_07_28));
    EXPECT_FALSE(isStateless(ProtocolRevision::r2025_11_25));
    EXPECT_EQ(revisionName(negotiateRevision("2026-07-28")), "2025-11-25");
}

TEST(ProtocolRevisionTest, DiscoveryListsEveryRevisionNewestFirst) {
    EXPECT_EQ(servedRevisionNames(), (std::vector<std::string>{"2026-07-28", "2025-11-25", "2025-06-18",
                                                               "2025-03-26", "2024-11-05"}));
    EXPECT_EQ(statelessRevisionNames(), std::vector<std::string>{"2026-07-28"});
}

TEST(ProtocolRevisionTest, TheStatelessRevisionHasEverythingButBatches) {
    EXPECT_FALSE(allowsBatches(ProtocolRevision::r2026_07_28));
    EXPECT_TRUE(hasToolAnnotations(ProtocolRevision::r2026_07_28));
    EXPECT_TRUE(hasStructuredToolOutput(ProtocolRevision::r2026_07_28));
    EXPECT_FALSE(hasCompletionsCapability(ProtocolRevision::r2024_11_05));
    EXPECT_TRUE(hasCompletionsCapability(ProtocolRevision::r2025_03_26));
    EXPECT_TRUE(hasCompletionsCapability(ProtocolRevision::r2026_07_28));
}

TEST(ProtocolRevisionTest, AnUnknownResourceIsNotFoundOrInvalidParamsByEra) {
    for (const auto revision : {ProtocolRevision::r2024_11_05, ProtocolRevision::r2025_11_25}) {
        EXPECT_EQ(resourceNotFoundCode(revision), ErrorCode::resourceNotFound);
    }
    EXPECT_EQ(resourceNotFoundCode(ProtocolRevision::r2026_07_28), ErrorCode::invalidParams);
}
