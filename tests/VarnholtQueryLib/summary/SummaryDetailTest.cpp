#include "summary/SummaryDetail.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TestInstants.h"

namespace VarnholtQueryLib {
namespace {

using VarnholtTestSupport::kT;

std::vector<ApplicationTime> applications(const std::vector<std::string>& names) {
    std::vector<ApplicationTime> list;
    double seconds = 100;
    for (const std::string& name : names) list.push_back({name, seconds--, 1});
    return list;
}

ActivitySession session(double start, std::vector<Highlight> highlights, std::vector<std::string> names) {
    ActivitySession part;
    part.start = start;
    part.end = start + 60;
    part.applications = applications(names);
    part.highlights = std::move(highlights);
    return part;
}

ActivityDay day(const std::string& date, std::vector<std::string> names) {
    ActivityDay part;
    part.date = date;
    part.applications = applications(names);
    return part;
}

// Two sessions (one with three highlights, one with two), two days, two
// gaps, five applications and five entities.
ActivityAccount account() {
    ActivityAccount account;
    account.sessions = {
        session(kT, {{kT, 1, "one b"}, {kT + 300, 0, "one a"}, {kT + 600, 2, "one c"}}, {"A", "B", "C", "D"}),
        session(kT + 3600, {{kT + 3600, 0, "mail to jane@example.com"}, {kT + 3900, 1, "two b"}}, {"A"}),
    };
    account.applications = applications({"A", "B", "C", "D", "E"});
    for (int i = 0; i < 5; ++i) account.entities.push_back({"app", "e" + std::to_string(i), 10.0 - i, 1, kT, kT});
    account.days = {day("2026-04-01", {"A", "B"}), day("2026-04-02", {"C", "D", "E", "F"})};
    return account;
}

const std::vector<FrameGap> kGaps = {{kT - 7200, kT}, {kT + 600, kT + 3600}};

TEST(SummaryDetailTest, ShowsTheListsCutAndTheHighlightsRedacted) {
    const SummaryDetail detail = SummaryDetail::of(account(), kGaps, 4);
    EXPECT_EQ(detail.applications.size(), 4u);
    EXPECT_EQ(detail.entities.size(), 4u);
    EXPECT_EQ(detail.sessions[0].applications.size(), 3u);
    EXPECT_EQ(detail.days[1].applications.size(), 3u);
    EXPECT_EQ(detail.days[0].applications.size(), 2u);
    EXPECT_EQ(detail.sessions[1].highlights[0].description, "mail to [EMAIL]");
    EXPECT_EQ(detail.gaps, kGaps);
}

TEST(SummaryDetailTest, DropsHighlightsThenListTailsThenSessionsThenDaysThenTheHeads) {
    const SummaryDetail detail = SummaryDetail::of(account(), kGaps, 5);
    using K = DetailKind;
    EXPECT_EQ(dropOrder(detail), (std::vector<DetailDrop>{
                                     {K::highlight, 0, 2},
                                     {K::highlight, 0, 1},
                                     {K::highlight, 1, 1},
                                     {K::highlight, 0, 0},
                                     {K::highlight, 1, 0},
                                     {K::sessionApplication, 0, 0},
                                     {K::sessionApplication, 0, 0},
                                     {K::dayApplication, 0, 0},
                                     {K::dayApplication, 1, 0},
                                     {K::dayApplication, 1, 0},
                                     {K::gap, 0, 0},
                                     {K::gap, 0, 0},
                                     {K::entity, 0, 0},
                                     {K::entity, 0, 0},
                                     {K::application, 0, 0},
                                     {K::application, 0, 0},
                                     {K::session, 0, 0},
                                     {K::session, 0, 0},
                                     {K::day, 0, 0},
                                     {K::day, 0, 0},
                                     {K::entity, 0, 0},
                                     {K::entity, 0, 0},
                                     {K::entity, 0, 0},
                                     {K::application, 0, 0},
                                     {K::application, 0, 0},
                                     {K::application, 0, 0},
                                 }));
}

TEST(SummaryDetailTest, TheFirstDropsLeaveTheRestAsItWas) {
    const SummaryDetail detail = SummaryDetail::of(account(), kGaps, 5);
    const std::vector<DetailDrop> order = dropOrder(detail);
    OmittedDetail omitted;

    SummaryDetail trimmed = withoutFirstDrops(detail, order, 0, omitted);
    EXPECT_FALSE(omitted.any());
    EXPECT_EQ(trimmed.sessions, detail.sessions);

    trimmed = withoutFirstDrops(detail, order, 3, omitted);
    EXPECT_EQ(omitted, (OmittedDetail{3, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(trimmed.sessions[0].highlights, (std::vector<Highlight>{{kT + 300, 0, "one a"}}));
    EXPECT_EQ(trimmed.sessions[1].highlights.size(), 1u);

    trimmed = withoutFirstDrops(detail, order, 11, omitted);
    EXPECT_EQ(omitted, (OmittedDetail{5, 2, 3, 1, 0, 0, 0, 0}));
    EXPECT_EQ(trimmed.sessions[0].applications.size(), 1u);
    EXPECT_EQ(trimmed.days[1].applications, applications({"C"}));
    EXPECT_EQ(trimmed.gaps, (std::vector<FrameGap>{kGaps[1]}));

    trimmed = withoutFirstDrops(detail, order, 17, omitted);
    EXPECT_EQ(omitted, (OmittedDetail{5, 2, 3, 2, 2, 2, 1, 0}));
    EXPECT_EQ(trimmed.entities.size(), 3u);
    EXPECT_EQ(trimmed.applications, applications({"A", "B", "C"}));
    ASSERT_EQ(trimmed.sessions.size(), 1u);
    EXPECT_EQ(trimmed.sessions[0].start, kT + 3600);

    trimmed = withoutFirstDrops(detail, order, order.size(), omitted);
    EXPECT_EQ(omitted, (OmittedDetail{5, 2, 3, 2, 5, 5, 2, 2}));
    EXPECT_TRUE(trimmed.sessions.empty());
    EXPECT_TRUE(trimmed.days.empty());
    EXPECT_TRUE(trimmed.gaps.empty());
    EXPECT_TRUE(trimmed.entities.empty());
    EXPECT_TRUE(trimmed.applications.empty());
}

}  // namespace
}  // namespace VarnholtQueryLib
