// `summary --match/--app/--entity` and `--only` as a user runs them: the time
// of the rows a selection picks, every day of the range, one spelling per
// entity, and only the sections asked for.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "ErrorEnvelope.h"
#include "FixtureDatabase.h"
#include "TemporaryHome.h"

namespace summary_selection_test {

using namespace VarnholtTestSupport;
using JSON = nlohmann::json;

namespace {

// The frozen wall clock of most runs: Wednesday 2026-04-01, 10:00:00 UTC.
constexpr const char* kFrozenNow = "2026-04-01 10:00:00";

// Work on the invoice exporter between other things; times UTC, idle gap 5
// minutes, every row covering until the next (picked or not):
//   T0  Mon 30 March 15:00  planning it (Notes)
//   T1  08:00  fixing it (Xcode); Swift               covers 120 s, until T2
//   T2  08:02  mail, not about it; swift              covers 120 s
//   T3  08:04  about it, with NEAR and OR; SWIFT      covers 300 s (T4 is 6 minutes later)
//   T4  08:10  a chat, not about it                   covers 120 s
//   T5  08:12  deploying it (Terminal)                covers 300 s (T6 is 18 minutes later)
//   T6  08:30  invoices exported (Xcode); SWIFT       covers 300 s, until now less the idle cap
// T1 and T3 are four minutes apart, with T2 between them: one session of
// the picked rows. T3 and T5 are eight minutes apart: two.
constexpr const char* kInvoiceWork = R"SQL(
    INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at) VALUES
        ('T0', 'visual', 1774882800.0, 'Planning the invoice exporter', '["Notes"]', 'x'),
        ('T1', 'visual', 1775030400.0, 'Fixing the invoice exporter', '["Xcode"]', 'x'),
        ('T2', 'visual', 1775030520.0, 'Reading mail about lunch', '["Mail"]', 'x'),
        ('T3', 'visual', 1775030640.0, 'Invoice exporter: NEAR the deadline, OR later', '["Xcode","Safari"]', 'x'),
        ('T4', 'visual', 1775031000.0, 'Chatting in Slack', '["Slack"]', 'x'),
        ('T5', 'visual', 1775031120.0, 'Deploying the invoice exporter', '["Terminal"]', 'x'),
        ('T6', 'visual', 1775032200.0, 'Invoices exported to the bank', '["XCODE"]', 'x');
    INSERT INTO observation_entities (entity_id, observation_id, entity_kind, entity_value, confidence, created_at) VALUES
        ('e1', 'T1', 'programming_language', 'Swift', 0.9, 0),
        ('e2', 'T1', 'app', 'Xcode', 0.9, 0),
        ('e3', 'T2', 'programming_language', 'swift', 0.9, 0),
        ('e4', 'T3', 'programming_language', 'SWIFT', 0.9, 0),
        ('e5', 'T6', 'programming_language', 'SWIFT', 0.9, 0);
)SQL";

class SummarySelectionTest : public ::testing::Test {
protected:
    void createDatabase(const std::string& rows) {
        home_.varnholtDirectory();
        createFixtureDatabase(home_.databasePath(), rows);
    }

    ProcessResult run(const std::vector<std::string>& arguments,
                      const InvocationOptions& options = frozenAt(kFrozenNow)) const {
        return home_.run(arguments, options);
    }

    JSON answer(const std::vector<std::string>& arguments, const InvocationOptions& options = frozenAt(kFrozenNow)) const {
        const ProcessResult result = run(arguments, options);
        EXPECT_EQ(result.exitStatus, 0) << result.standardOutput;
        EXPECT_EQ(result.standardError, "");
        return JSON::parse(result.standardOutput, nullptr, false);
    }

    // The observation count of the rows `--match words` picks today.
    JSON matched(const std::string& words) const {
        return answer({"summary", "--match", words}).at("data").at("observation_count");
    }

    TemporaryHome home_;
};

TEST_F(SummarySelectionTest, TheTimeOfATopicIsTheCoversOfItsRows) {
    createDatabase(kInvoiceWork);
    const ProcessResult result = run({"summary", "--match", "invoice exporter"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardError, "");
    EXPECT_EQ(result.standardOutput, R"({
  "api_version" : 2,
  "data" : {
    "active_seconds" : 1020,
    "applications" : [
      {
        "name" : "Xcode",
        "observation_count" : 3,
        "visible_seconds" : 720
      },
      {
        "name" : "Safari",
        "observation_count" : 1,
        "visible_seconds" : 300
      },
      {
        "name" : "Terminal",
        "observation_count" : 1,
        "visible_seconds" : 300
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
      "observations" : 6,
      "pending_frames" : 0,
      "selected_observations" : 4,
      "verdict" : null
    },
    "days" : [
      {
        "active_seconds" : 1020,
        "applications" : [
          {
            "name" : "Xcode",
            "visible_seconds" : 720
          },
          {
            "name" : "Safari",
            "visible_seconds" : 300
          },
          {
            "name" : "Terminal",
            "visible_seconds" : 300
          }
        ],
        "date" : "2026-04-01",
        "first_activity_iso" : "2026-04-01T08:00:00Z",
        "last_activity_iso" : "2026-04-01T08:30:00Z",
        "observation_count" : 4,
        "session_count" : 3
      }
    ],
    "entities" : [
      {
        "count" : 3,
        "first_seen_iso" : "2026-04-01T08:00:00Z",
        "kind" : "programming_language",
        "last_seen_iso" : "2026-04-01T08:30:00Z",
        "seconds" : 720,
        "value" : "SWIFT"
      },
      {
        "count" : 1,
        "first_seen_iso" : "2026-04-01T08:00:00Z",
        "kind" : "app",
        "last_seen_iso" : "2026-04-01T08:00:00Z",
        "seconds" : 120,
        "value" : "Xcode"
      }
    ],
    "first_activity_iso" : "2026-04-01T08:00:00Z",
    "last_activity_iso" : "2026-04-01T08:30:00Z",
    "observation_count" : 4,
    "session_count" : 3,
    "sessions" : [
      {
        "active_seconds" : 420,
        "applications" : [
          {
            "name" : "Xcode",
            "visible_seconds" : 420
          },
          {
            "name" : "Safari",
            "visible_seconds" : 300
          }
        ],
        "end_iso" : "2026-04-01T08:09:00Z",
        "highlights" : [
          "Fixing the invoice exporter"
        ],
        "observation_count" : 2,
        "start_iso" : "2026-04-01T08:00:00Z"
      },
      {
        "active_seconds" : 300,
        "applications" : [
          {
            "name" : "Terminal",
            "visible_seconds" : 300
          }
        ],
        "end_iso" : "2026-04-01T08:17:00Z",
        "highlights" : [
          "Deploying the invoice exporter"
        ],
        "observation_count" : 1,
        "start_iso" : "2026-04-01T08:12:00Z"
      },
      {
        "active_seconds" : 300,
        "applications" : [
          {
            "name" : "Xcode",
            "visible_seconds" : 300
          }
        ],
        "end_iso" : "2026-04-01T08:35:00Z",
        "highlights" : [
          "Invoices exported to the bank"
        ],
        "observation_count" : 1,
        "start_iso" : "2026-04-01T08:30:00Z"
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
      "match" : [
        "invoice exporter"
      ],
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

TEST_F(SummarySelectionTest, APickedRowsCoverEndsAtTheNextRowEvenAnUnpickedOne) {
    createDatabase(kInvoiceWork);
    // T1 alone is "Fixing": its cover ends at T2, two minutes later.
    const JSON data = answer({"summary", "--match", "fixing"}).at("data");
    EXPECT_EQ(data.at("active_seconds"), 120);
    EXPECT_EQ(data.at("sessions"), JSON::parse(R"([{"start_iso": "2026-04-01T08:00:00Z",
        "end_iso": "2026-04-01T08:02:00Z", "active_seconds": 120, "observation_count": 1,
        "applications": [{"name": "Xcode", "visible_seconds": 120}], "highlights": ["Fixing the invoice exporter"]}])"));
}

TEST_F(SummarySelectionTest, ASelectionCountsNoMoreThanTheWholeDay) {
    createDatabase(kInvoiceWork);
    const JSON whole = answer({"summary"}).at("data");
    EXPECT_EQ(whole.at("active_seconds"), 1260);
    for (const std::vector<std::string>& selection :
         std::vector<std::vector<std::string>>{{"--match", "invoice"}, {"--app", "xcode"}, {"--entity", "swift"}}) {
        std::vector<std::string> arguments = {"summary"};
        arguments.insert(arguments.end(), selection.begin(), selection.end());
        const JSON part = answer(arguments).at("data");
        EXPECT_LE(part.at("active_seconds"), whole.at("active_seconds")) << selection[1];
        EXPECT_EQ(part.at("coverage").at("observations"), 6) << selection[1];
    }
}

TEST_F(SummarySelectionTest, AnApplicationIsItsRowsWhateverTheLettersCase) {
    createDatabase(kInvoiceWork);
    // T1, T3 and T6 (XCODE): 120 + 300 + 300.
    const JSON data = answer({"summary", "--app", "xcode"}).at("data");
    EXPECT_EQ(data.at("active_seconds"), 720);
    EXPECT_EQ(data.at("observation_count"), 3);
    EXPECT_EQ(data.at("applications").at(0), JSON::parse(R"({"name": "Xcode", "observation_count": 3,
        "visible_seconds": 720})"));
}

TEST_F(SummarySelectionTest, AnEntityIsItsRowsOfAnySpellingAndOfItsKindWhenGiven) {
    createDatabase(kInvoiceWork);
    const JSON anyKind = answer({"summary", "--entity", "swift"});
    EXPECT_EQ(anyKind.at("data").at("observation_count"), 4);
    EXPECT_EQ(anyKind.at("data").at("active_seconds"), 840);
    EXPECT_EQ(anyKind.at("meta").at("query").at("entity"), JSON::parse(R"(["swift"])"));
    EXPECT_EQ(answer({"summary", "--entity", "programming_language=SWIFT"}).at("data").at("observation_count"), 4);
    EXPECT_EQ(answer({"summary", "--entity", "app=swift"}).at("data").at("observation_count"), 0);
    EXPECT_EQ(answer({"summary", "--entity", "app=XCODE"}).at("data").at("observation_count"), 1);
}

TEST_F(SummarySelectionTest, SeveralRulesPickTheRowsOfAnyOfThem) {
    createDatabase(kInvoiceWork);
    const JSON summary = answer({"summary", "--match", "fixing", "--app", "Slack", "--match", "\"about lunch\""});
    // T1, T2 and T4.
    EXPECT_EQ(summary.at("data").at("observation_count"), 3);
    EXPECT_EQ(summary.at("data").at("active_seconds"), 360);
    EXPECT_EQ(summary.at("meta").at("query").at("match"), JSON::parse(R"(["fixing", "\"about lunch\""])"));
    EXPECT_EQ(summary.at("meta").at("query").at("app"), JSON::parse(R"(["Slack"])"));
}

TEST_F(SummarySelectionTest, OneEntitySpeltThreeWaysIsOneEntitySpeltAsMostRowsSpellIt) {
    createDatabase(kInvoiceWork);
    // Swift (T1), swift (T2), SWIFT (T3, T6): 120 + 120 + 300 + 300.
    EXPECT_EQ(answer({"summary", "--kind", "programming_language"}).at("data").at("entities"), JSON::parse(R"([
        {"kind": "programming_language", "value": "SWIFT", "seconds": 840, "count": 4,
         "first_seen_iso": "2026-04-01T08:00:00Z", "last_seen_iso": "2026-04-01T08:30:00Z"}])"));
}

TEST_F(SummarySelectionTest, QuerySyntaxInMatchIsPlainWords) {
    createDatabase(kInvoiceWork);
    EXPECT_EQ(matched("NEAR"), 1);
    EXPECT_EQ(matched("OR"), 1);
    EXPECT_EQ(matched("near the deadline or"), 1);
    EXPECT_EQ(matched("\"NEAR the deadline\""), 1);
    EXPECT_EQ(matched("\"the deadline NEAR\""), 0);
    // A star is no word; "deploying*" is the word deploying, as the index
    // stems it.
    EXPECT_EQ(matched("deploying*"), 1);
    EXPECT_EQ(matched("* invoice"), 4);
    EXPECT_EQ(matched("kubernetes"), 0);
    // An unmatched quote runs to the end: the phrase "exporter:".
    EXPECT_EQ(matched("invoice \"exporter: near"), 1);
    EXPECT_EQ(matched("INVOICES"), 4);
}

TEST_F(SummarySelectionTest, WordsWithoutAnyWordAreRefused) {
    createDatabase(kInvoiceWork);
    // Without a term at all, and with terms the index finds no word in.
    for (const std::string words : {"\"\"", " ", "\"", "*", "* ! ?", "-", "- . _"}) {
        const std::string message = "--match '" + words +
                                    "' holds no word to look for. Give words or a \"quoted phrase\" of letters or "
                                    "digits, such as --match \"invoice exporter\".";
        const std::string written = JSON(message).dump();
        const ProcessResult result = run({"summary", "--match", words});
        EXPECT_EQ(result.exitStatus, 1) << words;
        EXPECT_EQ(result.standardOutput,
                  errorEnvelope("INVALID_TIME_RANGE", written.substr(1, written.size() - 2)))
            << words;
    }
}

TEST_F(SummarySelectionTest, BadSelectionsAndSectionsAreErrorEnvelopes) {
    createDatabase(kInvoiceWork);
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{"summary", "--app", ""}, errorEnvelope("INVALID_TIME_RANGE", "--app needs an application name, such as --app Xcode.")},
        {{"summary", "--entity", "app="},
         errorEnvelope("INVALID_TIME_RANGE", "--entity needs a value, or a kind and a value, such as --entity Swift or "
                                             "--entity programming_language=Swift, not 'app='.")},
        {{"summary", "--entity", "=Swift"},
         errorEnvelope("INVALID_TIME_RANGE", "--entity needs a value, or a kind and a value, such as --entity Swift or "
                                             "--entity programming_language=Swift, not '=Swift'.")},
        {{"summary", "--only", "days,hours"},
         errorEnvelope("INVALID_TIME_RANGE", "--only takes a comma-separated list of sessions, applications, entities, "
                                             "days and coverage, not 'days,hours'.")},
        {{"summary", "--only", ""},
         errorEnvelope("INVALID_TIME_RANGE", "--only takes a comma-separated list of sessions, applications, entities, "
                                             "days and coverage, not ''.")},
        {{"summary", "--week-start", "mon"},
         errorEnvelope("INVALID_TIME_RANGE", "--week-start must be a day of the week: monday, tuesday, wednesday, "
                                             "thursday, friday, saturday or sunday, not 'mon'.")},
        {{"summary", "--match"}, errorEnvelope("UNKNOWN_ERROR", "Missing value for --match.")},
    };
    for (const auto& [arguments, envelope] : cases) {
        const ProcessResult result = run(arguments);
        EXPECT_EQ(result.exitStatus, 1) << arguments.back();
        EXPECT_EQ(result.standardOutput, envelope) << arguments.back();
        EXPECT_EQ(result.standardError, "");
    }
}

TEST_F(SummarySelectionTest, WithoutTheFullTextIndexMatchFailsAsSearchDoes) {
    createDatabase(std::string(kInvoiceWork) + "DROP TABLE observations_fts;");
    const ProcessResult search = run({"search", "invoice"});
    const ProcessResult summary = run({"summary", "--match", "invoice"});
    EXPECT_EQ(search.exitStatus, 1);
    EXPECT_EQ(summary.exitStatus, 1);
    EXPECT_EQ(JSON::parse(summary.standardOutput).at("error"), JSON::parse(search.standardOutput).at("error"));
    // Without --match the index is not needed.
    EXPECT_EQ(answer({"summary", "--app", "Xcode"}).at("data").at("observation_count"), 3);
}

// ---- Every day ----------------------------------------------------------

TEST_F(SummarySelectionTest, EveryDayOfTheRangeIsListedAlsoWithoutRows) {
    createDatabase(kInvoiceWork);
    const JSON summary = answer({"summary", "--from", "2026-03-28", "--to", "2026-04-02", "--match", "invoice", "--only",
                                 "days"},
                                frozenAt("2026-04-03 12:00:00"));
    // Nothing on 28, 29 and 31 March and on 2 April; T0 on 30 March, T1,
    // T3, T5 and T6 on 1 April (T6 covers a whole idle gap: the range ended
    // a day before now).
    EXPECT_EQ(summary.at("data").at("days"), JSON::parse(R"([
        {"date": "2026-03-28", "active_seconds": 0, "observation_count": 0, "session_count": 0,
         "first_activity_iso": null, "last_activity_iso": null, "applications": []},
        {"date": "2026-03-29", "active_seconds": 0, "observation_count": 0, "session_count": 0,
         "first_activity_iso": null, "last_activity_iso": null, "applications": []},
        {"date": "2026-03-30", "active_seconds": 300, "observation_count": 1, "session_count": 1,
         "first_activity_iso": "2026-03-30T15:00:00Z", "last_activity_iso": "2026-03-30T15:00:00Z",
         "applications": [{"name": "Notes", "visible_seconds": 300}]},
        {"date": "2026-03-31", "active_seconds": 0, "observation_count": 0, "session_count": 0,
         "first_activity_iso": null, "last_activity_iso": null, "applications": []},
        {"date": "2026-04-01", "active_seconds": 1020, "observation_count": 4, "session_count": 3,
         "first_activity_iso": "2026-04-01T08:00:00Z", "last_activity_iso": "2026-04-01T08:30:00Z",
         "applications": [{"name": "Xcode", "visible_seconds": 720}, {"name": "Safari", "visible_seconds": 300},
                          {"name": "Terminal", "visible_seconds": 300}]},
        {"date": "2026-04-02", "active_seconds": 0, "observation_count": 0, "session_count": 0,
         "first_activity_iso": null, "last_activity_iso": null, "applications": []}
    ])"));
    EXPECT_EQ(summary.at("data").at("active_seconds"), 1320);
}

TEST_F(SummarySelectionTest, TheDaysOfARangeThatGoesOnEndToday) {
    createDatabase(kInvoiceWork);
    // From Monday on: today is the last day listed, though the range runs
    // to the end of the week.
    const JSON days = answer({"summary", "--from", "2026-03-30", "--to", "2026-04-05", "--only", "days"})
                          .at("data")
                          .at("days");
    ASSERT_EQ(days.size(), 3u);
    EXPECT_EQ(days.at(2).at("date"), "2026-04-01");
}

// New York: 8 March 2026 has 23 hours (the clocks jump from 02:00 to 03:00).
constexpr const char* kShortDay = R"SQL(
    INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at) VALUES
        ('N0', 'visual', 1772953140.0, 'Before the jump, 01:59 EST', '["Mail"]', 'x'),
        ('N1', 'visual', 1772953260.0, 'After the jump, 03:01 EDT', '["Mail"]', 'x'),
        ('N2', 'visual', 1773028680.0, 'The last minutes of the short day', '["Xcode"]', 'x'),
        ('N3', 'visual', 1773028830.0, 'Past midnight: the next day', '["Xcode"]', 'x');
)SQL";

TEST_F(SummarySelectionTest, ADayOfTwentyThreeHoursIsOneOfTheDays) {
    createDatabase(kShortDay);
    const JSON summary = answer({"summary", "--from", "2026-03-07", "--to", "2026-03-09", "--only", "days"},
                                frozenAt("2026-11-05 12:00:00", "America/New_York"));
    EXPECT_EQ(summary.at("meta").at("query").at("from"), "2026-03-07T05:00:00Z");
    EXPECT_EQ(summary.at("meta").at("query").at("to"), "2026-03-10T04:00:00Z");
    // N2's session goes on past midnight; it counts for the day it starts on.
    EXPECT_EQ(summary.at("data").at("days"), JSON::parse(R"([
        {"date": "2026-03-07", "active_seconds": 0, "observation_count": 0, "session_count": 0,
         "first_activity_iso": null, "last_activity_iso": null, "applications": []},
        {"date": "2026-03-08", "active_seconds": 570, "observation_count": 3, "session_count": 2,
         "first_activity_iso": "2026-03-08T06:59:00Z", "last_activity_iso": "2026-03-09T03:58:00Z",
         "applications": [{"name": "Mail", "visible_seconds": 420}, {"name": "Xcode", "visible_seconds": 150}]},
        {"date": "2026-03-09", "active_seconds": 300, "observation_count": 1, "session_count": 0,
         "first_activity_iso": "2026-03-09T04:00:30Z", "last_activity_iso": "2026-03-09T04:00:30Z",
         "applications": [{"name": "Xcode", "visible_seconds": 300}]}
    ])"));
}

// ---- Whole weeks and months -------------------------------------------

// Around the new year, times UTC: Sunday 27 December, New Year's Eve, Sunday
// 3 January, and the last day of November.
constexpr const char* kNewYear = R"SQL(
    INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at) VALUES
        ('S27', 'visual', 1798362000.0, 'Sunday before the holidays', '["Mail"]', 'x'),
        ('E31', 'visual', 1798754400.0, 'Closing the year', '["Numbers"]', 'x'),
        ('S03', 'visual', 1798970400.0, 'Planning the new year', '["Notes"]', 'x'),
        ('N30', 'visual', 1796040000.0, 'The end of November', '["Mail"]', 'x');
)SQL";

// Wednesday 6 January 2027, 10:00 UTC.
constexpr const char* kJanuary6 = "2027-01-06 10:00:00";

std::vector<std::string> datesOf(const JSON& summary) {
    std::vector<std::string> dates;
    for (const JSON& day : summary.at("data").at("days")) dates.push_back(day.at("date"));
    return dates;
}

TEST_F(SummarySelectionTest, LastWeekStartsOnTheLocalesDayOrTheOneGiven) {
    createDatabase(kNewYear);
    // en_US weeks start on Sunday: 27 December to 3 January.
    const JSON sunday = answer({"summary", "last-week", "--only", "days"}, frozenAt(kJanuary6));
    EXPECT_EQ(sunday.at("meta").at("query").at("preset"), "last-week");
    EXPECT_EQ(sunday.at("meta").at("query").at("from"), "2026-12-27T00:00:00Z");
    EXPECT_EQ(sunday.at("meta").at("query").at("to"), "2027-01-03T00:00:00Z");
    EXPECT_FALSE(sunday.at("meta").at("query").contains("week_start"));
    EXPECT_EQ(datesOf(sunday), (std::vector<std::string>{"2026-12-27", "2026-12-28", "2026-12-29", "2026-12-30",
                                                         "2026-12-31", "2027-01-01", "2027-01-02"}));
    EXPECT_EQ(sunday.at("data").at("observation_count"), 2);  // S27 and E31

    const JSON monday = answer({"summary", "last-week", "--week-start", "monday", "--only", "days"}, frozenAt(kJanuary6));
    EXPECT_EQ(monday.at("meta").at("query").at("from"), "2026-12-28T00:00:00Z");
    EXPECT_EQ(monday.at("meta").at("query").at("to"), "2027-01-04T00:00:00Z");
    EXPECT_EQ(monday.at("meta").at("query").at("week_start"), "monday");
    EXPECT_EQ(datesOf(monday), (std::vector<std::string>{"2026-12-28", "2026-12-29", "2026-12-30", "2026-12-31",
                                                         "2027-01-01", "2027-01-02", "2027-01-03"}));
    EXPECT_EQ(monday.at("data").at("observation_count"), 2);  // E31 and S03
}

TEST_F(SummarySelectionTest, WithoutALocaleTheWeekStartIsTheOneGiven) {
    createDatabase(kNewYear);
    InvocationOptions withoutLocale = frozenAt(kJanuary6);
    withoutLocale.language = "C.UTF-8";
    const JSON monday = answer({"summary", "this-week", "--week-start", "Monday", "--only", "days"}, withoutLocale);
    EXPECT_EQ(monday.at("meta").at("query").at("from"), "2027-01-04T00:00:00Z");
    EXPECT_EQ(monday.at("meta").at("query").at("to"), "2027-01-06T10:00:00Z");
    EXPECT_EQ(monday.at("meta").at("query").at("week_start"), "Monday");
    EXPECT_EQ(datesOf(monday), (std::vector<std::string>{"2027-01-04", "2027-01-05", "2027-01-06"}));
}

TEST_F(SummarySelectionTest, LastMonthIsTheWholeCalendarMonthBefore) {
    createDatabase(kNewYear);
    const JSON december = answer({"summary", "last-month", "--only", "days"}, frozenAt(kJanuary6));
    EXPECT_EQ(december.at("meta").at("query").at("preset"), "last-month");
    EXPECT_EQ(december.at("meta").at("query").at("from"), "2026-12-01T00:00:00Z");
    EXPECT_EQ(december.at("meta").at("query").at("to"), "2027-01-01T00:00:00Z");
    const std::vector<std::string> dates = datesOf(december);
    ASSERT_EQ(dates.size(), 31u);
    EXPECT_EQ(dates.front(), "2026-12-01");
    EXPECT_EQ(dates.back(), "2026-12-31");
    EXPECT_EQ(december.at("data").at("observation_count"), 2);  // S27 and E31, not N30
    // The last row of the month covers an idle gap: the month is over.
    EXPECT_EQ(december.at("data").at("days").at(30).at("active_seconds"), 300);

    const JSON january = answer({"summary", "this-month", "--only", "days"}, frozenAt(kJanuary6));
    EXPECT_EQ(january.at("meta").at("query").at("from"), "2027-01-01T00:00:00Z");
    EXPECT_EQ(january.at("meta").at("query").at("to"), "2027-01-06T10:00:00Z");
    EXPECT_EQ(datesOf(january).size(), 6u);
    EXPECT_EQ(january.at("data").at("observation_count"), 1);  // S03
}

// ---- Only what was asked ------------------------------------------------

TEST_F(SummarySelectionTest, OnlyTheSectionsAskedForArePrinted) {
    createDatabase(kInvoiceWork);
    const std::vector<std::string> totals = {"active_seconds", "first_activity_iso", "last_activity_iso",
                                             "observation_count"};
    const std::vector<std::pair<std::string, std::vector<std::string>>> cases = {
        {"sessions", {"session_count", "sessions"}},
        {"applications", {"applications"}},
        {"entities", {"entities"}},
        {"days", {"days"}},
        {"coverage", {"coverage"}},
        {"days,sessions", {"days", "session_count", "sessions"}},
    };
    const std::map<std::string, std::vector<std::string>> omittedOf = {
        {"sessions", {"highlights", "session_applications", "sessions"}},
        {"applications", {"applications"}},
        {"entities", {"entities"}},
        {"days", {"day_applications", "days"}},
        {"coverage", {"gaps"}},
        {"days,sessions", {"day_applications", "days", "highlights", "session_applications", "sessions"}},
    };
    const JSON whole = answer({"summary"});
    for (const auto& [only, keys] : cases) {
        const JSON summary = answer({"summary", "--only", only});
        std::vector<std::string> expected = totals;
        expected.insert(expected.end(), keys.begin(), keys.end());
        std::sort(expected.begin(), expected.end());
        std::vector<std::string> printed;
        for (const auto& [key, value] : summary.at("data").items()) {
            printed.push_back(key);
            // What is printed is what the whole answer says.
            EXPECT_EQ(value, whole.at("data").at(key)) << only << ": " << key;
        }
        EXPECT_EQ(printed, expected) << only;
        std::vector<std::string> omitted;
        for (const auto& [key, value] : summary.at("meta").at("omitted").items()) omitted.push_back(key);
        EXPECT_EQ(omitted, omittedOf.at(only)) << only;
    }
    const JSON days = answer({"summary", "--only", "days,sessions"});
    EXPECT_EQ(days.at("meta").at("query").at("only"), JSON::parse(R"(["days", "sessions"])"));
}

TEST_F(SummarySelectionTest, ABudgetDropsDetailOnlyWithinTheSectionsAskedFor) {
    createDatabase(kInvoiceWork);
    const std::int64_t full = static_cast<std::int64_t>(run({"summary", "--only", "sessions"}).standardOutput.size());
    const JSON summary = answer({"summary", "--only", "sessions", "--max-chars", std::to_string(full - 40)});
    EXPECT_EQ(summary.at("meta").at("truncated"), true);
    const JSON& omitted = summary.at("meta").at("omitted");
    EXPECT_EQ(omitted.size(), 3u);
    EXPECT_GE(omitted.at("highlights"), 1);
    EXPECT_EQ(omitted.at("session_applications"), 0);
    EXPECT_EQ(omitted.at("sessions"), 0);
}

}  // namespace

}  // namespace summary_selection_test
