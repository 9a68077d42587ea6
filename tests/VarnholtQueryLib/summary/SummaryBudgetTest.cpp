#include "summary/SummaryBudget.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "TestInstants.h"

namespace VarnholtQueryLib {
namespace {

using VarnholtTestSupport::kT;

// A plain rendering of the detail: every entry printed, and the omitted
// counts, as a real answer prints them.
JSON renderDetail(const SummaryDetail& detail, const OmittedDetail& omitted) {
    JSON sessions = JSON::array();
    for (const ActivitySession& session : detail.sessions) {
        JSON names = JSON::array();
        for (const ApplicationTime& application : session.applications) names.push_back(application.name);
        JSON highlights = JSON::array();
        for (const Highlight& highlight : session.highlights) highlights.push_back(highlight.description);
        sessions.push_back({{"applications", names}, {"highlights", highlights}});
    }
    JSON days = JSON::array();
    for (const ActivityDay& day : detail.days) {
        JSON names = JSON::array();
        for (const ApplicationTime& application : day.applications) names.push_back(application.name);
        days.push_back({{"date", day.date}, {"applications", names}});
    }
    JSON applications = JSON::array();
    for (const ApplicationTime& application : detail.applications) applications.push_back(application.name);
    JSON entities = JSON::array();
    for (const EntityTime& entity : detail.entities) entities.push_back(entity.value);
    JSON gaps = JSON::array();
    for (const FrameGap& gap : detail.gaps) gaps.push_back(gap.from);
    return {{"sessions", sessions},
            {"days", days},
            {"applications", applications},
            {"entities", entities},
            {"gaps", gaps},
            {"totals", "never dropped"},
            {"omitted",
             {omitted.highlights, omitted.sessionApplications, omitted.dayApplications, omitted.gaps,
              omitted.entities, omitted.applications, omitted.sessions, omitted.days}}};
}

SummaryDetail detail() {
    SummaryDetail detail;
    for (int s = 0; s < 3; ++s) {
        ActivitySession session;
        session.start = kT + 3600.0 * s;
        session.applications = {{"Xcode", 30, 1}, {"Safari", 20, 1}, {"Mail", 10, 1}};
        session.highlights = {{kT, 0, "Fixing the parser " + std::to_string(s)},
                              {kT + 300, 1, "Reviewing the importer " + std::to_string(s)},
                              {kT + 600, 2, "Answering mail " + std::to_string(s)}};
        detail.sessions.push_back(session);
    }
    for (int d = 1; d <= 2; ++d) {
        ActivityDay day;
        day.date = "2026-04-0" + std::to_string(d);
        day.applications = {{"Xcode", 30, 1}, {"Safari", 20, 1}, {"Mail", 10, 1}};
        detail.days.push_back(day);
    }
    for (const char* name : {"Xcode", "Safari", "Mail", "Slack", "Zoom"}) detail.applications.push_back({name, 1, 1});
    for (const char* value : {"Swift", "C++", "Docker", "kubectl"}) detail.entities.push_back({"tool", value, 1, 1, kT, kT});
    detail.gaps = {{kT - 9000, kT - 7000}, {kT + 9000, kT + 11000}};
    return detail;
}

TEST(PrintedCharactersTest, CountsCharactersNotBytesWithTheNewline) {
    // {"a" : "é日本"} pretty-printed: "{\n  \"a\" : \"é日本\"\n}" and "\n", 18
    // characters in 22 bytes.
    const JSON document = {{"a", "\xC3\xA9\xE6\x97\xA5\xE6\x9C\xAC"}};
    EXPECT_EQ(printedCharacters(document), 18);
    // The writer escapes "/" as "\/": two characters.
    EXPECT_EQ(printedCharacters(JSON{{"a", "/"}}), 17);
}

TEST(SummaryBudgetTest, ADocumentThatFitsKeepsEverything) {
    const JSON full = renderDetail(detail(), {});
    EXPECT_EQ(fitToBudget(detail(), printedCharacters(full), renderDetail), full);
}

TEST(SummaryBudgetTest, DropsTheFewestEntriesThatMakeItFit) {
    const SummaryDetail full = detail();
    const std::vector<DetailDrop> order = dropOrder(full);
    const std::int64_t budget = printedCharacters(renderDetail(full, {})) - 100;
    const JSON fitted = fitToBudget(full, budget, renderDetail);
    EXPECT_LE(printedCharacters(fitted), budget);
    // The same document as the first k drops give, and k - 1 would not fit.
    std::size_t drops = 0;
    OmittedDetail omitted;
    while (renderDetail(withoutFirstDrops(full, order, drops, omitted), omitted) != fitted) {
        ASSERT_LT(drops, order.size());
        ++drops;
    }
    ASSERT_GT(drops, 0u);
    EXPECT_GT(printedCharacters(renderDetail(withoutFirstDrops(full, order, drops - 1, omitted), omitted)), budget);
}

TEST(SummaryBudgetTest, EveryDropMakesTheDocumentShorter) {
    const SummaryDetail full = detail();
    const std::vector<DetailDrop> order = dropOrder(full);
    OmittedDetail omitted;
    std::int64_t previous = printedCharacters(renderDetail(full, {}));
    for (std::size_t drops = 1; drops <= order.size(); ++drops) {
        const std::int64_t size = printedCharacters(renderDetail(withoutFirstDrops(full, order, drops, omitted), omitted));
        EXPECT_LT(size, previous) << drops << " drops";
        previous = size;
    }
}

TEST(SummaryBudgetTest, ShrinkingBudgetsDropEveryKindInTurn) {
    const SummaryDetail full = detail();
    std::vector<std::string> kindsInOrder;
    const std::int64_t largest = printedCharacters(renderDetail(full, {}));
    OmittedDetail omitted;
    const std::int64_t smallest =
        printedCharacters(renderDetail(withoutFirstDrops(full, dropOrder(full), dropOrder(full).size(), omitted), omitted));
    for (std::int64_t budget = largest; budget >= smallest; --budget) {
        const JSON omittedCounts = fitToBudget(full, budget, renderDetail).at("omitted");
        const std::vector<std::string> names = {"highlights", "session applications", "day applications", "gaps",
                                                "entities", "applications", "sessions", "days"};
        for (std::size_t kind = 0; kind < names.size(); ++kind) {
            if (omittedCounts[kind] != 0 &&
                std::find(kindsInOrder.begin(), kindsInOrder.end(), names[kind]) == kindsInOrder.end()) {
                kindsInOrder.push_back(names[kind]);
            }
        }
    }
    EXPECT_EQ(kindsInOrder, (std::vector<std::string>{"highlights", "session applications", "day applications",
                                                       "gaps", "entities", "applications", "sessions", "days"}));
}

TEST(SummaryBudgetTest, ABudgetBelowTheTotalsNamesTheMinimum) {
    const SummaryDetail full = detail();
    OmittedDetail omitted;
    const JSON smallest = renderDetail(withoutFirstDrops(full, dropOrder(full), dropOrder(full).size(), omitted), omitted);
    const std::int64_t minimum = printedCharacters(smallest);
    EXPECT_EQ(fitToBudget(full, minimum, renderDetail), smallest);
    try {
        fitToBudget(full, minimum - 1, renderDetail);
        FAIL() << "no exception";
    } catch (const SummaryBudgetTooSmall& tooSmall) {
        EXPECT_EQ(tooSmall.budget(), minimum - 1);
        EXPECT_EQ(tooSmall.minimum(), minimum);
    }
}

}  // namespace
}  // namespace VarnholtQueryLib
