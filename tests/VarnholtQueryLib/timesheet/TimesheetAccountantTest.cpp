#include "timesheet/TimesheetAccountant.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "platform/LocalCalendar.h"
#include "selection/RowSelector.h"

namespace VarnholtQueryLib {
namespace {

// An index without a word: these tests' rules read applications and
// entities only.
class NoIndex final : public FullTextMatchPort {
public:
    bool holdsWord(const std::string&) override { return true; }
    std::vector<std::int64_t> rowidsMatching(const std::vector<MatchTerm>&, double, double) override { return {}; }
};

// Descriptions by sequence, recording what was asked.
class FakeDescriptions final : public DescriptionSource {
public:
    std::string descriptionOf(std::int64_t sequence) override {
        asked.push_back(sequence);
        return stored[sequence];
    }
    std::map<std::int64_t, std::string> stored;
    std::vector<std::int64_t> asked;
};

// 2026-04-01 00:00:00 UTC, a Wednesday.
constexpr double kMidnight = 1775001600;

ActivityRow listedRow(double time, const std::string& id, std::vector<std::string> apps,
                std::optional<std::string> description = "Working", std::vector<EntityPair> entities = {}) {
    ActivityRow activity;
    activity.time = time;
    activity.id = id;
    activity.sequence = static_cast<std::int64_t>(time);
    activity.apps = std::move(apps);
    activity.entities = std::move(entities);
    activity.description = std::move(description);
    return activity;
}

class TimesheetAccountantTest : public ::testing::Test {
protected:
    TimesheetAccount account(const std::vector<RuleSet>& categories, std::vector<ActivityRow> rows,
                             double rangeStart = kMidnight, double coverEnd = kMidnight + 86400) {
        RowSelector selector = RowSelector::resolve(categories, index_, rangeStart, coverEnd);
        TimesheetAccountant accountant(calendar_, {300, rangeStart, coverEnd, categories.size()}, selector,
                                       descriptions_);
        for (ActivityRow& activity : rows) accountant.add(std::move(activity));
        return accountant.close();
    }

    const LocalCalendar calendar_{"UTC", "en_US"};
    NoIndex index_;
    FakeDescriptions descriptions_;
};

TEST_F(TimesheetAccountantTest, EachRowGoesToTheFirstCategoryThatMatches) {
    const std::vector<RuleSet> categories = {{ApplicationRule{"Xcode"}}, {ApplicationRule{"Safari"}}};
    const TimesheetAccount sheet =
        account(categories, {listedRow(kMidnight + 100, "A", {"Safari", "Xcode"}), listedRow(kMidnight + 160, "B", {"Safari"}),
                             listedRow(kMidnight + 200, "C", {"Mail"})});
    EXPECT_EQ(sheet.activeSeconds, 60 + 40 + 300);
    EXPECT_EQ(sheet.observationCount, 3);
    ASSERT_EQ(sheet.categories.size(), 2u);
    EXPECT_EQ(sheet.categories[0].seconds, 60);
    EXPECT_EQ(sheet.categories[0].observationCount, 1);
    EXPECT_EQ(sheet.categories[1].seconds, 40);
    EXPECT_EQ(sheet.uncategorized.seconds, 300);
    EXPECT_EQ(sheet.uncategorized.observationCount, 1);
}

TEST_F(TimesheetAccountantTest, ACategoryThatMatchesNothingHasNoTime) {
    const TimesheetAccount sheet =
        account({{ApplicationRule{"Figma"}}}, {listedRow(kMidnight + 100, "A", {"Mail"})});
    EXPECT_EQ(sheet.categories.at(0), (TimesheetPart{0, 0, {0}, {}}));
    EXPECT_EQ(sheet.uncategorized.seconds, 300);
}

TEST_F(TimesheetAccountantTest, EveryDayOfTheRangeIsListedRowsOrNot) {
    const TimesheetAccount sheet = account({{ApplicationRule{"Mail"}}},
                                           {listedRow(kMidnight + 86400 + 100, "A", {"Mail"})}, kMidnight,
                                           kMidnight + 3 * 86400);
    ASSERT_EQ(sheet.days.size(), 3u);
    EXPECT_EQ(sheet.days[0], (TimesheetDay{"2026-04-01", 0}));
    EXPECT_EQ(sheet.days[1], (TimesheetDay{"2026-04-02", 300}));
    EXPECT_EQ(sheet.days[2], (TimesheetDay{"2026-04-03", 0}));
    EXPECT_EQ(sheet.categories[0].daySeconds, (std::vector<double>{0, 300, 0}));
    EXPECT_EQ(sheet.uncategorized.daySeconds, (std::vector<double>{0, 0, 0}));
}

TEST_F(TimesheetAccountantTest, ARowAtTheEndOfARangeEndingAtMidnightAddsItsDay) {
    const TimesheetAccount sheet =
        account({{ApplicationRule{"Mail"}}}, {listedRow(kMidnight + 86400, "A", {"Mail"})}, kMidnight, kMidnight + 86400);
    ASSERT_EQ(sheet.days.size(), 2u);
    EXPECT_EQ(sheet.days[1], (TimesheetDay{"2026-04-02", 0}));
    EXPECT_EQ(sheet.categories[0].observationCount, 1);
}

TEST_F(TimesheetAccountantTest, ACoverCountsForTheDayOfItsRow) {
    const TimesheetAccount sheet = account({{ApplicationRule{"Mail"}}},
                                           {listedRow(kMidnight + 86400 - 60, "A", {"Mail"}), listedRow(kMidnight + 86400 + 60, "B", {})},
                                           kMidnight, kMidnight + 2 * 86400);
    EXPECT_EQ(sheet.categories[0].daySeconds, (std::vector<double>{120, 0}));
    EXPECT_EQ(sheet.uncategorized.daySeconds, (std::vector<double>{0, 300}));
}

TEST_F(TimesheetAccountantTest, SpansFollowEachCategorysOwnRows) {
    // Mail, then Xcode in between, then Mail again within the idle gap of
    // Mail's row before: one Mail span; its seconds are its own rows' covers.
    const TimesheetAccount sheet =
        account({{ApplicationRule{"Mail"}}, {ApplicationRule{"Xcode"}}},
                {listedRow(kMidnight + 0, "A", {"Mail"}, "Answering mail"), listedRow(kMidnight + 100, "B", {"Xcode"}, "Coding"),
                 listedRow(kMidnight + 250, "C", {"Mail"}, "Answering mail"),
                 listedRow(kMidnight + 900, "D", {"Mail"}, "Filing mail")});
    ASSERT_EQ(sheet.categories[0].spans.size(), 2u);
    EXPECT_EQ(sheet.categories[0].spans[0], (TimesheetSpan{kMidnight, kMidnight + 550, 400, 2, "Answering mail"}));
    EXPECT_EQ(sheet.categories[0].spans[1], (TimesheetSpan{kMidnight + 900, kMidnight + 1200, 300, 1, "Filing mail"}));
    EXPECT_EQ(sheet.categories[1].spans,
              (std::vector<TimesheetSpan>{{kMidnight + 100, kMidnight + 250, 150, 1, "Coding"}}));
}

TEST_F(TimesheetAccountantTest, SuggestionsComeFromTheUncategorizedRowsOnly) {
    const TimesheetAccount sheet = account(
        {{ApplicationRule{"Xcode"}}},
        {listedRow(kMidnight + 0, "A", {"Xcode"}, "Fixing the parser", {{"app", "Xcode"}}),
         listedRow(kMidnight + 60, "B", {"Figma", "figma"}, "Sketching the invoice layout", {{"tool", "Figma"}}),
         listedRow(kMidnight + 180, "C", {"FIGMA"}, "Sketching invoice icons", {{"tool", "figma"}, {"tool", "FIGMA"}}),
         listedRow(kMidnight + 200, "D", {"Slack"}, "Sketching with jane@example.com")});
    const TimesheetSuggestions& suggestions = sheet.suggestions;
    EXPECT_EQ(suggestions.applications,
              (std::vector<ApplicationTime>{{"Slack", 300, 1}, {"Figma", 140, 2}}));
    ASSERT_EQ(suggestions.entities.size(), 1u);
    EXPECT_EQ(suggestions.entities[0].value, "Figma");
    EXPECT_EQ(suggestions.entities[0].seconds, 140);
    // Terms of the masked descriptions, most seconds first, then by name.
    std::vector<TermTime> expected = {{"sketching", 440}, {"email", 300}, {"invoice", 140}, {"icons", 20},
                                      {"invoice icons", 20}, {"sketching invoice", 20}, {"invoice layout", 120},
                                      {"layout", 120}};
    std::sort(expected.begin(), expected.end(), [](const TermTime& a, const TermTime& b) {
        if (a.seconds != b.seconds) return a.seconds > b.seconds;
        return a.term < b.term;
    });
    EXPECT_EQ(suggestions.terms, expected);
}

TEST_F(TimesheetAccountantTest, ARowWithoutItsDescriptionAsksForIt) {
    descriptions_.stored[kMidnight + 5] = "Reading the logs";
    const TimesheetAccount sheet =
        account({{ApplicationRule{"Xcode"}}}, {listedRow(kMidnight + 5, "A", {"Mail"}, std::nullopt)});
    EXPECT_EQ(descriptions_.asked, (std::vector<std::int64_t>{static_cast<std::int64_t>(kMidnight + 5)}));
    EXPECT_EQ(sheet.uncategorized.spans.at(0).description, "Reading the logs");
}

TEST_F(TimesheetAccountantTest, TheCategoriesAndTheUncategorizedTimeAddUpToTheActiveTime) {
    std::vector<ActivityRow> rows;
    const std::vector<std::string> apps = {"Mail", "Xcode", "Safari", "Notes"};
    for (int i = 0; i < 200; ++i) {
        rows.push_back(listedRow(kMidnight + i * 37.25, "R" + std::to_string(i), {apps[i % 4]}));
    }
    const TimesheetAccount sheet =
        account({{ApplicationRule{"Mail"}}, {ApplicationRule{"Xcode"}}, {ApplicationRule{"Safari"}}}, rows);
    double sum = sheet.uncategorized.seconds;
    for (const TimesheetPart& part : sheet.categories) sum += part.seconds;
    EXPECT_DOUBLE_EQ(sum, sheet.activeSeconds);
}

}  // namespace
}  // namespace VarnholtQueryLib
