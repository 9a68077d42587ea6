#include "summary/SummaryUseCase.h"

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

using VarnholtTestSupport::kT;

// Canned rows and frames; records what it was asked.
class FakeSummaryPort final : public SummaryQueryPort {
public:
    void scanActivity(double from, double to, const ActivityNeeds& asked, ActivityRowSink& sink) override {
        scans.emplace_back(from, to);
        needs.push_back(asked);
        const std::vector<std::string> wanted = VarnholtTestSupport::feedRowsAsRead(rows, asked, sink);
        entitiesWanted.insert(entitiesWanted.end(), wanted.begin(), wanted.end());
    }
    FrameCounts countFrames(double from, double to) override {
        counted.emplace_back(from, to);
        return counts;
    }
    void scanFrameTimes(double from, double to, const std::function<void(double)>& visit) override {
        timed.emplace_back(from, to);
        for (double time : frameTimes) visit(time);
    }
    std::string descriptionOf(std::int64_t sequence) override { return "row " + std::to_string(sequence); }

    std::vector<ActivityRow> rows;
    FrameCounts counts;
    std::vector<double> frameTimes;
    std::vector<std::pair<double, double>> scans;
    std::vector<ActivityNeeds> needs;
    std::vector<std::string> entitiesWanted;  // the ids entitiesFor accepted
    std::vector<std::pair<double, double>> counted;
    std::vector<std::pair<double, double>> timed;
};

// Rows every word of which the index holds: "invoice" in rowids 2 and 3.
class FakeIndex final : public FullTextMatchPort {
public:
    bool holdsWord(const std::string& text) override { return text != "*"; }
    std::vector<std::int64_t> rowidsMatching(const std::vector<MatchTerm>& terms, double from, double to) override {
        asked.emplace_back(from, to);
        return terms.size() == 1 && terms[0].text == "invoice" ? std::vector<std::int64_t>{2, 3}
                                                                : std::vector<std::int64_t>{};
    }
    std::vector<std::pair<double, double>> asked;
};

ActivityRow row(double time, const std::string& id, std::vector<EntityPair> entities = {},
                std::optional<std::int64_t> rowid = std::nullopt) {
    ActivityRow activity;
    activity.time = time;
    activity.id = id;
    activity.entities = std::move(entities);
    activity.rowid = rowid;
    return activity;
}

SummaryQuery query(double from, double to, double idle = 300, std::optional<std::string> kind = std::nullopt) {
    SummaryQuery asked;
    asked.from = from;
    asked.to = to;
    asked.idleSeconds = idle;
    asked.kind = std::move(kind);
    return asked;
}

class SummaryUseCaseTest : public ::testing::Test {
protected:
    SummaryFindings run(const SummaryQuery& query, double now) {
        SummaryUseCase useCase(port, index, calendar);
        return useCase.execute(query, now);
    }

    FakeSummaryPort port;
    FakeIndex index;
    LocalCalendar calendar{"UTC", "en_US"};
};

TEST_F(SummaryUseCaseTest, ARangeThatReachesPastNowIsCountedAndLookedAtUntilNow) {
    port.rows = {row(kT + 100, "a")};
    port.frameTimes = {kT + 100};
    port.counts = {1, 1, 0, 0};
    const SummaryFindings findings = run(query(kT, kT + 86400), kT + 160);
    EXPECT_EQ(port.scans, (std::vector<std::pair<double, double>>{{kT, kT + 86400}}));
    EXPECT_EQ(port.counted, (std::vector<std::pair<double, double>>{{kT, kT + 86400}}));
    EXPECT_EQ(port.timed, (std::vector<std::pair<double, double>>{{kT, kT + 160}}));
    EXPECT_EQ(port.needs, (std::vector<ActivityNeeds>{{false, true}}));
    EXPECT_EQ(findings.account.activeSeconds, 60);
    EXPECT_EQ(findings.account.sessions[0].highlights, (std::vector<Highlight>{{kT, 0, "row 0"}}));
    EXPECT_TRUE(findings.coverage->gaps.empty());
    EXPECT_EQ(findings.coverage->counts, (FrameCounts{1, 1, 0, 0}));
    EXPECT_EQ(findings.coverage->verdict, std::nullopt);
}

TEST_F(SummaryUseCaseTest, ARangeInThePastIsCountedUntilItsEnd) {
    port.rows = {row(kT + 3500, "a")};
    port.frameTimes = {kT + 3500};
    const SummaryFindings findings = run(query(kT, kT + 3600), kT + 86400);
    EXPECT_EQ(findings.account.activeSeconds, 100);
    EXPECT_EQ(port.timed, (std::vector<std::pair<double, double>>{{kT, kT + 3600}}));
    EXPECT_EQ(findings.coverage->gaps, (std::vector<FrameGap>{{kT, kT + 3500}}));
}

TEST_F(SummaryUseCaseTest, ARangeInTheFutureHasNoGapsToLookFor) {
    const SummaryFindings findings = run(query(kT + 1000, kT + 9000), kT);
    EXPECT_TRUE(port.timed.empty());
    EXPECT_TRUE(findings.coverage->gaps.empty());
    EXPECT_EQ(findings.coverage->verdict, kNoFramesVerdict);
}

TEST_F(SummaryUseCaseTest, WithoutRowsTheFramesGiveTheVerdict) {
    port.counts = {3, 0, 3, 0};
    port.frameTimes = {kT + 10, kT + 20, kT + 30};
    const SummaryFindings findings = run(query(kT, kT + 60), kT + 60);
    EXPECT_EQ(findings.account.observationCount, 0);
    EXPECT_EQ(findings.coverage->verdict, kAnalysisBehindVerdict);
}

TEST_F(SummaryUseCaseTest, TheIdleGapAndTheKindShapeTheAccount) {
    port.rows = {row(kT, "a", {{"app", "Xcode"}, {"language", "Swift"}}), row(kT + 100, "b")};
    const SummaryFindings findings = run(query(kT, kT + 1000, 60, "language"), kT + 1000);
    EXPECT_EQ(findings.account.sessions.size(), 2u);
    EXPECT_EQ(findings.account.activeSeconds, 120);
    EXPECT_EQ(findings.account.entities, (std::vector<EntityTime>{{"language", "Swift", 60, 1, kT, kT}}));
}

TEST_F(SummaryUseCaseTest, ASelectionCountsItsRowsAndTheCoverageStaysTheRanges) {
    port.rows = {row(kT, "a", {}, 1), row(kT + 10, "b", {}, 2), row(kT + 20, "c", {}, 3)};
    port.counts = {3, 3, 0, 0};
    SummaryQuery asked = query(kT, kT + 60);
    asked.selection = {TextRule{"invoice"}};
    const SummaryFindings findings = run(asked, kT + 30);
    EXPECT_EQ(index.asked, (std::vector<std::pair<double, double>>{{kT, kT + 60}}));
    ActivityNeeds rowByRow{true, true};
    rowByRow.entitiesFor = [](const ActivityRow&) { return true; };
    EXPECT_EQ(port.needs, std::vector<ActivityNeeds>{rowByRow});
    // Only the selected rows' entities are counted, so only theirs are read.
    EXPECT_EQ(port.entitiesWanted, (std::vector<std::string>{"b", "c"}));
    EXPECT_EQ(findings.account.observationCount, 2);
    EXPECT_EQ(findings.account.rangeObservationCount, 3);
    EXPECT_EQ(findings.account.activeSeconds, 20);
    EXPECT_EQ(findings.coverage->verdict, std::nullopt);
}

TEST_F(SummaryUseCaseTest, ASelectionOfNoRowsIsNoVerdictWhenTheRangeHasRows) {
    port.rows = {row(kT, "a", {}, 1)};
    port.counts = {1, 1, 0, 0};
    SummaryQuery asked = query(kT, kT + 60);
    asked.selection = {TextRule{"budget"}};
    const SummaryFindings findings = run(asked, kT + 30);
    EXPECT_EQ(findings.account.observationCount, 0);
    EXPECT_EQ(findings.coverage->verdict, std::nullopt);
}

TEST_F(SummaryUseCaseTest, ATextRuleWithoutAWordIsRefusedBeforeAnyRowIsRead) {
    SummaryQuery asked = query(kT, kT + 60);
    asked.selection = {ApplicationRule{"Xcode"}, TextRule{"*"}};
    EXPECT_THROW(run(asked, kT + 30), InvalidRule);
    EXPECT_TRUE(port.scans.empty());
}

TEST_F(SummaryUseCaseTest, WithoutTheCoverageSectionNoFrameIsRead) {
    port.rows = {row(kT, "a")};
    SummaryQuery asked = query(kT, kT + 60);
    asked.sections = *SummarySections::named({"days"});
    const SummaryFindings findings = run(asked, kT + 30);
    EXPECT_FALSE(findings.coverage.has_value());
    EXPECT_TRUE(port.counted.empty());
    EXPECT_TRUE(port.timed.empty());
    EXPECT_EQ(findings.account.days.size(), 1u);
    // Nothing asks for the rows' entities: no section, no entity rule.
    EXPECT_EQ(port.needs, (std::vector<ActivityNeeds>{{false, false}}));
    asked.selection = {EntityRule{std::nullopt, "Swift"}};
    run(asked, kT + 30);
    EXPECT_EQ(port.needs.back(), (ActivityNeeds{false, true}));
}

}  // namespace
}  // namespace VarnholtQueryLib
