#include "timesheet/TimesheetResponse.h"

#include <gtest/gtest.h>

#include "platform/LocalCalendar.h"
#include "summary/SummaryBudget.h"
#include "TestInstants.h"

namespace VarnholtQueryLib {
namespace {

using VarnholtTestSupport::kNow;  // 2026-04-01T10:00:00Z

class TimesheetResponseTest : public ::testing::Test {
protected:
    TimesheetResponseTest() {
        TimesheetAccount& account = findings_.account;
        account.activeSeconds = 7.5;
        account.observationCount = 4;
        account.days = {{"2026-03-31", 0}, {"2026-04-01", 7.5}};
        account.categories = {{1.5, 1, {0, 1.5}, {{kNow - 600, kNow - 598.5, 1.5, 1, "Mail to [EMAIL]"}}},
                              {2.5, 1, {0, 2.5}, {{kNow - 598.5, kNow - 596, 2.5, 1, "Coding"}}},
                              {0, 0, {0, 0}, {}}};
        account.uncategorized = {3.5, 2, {0, 3.5}, {{kNow - 596, kNow - 592.5, 3.5, 2, "Reading"}}};
        account.suggestions.applications = {{"Safari", 3.5, 2}};
        account.suggestions.entities = {{"app", "Safari", 3.5, 2, kNow - 596, kNow - 595}};
        for (int i = 0; i < 12; ++i) account.suggestions.terms.push_back({"term" + std::to_string(i), 3.5});
        echo_.range = {kNow - 86400, kNow, "recent"};
        echo_.categories = {{"Mail", {"app:Mail"}}, {"Coding", {"app:Xcode"}}, {"Nothing", {"app:Sketch"}}};
    }

    JSON render() const { return makeTimesheetResponse(findings_, echo_, calendar_, kNow); }

    TimesheetFindings findings_;
    TimesheetEcho echo_;
    const LocalCalendar calendar_{"UTC", "en_US"};
};

TEST_F(TimesheetResponseTest, TheNumbersAddUpAsPrinted) {
    const JSON data = render()["data"];
    EXPECT_EQ(data["active_seconds"], 8);
    EXPECT_EQ(data["categories"][0]["seconds"], 2);
    EXPECT_EQ(data["categories"][1]["seconds"], 3);
    EXPECT_EQ(data["categories"][2]["seconds"], 0);
    EXPECT_EQ(data["uncategorized"]["seconds"], 3);
    EXPECT_EQ(data["categories"][0]["share"], 20.0);
    EXPECT_EQ(data["uncategorized"]["share"], 46.7);
    // Only the days with printed seconds; every category in the day table.
    EXPECT_EQ(data["categories"][0]["days"], JSON::parse(R"([{"date": "2026-04-01", "seconds": 2}])"));
    EXPECT_EQ(data["categories"][2]["days"], JSON::array());
    EXPECT_EQ(data["days"][0], JSON::parse(R"({"active_seconds": 0, "categories": [{"name": "Mail", "seconds": 0},
        {"name": "Coding", "seconds": 0}, {"name": "Nothing", "seconds": 0}], "date": "2026-03-31",
        "uncategorized_seconds": 0})"));
    // Spans round on their own.
    EXPECT_EQ(data["categories"][1]["spans"][0]["seconds"], 3);
    EXPECT_EQ(data["uncategorized"]["spans"][0]["seconds"], 4);
}

TEST_F(TimesheetResponseTest, TenSuggestionsOfEachKind) {
    const JSON suggestions = render()["data"]["uncategorized"]["suggestions"];
    EXPECT_EQ(suggestions["terms"].size(), 10u);
    EXPECT_EQ(suggestions["terms"][9], JSON::parse(R"({"seconds": 4, "term": "term9"})"));
    EXPECT_EQ(suggestions["entities"], JSON::parse(R"([{"kind": "app", "seconds": 4, "value": "Safari"}])"));
}

TEST_F(TimesheetResponseTest, TheQueryIsEchoed) {
    echo_.weekStart = "monday";
    echo_.idleSeconds = 600;
    const JSON document = render();
    EXPECT_EQ(document["meta"]["query"], JSON::parse(R"({"categories": [{"name": "Mail", "rules": ["app:Mail"]},
        {"name": "Coding", "rules": ["app:Xcode"]}, {"name": "Nothing", "rules": ["app:Sketch"]}],
        "from": "2026-03-31T10:00:00Z", "idle_seconds": 600, "max_chars": null, "preset": "recent",
        "to": "2026-04-01T10:00:00Z", "week_start": "monday"})"));
    EXPECT_EQ(document["meta"]["truncated"], false);
}

TEST_F(TimesheetResponseTest, ABudgetTooSmallNamesTheLeastThatFits) {
    echo_.maxChars = 100;
    std::int64_t least = 0;
    try {
        render();
        FAIL() << "fitted";
    } catch (const SummaryBudgetTooSmall& tooSmall) {
        EXPECT_EQ(tooSmall.budget(), 100);
        least = tooSmall.minimum();
    }
    echo_.maxChars = least;
    const JSON smallest = render();
    EXPECT_EQ(printedCharacters(smallest), least);
    EXPECT_EQ(smallest["meta"]["omitted"], JSON::parse(R"({"applications": 1, "entities": 1, "spans": 3,
        "terms": 10})"));
    EXPECT_EQ(smallest["data"]["days"].size(), 2u);
    echo_.maxChars = least - 1;
    EXPECT_THROW(render(), SummaryBudgetTooSmall);
}

}  // namespace
}  // namespace VarnholtQueryLib
