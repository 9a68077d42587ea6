#include "entities/EntitiesResponse.h"

#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/LocalCalendar.h"
#include "TestInstants.h"
#include "EntityTestParams.h"

namespace VarnholtQueryLib {
namespace {

// 2026-03-31T22:30:00Z: already 1 April in Berlin (summer time, +02:00).
constexpr double kAnswerTime = 1774996200;
// 2026-04-01T10:00:00Z.
using VarnholtTestSupport::kT;

std::string render(const std::vector<EntityAggregation>& results, const EntityQueryParams& query,
                   const LocalCalendar& calendar, double now) {
    const std::optional<std::string> text =
        serializeJSON(makeEntitiesResponse(results, query, calendar, now));
    EXPECT_TRUE(text.has_value());
    return text.value_or("");
}

TEST(EntitiesResponseTest, EntitiesWithDefaultWindow) {
    const LocalCalendar berlin("Europe/Berlin", "en_US");
    const std::vector<EntityAggregation> results = {
        {"app", "Xcode", 12, kT - 3600.75, kT + 59.9},
        {"tool", "/usr/bin/git", 3, kT, kT},
    };
    EXPECT_EQ(render(results, params(kAnswerTime - 86400, {}, {}, 100), berlin, kAnswerTime), R"({
  "api_version" : 2,
  "data" : {
    "entities" : [
      {
        "count" : 12,
        "first_seen_iso" : "2026-04-01T08:59:59Z",
        "kind" : "app",
        "last_seen_iso" : "2026-04-01T10:00:59Z",
        "value" : "Xcode"
      },
      {
        "count" : 3,
        "first_seen_iso" : "2026-04-01T10:00:00Z",
        "kind" : "tool",
        "last_seen_iso" : "2026-04-01T10:00:00Z",
        "value" : "\/usr\/bin\/git"
      }
    ]
  },
  "error" : null,
  "meta" : {
    "current_date" : "2026-04-01",
    "current_datetime" : "2026-04-01T00:30:00+02:00",
    "from" : "2026-03-30T22:30:00Z",
    "returned_entities" : 2,
    "timezone" : "Europe\/Berlin"
  },
  "ok" : true
})");
}

TEST(EntitiesResponseTest, EchoesKindAndBothBoundsButNotTheLimit) {
    const LocalCalendar berlin("Europe/Berlin", "en_US");
    const std::vector<EntityAggregation> results = {
        {"programming_language", "C++ / Swift „Grüße“", 1, kT, kT + 1},
    };
    EXPECT_EQ(render(results, params(kT - 7200, kT, "programming_language", 9999), berlin, kT),
              R"({
  "api_version" : 2,
  "data" : {
    "entities" : [
      {
        "count" : 1,
        "first_seen_iso" : "2026-04-01T10:00:00Z",
        "kind" : "programming_language",
        "last_seen_iso" : "2026-04-01T10:00:01Z",
        "value" : "C++ \/ Swift „Grüße“"
      }
    ]
  },
  "error" : null,
  "meta" : {
    "current_date" : "2026-04-01",
    "current_datetime" : "2026-04-01T12:00:00+02:00",
    "from" : "2026-04-01T08:00:00Z",
    "kind_filter" : "programming_language",
    "returned_entities" : 1,
    "timezone" : "Europe\/Berlin",
    "to" : "2026-04-01T10:00:00Z"
  },
  "ok" : true
})");
}

TEST(EntitiesResponseTest, EmptyResultWithUpperBoundOnly) {
    const LocalCalendar newYork("America/New_York", "en_US");
    EXPECT_EQ(render({}, params({}, kT, {}, 5), newYork, kAnswerTime), R"({
  "api_version" : 2,
  "data" : {
    "entities" : [

    ]
  },
  "error" : null,
  "meta" : {
    "current_date" : "2026-03-31",
    "current_datetime" : "2026-03-31T18:30:00-04:00",
    "returned_entities" : 0,
    "timezone" : "America\/New_York",
    "to" : "2026-04-01T10:00:00Z"
  },
  "ok" : true
})");
}

TEST(EntitiesResponseTest, NoBoundsAndEmptyKindFilter) {
    // An empty kind is still a kind the caller asked for.
    const LocalCalendar utc("UTC", "en_US");
    EXPECT_EQ(render({}, params({}, {}, "", 5), utc, kAnswerTime), R"({
  "api_version" : 2,
  "data" : {
    "entities" : [

    ]
  },
  "error" : null,
  "meta" : {
    "current_date" : "2026-03-31",
    "current_datetime" : "2026-03-31T22:30:00Z",
    "kind_filter" : "",
    "returned_entities" : 0,
    "timezone" : "UTC"
  },
  "ok" : true
})");
}

}  // namespace
}  // namespace VarnholtQueryLib
