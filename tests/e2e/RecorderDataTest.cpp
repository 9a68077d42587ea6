// Rows the recorder's schema allows but never writes on purpose: a NULL
// observation id, text with an embedded NUL, an entity without a kind. Data
// from the database never stops the process; each command answers.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "FixtureDatabase.h"
#include "TemporaryHome.h"

namespace recorder_data_test {

using namespace VarnholtTestSupport;
using nlohmann::json;

namespace {

constexpr const char* kFixture = R"SQL(
INSERT INTO observations (id, type, timestamp, image_path, vlm_description, apps, created_at) VALUES
  (NULL, 'visual', 1775037000.0, NULL, 'Reconciling the invoice list', '["Numbers"]',
   '2026-04-01T09:50:03Z'),
  ('O-NUL' || char(0) || 'tail', 'visual', 1775037300.0, '/shots/a.png' || char(0) || '/b.png',
   'Sending the invoice' || char(0) || ' to someone@example.com', '["Mail"]' || char(0) || ',"x"]',
   '2026-04-01T09:55:03Z');
INSERT INTO observation_entities VALUES
  ('E1', 'O-NUL' || char(0) || 'tail', 'app', 'Mail' || char(0) || 'er', 0.9, 1775037301.0),
  ('E2', 'O-NUL' || char(0) || 'tail', NULL, 'Nameless', 0.5, 1775037301.0);
)SQL";

class RecorderDataTest : public ::testing::Test {
protected:
    void SetUp() override {
        home_.varnholtDirectory();
        // The recorder declares entity kinds NOT NULL; older databases did not.
        createFixtureDatabase(home_.databasePath(), std::string(R"SQL(
DROP TABLE observation_entities;
CREATE TABLE observation_entities (entity_id TEXT PRIMARY KEY, observation_id TEXT,
    entity_kind TEXT, entity_value TEXT, confidence REAL, created_at REAL);
)SQL") + kFixture);
    }

    ProcessResult run(const std::vector<std::string>& arguments) const {
        InvocationOptions options;
        options.frozenTime = "2026-04-01 10:00:00";
        return home_.run(arguments, options);
    }

    TemporaryHome home_;
};

}  // namespace

TEST_F(RecorderDataTest, SearchAnswersWithAnEmptyIdAndTextCutAtItsNul) {
    const ProcessResult result =
        run({"search", "invoice", "--from", "2026-04-01T09:00:00Z", "--images"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardError, "");
    EXPECT_EQ(result.standardOutput, R"({
  "api_version" : 2,
  "data" : {
    "results" : [
      {
        "applications" : [
          "Numbers"
        ],
        "entities" : [

        ],
        "image_path" : null,
        "observation_id" : "",
        "timestamp" : 1775037000,
        "timestamp_iso" : "2026-04-01T09:50:00Z",
        "vlm_description" : "Reconciling the invoice list"
      },
      {
        "applications" : [
          "Mail"
        ],
        "entities" : [
          {
            "kind" : "app",
            "value" : "Mail\u0000er"
          }
        ],
        "image_path" : "\/shots\/a.png",
        "observation_id" : "O-NUL",
        "timestamp" : 1775037300,
        "timestamp_iso" : "2026-04-01T09:55:00Z",
        "vlm_description" : "Sending the invoice"
      }
    ]
  },
  "error" : null,
  "meta" : {
    "current_date" : "2026-04-01",
    "current_datetime" : "2026-04-01T10:00:00Z",
    "has_more" : false,
    "query" : {
      "app_filter" : null,
      "from" : "2026-04-01T09:00:00Z",
      "keyword" : "invoice",
      "latest_only" : false,
      "limit" : 50,
      "to" : null
    },
    "returned_results" : 2,
    "timezone" : "UTC"
  },
  "ok" : true
}
)");
}

TEST_F(RecorderDataTest, TheTimelineAnswersWithAnEmptyIdAndTextCutAtItsNul) {
    const ProcessResult result = run({"recent", "--since", "1h", "--images"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardError, "");
    // The entity values come from the database as JSON text, where a NUL is
    // an escaped character like any other.
    EXPECT_EQ(result.standardOutput, R"({
  "api_version" : 2,
  "data" : {
    "moments" : [
      {
        "bucket_end_iso" : "2026-04-01T09:55:00Z",
        "bucket_start_iso" : "2026-04-01T09:50:00Z",
        "entities" : [

        ],
        "observation_count" : 1,
        "representative" : {
          "applications" : [
            "Numbers"
          ],
          "image_path" : null,
          "observation_id" : "",
          "timestamp" : 1775037000,
          "timestamp_iso" : "2026-04-01T09:50:00Z",
          "vlm_description" : "Reconciling the invoice list"
        }
      },
      {
        "bucket_end_iso" : "2026-04-01T10:00:00Z",
        "bucket_start_iso" : "2026-04-01T09:55:00Z",
        "entities" : [
          {
            "count" : 1,
            "kind" : "app",
            "value" : "Mail\u0000er"
          }
        ],
        "observation_count" : 1,
        "representative" : {
          "applications" : [
            "Mail"
          ],
          "image_path" : "\/shots\/a.png",
          "observation_id" : "O-NUL",
          "timestamp" : 1775037300,
          "timestamp_iso" : "2026-04-01T09:55:00Z",
          "vlm_description" : "Sending the invoice"
        }
      }
    ]
  },
  "error" : null,
  "meta" : {
    "current_date" : "2026-04-01",
    "current_datetime" : "2026-04-01T10:00:00Z",
    "has_more" : false,
    "query" : {
      "from" : "2026-04-01T09:00:00Z",
      "preset" : "recent",
      "to" : "2026-04-01T10:00:00Z"
    },
    "returned_moments" : 2,
    "timezone" : "UTC",
    "total_moments" : 2
  },
  "ok" : true
}
)");
}

TEST_F(RecorderDataTest, EntitiesAnswerDespiteAKindlessEntity) {
    const ProcessResult result = run({"entities"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardError, "");
    const json printed = json::parse(result.standardOutput, nullptr, false);
    ASSERT_TRUE(printed.is_object()) << result.standardOutput;
    EXPECT_EQ(printed["ok"], true);
    // The entity's value column ends at its NUL. (Which entities a row
    // without a kind gives is the statement's business, not this test's.)
    const json mail = {{"count", 1},
                       {"first_seen_iso", "2026-04-01T09:55:00Z"},
                       {"kind", "app"},
                       {"last_seen_iso", "2026-04-01T09:55:00Z"},
                       {"value", "Mail"}};
    bool found = false;
    for (const auto& entity : printed["data"]["entities"]) found = found || entity == mail;
    EXPECT_TRUE(found) << result.standardOutput;
}

TEST(RecorderInfiniteTimeTest, SearchWritesAnInfiniteTimeAsNullWithTheLatestInstant) {
    // REAL columns can hold ±Inf (9e999 in SQL); JSON has no such number.
    TemporaryHome home;
    home.varnholtDirectory();
    createFixtureDatabase(home.databasePath(), R"SQL(
INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at) VALUES
  ('O-INF', 'visual', 9e999, 'Reviewing the invoice forever', '[]', '2026-04-01T09:50:03Z');
)SQL");
    InvocationOptions options;
    options.frozenTime = "2026-04-01 10:00:00";
    const ProcessResult result = home.run({"search", "invoice", "--from", "2026-04-01T09:00:00Z"}, options);
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardError, "");
    EXPECT_EQ(result.standardOutput, R"({
  "api_version" : 2,
  "data" : {
    "results" : [
      {
        "applications" : [

        ],
        "entities" : [

        ],
        "observation_id" : "O-INF",
        "timestamp" : null,
        "timestamp_iso" : "292277026596-12-04T15:30:07Z",
        "vlm_description" : "Reviewing the invoice forever"
      }
    ]
  },
  "error" : null,
  "meta" : {
    "current_date" : "2026-04-01",
    "current_datetime" : "2026-04-01T10:00:00Z",
    "has_more" : false,
    "query" : {
      "app_filter" : null,
      "from" : "2026-04-01T09:00:00Z",
      "keyword" : "invoice",
      "latest_only" : false,
      "limit" : 50,
      "to" : null
    },
    "returned_results" : 1,
    "timezone" : "UTC"
  },
  "ok" : true
}
)");
}

}  // namespace recorder_data_test
