// `timesheet` as a user runs it: every row in the first category whose rule
// matches it, whole seconds that add up as printed, spans as evidence,
// suggestions for what no category took, every day, CSV, the errors and the
// budget.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <string>
#include <vector>

#include "ErrorEnvelope.h"
#include "FixtureDatabase.h"
#include "TemporaryHome.h"

namespace timesheet_command_test {

using namespace VarnholtTestSupport;
using JSON = nlohmann::json;

namespace {

// The frozen wall clock of most runs: Wednesday 2026-04-01, 10:00:00 UTC.
constexpr const char* kFrozenNow = "2026-04-01 10:00:00";

// A morning; times UTC, idle gap 5 minutes, each row covering until the
// next:
//   A  08:00  fixing the invoice exporter (Xcode)      120 s
//   B  08:02  the same                                  120 s
//   C  08:04  mail to jane@example.com (Mail)           120 s
//   D  08:06  the invoice layout (Figma)                300 s (E is 6 minutes later)
//   E  08:12  planning the sprint (Notes); Jira         120 s
//   F  08:14  planning the sprint board (Notes); jira   300 s (G is much later)
//   G  09:58  fixing the invoice exporter (Xcode)       120 s, until now
// 1200 seconds in all. No frames: the recorder's frames were pruned.
constexpr const char* kMorning = R"SQL(
    INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at) VALUES
        ('A', 'visual', 1775030400.0, 'Fixing the invoice exporter', '["Xcode"]', 'x'),
        ('B', 'visual', 1775030520.0, 'Fixing the invoice exporter', '["Xcode"]', 'x'),
        ('C', 'visual', 1775030640.0, 'Answering mail from jane@example.com', '["Mail"]', 'x'),
        ('D', 'visual', 1775030760.0, 'Reviewing the invoice layout', '["Figma"]', 'x'),
        ('E', 'visual', 1775031120.0, 'Planning the sprint', '["Notes"]', 'x'),
        ('F', 'visual', 1775031240.0, 'Planning the sprint board', '["Notes"]', 'x'),
        ('G', 'visual', 1775037480.0, 'Fixing the invoice exporter', '["Xcode"]', 'x');
    INSERT INTO observation_entities (entity_id, observation_id, entity_kind, entity_value, confidence, created_at) VALUES
        ('e1', 'E', 'software_tool', 'Jira', 0.9, 0),
        ('e2', 'F', 'software_tool', 'jira', 0.9, 0),
        ('e3', 'D', 'person', 'Jane', 0.9, 0);
)SQL";

class TimesheetCommandTest : public ::testing::Test {
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

    // The error envelope of a run that must fail with INVALID_TIME_RANGE.
    void expectRefused(const std::vector<std::string>& arguments, const std::string& message) const {
        const ProcessResult result = run(arguments);
        EXPECT_EQ(result.exitStatus, 1);
        EXPECT_EQ(result.standardError, "");
        EXPECT_EQ(result.standardOutput, errorEnvelope("INVALID_TIME_RANGE", message));
    }

    TemporaryHome home_;
};

// Each category's seconds, then the uncategorized seconds, as printed.
std::vector<std::int64_t> secondsOf(const JSON& answer) {
    std::vector<std::int64_t> seconds;
    for (const JSON& category : answer.at("data").at("categories")) seconds.push_back(category.at("seconds"));
    seconds.push_back(answer.at("data").at("uncategorized").at("seconds"));
    return seconds;
}

}  // namespace

// Everything at once: a row that two categories match goes to the first,
// a category that matches nothing shows 0, the spans with the description
// most rows hold (masked), the suggestions of the uncategorized rows, the
// day, the coverage and the echo.
TEST_F(TimesheetCommandTest, TodayPutsEachRowInTheFirstCategoryThatMatches) {
    createDatabase(kMorning);
    const ProcessResult result =
        run({"timesheet", "--category", "Coding=app:Xcode", "--category",
             "Invoicing=text:invoice|entity:person=Jane", "--category", "Mail=app:mail", "--category",
             "Design=app:Sketch"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardError, "");
    EXPECT_EQ(result.standardOutput, R"({
  "api_version" : 2,
  "data" : {
    "active_seconds" : 1200,
    "categories" : [
      {
        "days" : [
          {
            "date" : "2026-04-01",
            "seconds" : 360
          }
        ],
        "name" : "Coding",
        "observation_count" : 3,
        "seconds" : 360,
        "share" : 30,
        "spans" : [
          {
            "description" : "Fixing the invoice exporter",
            "end_iso" : "2026-04-01T08:04:00Z",
            "observation_count" : 2,
            "seconds" : 240,
            "start_iso" : "2026-04-01T08:00:00Z"
          },
          {
            "description" : "Fixing the invoice exporter",
            "end_iso" : "2026-04-01T10:00:00Z",
            "observation_count" : 1,
            "seconds" : 120,
            "start_iso" : "2026-04-01T09:58:00Z"
          }
        ]
      },
      {
        "days" : [
          {
            "date" : "2026-04-01",
            "seconds" : 300
          }
        ],
        "name" : "Invoicing",
        "observation_count" : 1,
        "seconds" : 300,
        "share" : 25,
        "spans" : [
          {
            "description" : "Reviewing the invoice layout",
            "end_iso" : "2026-04-01T08:11:00Z",
            "observation_count" : 1,
            "seconds" : 300,
            "start_iso" : "2026-04-01T08:06:00Z"
          }
        ]
      },
      {
        "days" : [
          {
            "date" : "2026-04-01",
            "seconds" : 120
          }
        ],
        "name" : "Mail",
        "observation_count" : 1,
        "seconds" : 120,
        "share" : 10,
        "spans" : [
          {
            "description" : "Answering mail from [EMAIL]",
            "end_iso" : "2026-04-01T08:06:00Z",
            "observation_count" : 1,
            "seconds" : 120,
            "start_iso" : "2026-04-01T08:04:00Z"
          }
        ]
      },
      {
        "days" : [

        ],
        "name" : "Design",
        "observation_count" : 0,
        "seconds" : 0,
        "share" : 0,
        "spans" : [

        ]
      }
    ],
    "coverage" : {
      "analyzed_frames" : 0,
      "failed_frames" : 0,
      "frames" : 0,
      "gaps" : [
        {
          "from_iso" : "2026-04-01T00:00:00Z",
          "to_iso" : "2026-04-01T10:00:00Z"
        }
      ],
      "observations" : 7,
      "pending_frames" : 0,
      "verdict" : null
    },
    "days" : [
      {
        "active_seconds" : 1200,
        "categories" : [
          {
            "name" : "Coding",
            "seconds" : 360
          },
          {
            "name" : "Invoicing",
            "seconds" : 300
          },
          {
            "name" : "Mail",
            "seconds" : 120
          },
          {
            "name" : "Design",
            "seconds" : 0
          }
        ],
        "date" : "2026-04-01",
        "uncategorized_seconds" : 420
      }
    ],
    "observation_count" : 7,
    "uncategorized" : {
      "observation_count" : 2,
      "seconds" : 420,
      "share" : 35,
      "spans" : [
        {
          "description" : "Planning the sprint",
          "end_iso" : "2026-04-01T08:19:00Z",
          "observation_count" : 2,
          "seconds" : 420,
          "start_iso" : "2026-04-01T08:12:00Z"
        }
      ],
      "suggestions" : {
        "applications" : [
          {
            "name" : "Notes",
            "seconds" : 420
          }
        ],
        "entities" : [
          {
            "kind" : "software_tool",
            "seconds" : 420,
            "value" : "Jira"
          }
        ],
        "terms" : [
          {
            "seconds" : 420,
            "term" : "planning"
          },
          {
            "seconds" : 420,
            "term" : "sprint"
          },
          {
            "seconds" : 300,
            "term" : "board"
          },
          {
            "seconds" : 300,
            "term" : "sprint board"
          }
        ]
      }
    }
  },
  "error" : null,
  "meta" : {
    "current_date" : "2026-04-01",
    "current_datetime" : "2026-04-01T10:00:00Z",
    "omitted" : {
      "applications" : 0,
      "entities" : 0,
      "spans" : 0,
      "terms" : 0
    },
    "query" : {
      "categories" : [
        {
          "name" : "Coding",
          "rules" : [
            "app:Xcode"
          ]
        },
        {
          "name" : "Invoicing",
          "rules" : [
            "text:invoice",
            "entity:person=Jane"
          ]
        },
        {
          "name" : "Mail",
          "rules" : [
            "app:mail"
          ]
        },
        {
          "name" : "Design",
          "rules" : [
            "app:Sketch"
          ]
        }
      ],
      "from" : "2026-04-01T00:00:00Z",
      "idle_seconds" : 300,
      "max_chars" : null,
      "preset" : "today",
      "to" : "2026-04-02T00:00:00Z",
      "week_start" : null
    },
    "timezone" : "UTC",
    "truncated" : false
  },
  "ok" : true
}
)");
}

// The same rows, the categories in another order: the rows both match go
// to the one now first.
TEST_F(TimesheetCommandTest, ReorderingTheCategoriesMovesTheRowsTheyShare) {
    createDatabase(kMorning);
    const JSON first = answer({"timesheet", "--category", "Coding=app:Xcode", "--category", "Invoicing=text:invoice"});
    EXPECT_EQ(secondsOf(first), (std::vector<std::int64_t>{360, 300, 540}));
    const JSON second = answer({"timesheet", "--category", "Invoicing=text:invoice", "--category", "Coding=app:Xcode"});
    EXPECT_EQ(secondsOf(second), (std::vector<std::int64_t>{660, 0, 540}));
    EXPECT_EQ(second["data"]["categories"][1],
              JSON::parse(R"({"days": [], "name": "Coding", "observation_count": 0, "seconds": 0, "share": 0.0,
                              "spans": []})"));
}

// A run of a category's rows goes on while each row is at most the idle
// gap before the next: 300 seconds continue it, 300.5 end it.
TEST_F(TimesheetCommandTest, SpansSplitExactlyAtTheIdleGap) {
    createDatabase(R"SQL(
        INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at) VALUES
            ('S1', 'visual', 1775030400.0, 'Drafting the plan', '["Pages"]', 'x'),
            ('S2', 'visual', 1775030700.0, 'Drafting the plan', '["Pages"]', 'x'),
            ('S3', 'visual', 1775031000.5, 'Drafting the plan further', '["Pages"]', 'x');
    )SQL");
    const JSON sheet = answer({"timesheet", "--category", "Writing=app:Pages"});
    EXPECT_EQ(sheet["data"]["categories"][0]["spans"], JSON::parse(R"([
        {"description": "Drafting the plan", "end_iso": "2026-04-01T08:10:00Z", "observation_count": 2,
         "seconds": 600, "start_iso": "2026-04-01T08:00:00Z"},
        {"description": "Drafting the plan further", "end_iso": "2026-04-01T08:15:00Z", "observation_count": 1,
         "seconds": 300, "start_iso": "2026-04-01T08:10:00Z"}])"));
    EXPECT_EQ(sheet["data"]["active_seconds"], 900);
}

// Covers of 1.5, 2.5 and 3.5 seconds in three categories and 300 seconds
// uncategorized: 307.5 seconds print as 308. Each half rounded up would
// print 2 + 3 + 4 + 300 = 309; the largest remainders give the two missing
// seconds to the first two categories, so the parts add up to 308.
TEST_F(TimesheetCommandTest, RoundingWhereHalvesMeetStillAddsUp) {
    createDatabase(R"SQL(
        INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at) VALUES
            ('H1', 'visual', 1775030400.0, 'One', '["A"]', 'x'),
            ('H2', 'visual', 1775030401.5, 'Two', '["B"]', 'x'),
            ('H3', 'visual', 1775030404.0, 'Three', '["C"]', 'x'),
            ('H4', 'visual', 1775030407.5, 'Rest', '["D"]', 'x');
    )SQL");
    const JSON sheet = answer({"timesheet", "--category", "A=app:A", "--category", "B=app:B", "--category", "C=app:C"});
    EXPECT_EQ(sheet["data"]["active_seconds"], 308);
    EXPECT_EQ(secondsOf(sheet), (std::vector<std::int64_t>{2, 3, 3, 300}));
    EXPECT_EQ(sheet["data"]["days"], JSON::parse(R"([{"active_seconds": 308, "categories": [
        {"name": "A", "seconds": 2}, {"name": "B", "seconds": 3}, {"name": "C", "seconds": 3}],
        "date": "2026-04-01", "uncategorized_seconds": 300}])"));
    // Shares come from the exact seconds: 1.5 of 307.5 is 0.49 %.
    EXPECT_EQ(sheet["data"]["categories"][0]["share"], 0.5);
    EXPECT_EQ(sheet["data"]["categories"][2]["share"], 1.1);
    // The spans keep their own rounding, to the nearest, halves up.
    EXPECT_EQ(sheet["data"]["categories"][1]["spans"][0]["seconds"], 3);
    EXPECT_EQ(sheet["data"]["categories"][2]["spans"][0]["seconds"], 4);
}

// Every day of the range is listed, rows or not.
TEST_F(TimesheetCommandTest, ADayWithoutRowsIsListedWithZeros) {
    createDatabase(R"SQL(
        INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at) VALUES
            ('M', 'visual', 1774861200.0, 'Monday work', '["Xcode"]', 'x'),
            ('W', 'visual', 1775030400.0, 'Wednesday work', '["Mail"]', 'x');
    )SQL");
    const JSON sheet =
        answer({"timesheet", "--from", "2026-03-30", "--to", "2026-04-01", "--category", "Coding=app:Xcode"});
    EXPECT_EQ(sheet["data"]["days"], JSON::parse(R"([
        {"active_seconds": 300, "categories": [{"name": "Coding", "seconds": 300}], "date": "2026-03-30",
         "uncategorized_seconds": 0},
        {"active_seconds": 0, "categories": [{"name": "Coding", "seconds": 0}], "date": "2026-03-31",
         "uncategorized_seconds": 0},
        {"active_seconds": 300, "categories": [{"name": "Coding", "seconds": 0}], "date": "2026-04-01",
         "uncategorized_seconds": 300}])"));
    EXPECT_EQ(sheet["data"]["categories"][0]["days"],
              JSON::parse(R"([{"date": "2026-03-30", "seconds": 300}])"));
}

// This week begins on the locale's first day (Sunday in en_US) or on the
// day given, as a summary's does.
TEST_F(TimesheetCommandTest, ThisWeekBeginsOnTheDayGiven) {
    createDatabase(R"SQL(
        INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at) VALUES
            ('S', 'visual', 1774774800.0, 'Sunday work', '["Xcode"]', 'x'),
            ('M', 'visual', 1774861200.0, 'Monday work', '["Xcode"]', 'x');
    )SQL");
    const auto dates = [](const JSON& sheet) {
        std::vector<std::string> listed;
        for (const JSON& day : sheet.at("data").at("days")) listed.push_back(day.at("date"));
        return listed;
    };
    const JSON sunday = answer({"timesheet", "this-week", "--category", "Coding=app:Xcode"});
    EXPECT_EQ(sunday["meta"]["query"]["from"], "2026-03-29T00:00:00Z");
    EXPECT_EQ(dates(sunday), (std::vector<std::string>{"2026-03-29", "2026-03-30", "2026-03-31", "2026-04-01"}));
    EXPECT_EQ(sunday["data"]["categories"][0]["seconds"], 600);

    const JSON monday =
        answer({"timesheet", "this-week", "--week-start", "monday", "--category", "Coding=app:Xcode"});
    EXPECT_EQ(monday["meta"]["query"]["from"], "2026-03-30T00:00:00Z");
    EXPECT_EQ(monday["meta"]["query"]["week_start"], "monday");
    EXPECT_EQ(dates(monday), (std::vector<std::string>{"2026-03-30", "2026-03-31", "2026-04-01"}));
    EXPECT_EQ(monday["data"]["categories"][0]["seconds"], 300);
}

// The night the clocks go back in Berlin, 25 October 2026, is one day of
// 25 hours: its rows from the first local hour to the last count for it.
TEST_F(TimesheetCommandTest, ADayOfTwentyFiveHoursIsOneDay) {
    createDatabase(R"SQL(
        INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at) VALUES
            ('N1', 'visual', 1792879800.0, 'Just after midnight', '["Xcode"]', 'x'),
            ('N2', 'visual', 1792968600.0, 'Just before midnight', '["Xcode"]', 'x'),
            ('N3', 'visual', 1792969800.0, 'The next day', '["Xcode"]', 'x');
    )SQL");
    const JSON sheet = answer({"timesheet", "--from", "2026-10-25", "--to", "2026-10-25", "--category", "Coding=app:Xcode"},
                              frozenAt("2026-10-27 10:00:00", "Europe/Berlin"));
    EXPECT_EQ(sheet["meta"]["query"]["from"], "2026-10-24T22:00:00Z");
    EXPECT_EQ(sheet["meta"]["query"]["to"], "2026-10-25T23:00:00Z");
    EXPECT_EQ(sheet["data"]["days"], JSON::parse(R"([{"active_seconds": 600, "categories": [
        {"name": "Coding", "seconds": 600}], "date": "2026-10-25", "uncategorized_seconds": 0}])"));
    EXPECT_EQ(sheet["data"]["observation_count"], 2);
}

// Suggestions order by seconds, then by name: applications and terms by
// their text, entities by kind, then value.
TEST_F(TimesheetCommandTest, SuggestionsOfEqualSecondsOrderByName) {
    createDatabase(R"SQL(
        INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at) VALUES
            ('Q1', 'visual', 1775030400.0, 'zebra yak', '["Zoom","Arc"]', 'x'),
            ('Q2', 'visual', 1775030700.0, 'apple yak', '["Mail"]', 'x'),
            ('Q3', 'visual', 1775031000.0, 'Coding', '["Xcode"]', 'x');
    INSERT INTO observation_entities (entity_id, observation_id, entity_kind, entity_value, confidence, created_at) VALUES
            ('q1', 'Q1', 'tool', 'b', 0.9, 0),
            ('q2', 'Q2', 'tool', 'a', 0.9, 0),
            ('q3', 'Q2', 'app', 'z', 0.9, 0);
    )SQL");
    const JSON suggestions =
        answer({"timesheet", "--category", "Coding=app:Xcode"})["data"]["uncategorized"]["suggestions"];
    EXPECT_EQ(suggestions, JSON::parse(R"({
        "applications": [{"name": "Arc", "seconds": 300}, {"name": "Mail", "seconds": 300},
                         {"name": "Zoom", "seconds": 300}],
        "entities": [{"kind": "app", "seconds": 300, "value": "z"}, {"kind": "tool", "seconds": 300, "value": "a"},
                     {"kind": "tool", "seconds": 300, "value": "b"}],
        "terms": [{"seconds": 600, "term": "yak"}, {"seconds": 300, "term": "apple"},
                  {"seconds": 300, "term": "apple yak"}, {"seconds": 300, "term": "zebra"},
                  {"seconds": 300, "term": "zebra yak"}]})"));
}

// For a spreadsheet: RFC 4180 with CRLF, a name holding a comma, quotes and
// letters beyond ASCII quoted, per day then totals.
TEST_F(TimesheetCommandTest, CSVQuotesWhatNeedsQuoting) {
    createDatabase(kMorning);
    const ProcessResult result =
        run({"timesheet", "--format", "csv", "--category", "Kunde \"Müller\", Köln=app:Xcode", "--category",
             "Nothing=app:Sketch", "--category", "Mail=app:Mail"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardError, "");
    EXPECT_EQ(result.standardOutput,
              "date,category,seconds,hours\r\n"
              "2026-04-01,\"Kunde \"\"Müller\"\", Köln\",360,0.10\r\n"
              "2026-04-01,Mail,120,0.03\r\n"
              "2026-04-01,(uncategorized),720,0.20\r\n"
              "total,\"Kunde \"\"Müller\"\", Köln\",360,0.10\r\n"
              "total,Nothing,0,0.00\r\n"
              "total,Mail,120,0.03\r\n"
              "total,(uncategorized),720,0.20\r\n");
}

// A failure stays the JSON envelope, whatever format was asked for.
TEST_F(TimesheetCommandTest, ErrorsAreTheEnvelopeInCSVToo) {
    const ProcessResult result = run({"timesheet", "--format", "csv", "--category", "Coding=app:Xcode"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardOutput,
              errorEnvelope("DB_NOT_FOUND", "Database not found at " + escapedSlashes(home_.databasePath())));
    createDatabase(kMorning);
    expectRefused({"timesheet", "--format", "csv", "--category", "Coding=Xcode"},
                  "Rule 'Xcode' of category 'Coding' has no known prefix: use text:WORDS, app:NAME or "
                  "entity:[KIND=]VALUE.");
}

TEST_F(TimesheetCommandTest, EveryBadInputIsRefusedWithItsReason) {
    createDatabase(kMorning);
    expectRefused({"timesheet"},
                  "A timesheet needs at least one category: --category NAME=RULE[|RULE...] or --categories FILE "
                  "(the categories argument of the tool).");
    std::vector<std::string> many = {"timesheet"};
    for (int i = 0; i <= 50; ++i) {
        many.push_back("--category");
        many.push_back("C" + std::to_string(i) + "=app:X");
    }
    expectRefused(many, "At most 50 categories are allowed, not 51.");
    expectRefused({"timesheet", "--category", "A=app:X", "--category", "=app:Y"}, "Category 2 has an empty name.");
    const std::string longName(65, 'x');
    expectRefused({"timesheet", "--category", longName + "=app:X"},
                  "Category name '" + longName + "' is 65 characters long; at most 64 are allowed.");
    expectRefused({"timesheet", "--category", "A=app:X", "--category", "A=app:Y"},
                  "Category name 'A' is given twice; each category needs a name of its own.");
    expectRefused({"timesheet", "--category", "A=apps:X"},
                  "Rule 'apps:X' of category 'A' has no known prefix: use text:WORDS, app:NAME or entity:[KIND=]VALUE.");
    expectRefused({"timesheet", "--category", "A=text: "},
                  "Rule 'text: ' of category 'A' holds no word to look for: text:WORDS needs a word of letters or "
                  "digits.");
    // Only the index knows that "*" holds no word: refused when it is asked.
    expectRefused({"timesheet", "--category", "A=app:X|text:* !"},
                  "Rule 'text:* !' of category 'A' holds no word to look for: text:WORDS needs a word of letters or "
                  "digits.");
    expectRefused({"timesheet", "--category", "A"},
                  "--category 'A' must be NAME=RULE[|RULE...]: a name, '=', then rules such as text:WORDS, app:NAME "
                  "or entity:[KIND=]VALUE, separated by '|'.");
    expectRefused({"timesheet", "--category", "A=app:X", "--categories", "c.json"},
                  "Use either --category or --categories, not both.");
    const std::string missing = home_.path() + "/missing.json";
    expectRefused({"timesheet", "--categories", missing},
                  "Cannot read the categories file '" + escapedSlashes(missing) + "'.");
    home_.writeFile("bad.json", "[{\"name\": \"A\",\n  \"rules\": [\"app:X\",]}]");
    const std::string bad = home_.path() + "/bad.json";
    expectRefused({"timesheet", "--categories", bad},
                  "The categories file '" + escapedSlashes(bad) +
                      "' is not valid JSON: parse error at line 2, column 21: syntax error while parsing value - "
                      "unexpected ']'; expected '[', '{', or a literal.");
    home_.writeFile("shape.json", R"({"name": "A", "rules": ["app:X"]})");
    const std::string shape = home_.path() + "/shape.json";
    expectRefused({"timesheet", "--categories", shape},
                  "The categories file '" + escapedSlashes(shape) +
                      "' must be an array of {\\\"name\\\": TEXT, \\\"rules\\\": [TEXT, ...]} objects: it is not an array.");
}

// With a budget, the spans go first, the shortest first; then the
// suggestions from the ends of their lists; never the totals or the days.
TEST_F(TimesheetCommandTest, TheBudgetDropsSpansThenSuggestions) {
    createDatabase(kMorning);
    const std::vector<std::string> categories = {"timesheet", "--category", "Coding=app:Xcode", "--category",
                                                 "Mail=app:Mail"};
    const auto within = [&](std::int64_t budget) {
        std::vector<std::string> arguments = categories;
        arguments.push_back("--max-chars");
        arguments.push_back(std::to_string(budget));
        return run(arguments);
    };
    const auto size = [](const ProcessResult& result) {
        std::int64_t characters = 0;
        for (const char byte : result.standardOutput) characters += (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
        return characters;
    };
    // A budget of as many digits as the answer's size, which the answer
    // echoes: one character less must then drop something.
    const ProcessResult full = within(9999);
    ASSERT_EQ(full.exitStatus, 0);
    ASSERT_GT(size(full), 1000);
    const JSON whole = JSON::parse(full.standardOutput);
    EXPECT_EQ(whole["meta"]["truncated"], false);

    // One character less: the shortest span goes, the 120 seconds of Mail
    // (before Coding's 120 at 09:58, which starts later).
    const ProcessResult oneSpan = within(size(full) - 1);
    ASSERT_EQ(oneSpan.exitStatus, 0) << oneSpan.standardOutput;
    const JSON first = JSON::parse(oneSpan.standardOutput);
    EXPECT_EQ(first["meta"]["truncated"], true);
    EXPECT_EQ(first["meta"]["omitted"], JSON::parse(R"({"applications": 0, "entities": 0, "spans": 1, "terms": 0})"));
    EXPECT_EQ(first["data"]["categories"][1]["spans"], JSON::array());
    EXPECT_EQ(first["data"]["categories"][0]["spans"], whole["data"]["categories"][0]["spans"]);
    EXPECT_LE(size(oneSpan), size(full) - 1);

    // Too small for the totals and the days: the least budget is named, and
    // fits.
    const ProcessResult tooSmall = within(300);
    EXPECT_EQ(tooSmall.exitStatus, 1);
    const JSON refusal = JSON::parse(tooSmall.standardOutput);
    const std::string message = refusal["error"]["message"];
    const std::string prefix = "--max-chars 300 is too small for this timesheet: its totals and days alone need ";
    ASSERT_EQ(message.rfind(prefix, 0), 0u) << message;
    const std::int64_t least = std::stoll(message.substr(prefix.size()));
    const ProcessResult leastFits = within(least);
    ASSERT_EQ(leastFits.exitStatus, 0) << leastFits.standardOutput;
    EXPECT_EQ(size(leastFits), least);
    const JSON smallest = JSON::parse(leastFits.standardOutput);
    EXPECT_EQ(smallest["data"]["uncategorized"]["suggestions"],
              JSON::parse(R"({"applications": [], "entities": [], "terms": []})"));
    EXPECT_EQ(within(least - 1).exitStatus, 1);

    // Between the least and the whole: the suggestions go only after every
    // span, each list from its end; the totals and the days never.
    const auto isHead = [](const JSON& part, const JSON& whole) {
        return part.size() <= whole.size() &&
               std::equal(part.begin(), part.end(), whole.begin());
    };
    bool suggestionsCut = false;
    for (int step = 0; step <= 10; ++step) {
        const std::int64_t budget = least + (size(full) - least) * step / 10;
        const ProcessResult fitted = within(budget);
        ASSERT_EQ(fitted.exitStatus, 0) << budget;
        EXPECT_LE(size(fitted), budget);
        const JSON document = JSON::parse(fitted.standardOutput);
        const JSON& omitted = document["meta"]["omitted"];
        const int suggestionsOmitted =
            omitted["applications"].get<int>() + omitted["entities"].get<int>() + omitted["terms"].get<int>();
        if (suggestionsOmitted > 0) {
            suggestionsCut = true;
            EXPECT_EQ(omitted["spans"], 5) << budget;
        }
        const JSON& suggestions = document["data"]["uncategorized"]["suggestions"];
        const JSON& all = whole["data"]["uncategorized"]["suggestions"];
        for (const char* list : {"applications", "entities", "terms"}) {
            EXPECT_TRUE(isHead(suggestions[list], all[list])) << budget << " " << list;
        }
        EXPECT_EQ(document["data"]["days"], whole["data"]["days"]);
        EXPECT_EQ(document["data"]["active_seconds"], whole["data"]["active_seconds"]);
        EXPECT_EQ(document["data"]["categories"][0]["seconds"], whole["data"]["categories"][0]["seconds"]);
    }
    EXPECT_TRUE(suggestionsCut);
}

}  // namespace timesheet_command_test
