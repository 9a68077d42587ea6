#include "timesheet/TimesheetUseCase.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "ActivityRowsAsRead.h"
#include "platform/LocalCalendar.h"
#include "summary/FrameCoverageRules.h"
#include "TestInstants.h"

namespace VarnholtQueryLib {
namespace {

// 2026-04-01T10:00:00Z.
using VarnholtTestSupport::kNow;

// Canned rows and frames; records what it was asked.
class FakeActivity final : public SummaryQueryPort {
public:
    void scanActivity(double from, double to, const ActivityNeeds& asked, ActivityRowSink& sink) override {
        scans.emplace_back(from, to);
        needs.push_back(asked);
        const std::vector<std::string> wanted = VarnholtTestSupport::feedRowsAsRead(rows, asked, sink);
        entitiesWanted.insert(entitiesWanted.end(), wanted.begin(), wanted.end());
    }
    FrameCounts countFrames(double, double) override { return counts; }
    void scanFrameTimes(double, double, const std::function<void(double)>& visit) override {
        for (double time : frameTimes) visit(time);
    }
    std::string descriptionOf(std::int64_t sequence) override {
        asked.push_back(sequence);
        return "row " + std::to_string(sequence);
    }

    std::vector<ActivityRow> rows;
    FrameCounts counts;
    std::vector<double> frameTimes;
    std::vector<std::pair<double, double>> scans;
    std::vector<ActivityNeeds> needs;
    std::vector<std::string> entitiesWanted;  // the ids entitiesFor accepted
    std::vector<std::int64_t> asked;
};

// "invoice" is held by rowids 2 and 3; "*" holds no word.
class FakeIndex final : public FullTextMatchPort {
public:
    bool holdsWord(const std::string& text) override { return text != "*"; }
    std::vector<std::int64_t> rowidsMatching(const std::vector<MatchTerm>& terms, double from, double to) override {
        windows.emplace_back(from, to);
        return terms.size() == 1 && terms[0].text == "invoice" ? std::vector<std::int64_t>{2, 3}
                                                                : std::vector<std::int64_t>{};
    }
    std::vector<std::pair<double, double>> windows;
};

ActivityRow row(double time, const std::string& id, std::int64_t rowid, std::vector<std::string> apps) {
    ActivityRow activity;
    activity.time = time;
    activity.id = id;
    activity.sequence = rowid;
    activity.rowid = rowid;
    activity.apps = std::move(apps);
    activity.description = "Working on " + id;
    return activity;
}

class TimesheetUseCaseTest : public ::testing::Test {
protected:
    TimesheetFindings run(const std::vector<RuleSet>& categories, double from, double to, double now) {
        TimesheetUseCase useCase(activity_, index_, calendar_);
        return useCase.execute({from, to, 300, categories}, now);
    }

    FakeActivity activity_;
    FakeIndex index_;
    const LocalCalendar calendar_{"UTC", "en_US"};
};

TEST_F(TimesheetUseCaseTest, TextRulesAreLookedUpForTheRangeAndRowsReadWithTheirDescriptions) {
    activity_.rows = {row(kNow - 900, "A", 1, {"Mail"}), row(kNow - 600, "B", 2, {"Xcode"}),
                      row(kNow - 300, "C", 3, {"Mail"})};
    const TimesheetFindings findings =
        run({{TextRule{"invoice"}}, {ApplicationRule{"mail"}}}, kNow - 3600, kNow + 3600, kNow);
    EXPECT_EQ(index_.windows, (std::vector<std::pair<double, double>>{{kNow - 3600, kNow + 3600}}));
    ActivityNeeds rowByRow{.rowids = true, .descriptions = true};
    rowByRow.entitiesFor = [](const ActivityRow&) { return true; };
    EXPECT_EQ(activity_.needs, std::vector<ActivityNeeds>{rowByRow});
    // Every row is taken without an entity rule: no entities are read.
    EXPECT_EQ(activity_.entitiesWanted, std::vector<std::string>{});
    // B and C hold the word; C is Mail too, but the first category takes it.
    EXPECT_EQ(findings.account.categories.at(0).observationCount, 2);
    EXPECT_EQ(findings.account.categories.at(0).seconds, 600);
    EXPECT_EQ(findings.account.categories.at(1).observationCount, 1);
    EXPECT_EQ(findings.account.uncategorized.observationCount, 0);
    // Every description came with its row.
    EXPECT_TRUE(activity_.asked.empty());
}

TEST_F(TimesheetUseCaseTest, WithoutTextRulesNoRowidIsNeeded) {
    run({{ApplicationRule{"Mail"}}}, kNow - 3600, kNow, kNow);
    ASSERT_EQ(activity_.needs.size(), 1u);
    EXPECT_FALSE(activity_.needs[0].rowids);
    EXPECT_TRUE(activity_.needs[0].descriptions);
    EXPECT_TRUE(index_.windows.empty());
}

TEST_F(TimesheetUseCaseTest, ATextRuleWithoutAWordIsRefusedWithItsPlace) {
    try {
        run({{ApplicationRule{"Mail"}}, {ApplicationRule{"Xcode"}, TextRule{"*"}}}, kNow - 3600, kNow, kNow);
        FAIL() << "accepted";
    } catch (const InvalidRule& invalid) {
        EXPECT_EQ(invalid.problem(), RuleProblem::noWord);
        EXPECT_EQ(invalid.ruleSet(), 1u);
        EXPECT_EQ(invalid.rule(), 1u);
    }
    EXPECT_TRUE(activity_.scans.empty());
}

TEST_F(TimesheetUseCaseTest, TheCoverageIsTheRangesUpToNow) {
    activity_.counts = {3, 2, 1, 0};
    activity_.frameTimes = {kNow - 7000};
    const TimesheetFindings findings = run({{ApplicationRule{"Mail"}}}, kNow - 7200, kNow + 7200, kNow);
    EXPECT_EQ(findings.coverage.counts, (FrameCounts{3, 2, 1, 0}));
    EXPECT_EQ(findings.coverage.gaps, (std::vector<FrameGap>{{kNow - 7000, kNow}}));
    EXPECT_EQ(findings.coverage.verdict, std::string(kAnalysisBehindVerdict));
    // Days up to now only: the range reaches into tomorrow.
    EXPECT_EQ(findings.account.days.size(), 1u);
}

}  // namespace
TEST_F(TimesheetUseCaseTest, EntitiesAreReadWhereAnEntityRuleOrTheSuggestionsMayNeedThem) {
    activity_.rows = {row(kNow - 900, "X", 1, {"Xcode"}), row(kNow - 600, "M", 2, {"Mail"}),
                      row(kNow - 300, "N", 3, {"Notes"})};
    run({{ApplicationRule{"Xcode"}}, {EntityRule{std::nullopt, "Jira"}}, {ApplicationRule{"Mail"}}}, kNow - 3600,
        kNow + 3600, kNow);
    // X goes to the first category, before any entity rule, whatever its
    // entities; the Jira rule could take M before the third category; N,
    // taken by none, counts its entities in the suggestions.
    EXPECT_EQ(activity_.entitiesWanted, (std::vector<std::string>{"M", "N"}));
}

}  // namespace VarnholtQueryLib
