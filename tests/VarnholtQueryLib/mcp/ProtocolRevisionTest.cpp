#include "mcp/ProtocolRevision.h"

#include <gtest/gtest.h>

using namespace VarnholtQueryLib::MCP;

TEST(ProtocolRevisionTest, AClientsRevisionIsKeptWhenWeSpeakIt) {
    for (const char* name : {"2024-11-05", "2025-03-26", "2025-06-18", "2025-11-25"}) {
        EXPECT_EQ(revisionName(negotiateRevision(name)), name);
    }
}

TEST(ProtocolRevisionTest, OtherwiseTheLatestWeSpeak) {
    for (const char* name : {"2024-10-07", "2026-01-01", "DRAFT-2026-v1", "", "2025-6-18"}) {
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
