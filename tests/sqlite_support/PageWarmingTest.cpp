#include "PageWarming.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <string>
#include <vector>

#include "FixtureDatabase.h"
#include "SQLiteReadConnection.h"
#include "TemporaryDirectory.h"

using VarnholtSQLiteSupport::PageWarming;
using VarnholtSQLiteSupport::SQLiteReadConnection;
using VarnholtSQLiteSupport::WarmingLookup;
using VarnholtSQLiteSupport::WarmingPlan;
using VarnholtSQLiteSupport::WarmingScope;

namespace {

// A PageWarming that notes every call, in order.
class RecordedWarming final : public PageWarming {
public:
    void begin(sqlite3* answer, const WarmingPlan& plan) override {
        calls.push_back("begin");
        answers.push_back(answer);
        plans.push_back(plan);
    }
    void end() noexcept override { calls.push_back("end"); }

    std::vector<std::string> calls;
    std::vector<sqlite3*> answers;
    std::vector<WarmingPlan> plans;
};

WarmingPlan planWithOneLookup() {
    WarmingPlan plan;
    plan.lookups.push_back(WarmingLookup{"SELECT id FROM frames WHERE timestamp BETWEEN :from AND :to",
                                         {{":limit", std::int64_t{50}}}});
    plan.from = 1000;
    plan.to = 5000;
    return plan;
}

// A stand-in for an answer's connection handle: the scope only hands it on.
sqlite3* someAnswer() {
    static int marker = 0;
    return reinterpret_cast<sqlite3*>(&marker);
}

class PageWarmingTest : public ::testing::Test {
protected:
    RecordedWarming warming_;
};

TEST_F(PageWarmingTest, AScopeBeginsWithThePlanAndEndsWhenItGoesOutOfScope) {
    {
        const WarmingScope scope(&warming_, someAnswer(), planWithOneLookup());
        EXPECT_EQ(warming_.calls, (std::vector<std::string>{"begin"}));
    }
    EXPECT_EQ(warming_.calls, (std::vector<std::string>{"begin", "end"}));
    ASSERT_EQ(warming_.plans.size(), 1u);
    EXPECT_EQ(warming_.answers.front(), someAnswer());
    const WarmingPlan& plan = warming_.plans.front();
    ASSERT_EQ(plan.lookups.size(), 1u);
    EXPECT_EQ(plan.lookups.front().statement, planWithOneLookup().lookups.front().statement);
    EXPECT_EQ(plan.from, 1000);
    EXPECT_EQ(plan.to, 5000);
}

TEST_F(PageWarmingTest, APlanWithoutLookupsNeitherBeginsNorEnds) {
    WarmingPlan plan = planWithOneLookup();
    plan.lookups.clear();
    { const WarmingScope scope(&warming_, someAnswer(), plan); }
    EXPECT_TRUE(warming_.calls.empty());
}

TEST_F(PageWarmingTest, NoWarmingDoesNothing) {
    // Nothing to call: the scope must not reach through the null port.
    { const WarmingScope scope(nullptr, someAnswer(), planWithOneLookup()); }
    EXPECT_TRUE(warming_.calls.empty());
}

TEST_F(PageWarmingTest, TheConnectionsWarmingIsBegunWithTheConnectionsHandle) {
    const VarnholtTestSupport::TemporaryDirectory directory;
    const std::string path = directory.file("varnholt.db");
    VarnholtTestSupport::createFixtureDatabase(path, "");
    SQLiteReadConnection connection(path);
    EXPECT_EQ(connection.warming(), nullptr);  // none unless given one
    { const WarmingScope scope(connection, planWithOneLookup()); }  // none: nothing to call

    connection.warmWith(&warming_);
    {
        const WarmingScope scope(connection, planWithOneLookup());
        EXPECT_EQ(warming_.calls, (std::vector<std::string>{"begin"}));
    }
    EXPECT_EQ(warming_.calls, (std::vector<std::string>{"begin", "end"}));
    ASSERT_EQ(warming_.answers.size(), 1u);
    EXPECT_EQ(warming_.answers.front(), connection.handle());
}

TEST_F(PageWarmingTest, EachScopeEndsItsOwnWarming) {
    {
        const WarmingScope first(&warming_, someAnswer(), planWithOneLookup());
    }
    {
        const WarmingScope second(&warming_, someAnswer(), planWithOneLookup());
    }
    EXPECT_EQ(warming_.calls, (std::vector<std::string>{"begin", "end", "begin", "end"}));
}

}  // namespace
