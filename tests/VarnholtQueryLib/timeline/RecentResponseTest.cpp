#include "timeline/RecentResponse.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/LocalCalendar.h"

using namespace VarnholtQueryLib;
using RecentWorkTimelineCore::EntityCount;
using RecentWorkTimelineCore::TimelineMoment;
using RecentWorkTimelineCore::TimelineObservation;

namespace {

// "m0", "m1", ...: built by appending, which keeps GCC 12 at -O3 from a
// false -Wrestrict report on `"m" + std::to_string(i)`.
std::string momentId(int i) {
    std::string id = "m";
    id += std::to_string(i);
    return id;
}

// 2026-04-01T10:00:00Z.
constexpr double kTen = 1775037600.0;
// 2026-03-31T23:30:00Z: already 1 April in Berlin (01:30, summer time).
constexpr double kNow = 1774999800.0;

TimelineObservation observation(const std::string& id, double timestamp,
                                const std::string& description,
                                std::vector<std::string> apps = {}) {
    TimelineObservation row;
    row.id = id;
    row.timestamp = timestamp;
    row.vlmDescription = description;
    row.apps = std::move(apps);
    return row;
}

TimelineMoment moment(double start, std::int64_t count, TimelineObservation representative,
                      std::vector<EntityCount> entities = {}) {
    return {start, start + 300, count, std::move(representative), std::move(entities)};
}

class RecentResponseTest : public ::testing::Test {
protected:
    std::string render(const std::vector<TimelineMoment>& moments, bool images, bool compact,
                       std::optional<std::int64_t> limit = std::nullopt) {
        // Berlin's 1 April, as the today preset gives it.
        const TimeRange range{kTen - 43200, kTen + 43200, "today"};
        const auto text =
            serializeJSON(makeRecentResponse(moments, range, images, compact, limit, calendar, kNow));
        EXPECT_TRUE(text.has_value());
        return text.value_or("<unserializable>");
    }

    // The representative object of the only moment.
    JSON representativeOf(const TimelineObservation& row, bool images = false,
                          bool compact = false) {
        const TimeRange range{kTen, kTen + 300, "recent"};
        const JSON document = makeRecentResponse({moment(kTen, 1, row)}, range, images, compact,
                                                 std::nullopt, calendar, kNow);
        return document.at("data").at("moments").at(0).at("representative");
    }

    const LocalCalendar calendar{"Europe/Berlin", "en_US"};
};

// The "meta" block of a today's document with the given counts.
std::string metaText(int returned, int total, bool hasMore) {
    return "  \"meta\" : {\n"
           "    \"current_date\" : \"2026-04-01\",\n"
           "    \"current_datetime\" : \"2026-04-01T01:30:00+02:00\",\n"
           "    \"has_more\" : " + std::string(hasMore ? "true" : "false") + ",\n"
           "    \"query\" : {\n"
           "      \"from\" : \"2026-03-31T22:00:00Z\",\n"
           "      \"preset\" : \"today\",\n"
           "      \"to\" : \"2026-04-01T22:00:00Z\"\n"
           "    },\n"
           "    \"returned_moments\" : " + std::to_string(returned) + ",\n"
           "    \"timezone\" : \"Europe\\/Berlin\",\n"
           "    \"total_moments\" : " + std::to_string(total) + "\n"
           "  },\n";
}

}  // namespace

TEST_F(RecentResponseTest, NoMomentsGiveAnEmptyArray) {
    EXPECT_EQ(render({}, false, false),
              "{\n"
              "  \"api_version\" : 2,\n"
              "  \"data\" : {\n"
              "    \"moments\" : [\n"
              "\n"
              "    ]\n"
              "  },\n"
              "  \"error\" : null,\n" +
                  metaText(0, 0, false) +
                  "  \"ok\" : true\n"
                  "}");
}

TEST_F(RecentResponseTest, AMomentWithEntitiesAndItsRepresentative) {
    TimelineObservation row = observation("OBS-1", kTen + 5.25,
                                          "Fixing a type error in the fetch handler",
                                          {"Xcode", "Safari"});
    row.imagePath = "/Users/a/f1.png";  // not shown without --images
    const std::vector<TimelineMoment> moments = {
        moment(kTen, 3, row, {{"app", "Xcode", 2}, {"programming_language", "Swift", 1}}),
    };
    EXPECT_EQ(render(moments, false, false),
              "{\n"
              "  \"api_version\" : 2,\n"
              "  \"data\" : {\n"
              "    \"moments\" : [\n"
              "      {\n"
              "        \"bucket_end_iso\" : \"2026-04-01T10:05:00Z\",\n"
              "        \"bucket_start_iso\" : \"2026-04-01T10:00:00Z\",\n"
              "        \"entities\" : [\n"
              "          {\n"
              "            \"count\" : 2,\n"
              "            \"kind\" : \"app\",\n"
              "            \"value\" : \"Xcode\"\n"
              "          },\n"
              "          {\n"
              "            \"count\" : 1,\n"
              "            \"kind\" : \"programming_language\",\n"
              "            \"value\" : \"Swift\"\n"
              "          }\n"
              "        ],\n"
              "        \"observation_count\" : 3,\n"
              "        \"representative\" : {\n"
              "          \"applications\" : [\n"
              "            \"Xcode\",\n"
              "            \"Safari\"\n"
              "          ],\n"
              "          \"observation_id\" : \"OBS-1\",\n"
              "          \"timestamp\" : 1775037605.25,\n"
              "          \"timestamp_iso\" : \"2026-04-01T10:00:05Z\",\n"
              "          \"vlm_description\" : \"Fixing a type error in the fetch handler\"\n"
              "        }\n"
              "      }\n"
              "    ]\n"
              "  },\n"
              "  \"error\" : null,\n" +
                  metaText(1, 1, false) +
                  "  \"ok\" : true\n"
                  "}");
}

TEST_F(RecentResponseTest, ALimitKeepsTheEarliestMoments) {
    std::vector<TimelineMoment> moments;
    for (int i = 0; i < 12; ++i) {
        moments.push_back(moment(kTen + 300.0 * i, 1,
                                 observation(momentId(i), kTen + 300.0 * i, "x")));
    }
    std::string expectedMoments;
    for (int i = 0; i < 5; ++i) {
        const std::string start = "2026-04-01T10:" + std::string(i < 2 ? "0" : "") +
                                  std::to_string(5 * i) + ":00Z";
        const std::string end = "2026-04-01T10:" + std::string(i < 1 ? "0" : "") +
                                std::to_string(5 * i + 5) + ":00Z";
        expectedMoments += "      {\n"
                           "        \"bucket_end_iso\" : \"" + end + "\",\n"
                           "        \"bucket_start_iso\" : \"" + start + "\",\n"
                           "        \"entities\" : [\n"
                           "\n"
                           "        ],\n"
                           "        \"observation_count\" : 1,\n"
                           "        \"representative\" : {\n"
                           "          \"applications\" : [\n"
                           "\n"
                           "          ],\n"
                           "          \"observation_id\" : \"" + momentId(i) + "\",\n"
                           "          \"timestamp\" : " + std::to_string(1775037600 + 300 * i) + ",\n"
                           "          \"timestamp_iso\" : \"" + start + "\"\n"
                           "        }\n"
                           "      }" + (i < 4 ? ",\n" : "\n");
    }
    EXPECT_EQ(render(moments, false, true, 5),
              "{\n"
              "  \"api_version\" : 2,\n"
              "  \"data\" : {\n"
              "    \"moments\" : [\n" +
                  expectedMoments +
                  "    ]\n"
                  "  },\n"
                  "  \"error\" : null,\n" +
                  metaText(5, 12, true) +
                  "  \"ok\" : true\n"
                  "}");
}

TEST_F(RecentResponseTest, LimitsAtAndBeyondTheEnds) {
    std::vector<TimelineMoment> moments;
    for (int i = 0; i < 3; ++i) {
        moments.push_back(moment(kTen + 300.0 * i, 1, observation(momentId(i), kTen, "x")));
    }
    const TimeRange range{kTen, kTen + 900, "recent"};
    struct Case {
        std::optional<std::int64_t> limit;
        std::int64_t returned;
    };
    // A negative limit asks for nothing, like a zero one; more than there is
    // gives everything.
    for (const Case c : {Case{std::nullopt, 3}, Case{3, 3}, Case{99, 3}, Case{1, 1}, Case{0, 0},
                         Case{-4, 0}}) {
        const JSON document = makeRecentResponse(moments, range, false, false, c.limit, calendar, kNow);
        const JSON& meta = document.at("meta");
        EXPECT_EQ(meta.at("returned_moments"), c.returned);
        EXPECT_EQ(meta.at("total_moments"), 3);
        EXPECT_EQ(meta.at("has_more"), c.returned < 3);
        ASSERT_EQ(document.at("data").at("moments").size(), static_cast<size_t>(c.returned));
        if (c.returned > 0) {
            EXPECT_EQ(document.at("data").at("moments").at(0).at("representative").at("observation_id"),
                      "m0");
        }
    }
}

TEST_F(RecentResponseTest, MoreThanTenApplicationsAreCutAndFlagged) {
    std::vector<std::string> apps;
    for (int i = 0; i < 12; ++i) apps.push_back("App" + std::to_string(i));
    const JSON representative = representativeOf(observation("o", kTen, "x", apps));
    EXPECT_EQ(representative.at("applications"),
              JSON({"App0", "App1", "App2", "App3", "App4", "App5", "App6", "App7", "App8", "App9"}));
    EXPECT_EQ(representative.at("applications_truncated"), true);
}

TEST_F(RecentResponseTest, TenApplicationsAreNotFlagged) {
    std::vector<std::string> apps;
    for (int i = 0; i < 10; ++i) apps.push_back("App" + std::to_string(i));
    // An eleventh name differing only in case is a repeat, not an eleventh app.
    apps.push_back("APP3");
    const JSON representative = representativeOf(observation("o", kTen, "x", apps));
    EXPECT_EQ(representative.at("applications").size(), 10u);
    EXPECT_FALSE(representative.contains("applications_truncated"));
}

TEST_F(RecentResponseTest, ApplicationsDifferingInCaseAppearOnceInTheirFirstSpelling) {
    const JSON representative =
        representativeOf(observation("o", kTen, "x", {"Safari", "safari", "Mail", "SAFARI"}));
    EXPECT_EQ(representative.at("applications"), JSON({"Safari", "Mail"}));
    EXPECT_FALSE(representative.contains("applications_truncated"));
}

TEST_F(RecentResponseTest, CompactLeavesTheDescriptionOut) {
    const JSON full = representativeOf(observation("o", kTen, "Reading mail"), false, false);
    EXPECT_EQ(full.at("vlm_description"), "Reading mail");
    const JSON compact = representativeOf(observation("o", kTen, "Reading mail"), false, true);
    EXPECT_FALSE(compact.contains("vlm_description"));
    EXPECT_FALSE(compact.contains("image_path"));
    EXPECT_EQ(compact.size(), 4u);  // id, timestamp, its text and applications
}

TEST_F(RecentResponseTest, ImagesAddThePathOrNull) {
    TimelineObservation withImage = observation("with", kTen, "x", {"Preview"});
    withImage.imagePath = "/Users/a/.varnholt/frames/2026-04-01/f1.png";
    const TimelineObservation withoutImage = observation("without", kTen + 300, "y");
    const std::vector<TimelineMoment> moments = {moment(kTen, 1, withImage),
                                                 moment(kTen + 300, 1, withoutImage)};
    EXPECT_EQ(render(moments, true, true),
              "{\n"
              "  \"api_version\" : 2,\n"
              "  \"data\" : {\n"
              "    \"moments\" : [\n"
              "      {\n"
              "        \"bucket_end_iso\" : \"2026-04-01T10:05:00Z\",\n"
              "        \"bucket_start_iso\" : \"2026-04-01T10:00:00Z\",\n"
              "        \"entities\" : [\n"
              "\n"
              "        ],\n"
              "        \"observation_count\" : 1,\n"
              "        \"representative\" : {\n"
              "          \"applications\" : [\n"
              "            \"Preview\"\n"
              "          ],\n"
              "          \"image_path\" : \"\\/Users\\/a\\/.varnholt\\/frames\\/2026-04-01\\/f1.png\",\n"
              "          \"observation_id\" : \"with\",\n"
              "          \"timestamp\" : 1775037600,\n"
              "          \"timestamp_iso\" : \"2026-04-01T10:00:00Z\"\n"
              "        }\n"
              "      },\n"
              "      {\n"
              "        \"bucket_end_iso\" : \"2026-04-01T10:10:00Z\",\n"
              "        \"bucket_start_iso\" : \"2026-04-01T10:05:00Z\",\n"
              "        \"entities\" : [\n"
              "\n"
              "        ],\n"
              "        \"observation_count\" : 1,\n"
              "        \"representative\" : {\n"
              "          \"applications\" : [\n"
              "\n"
              "          ],\n"
              "          \"image_path\" : null,\n"
              "          \"observation_id\" : \"without\",\n"
              "          \"timestamp\" : 1775037900,\n"
              "          \"timestamp_iso\" : \"2026-04-01T10:05:00Z\"\n"
              "        }\n"
              "      }\n"
              "    ]\n"
              "  },\n"
              "  \"error\" : null,\n" +
                  metaText(2, 2, false) +
                  "  \"ok\" : true\n"
                  "}");
}

TEST_F(RecentResponseTest, DescriptionsAreRedacted) {
    const JSON representative = representativeOf(
        observation("o", kTen, "Replying to jane.doe@example.com with api_key=abc123 attached"));
    EXPECT_EQ(representative.at("vlm_description"),
              "Replying to [EMAIL] with api_key: [REDACTED] attached");
}

TEST_F(RecentResponseTest, MetaFollowsTheCalendarAndTheRange) {
    const LocalCalendar newYork("America/New_York", "en_US");
    const TimeRange range{1775000000.5, 1775037600.0, "recent"};
    const JSON meta =
        makeRecentResponse({}, range, false, false, std::nullopt, newYork, kNow).at("meta");
    EXPECT_EQ(meta.at("timezone"), "America/New_York");
    EXPECT_EQ(meta.at("current_date"), "2026-03-31");
    EXPECT_EQ(meta.at("current_datetime"), "2026-03-31T19:30:00-04:00");
    // Echoed bounds are whole seconds in UTC.
    EXPECT_EQ(meta.at("query"),
              JSON({{"preset", "recent"}, {"from", "2026-03-31T23:33:20Z"}, {"to", "2026-04-01T10:00:00Z"}}));
}
