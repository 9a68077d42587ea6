#include "summary/ActivityAccountant.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/LocalCalendar.h"

namespace VarnholtQueryLib {
namespace {

// 2026-04-01T10:00:00Z, a whole multiple of five minutes.
constexpr double kT = 1775037600.0;
constexpr double kIdle = 300;

// Descriptions by sequence, recording which were asked for.
class FakeDescriptions final : public DescriptionSource {
public:
    std::string descriptionOf(std::int64_t sequence) override {
        asked.push_back(sequence);
        const auto found = texts.find(sequence);
        return found == texts.end() ? std::string() : found->second;
    }

    std::map<std::int64_t, std::string> texts;
    std::vector<std::int64_t> asked;
};

ActivityRow row(double time, const std::string& id, std::vector<std::string> apps = {},
                std::vector<EntityPair> entities = {}) {
    ActivityRow activity;
    activity.time = time;
    activity.id = id;
    activity.apps = std::move(apps);
    activity.entities = std::move(entities);
    return activity;
}

class ActivityAccountantTest : public ::testing::Test {
protected:
    ActivityAccount account(const std::vector<ActivityRow>& rows, double coverEnd,
                            std::optional<std::string> kind = std::nullopt, double idle = kIdle) {
        ActivityAccountant accountant(calendar, idle, coverEnd, std::move(kind));
        accountant.restart();
        for (const ActivityRow& activity : rows) accountant.add(activity);
        return accountant.close(descriptions);
    }

    LocalCalendar calendar{"UTC", "en_US"};
    FakeDescriptions descriptions;
};

TEST_F(ActivityAccountantTest, NoRowsMakeAnEmptyAccount) {
    const ActivityAccount empty = account({}, kT);
    EXPECT_EQ(empty, ActivityAccount{});
}

TEST_F(ActivityAccountantTest, EachRowCoversUntilTheNextAtMostTheIdleGap) {
    const ActivityAccount result =
        account({row(kT, "a", {"Xcode"}), row(kT + 100, "b", {"Xcode"}), row(kT + 500, "c", {"Safari"})},
                kT + 1000);
    // 100 (to b), 300 (400 to c, capped), 300 (500 to the end, capped).
    EXPECT_EQ(result.activeSeconds, 700);
    EXPECT_EQ(result.observationCount, 3);
    EXPECT_EQ(result.firstActivity, kT);
    EXPECT_EQ(result.lastActivity, kT + 500);
    ASSERT_EQ(result.sessions.size(), 2u);
    EXPECT_EQ(result.sessions[0].start, kT);
    EXPECT_EQ(result.sessions[0].end, kT + 400);
    EXPECT_EQ(result.sessions[0].activeSeconds, 400);
    EXPECT_EQ(result.sessions[0].observationCount, 2);
    EXPECT_EQ(result.sessions[1].start, kT + 500);
    EXPECT_EQ(result.sessions[1].end, kT + 800);
    EXPECT_EQ(result.applications,
              (std::vector<ApplicationTime>{{"Xcode", 400, 2}, {"Safari", 300, 1}}));
}

TEST_F(ActivityAccountantTest, ARowExactlyTheIdleGapAfterTheLastContinuesItsSession) {
    EXPECT_EQ(account({row(kT, "a"), row(kT + kIdle, "b")}, kT + 2000).sessions.size(), 1u);
    const ActivityAccount split = account({row(kT, "a"), row(kT + kIdle + 0.25, "b")}, kT + 2000);
    ASSERT_EQ(split.sessions.size(), 2u);
    EXPECT_EQ(split.sessions[0].end, kT + kIdle);
    EXPECT_EQ(split.activeSeconds, 2 * kIdle);
}

TEST_F(ActivityAccountantTest, TheLastRowCoversUntilTheEndOfTheRangeOrNow) {
    EXPECT_EQ(account({row(kT, "a")}, kT + 42.5).activeSeconds, 42.5);
    EXPECT_EQ(account({row(kT, "a")}, kT + 42.5).sessions[0].end, kT + 42.5);
    EXPECT_EQ(account({row(kT, "a")}, kT + 4000).activeSeconds, kIdle);
    // A row after now (a clock ahead) covers nothing.
    EXPECT_EQ(account({row(kT, "a")}, kT - 10).activeSeconds, 0);
    EXPECT_EQ(account({row(kT, "a")}, kT - 10).sessions[0].end, kT);
}

TEST_F(ActivityAccountantTest, EqualTimesCountTheSameInEveryOrder) {
    std::vector<ActivityRow> rows = {row(kT, "b", {"Mail"}), row(kT, "a", {"Xcode"}),
                                     row(kT, "c", {"Slack"}, {{"app", "Slack"}})};
    rows[0].sequence = 7;
    rows[1].sequence = 3;
    rows[2].sequence = 5;
    const ActivityRow after = row(kT + 60, "z", {"Terminal"});
    std::sort(rows.begin(), rows.end(), [](const ActivityRow& a, const ActivityRow& b) { return a.id < b.id; });
    std::vector<ActivityAccount> accounts;
    do {
        std::vector<ActivityRow> ordered = rows;
        ordered.push_back(after);
        accounts.push_back(account(ordered, kT + 100));
    } while (std::next_permutation(rows.begin(), rows.end(),
                                   [](const ActivityRow& a, const ActivityRow& b) { return a.id < b.id; }));
    ASSERT_EQ(accounts.size(), 6u);
    for (const ActivityAccount& each : accounts) EXPECT_EQ(each, accounts.front());
    // Only the last of equal times covers: "c", last by id.
    const ActivityAccount& result = accounts.front();
    EXPECT_EQ(result.activeSeconds, 100);
    ASSERT_EQ(result.applications.size(), 4u);
    EXPECT_EQ(result.applications[0], (ApplicationTime{"Slack", 60, 1}));
    EXPECT_EQ(result.applications[1], (ApplicationTime{"Terminal", 40, 1}));
    EXPECT_EQ(result.applications[2], (ApplicationTime{"Mail", 0, 1}));
    EXPECT_EQ(result.applications[3], (ApplicationTime{"Xcode", 0, 1}));
}

TEST_F(ActivityAccountantTest, EqualTimesAndIdsOrderBySequence) {
    ActivityRow first = row(kT, "same", {"Mail"});
    first.sequence = 2;
    ActivityRow second = row(kT, "same", {"Xcode"});
    second.sequence = 1;
    const ActivityAccount result = account({first, second}, kT + 30);
    EXPECT_EQ(result.applications[0], (ApplicationTime{"Mail", 30, 1}));
    EXPECT_EQ(account({second, first}, kT + 30), result);
}

TEST_F(ActivityAccountantTest, ApplicationsCountOncePerRowUnderTheirEarliestSpelling) {
    const ActivityAccount result = account(
        {row(kT, "a", {"xcode", "Safari", "XCODE"}), row(kT + 10, "b", {"Xcode"}), row(kT + 20, "c", {})},
        kT + 25);
    EXPECT_EQ(result.applications,
              (std::vector<ApplicationTime>{{"xcode", 20, 2}, {"Safari", 10, 1}}));
    EXPECT_EQ(result.sessions[0].applications, result.applications);
    EXPECT_EQ(result.days[0].applications, result.applications);
}

TEST_F(ActivityAccountantTest, ListsOrderByPrintedSecondsThenByName) {
    // 10.4 and 9.6 both print as 10: the names decide.
    const ActivityAccount result =
        account({row(kT, "a", {"Zed"}), row(kT + 10.4, "b", {"Atom"}), row(kT + 20, "c", {"Vim"})}, kT + 20.1);
    EXPECT_EQ(result.applications[0].name, "Atom");
    EXPECT_EQ(result.applications[1].name, "Zed");
    EXPECT_EQ(result.applications[2].name, "Vim");
}

TEST_F(ActivityAccountantTest, EntitiesCountDistinctPairsPerRow) {
    const ActivityAccount result = account(
        {row(kT, "a", {}, {{"app", "Xcode"}, {"app", "Xcode"}, {"language", "Swift"}}),
         row(kT + 50, "b", {}, {{"app", "xcode"}}), row(kT + 80, "c", {}, {{"app", "Xcode"}})},
        kT + 90);
    EXPECT_EQ(result.entities, (std::vector<EntityTime>{{"app", "Xcode", 60, 2, kT, kT + 80},
                                                        {"language", "Swift", 50, 1, kT, kT},
                                                        {"app", "xcode", 30, 1, kT + 50, kT + 50}}));
}

TEST_F(ActivityAccountantTest, AKindKeepsOnlyItsEntities) {
    const ActivityAccount result =
        account({row(kT, "a", {"Xcode"}, {{"app", "Xcode"}, {"language", "Swift"}})}, kT + 10, "language");
    EXPECT_EQ(result.entities, (std::vector<EntityTime>{{"language", "Swift", 10, 1, kT, kT}}));
    EXPECT_EQ(result.applications.size(), 1u);
}

TEST_F(ActivityAccountantTest, DaysAreTheUsersLocalDaysAndCountWhereTheRowIs) {
    const LocalCalendar newYork("America/New_York", "en_US");
    // 2026-03-08 is a 23-hour day in New York: 05:00Z is midnight (EST),
    // 2026-03-09 starts at 04:00Z (EDT).
    constexpr double kMarch8 = 1772946000.0;
    constexpr double kMarch9 = kMarch8 + 23 * 3600;
    ActivityAccountant accountant(newYork, kIdle, kMarch9 + 5000, std::nullopt);
    accountant.restart();
    accountant.add(row(kMarch9 - 100, "late", {"Mail"}));  // 23:58:20 on the 8th
    accountant.add(row(kMarch9 + 100, "early", {"Xcode"}));  // 00:01:40 on the 9th
    accountant.add(row(kMarch9 + 4000, "later", {"Xcode"}));
    const ActivityAccount result = accountant.close(descriptions);
    ASSERT_EQ(result.days.size(), 2u);
    EXPECT_EQ(result.days[0].date, "2026-03-08");
    // The late row's cover reaches past midnight and still counts for its day.
    EXPECT_EQ(result.days[0].activeSeconds, 200);
    EXPECT_EQ(result.days[0].sessionCount, 1);
    EXPECT_EQ(result.days[0].firstActivity, kMarch9 - 100);
    EXPECT_EQ(result.days[1].date, "2026-03-09");
    EXPECT_EQ(result.days[1].activeSeconds, 600);
    EXPECT_EQ(result.days[1].observationCount, 2);
    // The first session started on the 8th; the 9th has only the second.
    EXPECT_EQ(result.days[1].sessionCount, 1);
    EXPECT_EQ(result.days[1].lastActivity, kMarch9 + 4000);
}

TEST_F(ActivityAccountantTest, ADayOfTwentyFiveHoursIsOneDay) {
    const LocalCalendar newYork("America/New_York", "en_US");
    // 2026-11-01 runs from 04:00Z (EDT) to 05:00Z the next day (EST).
    constexpr double kNovember1 = 1793505600.0;
    ActivityAccountant accountant(newYork, kIdle, kNovember1 + 30 * 3600, std::nullopt);
    accountant.restart();
    accountant.add(row(kNovember1 + 60, "a"));
    accountant.add(row(kNovember1 + 24.5 * 3600, "b"));  // 23:30 EST, still 1 November
    accountant.add(row(kNovember1 + 25 * 3600 + 60, "c"));  // 00:01 on 2 November
    const ActivityAccount result = accountant.close(descriptions);
    ASSERT_EQ(result.days.size(), 2u);
    EXPECT_EQ(result.days[0].date, "2026-11-01");
    EXPECT_EQ(result.days[0].observationCount, 2);
    EXPECT_EQ(result.days[1].date, "2026-11-02");
}

TEST_F(ActivityAccountantTest, HighlightsAreTheDistinctFirstDescriptionsOfTheBusiestMoments) {
    std::vector<ActivityRow> rows;
    std::int64_t sequence = 0;
    // Moments of one session with 1, 4, 3, 3 and 2 rows; the first row of
    // each moment describes it.
    const std::vector<std::pair<int, std::string>> moments = {
        {1, "quiet start"}, {4, "busy build"}, {3, "busy build"}, {3, "review"}, {2, "wrap up"}};
    for (std::size_t m = 0; m < moments.size(); ++m) {
        for (int i = 0; i < moments[m].first; ++i) {
            ActivityRow activity = row(kT + 300.0 * static_cast<double>(m) + 60.0 * i, "o" + std::to_string(sequence));
            activity.sequence = sequence++;
            if (i == 0) descriptions.texts[activity.sequence] = moments[m].second;
            if (i == 0 && m == 4) activity.description = "wrap up, as read with the row";
            rows.push_back(activity);
        }
    }
    const ActivityAccount result = account(rows, kT + 5000);
    ASSERT_EQ(result.sessions.size(), 1u);
    // Busiest: 4 rows (busy build), then 3 and 3 (the second "busy build" is
    // shown already, so review), then 2 (wrap up); shown in time order.
    EXPECT_EQ(result.sessions[0].highlights,
              (std::vector<Highlight>{{kT + 300, 0, "busy build"},
                                      {kT + 900, 1, "review"},
                                      {kT + 1200, 2, "wrap up, as read with the row"}}));
    // Only the rows without a description of their own were looked up.
    EXPECT_EQ(descriptions.asked, (std::vector<std::int64_t>{1, 5, 8}));
}

TEST_F(ActivityAccountantTest, RowsOutOfTimeOrderAreRefused) {
    ActivityAccountant accountant(calendar, kIdle, kT + 100, std::nullopt);
    accountant.restart();
    accountant.add(row(kT + 10, "a"));
    EXPECT_THROW(accountant.add(row(kT, "b")), std::logic_error);
}

TEST_F(ActivityAccountantTest, RestartForgetsTheRowsBefore) {
    ActivityAccountant accountant(calendar, kIdle, kT + 100, std::nullopt);
    accountant.add(row(kT + 50, "gone", {"Mail"}));
    accountant.restart();
    accountant.add(row(kT, "a", {"Xcode"}));
    const ActivityAccount result = accountant.close(descriptions);
    EXPECT_EQ(result.observationCount, 1);
    EXPECT_EQ(result.applications, (std::vector<ApplicationTime>{{"Xcode", 100, 1}}));
}

TEST(WholeSecondsTest, RoundsToTheNearestSecondHalvesUp) {
    EXPECT_EQ(wholeSeconds(0.4999), 0);
    EXPECT_EQ(wholeSeconds(0.5), 1);
    EXPECT_EQ(wholeSeconds(2.5), 3);
    EXPECT_EQ(wholeSeconds(299.99), 300);
}

}  // namespace
}  // namespace VarnholtQueryLib
