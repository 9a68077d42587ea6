#include "summary/ActivityAccountant.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/LocalCalendar.h"
#include "selection/RowSelector.h"
#include "TestInstants.h"

namespace VarnholtQueryLib {
namespace {

// 2026-04-01T10:00:00Z, a whole multiple of five minutes.
using VarnholtTestSupport::kT;
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

ActivityRow rowWithLists(double time, const std::string& id, std::vector<std::string> apps = {},
                std::vector<EntityPair> entities = {}) {
    ActivityRow activity;
    activity.time = time;
    activity.id = id;
    activity.apps = std::move(apps);
    activity.entities = std::move(entities);
    return activity;
}

// The range of `rows`: from the first row's time to `coverEnd`.
AccountingRules rulesFor(const std::vector<ActivityRow>& rows, double coverEnd,
                         std::optional<std::string> kind = std::nullopt, double idle = kIdle) {
    AccountingRules rules;
    rules.idleSeconds = idle;
    rules.rangeStart = rows.empty() ? coverEnd : rows.front().time;
    for (const ActivityRow& activity : rows) rules.rangeStart = std::min(rules.rangeStart, activity.time);
    rules.coverEnd = coverEnd;
    rules.kind = std::move(kind);
    return rules;
}

// An index for application and entity rules, which never ask it; text
// rules hold their words where the test says.
class GivenRowidsIndex final : public FullTextMatchPort {
public:
    bool holdsWord(const std::string&) override { return true; }
    std::vector<std::int64_t> rowidsMatching(const std::vector<MatchTerm>&, double, double) override {
        return rowids;
    }
    std::vector<std::int64_t> rowids;
};

class ActivityAccountantTest : public ::testing::Test {
protected:
    ActivityAccount account(const std::vector<ActivityRow>& rows, double coverEnd,
                            std::optional<std::string> kind = std::nullopt, double idle = kIdle) {
        return accountWith(rows, rulesFor(rows, coverEnd, std::move(kind), idle));
    }

    ActivityAccount accountWith(const std::vector<ActivityRow>& rows, const AccountingRules& rules,
                                RowSelector* selector = nullptr) {
        ActivityAccountant accountant(calendar, rules, selector);
        accountant.restart();
        for (const ActivityRow& activity : rows) accountant.add(activity);
        return accountant.close(descriptions);
    }

    // The account of the rows that `rules` pick.
    ActivityAccount selected(const std::vector<ActivityRow>& rows, double coverEnd, const RuleSet& selection) {
        RowSelector selector = RowSelector::resolve({selection}, index, 0, 0);
        return accountWith(rows, rulesFor(rows, coverEnd), &selector);
    }

    LocalCalendar calendar{"UTC", "en_US"};
    FakeDescriptions descriptions;
    GivenRowidsIndex index;
};

TEST_F(ActivityAccountantTest, NoRowsMakeAnEmptyAccount) {
    // Its one day (the range is an instant of it) has nothing either.
    ActivityAccount expected;
    expected.days = {{"2026-04-01", 0, 0, std::nullopt, std::nullopt, 0, {}}};
    EXPECT_EQ(account({}, kT), expected);
}

TEST_F(ActivityAccountantTest, EachRowCoversUntilTheNextAtMostTheIdleGap) {
    const ActivityAccount result =
        account({rowWithLists(kT, "a", {"Xcode"}), rowWithLists(kT + 100, "b", {"Xcode"}), rowWithLists(kT + 500, "c", {"Safari"})},
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
    EXPECT_EQ(account({rowWithLists(kT, "a"), rowWithLists(kT + kIdle, "b")}, kT + 2000).sessions.size(), 1u);
    const ActivityAccount split = account({rowWithLists(kT, "a"), rowWithLists(kT + kIdle + 0.25, "b")}, kT + 2000);
    ASSERT_EQ(split.sessions.size(), 2u);
    EXPECT_EQ(split.sessions[0].end, kT + kIdle);
    EXPECT_EQ(split.activeSeconds, 2 * kIdle);
}

TEST_F(ActivityAccountantTest, TheLastRowCoversUntilTheEndOfTheRangeOrNow) {
    EXPECT_EQ(account({rowWithLists(kT, "a")}, kT + 42.5).activeSeconds, 42.5);
    EXPECT_EQ(account({rowWithLists(kT, "a")}, kT + 42.5).sessions[0].end, kT + 42.5);
    EXPECT_EQ(account({rowWithLists(kT, "a")}, kT + 4000).activeSeconds, kIdle);
    // A row after now (a clock ahead) covers nothing.
    EXPECT_EQ(account({rowWithLists(kT, "a")}, kT - 10).activeSeconds, 0);
    EXPECT_EQ(account({rowWithLists(kT, "a")}, kT - 10).sessions[0].end, kT);
}

TEST_F(ActivityAccountantTest, EqualTimesCountTheSameInEveryOrder) {
    std::vector<ActivityRow> rows = {rowWithLists(kT, "b", {"Mail"}), rowWithLists(kT, "a", {"Xcode"}),
                                     rowWithLists(kT, "c", {"Slack"}, {{"app", "Slack"}})};
    rows[0].sequence = 7;
    rows[1].sequence = 3;
    rows[2].sequence = 5;
    const ActivityRow after = rowWithLists(kT + 60, "z", {"Terminal"});
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
    ActivityRow first = rowWithLists(kT, "same", {"Mail"});
    first.sequence = 2;
    ActivityRow second = rowWithLists(kT, "same", {"Xcode"});
    second.sequence = 1;
    const ActivityAccount result = account({first, second}, kT + 30);
    EXPECT_EQ(result.applications[0], (ApplicationTime{"Mail", 30, 1}));
    EXPECT_EQ(account({second, first}, kT + 30), result);
}

TEST_F(ActivityAccountantTest, ApplicationsCountOncePerRowUnderTheirEarliestSpelling) {
    const ActivityAccount result = account(
        {rowWithLists(kT, "a", {"xcode", "Safari", "XCODE"}), rowWithLists(kT + 10, "b", {"Xcode"}), rowWithLists(kT + 20, "c", {})},
        kT + 25);
    EXPECT_EQ(result.applications,
              (std::vector<ApplicationTime>{{"xcode", 20, 2}, {"Safari", 10, 1}}));
    EXPECT_EQ(result.sessions[0].applications, result.applications);
    EXPECT_EQ(result.days[0].applications, result.applications);
}

TEST_F(ActivityAccountantTest, ListsOrderByPrintedSecondsThenByName) {
    // 10.4 and 9.6 both print as 10: the names decide.
    const ActivityAccount result =
        account({rowWithLists(kT, "a", {"Zed"}), rowWithLists(kT + 10.4, "b", {"Atom"}), rowWithLists(kT + 20, "c", {"Vim"})}, kT + 20.1);
    EXPECT_EQ(result.applications[0].name, "Atom");
    EXPECT_EQ(result.applications[1].name, "Zed");
    EXPECT_EQ(result.applications[2].name, "Vim");
}

TEST_F(ActivityAccountantTest, AnEntityIsAKindAndAValueWhateverItsLetterCase) {
    const ActivityAccount result = account(
        {rowWithLists(kT, "a", {}, {{"app", "Xcode"}, {"app", "Xcode"}, {"language", "Swift"}}),
         rowWithLists(kT + 50, "b", {}, {{"app", "xcode"}}), rowWithLists(kT + 80, "c", {}, {{"app", "Xcode"}}),
         rowWithLists(kT + 85, "d", {}, {{"App", "Xcode"}})},
        kT + 90);
    // "Xcode" and "xcode" are one entity, spelt as two of its three rows do;
    // a kind compares exactly.
    EXPECT_EQ(result.entities, (std::vector<EntityTime>{{"app", "Xcode", 85, 3, kT, kT + 80},
                                                        {"language", "Swift", 50, 1, kT, kT},
                                                        {"App", "Xcode", 5, 1, kT + 85, kT + 85}}));
}

TEST_F(ActivityAccountantTest, AnEntityIsSpeltAsMostOfItsRowsSpellIt) {
    // swift: rows a, c; SWIFT: rows b, c, d; Swift: row e. A row holding two
    // spellings counts for each, and once for the entity.
    const ActivityAccount result = account(
        {rowWithLists(kT, "a", {}, {{"language", "swift"}}), rowWithLists(kT + 10, "b", {}, {{"language", "SWIFT"}}),
         rowWithLists(kT + 20, "c", {}, {{"language", "swift"}, {"language", "SWIFT"}}),
         rowWithLists(kT + 30, "d", {}, {{"language", "SWIFT"}}), rowWithLists(kT + 40, "e", {}, {{"language", "Swift"}})},
        kT + 50);
    EXPECT_EQ(result.entities, (std::vector<EntityTime>{{"language", "SWIFT", 50, 5, kT, kT + 40}}));
}

TEST_F(ActivityAccountantTest, AmongEquallyUsedSpellingsTheEarliestRowsIsShown) {
    const ActivityAccount result = account(
        {rowWithLists(kT, "a", {}, {{"tool", "Git"}}), rowWithLists(kT + 10, "b", {}, {{"tool", "GIT"}}),
         rowWithLists(kT + 20, "c", {}, {{"tool", "git"}, {"tool", "GIT"}}), rowWithLists(kT + 30, "d", {}, {{"tool", "git"}}),
         rowWithLists(kT + 40, "e", {}, {{"tool", "Git"}})},
        kT + 50);
    // Git, GIT and git are used by two rows each: Git came first.
    ASSERT_EQ(result.entities.size(), 1u);
    EXPECT_EQ(result.entities[0].value, "Git");
    EXPECT_EQ(result.entities[0].count, 5);
}

TEST_F(ActivityAccountantTest, AKindKeepsOnlyItsEntities) {
    const ActivityAccount result =
        account({rowWithLists(kT, "a", {"Xcode"}, {{"app", "Xcode"}, {"language", "Swift"}})}, kT + 10, "language");
    EXPECT_EQ(result.entities, (std::vector<EntityTime>{{"language", "Swift", 10, 1, kT, kT}}));
    EXPECT_EQ(result.applications.size(), 1u);
}

TEST_F(ActivityAccountantTest, DaysAreTheUsersLocalDaysAndCountWhereTheRowIs) {
    const LocalCalendar newYork("America/New_York", "en_US");
    // 2026-03-08 is a 23-hour day in New York: 05:00Z is midnight (EST),
    // 2026-03-09 starts at 04:00Z (EDT).
    constexpr double kMarch8 = 1772946000.0;
    constexpr double kMarch9 = kMarch8 + 23 * 3600;
    ActivityAccountant accountant(newYork, {kIdle, kMarch8, kMarch9 + 5000, std::nullopt, {}});
    accountant.restart();
    accountant.add(rowWithLists(kMarch9 - 100, "late", {"Mail"}));  // 23:58:20 on the 8th
    accountant.add(rowWithLists(kMarch9 + 100, "early", {"Xcode"}));  // 00:01:40 on the 9th
    accountant.add(rowWithLists(kMarch9 + 4000, "later", {"Xcode"}));
    const ActivityAccount result = accountant.close(descriptions);
    ASSERT_EQ(result.days.size(), 2u);
    EXPECT_EQ(result.days[0].date, "2026-03-08");
    // The late row's cover reaches past midnight and still counts for its day.
    EXPECT_EQ(result.days[0].activeSeconds, 200);
    EXPECT_EQ(result.days[0].sessionCount, 1);
    EXPECT_EQ(result.days[0].firstActivity, kMarch9 - 100);
    EXPECT_EQ(result.days[0].lastActivity, kMarch9 - 100);
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
    ActivityAccountant accountant(newYork, {kIdle, kNovember1, kNovember1 + 30 * 3600, std::nullopt, {}});
    accountant.restart();
    accountant.add(rowWithLists(kNovember1 + 60, "a"));
    accountant.add(rowWithLists(kNovember1 + 24.5 * 3600, "b"));  // 23:30 EST, still 1 November
    accountant.add(rowWithLists(kNovember1 + 25 * 3600 + 60, "c"));  // 00:01 on 2 November
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
            ActivityRow activity = rowWithLists(kT + 300.0 * static_cast<double>(m) + 60.0 * i, "o" + std::to_string(sequence));
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
    ActivityAccountant accountant(calendar, {kIdle, kT, kT + 100, std::nullopt, {}});
    accountant.restart();
    accountant.add(rowWithLists(kT + 10, "a"));
    EXPECT_THROW(accountant.add(rowWithLists(kT, "b")), std::logic_error);
}

TEST_F(ActivityAccountantTest, RestartForgetsTheRowsBefore) {
    ActivityAccountant accountant(calendar, {kIdle, kT, kT + 100, std::nullopt, {}});
    accountant.add(rowWithLists(kT + 50, "gone", {"Mail"}));
    accountant.restart();
    accountant.add(rowWithLists(kT, "a", {"Xcode"}));
    const ActivityAccount result = accountant.close(descriptions);
    EXPECT_EQ(result.observationCount, 1);
    EXPECT_EQ(result.applications, (std::vector<ApplicationTime>{{"Xcode", 100, 1}}));
}

// ---- Every day of the range -------------------------------------------

constexpr double kDay = 86400;
// 2026-04-01T00:00:00Z, a Wednesday.
constexpr double kApril1 = 1775001600.0;

TEST_F(ActivityAccountantTest, EveryDayOfTheRangeIsListedWithOrWithoutRows) {
    // 1 April 12:00 to 5 April 12:00 (now), rows on 2 and 4 April only.
    AccountingRules rules{kIdle, kApril1 + kDay / 2, kApril1 + 4.5 * kDay, std::nullopt, {}};
    const ActivityAccount result =
        accountWith({rowWithLists(kApril1 + kDay + 60, "a", {"Xcode"}), rowWithLists(kApril1 + 3 * kDay + 60, "b", {"Mail"})}, rules);
    ASSERT_EQ(result.days.size(), 5u);
    const std::vector<std::string> dates = {"2026-04-01", "2026-04-02", "2026-04-03", "2026-04-04", "2026-04-05"};
    for (std::size_t i = 0; i < dates.size(); ++i) EXPECT_EQ(result.days[i].date, dates[i]);
    // A day without rows: nothing, and no first or last activity.
    for (const std::size_t empty : {0u, 2u, 4u}) {
        EXPECT_EQ(result.days[empty], (ActivityDay{dates[empty], 0, 0, std::nullopt, std::nullopt, 0, {}}));
    }
    EXPECT_EQ(result.days[1], (ActivityDay{"2026-04-02", kIdle, 1, kApril1 + kDay + 60, kApril1 + kDay + 60, 1,
                                           {{"Xcode", kIdle, 1}}}));
    EXPECT_EQ(result.days[3].observationCount, 1);
}

TEST_F(ActivityAccountantTest, ARangeEndingAtMidnightListsNoDayAfterIt) {
    AccountingRules rules{kIdle, kApril1, kApril1 + 2 * kDay, std::nullopt, {}};
    const ActivityAccount result = accountWith({}, rules);
    ASSERT_EQ(result.days.size(), 2u);
    EXPECT_EQ(result.days[1].date, "2026-04-02");
    // A row exactly at that midnight is in the range, and its day is listed.
    const ActivityAccount atEnd = accountWith({rowWithLists(kApril1 + 2 * kDay, "a")}, rules);
    ASSERT_EQ(atEnd.days.size(), 3u);
    EXPECT_EQ(atEnd.days[2].date, "2026-04-03");
    EXPECT_EQ(atEnd.days[2].observationCount, 1);
}

TEST_F(ActivityAccountantTest, DaysEndWhereNowIsWhenTheRangeGoesOn) {
    // This week from Monday 30 March to Sunday, now Wednesday 1 April 10:00.
    AccountingRules rules{kIdle, kApril1 - 2 * kDay, kApril1 + 36000, std::nullopt, {}};
    const ActivityAccount result = accountWith({}, rules);
    ASSERT_EQ(result.days.size(), 3u);
    EXPECT_EQ(result.days.back().date, "2026-04-01");
    // A range wholly after now lists none.
    EXPECT_TRUE(accountWith({}, {kIdle, kApril1 + kDay, kApril1, std::nullopt, {}}).days.empty());
}

TEST_F(ActivityAccountantTest, ATwentyThreeHourDayIsOneOfTheRangesDays) {
    const LocalCalendar newYork("America/New_York", "en_US");
    ActivityAccountant accountant(newYork, {kIdle, 1772859600.0, 1773115200.0, std::nullopt, {}});
    const ActivityAccount result = accountant.close(descriptions);
    // 7 to 9 March 2026 local (8 March has 23 hours), ending at 10 March 00:00 EDT.
    ASSERT_EQ(result.days.size(), 3u);
    EXPECT_EQ(result.days[0].date, "2026-03-07");
    EXPECT_EQ(result.days[1].date, "2026-03-08");
    EXPECT_EQ(result.days[2].date, "2026-03-09");
}

TEST_F(ActivityAccountantTest, ARangeOfMoreDaysThanAnAnswerListsIsRefused) {
    const double most = static_cast<double>(ActivityAccountant::kMostDays);
    EXPECT_NO_THROW(ActivityAccountant(calendar, {kIdle, kApril1, kApril1 + most * kDay, std::nullopt, {}}));
    EXPECT_THROW(ActivityAccountant(calendar, {kIdle, kApril1, kApril1 + most * kDay + 1, std::nullopt, {}}),
                 TooManyDays);
    // Without days none are listed, whatever the range.
    SummarySections noDays;
    noDays.days = false;
    EXPECT_NO_THROW(ActivityAccountant(calendar, {kIdle, -1e15, 1e15, std::nullopt, noDays}));
}

// ---- Sections -------------------------------------------------------------

TEST_F(ActivityAccountantTest, OnlyTheSectionsAskedForAreCounted) {
    const std::vector<ActivityRow> rows = {rowWithLists(kT, "a", {"Xcode"}, {{"app", "Xcode"}}),
                                           rowWithLists(kT + 1000, "b", {"Mail"}, {{"app", "Mail"}})};
    AccountingRules rules = rulesFor(rows, kT + 1100);
    rules.sections = *SummarySections::named({"days"});
    const ActivityAccount days = accountWith(rows, rules);
    EXPECT_EQ(days.activeSeconds, 400);
    EXPECT_EQ(days.observationCount, 2);
    EXPECT_TRUE(days.sessions.empty());
    EXPECT_TRUE(days.applications.empty());
    EXPECT_TRUE(days.entities.empty());
    ASSERT_EQ(days.days.size(), 1u);
    EXPECT_EQ(days.days[0].sessionCount, 2);
    EXPECT_EQ(days.days[0].applications, (std::vector<ApplicationTime>{{"Xcode", 300, 1}, {"Mail", 100, 1}}));
    EXPECT_TRUE(descriptions.asked.empty());

    rules.sections = *SummarySections::named({"entities", "coverage"});
    const ActivityAccount entities = accountWith(rows, rules);
    EXPECT_TRUE(entities.days.empty());
    EXPECT_TRUE(entities.applications.empty());
    EXPECT_EQ(entities.entities.size(), 2u);
    EXPECT_EQ(entities.activeSeconds, 400);
}

// ---- Selection --------------------------------------------------------------

TEST_F(ActivityAccountantTest, APickedRowCoversUntilTheNextRowPickedOrNot) {
    // a (Xcode) is followed 100 s later by b (Mail): a's cover ends at b.
    const ActivityAccount result =
        selected({rowWithLists(kT, "a", {"Xcode"}), rowWithLists(kT + 100, "b", {"Mail"}), rowWithLists(kT + 200, "c", {"Xcode"})}, kT + 260,
                 {ApplicationRule{"xcode"}});
    EXPECT_EQ(result.activeSeconds, 160);
    EXPECT_EQ(result.observationCount, 2);
    EXPECT_EQ(result.rangeObservationCount, 3);
    EXPECT_EQ(result.firstActivity, kT);
    EXPECT_EQ(result.lastActivity, kT + 200);
    EXPECT_EQ(result.applications, (std::vector<ApplicationTime>{{"Xcode", 160, 2}}));
    // The unpicked row counts nowhere.
    EXPECT_EQ(result.days[0].observationCount, 2);
    EXPECT_EQ(result.days[0].activeSeconds, 160);
}

TEST_F(ActivityAccountantTest, PickedRowsWithinTheIdleGapOfEachOtherAreOneSession) {
    // Picked rows 200 s apart with an unpicked row between: one session of
    // the picked rows' covers; 400 s apart: two.
    const ActivityAccount within =
        selected({rowWithLists(kT, "a", {"Xcode"}), rowWithLists(kT + 100, "b", {"Mail"}), rowWithLists(kT + 200, "c", {"Xcode"})}, kT + 230,
                 {ApplicationRule{"Xcode"}});
    ASSERT_EQ(within.sessions.size(), 1u);
    EXPECT_EQ(within.sessions[0].start, kT);
    EXPECT_EQ(within.sessions[0].end, kT + 230);
    EXPECT_EQ(within.sessions[0].activeSeconds, 130);
    EXPECT_EQ(within.sessions[0].observationCount, 2);

    const ActivityAccount beyond =
        selected({rowWithLists(kT, "a", {"Xcode"}), rowWithLists(kT + 200, "b", {"Mail"}), rowWithLists(kT + 400, "c", {"Xcode"})}, kT + 430,
                 {ApplicationRule{"Xcode"}});
    ASSERT_EQ(beyond.sessions.size(), 2u);
    EXPECT_EQ(beyond.sessions[0].end, kT + 200);
    EXPECT_EQ(beyond.sessions[1].start, kT + 400);
    EXPECT_EQ(beyond.days[0].sessionCount, 2);
}

TEST_F(ActivityAccountantTest, APickedRowTiedWithALaterUnpickedOneCoversNothing) {
    // a and b share a time; b is last by id and covers the 50 s.
    const ActivityAccount result =
        selected({rowWithLists(kT, "a", {"Xcode"}), rowWithLists(kT, "b", {"Mail"}), rowWithLists(kT + 50, "c", {"Mail"})}, kT + 60,
                 {ApplicationRule{"Xcode"}});
    EXPECT_EQ(result.activeSeconds, 0);
    EXPECT_EQ(result.observationCount, 1);
}

TEST_F(ActivityAccountantTest, ASelectionNeverCountsMoreThanTheWhole) {
    std::vector<ActivityRow> rows;
    for (int i = 0; i < 40; ++i) {
        rows.push_back(rowWithLists(kT + 37.0 * i * (i % 3 + 1), "r" + std::to_string(100 + i),
                           {i % 2 == 0 ? "Xcode" : "Mail"}, {{"language", i % 3 == 0 ? "Swift" : "Go"}}));
    }
    std::sort(rows.begin(), rows.end(), [](const ActivityRow& a, const ActivityRow& b) { return a.time < b.time; });
    const ActivityAccount whole = account(rows, kT + 9000);
    for (const RuleSet& selection : {RuleSet{ApplicationRule{"Xcode"}}, RuleSet{EntityRule{"language", "swift"}},
                                     RuleSet{ApplicationRule{"Xcode"}, EntityRule{std::nullopt, "Go"}}}) {
        const ActivityAccount part = selected(rows, kT + 9000, selection);
        EXPECT_LE(part.activeSeconds, whole.activeSeconds);
        EXPECT_LE(part.observationCount, whole.observationCount);
        EXPECT_EQ(part.rangeObservationCount, whole.observationCount);
    }
    // Picking every row is the whole account.
    const ActivityAccount all = selected(rows, kT + 9000, {ApplicationRule{"Xcode"}, ApplicationRule{"Mail"}});
    EXPECT_EQ(all, whole);
}

TEST_F(ActivityAccountantTest, TextRulesPickTheRowsTheIndexFound) {
    index.rowids = {2, 3};
    std::vector<ActivityRow> rows = {rowWithLists(kT, "a"), rowWithLists(kT + 10, "b"), rowWithLists(kT + 20, "c")};
    for (std::int64_t i = 0; i < 3; ++i) rows[static_cast<std::size_t>(i)].rowid = i + 1;
    const ActivityAccount result = selected(rows, kT + 25, {TextRule{"invoice"}});
    EXPECT_EQ(result.observationCount, 2);
    EXPECT_EQ(result.activeSeconds, 15);
    EXPECT_EQ(result.firstActivity, kT + 10);
}

TEST(WholeSecondsTest, RoundsToTheNearestSecondHalvesUp) {
    EXPECT_EQ(wholeSeconds(0.4999), 0);
    EXPECT_EQ(wholeSeconds(0.5), 1);
    EXPECT_EQ(wholeSeconds(2.5), 3);
    EXPECT_EQ(wholeSeconds(299.99), 300);
}

}  // namespace
}  // namespace VarnholtQueryLib
