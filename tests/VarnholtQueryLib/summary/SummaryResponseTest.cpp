#include "summary/SummaryResponse.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/LocalCalendar.h"
#include "summary/FrameCoverageRules.h"
#include "summary/SummaryBudget.h"
#include "TestInstants.h"

namespace VarnholtQueryLib {
namespace {

// 2026-04-01T10:00:00Z; 12:00 in Berlin.
using VarnholtTestSupport::kT;

SummaryFindings findings() {
    SummaryFindings findings;
    ActivityAccount& account = findings.account;
    account.activeSeconds = 1859.5;
    account.observationCount = 12;
    account.rangeObservationCount = 12;
    account.firstActivity = kT - 3600.25;
    account.lastActivity = kT - 60;
    ActivitySession session;
    session.start = kT - 3600.25;
    session.end = kT - 1740.75;
    session.activeSeconds = 1859.5;
    session.observationCount = 12;
    session.applications = {{"Xcode", 1200.4, 8}, {"Safari", 600, 4}};
    session.highlights = {{kT - 3600, 0, "Fixing the parser"}, {kT - 600, 1, "Mailing jane@example.com"}};
    account.sessions = {session};
    account.applications = session.applications;
    account.entities = {{"language", "Swift", 1200.5, 8, kT - 3600.25, kT - 60}};
    account.days = {{"2026-04-01", 1859.5, 12, kT - 3600.25, kT - 60, 1, session.applications}};
    findings.coverage = FrameCoverage{{15, 12, 2, 1}, {{kT - 7200, kT - 3600.25}}, std::nullopt};
    return findings;
}

SummaryEcho echo(std::optional<std::int64_t> maxChars = std::nullopt) {
    SummaryEcho echo;
    echo.range = {kT - 7200, kT + 7200, "range"};
    echo.idleSeconds = 300;
    echo.kind = "language";
    echo.limit = 10;
    echo.maxChars = maxChars;
    return echo;
}

std::string render(const SummaryFindings& findings, const SummaryEcho& echo) {
    const LocalCalendar berlin("Europe/Berlin", "en_US");
    return serializeJSON(makeSummaryResponse(findings, echo, berlin, kT)).value_or("<unwritable>");
}

TEST(SummaryResponseTest, TheWholeAnswer) {
    EXPECT_EQ(render(findings(), echo()), R"({
  "api_version" : 2,
  "data" : {
    "active_seconds" : 1860,
    "applications" : [
      {
        "name" : "Xcode",
        "observation_count" : 8,
        "visible_seconds" : 1200
      },
      {
        "name" : "Safari",
        "observation_count" : 4,
        "visible_seconds" : 600
      }
    ],
    "coverage" : {
      "analyzed_frames" : 12,
      "failed_frames" : 1,
      "frames" : 15,
      "gaps" : [
        {
          "from_iso" : "2026-04-01T08:00:00Z",
          "to_iso" : "2026-04-01T08:59:59Z"
        }
      ],
      "observations" : 12,
      "pending_frames" : 2,
      "verdict" : null
    },
    "days" : [
      {
        "active_seconds" : 1860,
        "applications" : [
          {
            "name" : "Xcode",
            "visible_seconds" : 1200
          },
          {
            "name" : "Safari",
            "visible_seconds" : 600
          }
        ],
        "date" : "2026-04-01",
        "first_activity_iso" : "2026-04-01T08:59:59Z",
        "last_activity_iso" : "2026-04-01T09:59:00Z",
        "observation_count" : 12,
        "session_count" : 1
      }
    ],
    "entities" : [
      {
        "count" : 8,
        "first_seen_iso" : "2026-04-01T08:59:59Z",
        "kind" : "language",
        "last_seen_iso" : "2026-04-01T09:59:00Z",
        "seconds" : 1201,
        "value" : "Swift"
      }
    ],
    "first_activity_iso" : "2026-04-01T08:59:59Z",
    "last_activity_iso" : "2026-04-01T09:59:00Z",
    "observation_count" : 12,
    "session_count" : 1,
    "sessions" : [
      {
        "active_seconds" : 1860,
        "applications" : [
          {
            "name" : "Xcode",
            "visible_seconds" : 1200
          },
          {
            "name" : "Safari",
            "visible_seconds" : 600
          }
        ],
        "end_iso" : "2026-04-01T09:30:59Z",
        "highlights" : [
          "Fixing the parser",
          "Mailing [EMAIL]"
        ],
        "observation_count" : 12,
        "start_iso" : "2026-04-01T08:59:59Z"
      }
    ]
  },
  "error" : null,
  "meta" : {
    "current_date" : "2026-04-01",
    "current_datetime" : "2026-04-01T12:00:00+02:00",
    "omitted" : {
      "applications" : 0,
      "day_applications" : 0,
      "days" : 0,
      "entities" : 0,
      "gaps" : 0,
      "highlights" : 0,
      "session_applications" : 0,
      "sessions" : 0
    },
    "query" : {
      "from" : "2026-04-01T08:00:00Z",
      "idle_seconds" : 300,
      "kind" : "language",
      "limit" : 10,
      "max_chars" : null,
      "preset" : "range",
      "to" : "2026-04-01T12:00:00Z"
    },
    "timezone" : "Europe\/Berlin",
    "truncated" : false
  },
  "ok" : true
})");
}

TEST(SummaryResponseTest, AnEmptyRangeHasNullActivityAndAVerdict) {
    SummaryFindings empty;
    empty.coverage = FrameCoverage{};
    empty.coverage->verdict = kNoFramesVerdict;
    const std::string text = render(empty, echo());
    EXPECT_NE(text.find(R"("first_activity_iso" : null)"), std::string::npos);
    EXPECT_NE(text.find(R"("last_activity_iso" : null)"), std::string::npos);
    EXPECT_NE(text.find(R"("verdict" : "No frames were captured in this range: the recorder was not capturing the screen.")"),
              std::string::npos);
    EXPECT_NE(text.find(R"("sessions" : [

    ])"),
              std::string::npos);
}

TEST(SummaryResponseTest, ABudgetDropsDetailAndSaysWhat) {
    const std::int64_t full = static_cast<std::int64_t>(render(findings(), echo(5000)).size()) + 1;
    // Without the second highlight it fits; "Mailing [EMAIL]" is rank 1.
    const std::string text = render(findings(), echo(full - 20));
    EXPECT_LE(static_cast<std::int64_t>(text.size()) + 1, full - 20);
    EXPECT_EQ(text.find("Mailing"), std::string::npos);
    EXPECT_NE(text.find("Fixing the parser"), std::string::npos);
    EXPECT_NE(text.find(R"("highlights" : 1,)"), std::string::npos);
    EXPECT_NE(text.find(R"("truncated" : true)"), std::string::npos);
    EXPECT_NE(text.find(R"("max_chars" : )" + std::to_string(full - 20)), std::string::npos);
}

TEST(SummaryResponseTest, ABudgetBelowTheTotalsNamesTheLeastThatFits) {
    // A one-digit budget, and a minimum of four: the answer echoes the
    // budget, so the minimum counts its own digits.
    std::int64_t minimum = 0;
    try {
        render(findings(), echo(9));
        FAIL() << "no exception";
    } catch (const SummaryBudgetTooSmall& tooSmall) {
        EXPECT_EQ(tooSmall.budget(), 9);
        minimum = tooSmall.minimum();
    }
    ASSERT_GE(minimum, 1000);
    EXPECT_EQ(static_cast<std::int64_t>(render(findings(), echo(minimum)).size()) + 1, minimum);
    EXPECT_THROW(render(findings(), echo(minimum - 1)), SummaryBudgetTooSmall);
}

TEST(SummaryResponseTest, ADayWithoutRowsHasNullActivityAndEmptyLists) {
    SummaryFindings some = findings();
    some.account.days.push_back({"2026-04-02", 0, 0, std::nullopt, std::nullopt, 0, {}});
    const std::string text = render(some, echo());
    EXPECT_NE(text.find(R"({
        "active_seconds" : 0,
        "applications" : [

        ],
        "date" : "2026-04-02",
        "first_activity_iso" : null,
        "last_activity_iso" : null,
        "observation_count" : 0,
        "session_count" : 0
      })"),
              std::string::npos)
        << text;
}

TEST(SummaryResponseTest, ASelectionIsEchoedAndCountedInTheCoverage) {
    SummaryFindings selected = findings();
    selected.account.rangeObservationCount = 40;
    SummaryEcho asked = echo();
    asked.match = {"invoice exporter", "\"graphql resolver\""};
    asked.app = {"Xcode"};
    asked.entity = {"programming_language=Swift"};
    asked.weekStart = "monday";
    const JSON document = makeSummaryResponse(selected, asked, LocalCalendar("UTC", "en_US"), kT);
    const JSON& query = document["meta"]["query"];
    EXPECT_EQ(query["match"], JSON::array({"invoice exporter", "\"graphql resolver\""}));
    EXPECT_EQ(query["app"], JSON::array({"Xcode"}));
    EXPECT_EQ(query["entity"], JSON::array({"programming_language=Swift"}));
    EXPECT_EQ(query["week_start"], "monday");
    EXPECT_FALSE(query.contains("only"));
    EXPECT_EQ(document["data"]["coverage"]["observations"], 40);
    EXPECT_EQ(document["data"]["coverage"]["selected_observations"], 12);
    EXPECT_EQ(document["data"]["observation_count"], 12);
}

TEST(SummaryResponseTest, WithoutASelectionNothingOfOneIsEchoed) {
    const JSON document = makeSummaryResponse(findings(), echo(), LocalCalendar("UTC", "en_US"), kT);
    for (const char* key : {"match", "app", "entity", "week_start", "only"}) {
        EXPECT_FALSE(document["meta"]["query"].contains(key)) << key;
    }
    EXPECT_FALSE(document["data"]["coverage"].contains("selected_observations"));
}

TEST(SummaryResponseTest, OnlyTheSectionsAskedForArePrintedBesideTheTotals) {
    SummaryEcho asked = echo();
    asked.only = std::vector<std::string>{"days", "entities"};
    asked.sections = *SummarySections::named(*asked.only);
    SummaryFindings some = findings();
    some.coverage.reset();
    const JSON document = makeSummaryResponse(some, asked, LocalCalendar("UTC", "en_US"), kT);
    std::vector<std::string> keys;
    for (const auto& [key, value] : document["data"].items()) keys.push_back(key);
    EXPECT_EQ(keys, (std::vector<std::string>{"active_seconds", "days", "entities", "first_activity_iso",
                                              "last_activity_iso", "observation_count"}));
    std::vector<std::string> omitted;
    for (const auto& [key, value] : document["meta"]["omitted"].items()) omitted.push_back(key);
    EXPECT_EQ(omitted, (std::vector<std::string>{"day_applications", "days", "entities"}));
    EXPECT_EQ(document["meta"]["query"]["only"], JSON::array({"days", "entities"}));
}

}  // namespace
}  // namespace VarnholtQueryLib
