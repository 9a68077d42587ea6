#include <sqlite3.h>

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "FixtureDatabase.h"
#include "RecorderSchema.h"
#include "TemporaryHome.h"
#include "TestInstants.h"

namespace entities_command_test {

using namespace VarnholtTestSupport;

namespace {

// The frozen clock of every run: 2026-04-01T10:00:00Z.
constexpr const char* kFrozenTime = "2026-04-01 10:00:00";
using VarnholtTestSupport::kNow;

std::string number(double value) { return std::to_string(value); }

// An observation `minutesBeforeNow` before the frozen now (negative: after
// it), with its frame at that time unless `framed` is false, in which case
// the observation's own time stands in.
std::string observation(const std::string& id, double minutesBeforeNow,
                        const std::vector<std::pair<std::string, std::string>>& mentions,
                        bool framed = true) {
    const double at = kNow - minutesBeforeNow * 60;
    std::string sql;
    if (framed) {
        sql += "INSERT INTO frames (id, display_id, captured_at, timestamp, image_path, analyzed) "
               "VALUES ('f-" + id + "', 'd1', 'x', " + number(at) + ", '/tmp/" + id + ".png', 1);\n";
    }
    sql += "INSERT INTO observations (id, frame_id, type, timestamp, vlm_description, apps, "
           "created_at) VALUES ('" + id + "', " + (framed ? "'f-" + id + "'" : "NULL") +
           ", 'screen', " + number(framed ? at + 5 : at) + ", 'Working', '[]', 'x');\n";
    int n = 0;
    for (const auto& [kind, value] : mentions) {
        sql += "INSERT INTO observation_entities (entity_id, observation_id, entity_kind, "
               "entity_value, confidence, created_at) VALUES ('" + id + "-" + std::to_string(++n) +
               "', '" + id + "', '" + kind + "', '" + value + "', 0.9, 0);\n";
    }
    return sql;
}

void createDatabase(const TemporaryHome& home, const std::string& inserts) {
    home.varnholtDirectory();
    sqlite3* handle = VarnholtSampleData::openWritableDatabase(home.databasePath());
    VarnholtSampleData::createRecorderSchema(handle);
    VarnholtSampleData::execWritable(handle, inserts);
    sqlite3_close(handle);
}

// A morning of work: mentions 3 h, 90 min, 30 min and 10 min before now,
// one an hour in the future (a clock that ran ahead), one two days old.
std::string morningOfWork() {
    return observation("o3", 180, {{"app", "Xcode"}, {"tool", "git"},
                                   {"programming_language", "C++"}}) +
           observation("o2", 90, {{"app", "Xcode"}, {"app", "Safari"}}) +
           observation("o1", 30, {{"app", "Xcode"}, {"language", "Swift"}, {"tool", "git"}}) +
           observation("o5", 10, {{"app", "Xcode"}}, /*framed=*/false) +
           observation("o6", -60, {{"app", "Terminal"}}) +
           observation("o4", 2 * 24 * 60, {{"app", "Mail"}});
}

ProcessResult runAt(const TemporaryHome& home, const std::vector<std::string>& arguments,
                    const std::string& timeZone = "UTC") {
    InvocationOptions options;
    options.timeZone = timeZone;
    options.frozenTime = kFrozenTime;
    return home.run(arguments, options);
}

// The entities of the default window (the last 24 hours, no upper bound),
// with the meta block of `meta` spliced in.
std::string defaultWindowDocument(const std::string& meta) {
    return R"({
  "api_version" : 2,
  "data" : {
    "entities" : [
      {
        "count" : 4,
        "first_seen_iso" : "2026-04-01T07:00:00Z",
        "kind" : "app",
        "last_seen_iso" : "2026-04-01T09:50:00Z",
        "value" : "Xcode"
      },
      {
        "count" : 2,
        "first_seen_iso" : "2026-04-01T07:00:00Z",
        "kind" : "tool",
        "last_seen_iso" : "2026-04-01T09:30:00Z",
        "value" : "git"
      },
      {
        "count" : 1,
        "first_seen_iso" : "2026-04-01T08:30:00Z",
        "kind" : "app",
        "last_seen_iso" : "2026-04-01T08:30:00Z",
        "value" : "Safari"
      },
      {
        "count" : 1,
        "first_seen_iso" : "2026-04-01T11:00:00Z",
        "kind" : "app",
        "last_seen_iso" : "2026-04-01T11:00:00Z",
        "value" : "Terminal"
      },
      {
        "count" : 1,
        "first_seen_iso" : "2026-04-01T09:30:00Z",
        "kind" : "language",
        "last_seen_iso" : "2026-04-01T09:30:00Z",
        "value" : "Swift"
      },
      {
        "count" : 1,
        "first_seen_iso" : "2026-04-01T07:00:00Z",
        "kind" : "programming_language",
        "last_seen_iso" : "2026-04-01T07:00:00Z",
        "value" : "C++"
      }
    ]
  },
  "error" : null,
  "meta" : {
)" + meta + R"(
  },
  "ok" : true
}
)";
}

TEST(EntitiesCommandTest, DefaultWindowInBerlin) {
    TemporaryHome home;
    createDatabase(home, morningOfWork());
    const ProcessResult result = runAt(home, {"entities"}, "Europe/Berlin");
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardError, "");
    EXPECT_EQ(result.standardOutput, defaultWindowDocument(R"(    "current_date" : "2026-04-01",
    "current_datetime" : "2026-04-01T12:00:00+02:00",
    "from" : "2026-03-31T10:00:00Z",
    "returned_entities" : 6,
    "timezone" : "Europe\/Berlin")"));
}

// Rows a damaged database may hold, none of which counts in the default
// window: t's frame has text for a time, so t's own time (three days ago)
// dates it; u's own time is text and it has no frame, so it has no time at
// all (as text it would sort after every number, inside a window without an
// upper end). Mentions by a BLOB or NULL kind or value name nothing.
constexpr const char* kDamagedRows = R"SQL(
INSERT INTO frames (id, display_id, captured_at, timestamp, image_path, analyzed) VALUES
  ('f-t', 'd1', 'x', 'pending', '/tmp/t.png', 1);
INSERT INTO observations (id, frame_id, type, timestamp, vlm_description, apps, created_at) VALUES
  ('t', 'f-t', 'screen', 1774778400.0, 'Working', '[]', 'x'),
  ('u', NULL, 'screen', '2026-04-01T09:00:00Z', 'Working', '[]', 'x');
INSERT INTO observation_entities (entity_id, observation_id, entity_kind, entity_value, confidence, created_at) VALUES
  ('t-1', 't', 'app', 'Xcode', 0.9, 0),
  ('u-1', 'u', 'app', 'Xcode', 0.9, 0),
  ('o1-b1', 'o1', 'app', x'58636F6465', 0.9, 0),
  ('o1-b2', 'o1', x'617070', 'Xcode', 0.9, 0),
  ('o1-n1', 'o1', NULL, 'Xcode', 0.9, 0),
  ('o1-n2', 'o1', 'app', NULL, 0.9, 0);
)SQL";

TEST(EntitiesCommandTest, TimesOfTextAreNoTimesAndMentionsWithoutTextDoNotCount) {
    TemporaryHome home;
    createDatabase(home, std::string(kEntitiesWithoutConstraints) + morningOfWork() + kDamagedRows);
    const ProcessResult result = runAt(home, {"entities"}, "Europe/Berlin");
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardError, "");
    EXPECT_EQ(result.standardOutput, defaultWindowDocument(R"(    "current_date" : "2026-04-01",
    "current_datetime" : "2026-04-01T12:00:00+02:00",
    "from" : "2026-03-31T10:00:00Z",
    "returned_entities" : 6,
    "timezone" : "Europe\/Berlin")"));
}

TEST(EntitiesCommandTest, DefaultWindowWhereItIsAlreadyTomorrow) {
    TemporaryHome home;
    createDatabase(home, morningOfWork());
    const ProcessResult result = runAt(home, {"entities"}, "Pacific/Kiritimati");
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardError, "");
    EXPECT_EQ(result.standardOutput, defaultWindowDocument(R"(    "current_date" : "2026-04-02",
    "current_datetime" : "2026-04-02T00:00:00+14:00",
    "from" : "2026-03-31T10:00:00Z",
    "returned_entities" : 6,
    "timezone" : "Pacific\/Kiritimati")"));
}

TEST(EntitiesCommandTest, KindWithoutValueIsIgnored) {
    TemporaryHome home;
    createDatabase(home, morningOfWork());
    const ProcessResult result = runAt(home, {"entities", "--kind"}, "America/New_York");
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardError, "");
    EXPECT_EQ(result.standardOutput, defaultWindowDocument(R"(    "current_date" : "2026-04-01",
    "current_datetime" : "2026-04-01T06:00:00-04:00",
    "from" : "2026-03-31T10:00:00Z",
    "returned_entities" : 6,
    "timezone" : "America\/New_York")"));
}

TEST(EntitiesCommandTest, KindFollowedByAnotherFlagIsIgnored) {
    TemporaryHome home;
    createDatabase(home, morningOfWork());
    const ProcessResult result = runAt(home, {"entities", "--kind", "--limit", "2"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardOutput, R"({
  "api_version" : 2,
  "data" : {
    "entities" : [
      {
        "count" : 4,
        "first_seen_iso" : "2026-04-01T07:00:00Z",
        "kind" : "app",
        "last_seen_iso" : "2026-04-01T09:50:00Z",
        "value" : "Xcode"
      },
      {
        "count" : 2,
        "first_seen_iso" : "2026-04-01T07:00:00Z",
        "kind" : "tool",
        "last_seen_iso" : "2026-04-01T09:30:00Z",
        "value" : "git"
      }
    ]
  },
  "error" : null,
  "meta" : {
    "current_date" : "2026-04-01",
    "current_datetime" : "2026-04-01T10:00:00Z",
    "from" : "2026-03-31T10:00:00Z",
    "returned_entities" : 2,
    "timezone" : "UTC"
  },
  "ok" : true
}
)");
}

TEST(EntitiesCommandTest, SinceWithKindInBerlin) {
    TemporaryHome home;
    createDatabase(home, morningOfWork());
    const ProcessResult result =
        runAt(home, {"entities", "--since", "2h", "--kind", "app"}, "Europe/Berlin");
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardError, "");
    EXPECT_EQ(result.standardOutput, R"({
  "api_version" : 2,
  "data" : {
    "entities" : [
      {
        "count" : 3,
        "first_seen_iso" : "2026-04-01T08:30:00Z",
        "kind" : "app",
        "last_seen_iso" : "2026-04-01T09:50:00Z",
        "value" : "Xcode"
      },
      {
        "count" : 1,
        "first_seen_iso" : "2026-04-01T08:30:00Z",
        "kind" : "app",
        "last_seen_iso" : "2026-04-01T08:30:00Z",
        "value" : "Safari"
      }
    ]
  },
  "error" : null,
  "meta" : {
    "current_date" : "2026-04-01",
    "current_datetime" : "2026-04-01T12:00:00+02:00",
    "from" : "2026-04-01T08:00:00Z",
    "kind_filter" : "app",
    "returned_entities" : 2,
    "timezone" : "Europe\/Berlin",
    "to" : "2026-04-01T10:00:00Z"
  },
  "ok" : true
}
)");
}

TEST(EntitiesCommandTest, SinceWindowFindsNothing) {
    TemporaryHome home;
    createDatabase(home, morningOfWork());
    const ProcessResult result = runAt(home, {"entities", "--since", "5m", "--json"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardOutput, R"({
  "api_version" : 2,
  "data" : {
    "entities" : [

    ]
  },
  "error" : null,
  "meta" : {
    "current_date" : "2026-04-01",
    "current_datetime" : "2026-04-01T10:00:00Z",
    "from" : "2026-04-01T09:55:00Z",
    "returned_entities" : 0,
    "timezone" : "UTC",
    "to" : "2026-04-01T10:00:00Z"
  },
  "ok" : true
}
)");
}

// 501 different entities mentioned once each, a minute ago: more than any
// limit lets through, so the number returned shows the limit applied.
std::string manyEntities() {
    std::string sql = observation("many", 1, {});
    sql += "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < 500) "
           "INSERT INTO observation_entities (entity_id, observation_id, entity_kind, "
           "entity_value, confidence, created_at) "
           "SELECT 'm' || i, 'many', 'tool', printf('v%03d', i), 0.5, 0 FROM n;\n";
    return sql;
}

// The values of the entities a run returned, after checking the count
// agrees with "returned_entities".
std::vector<std::string> returnedValues(const ProcessResult& result) {
    EXPECT_EQ(result.exitStatus, 0);
    const nlohmann::json document = nlohmann::json::parse(result.standardOutput);
    std::vector<std::string> values;
    for (const auto& entity : document["data"]["entities"]) values.push_back(entity["value"]);
    EXPECT_EQ(document["meta"]["returned_entities"], values.size());
    EXPECT_FALSE(document["meta"].contains("limit"));
    return values;
}

std::vector<std::string> valuesUpTo(int count) {
    std::vector<std::string> values;
    char text[16];  // room for any int
    for (int i = 0; i < count; ++i) {
        std::snprintf(text, sizeof text, "v%03d", i);
        values.push_back(text);
    }
    return values;
}

TEST(EntitiesCommandTest, LimitAboveFiveHundredIsCapped) {
    TemporaryHome home;
    createDatabase(home, manyEntities());
    EXPECT_EQ(returnedValues(runAt(home, {"entities", "--limit", "9999"})), valuesUpTo(500));
    // With a --since window the use case leaves the limit alone; the command
    // has already capped it.
    EXPECT_EQ(returnedValues(runAt(home, {"entities", "--since", "1h", "--limit", "9999"})),
              valuesUpTo(500));
}

TEST(EntitiesCommandTest, LimitDefaultsToOneHundred) {
    TemporaryHome home;
    createDatabase(home, manyEntities());
    EXPECT_EQ(returnedValues(runAt(home, {"entities"})), valuesUpTo(100));
    EXPECT_EQ(returnedValues(runAt(home, {"entities", "--limit", "abc"})), valuesUpTo(100));
}

TEST(EntitiesCommandTest, LimitBelowOneIsRaised) {
    TemporaryHome home;
    createDatabase(home, manyEntities());
    EXPECT_EQ(returnedValues(runAt(home, {"entities", "--limit", "0"})), valuesUpTo(1));
    EXPECT_EQ(returnedValues(runAt(home, {"entities", "--since", "1d", "--limit", "-3"})),
              valuesUpTo(1));
}

TEST(EntitiesCommandTest, MissingDatabase) {
    TemporaryHome home;
    const ProcessResult result = runAt(home, {"entities", "--kind", "app"}, "Europe/Berlin");
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardError, "");
    std::string path = home.databasePath();
    std::string escaped;
    for (const char c : path) escaped += c == '/' ? std::string("\\/") : std::string(1, c);
    EXPECT_EQ(result.standardOutput, R"({
  "api_version" : 2,
  "data" : null,
  "error" : {
    "code" : "DB_NOT_FOUND",
    "message" : "Database not found at )" + escaped + R"(",
    "timestamp" : "2026-04-01T10:00:00Z"
  },
  "meta" : null,
  "ok" : false
}
)");
}

TEST(EntitiesCommandTest, UnknownDurationUnit) {
    TemporaryHome home;
    createDatabase(home, morningOfWork());
    const ProcessResult result = runAt(home, {"entities", "--since", "5x"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardError, "");
    EXPECT_EQ(result.standardOutput, R"({
  "api_version" : 2,
  "data" : null,
  "error" : {
    "code" : "INVALID_TIME_RANGE",
    "message" : "Unknown duration unit 'x'. Use m, h, d, or w.",
    "timestamp" : "2026-04-01T10:00:00Z"
  },
  "meta" : null,
  "ok" : false
}
)");
}

TEST(EntitiesCommandTest, NonPositiveDuration) {
    TemporaryHome home;
    createDatabase(home, morningOfWork());
    const ProcessResult result = runAt(home, {"entities", "--since", "0h"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardOutput, R"({
  "api_version" : 2,
  "data" : null,
  "error" : {
    "code" : "INVALID_TIME_RANGE",
    "message" : "Invalid duration value in '0h'. Numeric prefix required.",
    "timestamp" : "2026-04-01T10:00:00Z"
  },
  "meta" : null,
  "ok" : false
}
)");
}

}  // namespace

}  // namespace entities_command_test
