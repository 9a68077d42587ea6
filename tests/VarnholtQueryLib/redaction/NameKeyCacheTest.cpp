#include "redaction/NameKeyCache.h"

#include <string>

#include <gtest/gtest.h>

#include "redaction/DeduplicationService.h"

namespace VarnholtQueryLib {
namespace {

TEST(NameKeyCacheTest, GivesTheNameKey) {
    NameKeyCache keys;
    for (const std::string name : {"Xcode", "XCODE", "Straße", "İstanbul", "ΣΊΣΥΦΟΣ", ""}) {
        EXPECT_EQ(keys.keyOf(name), DeduplicationService::nameKey(name)) << name;
    }
    EXPECT_EQ(keys.keyOf("XCODE"), "xcode");
    EXPECT_EQ(keys.keyOf("Xcode"), keys.keyOf("xCode"));
}

TEST(NameKeyCacheTest, StaysRightPastItsBound) {
    NameKeyCache keys;
    // Twice the bound: the cache starts again at least once on the way.
    for (std::size_t i = 0; i < 2 * NameKeyCache::kKeysKept + 3; ++i) {
        const std::string name = "App " + std::to_string(i) + " ÄÖ";
        ASSERT_EQ(keys.keyOf(name), "app " + std::to_string(i) + " äö");
    }
    EXPECT_EQ(keys.keyOf("Slack"), "slack");
}

}  // namespace
}  // namespace VarnholtQueryLib
