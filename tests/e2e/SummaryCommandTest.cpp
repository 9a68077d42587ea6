#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

#include "ErrorEnvelope.h"
#include "FixtureDatabase.h"
#include "TemporaryHome.h"

namespace summary_command_test {

using namespace VarnholtTestSupport;
using JSON = nlohmann::json;

namespace {

// The frozen wall clock of most runs: Wednesday 2026-04-01, 10:00:00 UTC.
constexpr const char* kFrozenNow = "2026-04-01 10:00:00";

// A working morning; times UTC, idle gap 5 minutes:
//   Y  Tue 23:58:00  yesterday's last row: covers until midnight, 120 s
//   A  08:00:00      its frame's time (its own is 08:00:01); Xcode, Safari, xcode
//   B  08:02:00      the same description as A
//   C  08:07:00      exactly the idle gap after B: the same session
//   D, E 08:08:00    equal times: E was stored first, D comes first by id,
//                    so E's Slack covers the next 300 s
//   F  08:13:00.25   300.25 s after D and E: a new session; apps an object
//   G  08:14:00      its frame's time; apps with a number in them
//   K, R             a blank description and an imported recording: not counted
//   I  09:58:00      the last row: covers until now, 120 s
// Frames at 08:00, 08:07, 08:14, 09:30 (failed), 09:58 and 09:59 (pending):
// no frame from midnight to 08:00 and from 08:14 to 09:30.
constexpr const char* kMorning = R"SQL(
    INSERT INTO frames (id, display_id, captured_at, timestamp, image_path, analyzed) VALUES
        ('F-A', 'main', 'x', 1775030400.0, '/f/a.png', 1),
        ('F-C', 'main', 'x', 1775030820.0, '/f/c.png', 1),
        ('F-G', 'main', 'x', 1775031240.0, '/f/g.png', 1),
        ('F-X', 'main', 'x', 1775035800.0, '/f/x.png', 2),
        ('F-I', 'main', 'x', 1775037480.0, '/f/i.png', 1),
        ('F-P', 'main', 'x', 1775037540.0, '/f/p.png', 0);
    INSERT INTO observations (id, recording_id, frame_id, type, timestamp, vlm_description, apps, created_at) VALUES
        ('Y', NULL, NULL, 'visual', 1775001480.0, 'Writing notes for tomorrow', '["Notes"]', 'x'),
        ('A', NULL, 'F-A', 'visual', 1775030401.0, 'Fixing the parser', '["Xcode","Safari","xcode"]', 'x'),
        ('B', NULL, NULL, 'visual', 1775030520.0, 'Fixing the parser', '["Xcode"]', 'x'),
        ('C', NULL, 'F-C', 'visual', 1775030820.0, 'Running the tests', '["Terminal"]', 'x'),
        ('E', NULL, NULL, 'visual', 1775030880.0, 'Chatting in Slack', '["Slack"]', 'x'),
        ('D', NULL, NULL, 'visual', 1775030880.0, 'Answering mail', '["Mail"]', 'x'),
        ('F', NULL, NULL, 'visual', 1775031180.25, 'Reviewing the design with jane@example.com', '{"bad":1}', 'x'),
        ('G', '', 'F-G', 'visual', 1775031000.0, 'Sketching the sync design', '["Slack",2]', 'x'),
        ('K', NULL, NULL, 'visual', 1775031300.0, '   ', '["Hidden"]', 'x'),
        ('R', 'rec-1', NULL, 'visual', 1775031310.0, 'Watching an imported recording', '["QuickTime"]', 'x'),
        ('I', NULL, 'F-I', 'visual', 1775037480.0, 'Planning the release', '["Xcode"]', 'x');
    INSERT INTO observation_entities (entity_id, observation_id, entity_kind, entity_value, confidence, created_at) VALUES
        ('e1', 'A', 'app', 'Xcode', 0.9, 0),
        ('e2', 'A', 'programming_language', 'Swift', 0.9, 0),
        ('e3', 'C', 'programming_language', 'Swift', 0.9, 0),
        ('e4', 'I', 'software_tool', 'git', 0.9, 0);
)SQL";

class SummaryCommandTest : public ::testing::Test {
protected:
    void createDatabase(const std::string& rows) {
        home_.varnholtDirectory();
        createFixtureDatabase(home_.databasePath(), rows);
    }

    ProcessResult run(const std::vector<std::string>& arguments,
                      const InvocationOptions& options = frozenAt(kFrozenNow)) const {
        return home_.run(arguments, options);
    }

    // The answer of a run that must succeed, parsed.
    JSON answer(const std::vector<std::string>& arguments, const InvocationOptions& options = frozenAt(kFrozenNow)) const {
        const ProcessResult result = run(arguments, options);
        EXPECT_EQ(result.exitStatus, 0) << result.standardOutput;
        EXPECT_EQ(result.standardError, "");
        return JSON::parse(result.standardOutput, nullptr, false);
    }

    TemporaryHome home_;
};

// Everything the rule decides, in one morning: covers, sessions split at
// the idle gap, equal times, the last row until now, applications,
// entities, the day, highlights, frames and their gaps.
TEST_F(SummaryCommandTest, TodayCountsTheMorning) {
    createDatabase(kMorning);
    const ProcessResult result = run({"summary"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardError, "");
    EXPECT_EQ(result.standardOutput, R"({
  "api_version" : 2,
  "data" : {
    "active_seconds" : 1260,
    "applications" : [
      {
        "name" : "Xcode",
        "observation_count" : 3,
        "visible_seconds" : 540
      },
      {
        "name" : "Slack",
        "observation_count" : 1,
        "visible_seconds" : 300
      },
      {
        "name" : "Safari",
        "observation_count" : 1,
        "visible_seconds" : 120
      },
      {
        "name" : "Terminal",
        "observation_count" : 1,
        "visible_seconds" : 60
      },
      {
        "name" : "Mail",
        "observation_count" : 1,
        "visible_seconds" : 0
      }
    ],
    "coverage" : {
      "analyzed_frames" : 4,
      "failed_frames" : 1,
      "frames" : 6,
      "gaps" : [
        {
          "from_iso" : "2026-04-01T00:00:00Z",
          "to_iso" : "2026-04-01T08:00:00Z"
        },
        {
          "from_iso" : "2026-04-01T08:14:00Z",
          "to_iso" : "2026-04-01T09:30:00Z"
        }
      ],
      "observations" : 8,
      "pending_frames" : 1,
      "verdict" : null
    },
    "days" : [
      {
        "active_seconds" : 1260,
        "applications" : [
          {
            "name" : "Xcode",
            "visible_seconds" : 540
          },
          {
            "name" : "Slack",
            "visible_seconds" : 300
          },
          {
            "name" : "Safari",
            "visible_seconds" : 120
          }
        ],
        "date" : "2026-04-01",
        "first_activity_iso" : "2026-04-01T08:00:00Z",
        "last_activity_iso" : "2026-04-01T09:58:00Z",
        "observation_count" : 8,
        "session_count" : 3
      }
    ],
    "entities" : [
      {
        "count" : 2,
        "first_seen_iso" : "2026-04-01T08:00:00Z",
        "kind" : "programming_language",
        "last_seen_iso" : "2026-04-01T08:07:00Z",
        "seconds" : 180,
        "value" : "Swift"
      },
      {
        "count" : 1,
        "first_seen_iso" : "2026-04-01T08:00:00Z",
        "kind" : "app",
        "last_seen_iso" : "2026-04-01T08:00:00Z",
        "seconds" : 120,
        "value" : "Xcode"
      },
      {
        "count" : 1,
        "first_seen_iso" : "2026-04-01T09:58:00Z",
        "kind" : "software_tool",
        "last_seen_iso" : "2026-04-01T09:58:00Z",
        "seconds" : 120,
        "value" : "git"
      }
    ],
    "first_activity_iso" : "2026-04-01T08:00:00Z",
    "last_activity_iso" : "2026-04-01T09:58:00Z",
    "observation_count" : 8,
    "session_count" : 3,
    "sessions" : [
      {
        "active_seconds" : 780,
        "applications" : [
          {
            "name" : "Xcode",
            "visible_seconds" : 420
          },
          {
            "name" : "Slack",
            "visible_seconds" : 300
          },
          {
            "name" : "Safari",
            "visible_seconds" : 120
          }
        ],
        "end_iso" : "2026-04-01T08:13:00Z",
        "highlights" : [
          "Fixing the parser",
          "Running the tests"
        ],
        "observation_count" : 5,
        "start_iso" : "2026-04-01T08:00:00Z"
      },
      {
        "active_seconds" : 360,
        "applications" : [

        ],
        "end_iso" : "2026-04-01T08:19:00Z",
        "highlights" : [
          "Reviewing the design with [EMAIL]"
        ],
        "observation_count" : 2,
        "start_iso" : "2026-04-01T08:13:00Z"
      },
      {
        "active_seconds" : 120,
        "applications" : [
          {
            "name" : "Xcode",
            "visible_seconds" : 120
          }
        ],
        "end_iso" : "2026-04-01T10:00:00Z",
        "highlights" : [
          "Planning the release"
        ],
        "observation_count" : 1,
        "start_iso" : "2026-04-01T09:58:00Z"
      }
    ]
  },
  "error" : null,
  "meta" : {
    "current_date" : "2026-04-01",
    "current_datetime" : "2026-04-01T10:00:00Z",
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
      "from" : "2026-04-01T00:00:00Z",
      "idle_seconds" : 300,
      "kind" : null,
      "limit" : 10,
      "max_chars" : null,
      "preset" : "today",
      "to" : "2026-04-02T00:00:00Z"
    },
    "timezone" : "UTC",
    "truncated" : false
  },
  "ok" : true
}
)");
}

TEST_F(SummaryCommandTest, YesterdaysLastRowCoversUntilTheEndOfTheRange) {
    createDatabase(kMorning);
    const JSON yesterday = answer({"summary", "yesterday"});
    EXPECT_EQ(yesterday.at("data"), JSON::parse(R"({
        "active_seconds": 120, "observation_count": 1, "session_count": 1,
        "first_activity_iso": "2026-03-31T23:58:00Z", "last_activity_iso": "2026-03-31T23:58:00Z",
        "applications": [{"name": "Notes", "observation_count": 1, "visible_seconds": 120}],
        "entities": [],
        "sessions": [{"start_iso": "2026-03-31T23:58:00Z", "end_iso": "2026-04-01T00:00:00Z",
                      "active_seconds": 120, "observation_count": 1,
                      "applications": [{"name": "Notes", "visible_seconds": 120}],
                      "highlights": ["Writing notes for tomorrow"]}],
        "days": [{"date": "2026-03-31", "active_seconds": 120, "observation_count": 1,
                  "first_activity_iso": "2026-03-31T23:58:00Z", "last_activity_iso": "2026-03-31T23:58:00Z",
                  "session_count": 1, "applications": [{"name": "Notes", "visible_seconds": 120}]}],
        "coverage": {"frames": 0, "analyzed_frames": 0, "pending_frames": 0, "failed_frames": 0,
                     "observations": 1, "verdict": null,
                     "gaps": [{"from_iso": "2026-03-31T00:00:00Z", "to_iso": "2026-04-01T00:00:00Z"}]}
    })"));
    EXPECT_EQ(yesterday.at("meta").at("query"), JSON::parse(R"({
        "preset": "yesterday", "from": "2026-03-31T00:00:00Z", "to": "2026-04-01T00:00:00Z",
        "idle_seconds": 300, "kind": null, "limit": 10, "max_chars": null})"));
}

TEST_F(SummaryCommandTest, TheLastActiveDayCoversItsLastRowUntilItsEnd) {
    createDatabase(kMorning);
    // Two days later the morning's last row covers a whole idle gap.
    const JSON summary = answer({"summary", "last-active-day"}, frozenAt("2026-04-03 12:00:00"));
    EXPECT_EQ(summary.at("meta").at("query").at("preset"), "last-active-day");
    EXPECT_EQ(summary.at("meta").at("query").at("from"), "2026-04-01T00:00:00Z");
    EXPECT_EQ(summary.at("data").at("active_seconds"), 1260 - 120 + 300);
    EXPECT_EQ(summary.at("data").at("sessions").at(2).at("end_iso"), "2026-04-01T10:03:00Z");
}

TEST_F(SummaryCommandTest, ADurationCountsBackFromNow) {
    createDatabase(kMorning);
    const JSON summary = answer({"summary", "--since", "2h"});
    EXPECT_EQ(summary.at("meta").at("query").at("preset"), "recent");
    EXPECT_EQ(summary.at("meta").at("query").at("from"), "2026-04-01T08:00:00Z");
    // A's frame is exactly at the start and counts; the gap before it is gone.
    EXPECT_EQ(summary.at("data").at("observation_count"), 8);
    EXPECT_EQ(summary.at("data").at("coverage").at("gaps"), JSON::parse(R"([
        {"from_iso": "2026-04-01T08:14:00Z", "to_iso": "2026-04-01T09:30:00Z"}])"));
}

TEST_F(SummaryCommandTest, AShorterIdleGapSplitsMoreSessions) {
    createDatabase(kMorning);
    const JSON summary = answer({"summary", "--idle", "1m"});
    // A | B | C D E | F G | I, each row covering at most a minute.
    EXPECT_EQ(summary.at("data").at("session_count"), 5);
    EXPECT_EQ(summary.at("data").at("active_seconds"), 420);
    EXPECT_EQ(summary.at("meta").at("query").at("idle_seconds"), 60);
}

TEST_F(SummaryCommandTest, AKindAndALimitShapeTheLists) {
    createDatabase(kMorning);
    const JSON summary = answer({"summary", "--kind", "programming_language", "--limit", "2"});
    EXPECT_EQ(summary.at("data").at("entities"), JSON::parse(R"([
        {"kind": "programming_language", "value": "Swift", "seconds": 180, "count": 2,
         "first_seen_iso": "2026-04-01T08:00:00Z", "last_seen_iso": "2026-04-01T08:07:00Z"}])"));
    EXPECT_EQ(summary.at("data").at("applications"), JSON::parse(R"([
        {"name": "Xcode", "observation_count": 3, "visible_seconds": 540},
        {"name": "Slack", "observation_count": 1, "visible_seconds": 300}])"));
    EXPECT_EQ(summary.at("meta").at("query").at("kind"), "programming_language");
    EXPECT_EQ(summary.at("meta").at("query").at("limit"), 2);
}

// New York: 8 March 2026 has 23 hours (the clocks jump from 02:00 to 03:00),
// 1 November 2026 has 25 (they fall back from 02:00 to 01:00).
constexpr const char* kDaylightSavingDays = R"SQL(
    INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at) VALUES
        ('N0', 'visual', 1772953140.0, 'Before the jump, 01:59 EST', '["Mail"]', 'x'),
        ('N1', 'visual', 1772953260.0, 'After the jump, 03:01 EDT', '["Mail"]', 'x'),
        ('N2', 'visual', 1773028680.0, 'The last minutes of the short day', '["Xcode"]', 'x'),
        ('N3', 'visual', 1773028830.0, 'Past midnight: the next day', '["Xcode"]', 'x'),
        ('M1', 'visual', 1793511000.0, 'First 01:30, EDT', '["Safari"]', 'x'),
        ('M2', 'visual', 1793514600.0, 'Second 01:30, EST', '["Safari"]', 'x'),
        ('M3', 'visual', 1793595540.0, 'The last minute of the long day', '["Xcode"]', 'x'),
        ('M4', 'visual', 1793595630.0, 'Past midnight: the next day', '["Xcode"]', 'x');
)SQL";

TEST_F(SummaryCommandTest, ADayOfTwentyThreeHours) {
    createDatabase(kDaylightSavingDays);
    const JSON summary = answer({"summary", "--from", "2026-03-08", "--to", "2026-03-08"},
                                frozenAt("2026-11-05 12:00:00", "America/New_York"));
    EXPECT_EQ(summary.at("meta").at("query").at("from"), "2026-03-08T05:00:00Z");
    EXPECT_EQ(summary.at("meta").at("query").at("to"), "2026-03-09T04:00:00Z");
    // N0 and N1 are two minutes apart across the jump; N2's cover ends at the
    // day's end, two minutes later.
    EXPECT_EQ(summary.at("data").at("days"), JSON::parse(R"([
        {"date": "2026-03-08", "active_seconds": 540, "observation_count": 3, "session_count": 2,
         "first_activity_iso": "2026-03-08T06:59:00Z", "last_activity_iso": "2026-03-09T03:58:00Z",
         "applications": [{"name": "Mail", "visible_seconds": 420}, {"name": "Xcode", "visible_seconds": 120}]}])"));
    EXPECT_EQ(summary.at("data").at("sessions").at(0).at("end_iso"), "2026-03-08T07:06:00Z");
}

TEST_F(SummaryCommandTest, ADayOfTwentyFiveHours) {
    createDatabase(kDaylightSavingDays);
    const JSON summary = answer({"summary", "--from", "2026-11-01", "--to", "2026-11-01"},
                                frozenAt("2026-11-05 12:00:00", "America/New_York"));
    EXPECT_EQ(summary.at("meta").at("query").at("from"), "2026-11-01T04:00:00Z");
    EXPECT_EQ(summary.at("meta").at("query").at("to"), "2026-11-02T05:00:00Z");
    // Both 01:30s belong to 1 November; M3's cover ends at the day's end.
    EXPECT_EQ(summary.at("data").at("days"), JSON::parse(R"([
        {"date": "2026-11-01", "active_seconds": 660, "observation_count": 3, "session_count": 3,
         "first_activity_iso": "2026-11-01T05:30:00Z", "last_activity_iso": "2026-11-02T04:59:00Z",
         "applications": [{"name": "Safari", "visible_seconds": 600}, {"name": "Xcode", "visible_seconds": 60}]}])"));
}

// Frames without observations: on 20 March two wait for the model and one
// was analysed; on 21 March one was analysed into a blank description and
// one failed; 22 March has nothing.
constexpr const char* kFramesWithoutRows = R"SQL(
    INSERT INTO frames (id, display_id, captured_at, timestamp, image_path, analyzed) VALUES
        ('P1', 'main', 'x', 1773997200.0, '/f/p1.png', 0),
        ('P2', 'main', 'x', 1773997800.0, '/f/p2.png', 0),
        ('P3', 'main', 'x', 1773998400.0, '/f/p3.png', 1),
        ('Q1', 'main', 'x', 1774083600.0, '/f/q1.png', 1),
        ('Q2', 'main', 'x', 1774083900.0, '/f/q2.png', 2);
    INSERT INTO observations (id, frame_id, type, timestamp, vlm_description, apps, created_at) VALUES
        ('Q1-O', 'Q1', 'visual', 1774083600.0, ' ', '[]', 'x');
)SQL";

TEST_F(SummaryCommandTest, FramesThatWaitForTheModelExplainAnEmptyRange) {
    createDatabase(kFramesWithoutRows);
    const JSON summary = answer({"summary", "--from", "2026-03-20", "--to", "2026-03-20"});
    EXPECT_EQ(summary.at("data").at("coverage"), JSON::parse(R"({
        "frames": 3, "analyzed_frames": 1, "pending_frames": 2, "failed_frames": 0, "observations": 0,
        "gaps": [{"from_iso": "2026-03-20T00:00:00Z", "to_iso": "2026-03-20T09:00:00Z"},
                 {"from_iso": "2026-03-20T09:20:00Z", "to_iso": "2026-03-21T00:00:00Z"}],
        "verdict": "Frames were captured in this range but are not analysed yet: the model is behind. Ask again later."})"));
    EXPECT_EQ(summary.at("data").at("active_seconds"), 0);
    EXPECT_EQ(summary.at("data").at("first_activity_iso"), nullptr);
    EXPECT_EQ(summary.at("data").at("sessions"), JSON::array());
}

TEST_F(SummaryCommandTest, AnalysedFramesWithoutDescriptionsExplainAnEmptyRange) {
    createDatabase(kFramesWithoutRows);
    const JSON summary = answer({"summary", "--from", "2026-03-21", "--to", "2026-03-21"});
    EXPECT_EQ(summary.at("data").at("coverage").at("verdict"),
              "Frames in this range were analysed, but none gave a usable description.");
    EXPECT_EQ(summary.at("data").at("coverage").at("failed_frames"), 1);
}

TEST_F(SummaryCommandTest, ARangeWithoutFramesSaysSo) {
    createDatabase(kFramesWithoutRows);
    const JSON summary = answer({"summary", "--from", "2026-03-22", "--to", "2026-03-22"});
    EXPECT_EQ(summary.at("data").at("coverage"), JSON::parse(R"({
        "frames": 0, "analyzed_frames": 0, "pending_frames": 0, "failed_frames": 0, "observations": 0,
        "gaps": [{"from_iso": "2026-03-22T00:00:00Z", "to_iso": "2026-03-23T00:00:00Z"}],
        "verdict": "No frames were captured in this range: the recorder was not capturing the screen."})"));
}

TEST_F(SummaryCommandTest, ABudgetDropsTheLeastRankedHighlightFirst) {
    createDatabase(kMorning);
    const std::int64_t full = static_cast<std::int64_t>(run({"summary"}).standardOutput.size());
    // "Fixing the parser" marks the first session's second-busiest moment.
    const ProcessResult result = run({"summary", "--max-chars", std::to_string(full - 20)});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_LE(static_cast<std::int64_t>(result.standardOutput.size()), full - 20);
    const JSON summary = JSON::parse(result.standardOutput);
    EXPECT_EQ(summary.at("data").at("sessions").at(0).at("highlights"), JSON::parse(R"(["Running the tests"])"));
    EXPECT_EQ(summary.at("meta").at("omitted"), JSON::parse(R"({
        "highlights": 1, "session_applications": 0, "day_applications": 0, "gaps": 0,
        "entities": 0, "applications": 0, "sessions": 0, "days": 0})"));
    EXPECT_EQ(summary.at("meta").at("truncated"), true);
    EXPECT_EQ(summary.at("meta").at("query").at("max_chars"), full - 20);
}

// Smaller and smaller budgets: every answer fits its budget (the morning is
// ASCII, so bytes are characters), detail goes kind by kind in the
// documented order, and the totals stay.
TEST_F(SummaryCommandTest, ShrinkingBudgetsDropEachKindOfDetailInTurn) {
    createDatabase(kMorning);
    const std::int64_t full = static_cast<std::int64_t>(run({"summary"}).standardOutput.size());
    std::vector<std::string> kindsInOrder;
    JSON previous = JSON::object();
    for (std::int64_t budget = full; budget > 0; budget -= 20) {
        const ProcessResult result = run({"summary", "--max-chars", std::to_string(budget)});
        if (result.exitStatus != 0) break;
        ASSERT_LE(static_cast<std::int64_t>(result.standardOutput.size()), budget);
        const JSON summary = JSON::parse(result.standardOutput);
        EXPECT_EQ(summary.at("data").at("active_seconds"), 1260);
        EXPECT_EQ(summary.at("data").at("session_count"), 3);
        EXPECT_EQ(summary.at("data").at("coverage").at("frames"), 6);
        for (const auto& [kind, count] : summary.at("meta").at("omitted").items()) {
            if (previous.contains(kind)) {
                EXPECT_GE(count, previous.at(kind)) << kind << " at " << budget;
            }
            if (count != 0 && std::find(kindsInOrder.begin(), kindsInOrder.end(), kind) == kindsInOrder.end()) {
                kindsInOrder.push_back(kind);
            }
        }
        previous = summary.at("meta").at("omitted");
    }
    // Entities go last: the morning has no more than the three kept to the end.
    EXPECT_EQ(kindsInOrder, (std::vector<std::string>{"highlights", "session_applications", "day_applications",
                                                       "gaps", "applications", "sessions", "days", "entities"}));
    EXPECT_EQ(previous, JSON::parse(R"({
        "highlights": 4, "session_applications": 2, "day_applications": 2, "gaps": 2,
        "entities": 3, "applications": 5, "sessions": 3, "days": 1})"));
}

TEST_F(SummaryCommandTest, ABudgetTooSmallForTheTotalsNamesWhatTheyNeed) {
    createDatabase(kMorning);
    const ProcessResult tooSmall = run({"summary", "--max-chars", "100"});
    EXPECT_EQ(tooSmall.exitStatus, 1);
    const std::string message = JSON::parse(tooSmall.standardOutput).at("error").at("message");
    const std::string prefix = "--max-chars 100 is too small for this summary: its totals alone need ";
    ASSERT_EQ(message.rfind(prefix, 0), 0u) << message;
    const std::string minimum =
        message.substr(prefix.size(), message.size() - prefix.size() - std::string(" characters.").size());
    EXPECT_EQ(tooSmall.standardOutput,
              errorEnvelope("INVALID_TIME_RANGE", "--max-chars 100 is too small for this summary: its totals alone need " +
                                                      minimum + " characters."));
    const ProcessResult fits = run({"summary", "--max-chars", minimum});
    EXPECT_EQ(fits.exitStatus, 0);
    EXPECT_EQ(std::to_string(fits.standardOutput.size()), minimum);
    const ProcessResult oneShort = run({"summary", "--max-chars", std::to_string(std::stoll(minimum) - 1)});
    EXPECT_EQ(oneShort.exitStatus, 1);
    // The least that fits names itself, whatever budget was too small.
    EXPECT_EQ(JSON::parse(oneShort.standardOutput).at("error").at("message"),
              "--max-chars " + std::to_string(std::stoll(minimum) - 1) +
                  " is too small for this summary: its totals alone need " + minimum + " characters.");
}

TEST_F(SummaryCommandTest, BadArgumentsAreErrorEnvelopes) {
    createDatabase(kMorning);
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{"summary", "--idle", "2h"}, errorEnvelope("INVALID_TIME_RANGE", "--idle must be between 1m and 1h, not '2h'.")},
        {{"summary", "--idle", "0m"},
         errorEnvelope("INVALID_TIME_RANGE", "Invalid duration value in '0m'. Numeric prefix required.")},
        {{"summary", "--since", "2x"},
         errorEnvelope("INVALID_TIME_RANGE", "Unknown duration unit 'x'. Use m, h, d, or w.")},
        {{"summary", "--from", "2026-04-02", "--to", "2026-04-01"},
         errorEnvelope("INVALID_TIME_RANGE", "--from must be before --to")},
        {{"summary", "--from", "April"},
         errorEnvelope("INVALID_TIME_RANGE",
                       "'summary' requires --to with --from. Usage: summary --from 2026-04-01 --to 2026-04-07")},
        {{"summary", "tomorrow"}, errorEnvelope("INVALID_TIME_RANGE", "Unknown preset 'tomorrow'.")},
        {{"summary", "--limit", "0"},
         errorEnvelope("INVALID_TIME_RANGE", "--limit must be a whole number from 1 to 100, not '0'.")},
        {{"summary", "--compact"}, errorEnvelope("UNKNOWN_ERROR", "Unknown flag '--compact'.")},
        {{"summary", "--kind"}, errorEnvelope("UNKNOWN_ERROR", "Missing value for --kind.")},
    };
    for (const auto& [arguments, envelope] : cases) {
        const ProcessResult result = run(arguments);
        EXPECT_EQ(result.exitStatus, 1) << arguments.back();
        EXPECT_EQ(result.standardOutput, envelope) << arguments.back();
        EXPECT_EQ(result.standardError, "");
    }
}

TEST_F(SummaryCommandTest, WithoutADatabaseItIsNotFound) {
    const ProcessResult result = run({"summary"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(JSON::parse(result.standardOutput).at("error").at("code"), "DB_NOT_FOUND");
}

}  // namespace

}  // namespace summary_command_test
