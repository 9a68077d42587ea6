#include "summary/SummaryResponse.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/LocalCalendar.h"
#include "summary/FrameCoverageRules.h"
#include "summary/SummaryBudget.h"

namespace VarnholtQueryLib {
namespace {

// 2026-04-01T10:00:00Z; 12:00 in Berlin.
constexpr double kT = 1775037600.0;

SummaryFindings findings() {
    SummaryFindings findings;
    ActivityAccount& account = findings.account;
    account.activeSeconds = 1859.5;
    account.observationCount = 12;
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
    findings.coverage.counts = {15, 12, 2, 1};
    findings.coverage.gaps = {{kT - 7200, kT - 3600.25}};
    return findings;
}

SummaryEcho echo(std::optional<std::int64_t> maxChars = std::nullopt) {
    return {{kT - 7200, kT + 7200, "range"}, 300, "language", 10, maxChars};
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
    empty.coverage.verdict = kNoFramesVerdict;
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

}  // namespace
}  // namespace VarnholtQueryLib
