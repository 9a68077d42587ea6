#include <sqlite3.h>

#include <algorithm>
#include <regex>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "FixtureDatabase.h"
#include "RecorderSchema.h"
#include "TemporaryHome.h"

namespace search_command_test {

using namespace VarnholtTestSupport;
using nlohmann::json;

namespace {

// The recorder's day as the tests see it: "now" is 2026-04-01T10:00:00Z,
// noon in Berlin. Everything but O-OLD lies within the last 24 hours.
constexpr const char* kFixture = R"SQL(
INSERT INTO frames (id, display_id, captured_at, timestamp, image_path, analyzed) VALUES
  ('F-A', '1', '2026-04-01T09:50:00Z', 1775037000.5, '/home/tester/.varnholt/shots/2026-04-01/a.png', 1),
  ('F-C', '1', '2026-04-01T09:30:00Z', 1775035800.0, '/home/tester/.varnholt/shots/2026-04-01/c.png', 1);
INSERT INTO observations (id, frame_id, type, timestamp, image_path, vlm_description, apps, created_at) VALUES
  ('O-A', 'F-A', 'visual', 1775037000.5, '/home/tester/.varnholt/shots/2026-04-01/a.png',
   'Drafting the invoice for the Müller project in Pages', '["Pages","Mail","pages"]', '2026-04-01T09:50:03Z'),
  ('O-B', NULL, 'visual', 1775036400.0, NULL,
   'Reviewing the invoice total with anna@example.com', '["Mail"]', '2026-04-01T09:40:03Z'),
  ('O-C', 'F-C', 'visual', 1775035800.0, '/home/tester/.varnholt/shots/2026-04-01/c.png',
   'drafting the Invoice for the Müller project in Pages  ', '["Pages"]', '2026-04-01T09:30:03Z'),
  ('O-D', NULL, 'visual', 1775032200.0, NULL,
   'Writing unit tests for the budget parser', NULL, '2026-04-01T08:30:03Z'),
  ('O-OLD', NULL, 'visual', 1774872000.0, NULL,
   'Sending the invoice reminder', '["Mail"]', '2026-03-30T12:00:03Z');
INSERT INTO observation_entities VALUES
  ('E1', 'O-A', 'app', 'Pages', 0.92, 1775037001.0),
  ('E2', 'O-A', 'company', 'Müller', 0.61, 1775037001.0),
  ('E3', 'O-D', 'programming_language', 'Swift', 0.88, 1775032201.0);
)SQL";

class SearchCommandTest : public ::testing::Test {
protected:
    void SetUp() override {
        home_.varnholtDirectory();
        sqlite3* handle = VarnholtSampleData::openWritableDatabase(home_.databasePath());
        try {
            VarnholtSampleData::createRecorderSchema(handle);
            VarnholtSampleData::execWritable(handle, kFixture);
        } catch (...) {
            sqlite3_close(handle);
            throw;
        }
        sqlite3_close(handle);
    }

    ProcessResult search(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), "search");
        InvocationOptions options;
        options.timeZone = "Europe/Berlin";
        options.frozenTime = "2026-04-01 10:00:00";
        return home_.run(arguments, options);
    }

    // The printed document with its clock readings checked by form and
    // replaced, so the rest can be compared exactly.
    static std::string withClockReplaced(std::string text) {
        const std::regex date(R"("current_date" : "\d{4}-\d{2}-\d{2}")");
        const std::regex dateTime(
            R"re("current_datetime" : "\d{4}-\d{2}-\d{2}T\d{2}:\d{2}:\d{2}(Z|[+-]\d{2}:\d{2})")re");
        EXPECT_TRUE(std::regex_search(text, date)) << text;
        EXPECT_TRUE(std::regex_search(text, dateTime)) << text;
        text = std::regex_replace(text, date, R"("current_date" : "<date>")");
        return std::regex_replace(text, dateTime, R"("current_datetime" : "<datetime>")");
    }

    // A successful run's document, parsed.
    static json document(const ProcessResult& result) {
        EXPECT_EQ(result.exitStatus, 0) << result.standardOutput << result.standardError;
        EXPECT_EQ(result.standardError, "");
        return json::parse(result.standardOutput, nullptr, false);
    }

    static std::vector<std::string> idsOf(const json& document) {
        std::vector<std::string> ids;
        for (const auto& result : document["data"]["results"]) ids.push_back(result["observation_id"]);
        return ids;
    }

    // Checks that the run failed with one error envelope and returns
    // "CODE: message".
    static std::string failure(const ProcessResult& result) {
        EXPECT_EQ(result.exitStatus, 1);
        EXPECT_EQ(result.standardError, "");
        const std::regex envelope(
            "\\{\n"
            "  \"api_version\" : 2,\n"
            "  \"data\" : null,\n"
            "  \"error\" : \\{\n"
            "    \"code\" : \"[A-Z_]+\",\n"
            "    \"message\" : \"[^\n]*\",\n"
            "    \"timestamp\" : \"\\d{4}-\\d{2}-\\d{2}T\\d{2}:\\d{2}:\\d{2}Z\"\n"
            "  \\},\n"
            "  \"meta\" : null,\n"
            "  \"ok\" : false\n"
            "\\}\n");
        EXPECT_TRUE(std::regex_match(result.standardOutput, envelope)) << result.standardOutput;
        const json parsed = json::parse(result.standardOutput, nullptr, false);
        if (parsed.is_discarded() || !parsed.contains("error") || !parsed["error"].is_object()) {
            return "<no envelope>";
        }
        return parsed["error"]["code"].get<std::string>() + ": " +
               parsed["error"]["message"].get<std::string>();
    }

    TemporaryHome home_;
};

TEST_F(SearchCommandTest, RankedSearchOverTheLastDay) {
    const ProcessResult result = search({"invoice"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardError, "");
    EXPECT_EQ(withClockReplaced(result.standardOutput),
              R"({
  "api_version" : 2,
  "data" : {
    "results" : [
      {
        "applications" : [
          "Mail"
        ],
        "entities" : [

        ],
        "observation_id" : "O-B",
        "timestamp" : 1775036400,
        "timestamp_iso" : "2026-04-01T09:40:00Z",
        "vlm_description" : "Reviewing the invoice total with [EMAIL]"
      },
      {
        "applications" : [
          "Pages",
          "Mail"
        ],
        "entities" : [
          {
            "kind" : "app",
            "value" : "Pages"
          },
          {
            "kind" : "company",
            "value" : "Müller"
          }
        ],
        "observation_id" : "O-A",
        "timestamp" : 1775037000.5,
        "timestamp_iso" : "2026-04-01T09:50:00Z",
        "vlm_description" : "Drafting the invoice for the Müller project in Pages"
      },
      {
        "applications" : [
          "Pages"
        ],
        "entities" : [

        ],
        "observation_id" : "O-C",
        "timestamp" : 1775035800,
        "timestamp_iso" : "2026-04-01T09:30:00Z",
        "vlm_description" : "drafting the Invoice for the Müller project in Pages  "
      }
    ]
  },
  "error" : null,
  "meta" : {
    "current_date" : "<date>",
    "current_datetime" : "<datetime>",
    "has_more" : false,
    "query" : {
      "app_filter" : null,
      "from" : "2026-03-31T10:00:00Z",
      "keyword" : "invoice",
      "latest_only" : false,
      "limit" : 50,
      "to" : null
    },
    "returned_results" : 3,
    "timezone" : "Europe\/Berlin"
  },
  "ok" : true
}
)");
}

// Rows a damaged database may hold: O-T's frame has text for a time, so
// its own time (09:45) dates it; O-U's own time is text, so it has no time
// and is in no window (as text it would sort after every number: inside
// the open window of the last day, and the newest). A BLOB entity value on
// O-A, a BLOB kind and NULL kinds and values on O-T name nothing and are
// left out.
constexpr const char* kDamagedRows = R"SQL(
INSERT INTO frames (id, display_id, captured_at, timestamp, image_path, analyzed) VALUES
  ('F-T', '1', 'x', 'pending', '/f/t.png', 1);
INSERT INTO observations (id, frame_id, type, timestamp, vlm_description, apps, created_at) VALUES
  ('O-T', 'F-T', 'visual', 1775036700.0, 'Filing the invoice copy', '["Finder"]', 'x'),
  ('O-U', NULL, 'visual', '2026-04-01T09:59:00Z', 'Undated invoice', '[]', 'x');
INSERT INTO observation_entities VALUES
  ('E4', 'O-A', 'app', x'4D61696C', 0.9, 1775037001.0),
  ('E5', 'O-T', x'617070', 'Finder', 0.9, 1775036701.0),
  ('E6', 'O-T', 'software_tool', 'scanner', 0.9, 1775036701.0),
  ('E7', 'O-T', NULL, 'Finder', 0.9, 1775036701.0),
  ('E8', 'O-A', 'app', NULL, 0.9, 1775037001.0);
)SQL";

TEST_F(SearchCommandTest, TimesOfTextAreNoTimesAndEntitiesWithoutTextAreLeftOut) {
    writeToDatabase(home_.databasePath(), std::string("CREATE TABLE kept AS SELECT * FROM observation_entities;") +
                                              kEntitiesWithoutConstraints +
                                              "INSERT INTO observation_entities SELECT * FROM kept;\n"
                                              "DROP TABLE kept;\n" + kDamagedRows);
    const json newest = document(search({"invoice", "--latest"}));
    EXPECT_EQ(newest["data"]["results"], json::parse(R"([{
        "applications": ["Pages", "Mail"],
        "entities": [{"kind": "app", "value": "Pages"}, {"kind": "company", "value": "Müller"}],
        "observation_id": "O-A", "timestamp": 1775037000.5, "timestamp_iso": "2026-04-01T09:50:00Z",
        "vlm_description": "Drafting the invoice for the Müller project in Pages"}])"));

    const json window = document(search({"invoice", "--from", "2026-04-01T09:44:00Z"}));
    std::vector<std::string> ids = idsOf(window);
    std::sort(ids.begin(), ids.end());
    EXPECT_EQ(ids, (std::vector<std::string>{"O-A", "O-T"}));
    for (const auto& result : window["data"]["results"]) {
        if (result["observation_id"] != "O-T") continue;
        EXPECT_EQ(result, json::parse(R"({
            "applications": ["Finder"], "entities": [{"kind": "software_tool", "value": "scanner"}],
            "observation_id": "O-T", "timestamp": 1775036700, "timestamp_iso": "2026-04-01T09:45:00Z",
            "vlm_description": "Filing the invoice copy"})"));
    }
}

TEST_F(SearchCommandTest, ClockReadingsAreTheFrozenLocalTime) {
    const json printed = document(search({"invoice"}));
    EXPECT_EQ(printed["meta"]["current_date"], "2026-04-01");
    EXPECT_EQ(printed["meta"]["current_datetime"], "2026-04-01T12:00:00+02:00");
}

TEST_F(SearchCommandTest, CollapsedSearchReportsTheCountBeforeCollapsing) {
    const ProcessResult result = search({"invoice", "--collapse", "--limit", "3"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardError, "");
    // O-C says what O-A says, in other letter case and with trailing blanks;
    // the better-ranked O-A survives. Three rows filled the limit of three.
    EXPECT_EQ(withClockReplaced(result.standardOutput),
              R"({
  "api_version" : 2,
  "data" : {
    "results" : [
      {
        "applications" : [
          "Mail"
        ],
        "entities" : [

        ],
        "observation_id" : "O-B",
        "timestamp" : 1775036400,
        "timestamp_iso" : "2026-04-01T09:40:00Z",
        "vlm_description" : "Reviewing the invoice total with [EMAIL]"
      },
      {
        "applications" : [
          "Pages",
          "Mail"
        ],
        "entities" : [
          {
            "kind" : "app",
            "value" : "Pages"
          },
          {
            "kind" : "company",
            "value" : "Müller"
          }
        ],
        "observation_id" : "O-A",
        "timestamp" : 1775037000.5,
        "timestamp_iso" : "2026-04-01T09:50:00Z",
        "vlm_description" : "Drafting the invoice for the Müller project in Pages"
      }
    ]
  },
  "error" : null,
  "meta" : {
    "collapsed_from" : 3,
    "current_date" : "<date>",
    "current_datetime" : "<datetime>",
    "has_more" : true,
    "query" : {
      "app_filter" : null,
      "from" : "2026-03-31T10:00:00Z",
      "keyword" : "invoice",
      "latest_only" : false,
      "limit" : 3,
      "to" : null
    },
    "returned_results" : 2,
    "timezone" : "Europe\/Berlin"
  },
  "ok" : true
}
)");
}

TEST_F(SearchCommandTest, CollapseThatRemovesNothingAddsNoCount) {
    const json printed = document(search({"budget", "--collapse"}));
    EXPECT_EQ(idsOf(printed), (std::vector<std::string>{"O-D"}));
    EXPECT_FALSE(printed["meta"].contains("collapsed_from"));
    EXPECT_EQ(printed["meta"]["has_more"], false);
}

TEST_F(SearchCommandTest, ImagesAddThePathOrNull) {
    const ProcessResult result = search({"invoice", "--images", "--compact", "--latest"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(withClockReplaced(result.standardOutput),
              R"({
  "api_version" : 2,
  "data" : {
    "results" : [
      {
        "applications" : [
          "Pages",
          "Mail"
        ],
        "entities" : [
          {
            "kind" : "app",
            "value" : "Pages"
          },
          {
            "kind" : "company",
            "value" : "Müller"
          }
        ],
        "image_path" : "\/home\/tester\/.varnholt\/shots\/2026-04-01\/a.png",
        "observation_id" : "O-A",
        "timestamp" : 1775037000.5,
        "timestamp_iso" : "2026-04-01T09:50:00Z"
      }
    ]
  },
  "error" : null,
  "meta" : {
    "current_date" : "<date>",
    "current_datetime" : "<datetime>",
    "has_more" : true,
    "query" : {
      "app_filter" : null,
      "from" : "2026-03-31T10:00:00Z",
      "keyword" : "invoice",
      "latest_only" : true,
      "limit" : 1,
      "to" : null
    },
    "returned_results" : 1,
    "timezone" : "Europe\/Berlin"
  },
  "ok" : true
}
)");
}

TEST_F(SearchCommandTest, ImagesWithoutAPathPrintNull) {
    const json printed = document(search({"total", "--images"}));
    ASSERT_EQ(idsOf(printed), (std::vector<std::string>{"O-B"}));
    ASSERT_TRUE(printed["data"]["results"][0].contains("image_path"));
    EXPECT_TRUE(printed["data"]["results"][0]["image_path"].is_null());
}

TEST_F(SearchCommandTest, WithoutImagesThereIsNoPath) {
    const json printed = document(search({"invoice"}));
    for (const auto& result : printed["data"]["results"]) EXPECT_FALSE(result.contains("image_path"));
}

TEST_F(SearchCommandTest, CompactLeavesOutDescriptionsAndFullWins) {
    const json compact = document(search({"invoice", "--compact"}));
    ASSERT_EQ(compact["data"]["results"].size(), 3u);
    for (const auto& result : compact["data"]["results"]) {
        EXPECT_FALSE(result.contains("vlm_description"));
    }
    const json full = document(search({"invoice", "--compact", "--full"}));
    ASSERT_EQ(full["data"]["results"].size(), 3u);
    for (const auto& result : full["data"]["results"]) EXPECT_TRUE(result.contains("vlm_description"));
}

TEST_F(SearchCommandTest, LatestReturnsTheNewestMatchOnly) {
    const json printed = document(search({"invoice", "--latest", "--limit", "30"}));
    EXPECT_EQ(idsOf(printed), (std::vector<std::string>{"O-A"}));
    EXPECT_EQ(printed["meta"]["query"]["latest_only"], true);
    EXPECT_EQ(printed["meta"]["query"]["limit"], 1);
    EXPECT_EQ(printed["meta"]["has_more"], true);
}

TEST_F(SearchCommandTest, ApplicationFilterMatchesWholeNamesInAnyCase) {
    const json mail = document(search({"invoice", "--app", "mail"}));
    EXPECT_EQ(idsOf(mail), (std::vector<std::string>{"O-B", "O-A"}));
    EXPECT_EQ(mail["meta"]["query"]["app_filter"], "mail");
    const json partial = document(search({"invoice", "--app", "Pag"}));
    EXPECT_EQ(idsOf(partial), std::vector<std::string>{});
}

TEST_F(SearchCommandTest, ExplicitDatesReachBeyondTheLastDay) {
    // Bare dates are local days in Berlin (summer time from 29 March on).
    const json printed = document(search({"invoice", "--from", "2026-03-30", "--to", "2026-03-31"}));
    EXPECT_EQ(idsOf(printed), (std::vector<std::string>{"O-OLD"}));
    EXPECT_EQ(printed["meta"]["query"],
              json::parse(R"({"app_filter": null, "from": "2026-03-29T22:00:00Z",
                              "keyword": "invoice", "latest_only": false, "limit": 50,
                              "to": "2026-03-31T21:59:59Z"})"));
    EXPECT_EQ(printed["data"]["results"][0]["vlm_description"], "Sending the invoice reminder");
}

TEST_F(SearchCommandTest, OnlyAnUpperBoundLeavesTheLowerOpen) {
    const json printed = document(search({"invoice", "--to", "2026-04-01T09:45:00Z", "--latest"}));
    EXPECT_EQ(idsOf(printed), (std::vector<std::string>{"O-B"}));
    EXPECT_EQ(printed["meta"]["query"]["from"], nullptr);
    EXPECT_EQ(printed["meta"]["query"]["to"], "2026-04-01T09:45:00Z");
}

TEST_F(SearchCommandTest, SinceIsAWindowEndingNow) {
    const json printed = document(search({"invoice budget", "--since", "30m"}));
    EXPECT_EQ(idsOf(printed), (std::vector<std::string>{"O-B", "O-A", "O-C"}));
    EXPECT_EQ(printed["meta"]["query"],
              json::parse(R"({"app_filter": null, "from": "2026-04-01T09:30:00Z",
                              "keyword": "invoice budget", "latest_only": false, "limit": 50,
                              "to": "2026-04-01T10:00:00Z"})"));
}

TEST_F(SearchCommandTest, SeveralWordsFindAnyOfThem) {
    const json printed = document(search({"invoice budget", "--latest", "--limit", "9"}));
    EXPECT_EQ(idsOf(printed), (std::vector<std::string>{"O-A"}));
    // "budget" is rare in the fixture and "invoice" common, so BM25 puts the
    // one budget entry first.
    const json all = document(search({"invoice budget"}));
    EXPECT_EQ(idsOf(all), (std::vector<std::string>{"O-D", "O-B", "O-A", "O-C"}));
}

TEST_F(SearchCommandTest, AllWordsFindsOnlyRowsWithEveryWordAndPhrase) {
    // The newest row with any of the words has no "total".
    EXPECT_EQ(idsOf(document(search({"invoice total", "--latest"}))), (std::vector<std::string>{"O-A"}));
    const json latest = document(search({"invoice total", "--all-words", "--latest"}));
    EXPECT_EQ(idsOf(latest), (std::vector<std::string>{"O-B"}));
    EXPECT_EQ(latest["meta"]["query"],
              json::parse(R"({"all_words": true, "app_filter": null, "from": "2026-03-31T10:00:00Z",
                              "keyword": "invoice total", "latest_only": true, "limit": 1, "to": null})"));
    const json ranked = document(search({"\"Müller project\" drafting", "--all-words", "--since", "1w"}));
    EXPECT_EQ(idsOf(ranked), (std::vector<std::string>{"O-A", "O-C"}));
    // Operator words and FTS5 syntax are words to find: none of the rows has
    // "NOT" or "OR".
    EXPECT_EQ(idsOf(document(search({"invoice NOT total", "--all-words"}))), std::vector<std::string>{});
    EXPECT_EQ(idsOf(document(search({"invoice OR budget", "--all-words"}))), std::vector<std::string>{});
    EXPECT_EQ(idsOf(document(search({"budget* (parser", "--all-words"}))), (std::vector<std::string>{"O-D"}));
}

TEST_F(SearchCommandTest, LimitIsClampedIntoOneToTwoHundred) {
    EXPECT_EQ(document(search({"invoice", "--limit", "1000"}))["meta"]["query"]["limit"], 200);
    EXPECT_EQ(document(search({"invoice", "--limit", "0"}))["meta"]["query"]["limit"], 1);
    EXPECT_EQ(document(search({"invoice", "--limit", "-4"}))["meta"]["query"]["limit"], 1);
    EXPECT_EQ(document(search({"invoice", "--limit", "abc"}))["meta"]["query"]["limit"], 50);
    EXPECT_EQ(document(search({"invoice", "--since", "1w", "--limit", "1000"}))["meta"]["query"]["limit"],
              200);
}

TEST_F(SearchCommandTest, LimitOfOneHasMore) {
    const json printed = document(search({"invoice", "--limit", "1"}));
    EXPECT_EQ(idsOf(printed), (std::vector<std::string>{"O-B"}));
    EXPECT_EQ(printed["meta"]["has_more"], true);
}

TEST_F(SearchCommandTest, NoMatchIsAnEmptyAnswer) {
    const json printed = document(search({"spreadsheet"}));
    EXPECT_EQ(printed["data"]["results"], json::array());
    EXPECT_EQ(printed["meta"]["returned_results"], 0);
    EXPECT_EQ(printed["meta"]["has_more"], false);
}

TEST_F(SearchCommandTest, MissingKeyword) {
    EXPECT_EQ(failure(search({})),
              "INVALID_TIME_RANGE: Missing keyword. Usage: varnholt-query search <keyword> "
              "[--app <name>] [--since <duration>] [--from YYYY-MM-DD] [--to YYYY-MM-DD] "
              "[--latest] [--limit N] [--compact]");
    EXPECT_EQ(failure(search({"--latest"})).rfind("INVALID_TIME_RANGE: Missing keyword.", 0), 0u);
}

TEST_F(SearchCommandTest, UnknownFlag) {
    EXPECT_EQ(failure(search({"invoice", "--bogus"})), "UNKNOWN_ERROR: Unknown flag '--bogus'.");
}

TEST_F(SearchCommandTest, MissingValue) {
    EXPECT_EQ(failure(search({"invoice", "--app"})), "UNKNOWN_ERROR: Missing value for --app.");
    EXPECT_EQ(failure(search({"invoice", "--since", "--latest"})),
              "UNKNOWN_ERROR: Missing value for --since.");
}

TEST_F(SearchCommandTest, FromAfterTo) {
    EXPECT_EQ(failure(search({"invoice", "--from", "2026-04-08", "--to", "2026-04-07"})),
              "INVALID_TIME_RANGE: --from must be before or equal to --to");
}

TEST_F(SearchCommandTest, UnparsableDate) {
    EXPECT_EQ(failure(search({"invoice", "--from", "April"})),
              "INVALID_TIME_RANGE: Cannot parse --from date 'April'. Use ISO 8601 or yyyy-MM-dd format.");
}

TEST_F(SearchCommandTest, AnUnbalancedQuoteIsSearchedLiterally) {
    // "invoice" OR "unbalanced": the invoice rows, ranked as for "invoice".
    EXPECT_EQ(idsOf(document(search({"invoice \"unbalanced"}))), (std::vector<std::string>{"O-B", "O-A", "O-C"}));
}

TEST_F(SearchCommandTest, AnFTS5ErrorWithNoWordsLeftIsReportedWithSQLitesMessage) {
    EXPECT_EQ(failure(search({"\""})), "UNKNOWN_ERROR: unterminated string");
}

TEST_F(SearchCommandTest, MissingDatabase) {
    TemporaryHome emptyHome;
    InvocationOptions options;
    options.frozenTime = "2026-04-01 10:00:00";
    const ProcessResult result = emptyHome.run({"search", "invoice"}, options);
    EXPECT_EQ(failure(result), "DB_NOT_FOUND: Database not found at " + emptyHome.databasePath());
}

// Descriptions with ordinary words that FTS5 reads as syntax when typed
// bare, and one as long as a pasted log.
constexpr const char* kOrdinaryWordsFixture = R"SQL(
INSERT INTO observations (id, frame_id, type, timestamp, image_path, vlm_description, apps, created_at) VALUES
  ('O-NODE', NULL, 'visual', 1775033400.0, NULL, 'Upgrading node.js to 22 in the Dockerfile',
   '["Terminal"]', '2026-04-01T09:00:03Z'),
  ('O-TYPE', NULL, 'visual', 1775033460.5, NULL, 'Debugging TypeError: x is undefined in checkout.js',
   '["Google Chrome"]', '2026-04-01T09:01:03Z'),
  ('O-LOG', NULL, 'visual', 1775033520.0, NULL,
   replace(hex(zeroblob(524288)), '0', 'x') || ' overflowing log', '["Terminal"]', '2026-04-01T09:02:03Z');
)SQL";

class SearchCommandLiteralTest : public SearchCommandTest {
protected:
    void SetUp() override {
        SearchCommandTest::SetUp();
        writeToDatabase(home_.databasePath(), kOrdinaryWordsFixture);
    }

    // A default search's answer (the last day, ranked, at most 50) holding
    // one observation of this fixture, which has no entities.
    static std::string oneResultAnswer(const std::string& application, const std::string& id,
                                       const std::string& timestamp, const std::string& timestampIso,
                                       const std::string& description, const std::string& keyword) {
        return "{\n"
               "  \"api_version\" : 2,\n"
               "  \"data\" : {\n"
               "    \"results\" : [\n"
               "      {\n"
               "        \"applications\" : [\n"
               "          \"" + application + "\"\n"
               "        ],\n"
               "        \"entities\" : [\n"
               "\n"
               "        ],\n"
               "        \"observation_id\" : \"" + id + "\",\n"
               "        \"timestamp\" : " + timestamp + ",\n"
               "        \"timestamp_iso\" : \"" + timestampIso + "\",\n"
               "        \"vlm_description\" : \"" + description + "\"\n"
               "      }\n"
               "    ]\n"
               "  },\n"
               "  \"error\" : null,\n"
               "  \"meta\" : {\n"
               "    \"current_date\" : \"<date>\",\n"
               "    \"current_datetime\" : \"<datetime>\",\n"
               "    \"has_more\" : false,\n"
               "    \"query\" : {\n"
               "      \"app_filter\" : null,\n"
               "      \"from\" : \"2026-03-31T10:00:00Z\",\n"
               "      \"keyword\" : \"" + keyword + "\",\n"
               "      \"latest_only\" : false,\n"
               "      \"limit\" : 50,\n"
               "      \"to\" : null\n"
               "    },\n"
               "    \"returned_results\" : 1,\n"
               "    \"timezone\" : \"Europe\\/Berlin\"\n"
               "  },\n"
               "  \"ok\" : true\n"
               "}\n";
    }
};

TEST_F(SearchCommandLiteralTest, DottedNameIsSearchedLiterally) {
    const ProcessResult result = search({"node.js"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardError, "");
    EXPECT_EQ(withClockReplaced(result.standardOutput),
              oneResultAnswer("Terminal", "O-NODE", "1775033400", "2026-04-01T08:50:00Z",
                              "Upgrading node.js to 22 in the Dockerfile", "node.js"));
}

TEST_F(SearchCommandLiteralTest, ErrorMessageIsSearchedWordByWord) {
    const ProcessResult result = search({"TypeError: x"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardError, "");
    EXPECT_EQ(withClockReplaced(result.standardOutput),
              oneResultAnswer("Google Chrome", "O-TYPE", "1775033460.5", "2026-04-01T08:51:00Z",
                              "Debugging TypeError: x is undefined in checkout.js", "TypeError: x"));
}

TEST_F(SearchCommandLiteralTest, TheOtherOrdinaryWordsAnswer) {
    for (const char* keyword : {"feature-flag", "C++", "it's", "localhost:3000"}) {
        const json printed = document(search({keyword}));
        EXPECT_EQ(printed["ok"], true) << keyword;
        EXPECT_TRUE(printed["data"]["results"].empty()) << keyword;
    }
}

TEST_F(SearchCommandLiteralTest, AMegabyteDescriptionIsRedactedWhole) {
    const ProcessResult result = search({"overflowing"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardError, "");
    EXPECT_EQ(withClockReplaced(result.standardOutput),
              oneResultAnswer("Terminal", "O-LOG", "1775033520", "2026-04-01T08:52:00Z",
                              "[TOKEN] overflowing log", "overflowing"));
}

}  // namespace

}  // namespace search_command_test
