#include <gtest/gtest.h>

#include "TemporaryHome.h"

using namespace VarnholtTestSupport;

// The harness itself: the binary runs and its streams and status come back.
TEST(HarnessTest, VersionRunsUnderTemporaryHome) {
    TemporaryHome home;
    const ProcessResult result = home.run({"--version"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardOutput.rfind("varnholt-query 0.6.6-beta (", 0), 0u);
}
