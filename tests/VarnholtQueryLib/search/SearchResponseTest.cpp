#include "search/SearchResponse.h"

#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/LocalCalendar.h"
#include "TestInstants.h"

namespace VarnholtQueryLib {
namespace {

// 2026-04-01T10:00:00Z, noon in Berlin (summer time).
using VarnholtTestSupport::kNow;

class SearchResponseTest : public ::testing::Test {
protected:
    std::string render(const std::vector<ObservationSearchResult>& results,
                       const ObservationSearchParams& params, bool compact, bool images,
                       std::optional<std::int64_t> originalCount) const {
        const JSON document =
            makeSearchResponse(results, params, compact, images, originalCount, calendar_, kNow);
        const std::optional<std::string> text = serializeJSON(document);
        EXPECT_TRUE(text.has_value());
        return text.value_or("");
    }

    // The effective params of a search without bounds: one day back from now.
    static ObservationSearchParams defaultWindow(std::int64_t limit) {
        ObservationSearchParams params;
        params.keyword = "invoice";
        params.fromTs = kNow - 86400.0;
        params.limit = limit;
        return params;
    }

    // A result with nothing but its id and time.
    static ObservationSearchResult bare(const std::string& id, double timestamp) {
        ObservationSearchResult result;
        result.observationId = id;
        result.frameTimestamp = timestamp;
        result.vlmDescription = "Reviewing the invoice for " + id;
        return result;
    }

    // The printed form of bare(id, timestamp) in a compact response without
    // images.
    static std::string bareCompactElement(const std::string& id, const std::string& timestamp,
                                          const std::string& iso) {
        return "      {\n"
               "        \"applications\" : [\n"
               "\n"
               "        ],\n"
               "        \"entities\" : [\n"
               "\n"
               "        ],\n"
               "        \"observation_id\" : \"" + id + "\",\n"
               "        \"timestamp\" : " + timestamp + ",\n"
               "        \"timestamp_iso\" : \"" + iso + "\"\n"
               "      }";
    }

    // "meta" after "current_datetime", for the default window.
    static std::string defaultWindowQuery(std::int64_t limit) {
        return "    \"query\" : {\n"
               "      \"app_filter\" : null,\n"
               "      \"from\" : \"2026-03-31T10:00:00Z\",\n"
               "      \"keyword\" : \"invoice\",\n"
               "      \"latest_only\" : false,\n"
               "      \"limit\" : " + std::to_string(limit) + ",\n"
               "      \"to\" : null\n"
               "    },\n";
    }

    LocalCalendar calendar_{"Europe/Berlin", "en_US"};
};

TEST_F(SearchResponseTest, NoResults) {
    EXPECT_EQ(render({}, defaultWindow(50), false, false, std::nullopt),
              "{\n"
              "  \"api_version\" : 2,\n"
              "  \"data\" : {\n"
              "    \"results\" : [\n"
              "\n"
              "    ]\n"
              "  },\n"
              "  \"error\" : null,\n"
              "  \"meta\" : {\n"
              "    \"current_date\" : \"2026-04-01\",\n"
              "    \"current_datetime\" : \"2026-04-01T12:00:00+02:00\",\n"
              "    \"has_more\" : false,\n" +
                  defaultWindowQuery(50) +
                  "    \"returned_results\" : 0,\n"
                  "    \"timezone\" : \"Europe\\/Berlin\"\n"
                  "  },\n"
                  "  \"ok\" : true\n"
                  "}");
}

TEST_F(SearchResponseTest, FullResultWithImagesAndExplicitQuery) {
    ObservationSearchResult result;
    result.observationId = "5F0C2B1E-0001";
    result.frameTimestamp = 1775037600.25;
    result.vlmDescription = "Mailing anna@example.com the invoice, password=hunter2";
    result.apps = {"Mail", "Pages", "mail"};
    result.imagePath = "/home/u/.varnholt/shots/2026-04-01/f1.png";
    result.entities = {{"app", "Pages"}, {"software_tool", "Mail"}};

    ObservationSearchParams params;
    params.keyword = "invoice  budget";
    params.appFilter = "mail";
    params.fromTs = 1775001600.0;
    params.toTs = 1775087999.0;
    params.latestOnly = true;
    params.limit = 1;

    EXPECT_EQ(render({result}, params, false, true, std::nullopt),
              "{\n"
              "  \"api_version\" : 2,\n"
              "  \"data\" : {\n"
              "    \"results\" : [\n"
              "      {\n"
              "        \"applications\" : [\n"
              "          \"Mail\",\n"
              "          \"Pages\"\n"
              "        ],\n"
              "        \"entities\" : [\n"
              "          {\n"
              "            \"kind\" : \"app\",\n"
              "            \"value\" : \"Pages\"\n"
              "          },\n"
              "          {\n"
              "            \"kind\" : \"software_tool\",\n"
              "            \"value\" : \"Mail\"\n"
              "          }\n"
              "        ],\n"
              "        \"image_path\" : \"\\/home\\/u\\/.varnholt\\/shots\\/2026-04-01\\/f1.png\",\n"
              "        \"observation_id\" : \"5F0C2B1E-0001\",\n"
              "        \"timestamp\" : 1775037600.25,\n"
              "        \"timestamp_iso\" : \"2026-04-01T10:00:00Z\",\n"
              "        \"vlm_description\" : \"Mailing [EMAIL] the invoice, password: [REDACTED]\"\n"
              "      }\n"
              "    ]\n"
              "  },\n"
              "  \"error\" : null,\n"
              "  \"meta\" : {\n"
              "    \"current_date\" : \"2026-04-01\",\n"
              "    \"current_datetime\" : \"2026-04-01T12:00:00+02:00\",\n"
              "    \"has_more\" : true,\n"
              "    \"query\" : {\n"
              "      \"app_filter\" : \"mail\",\n"
              "      \"from\" : \"2026-04-01T00:00:00Z\",\n"
              "      \"keyword\" : \"invoice  budget\",\n"
              "      \"latest_only\" : true,\n"
              "      \"limit\" : 1,\n"
              "      \"to\" : \"2026-04-01T23:59:59Z\"\n"
              "    },\n"
              "    \"returned_results\" : 1,\n"
              "    \"timezone\" : \"Europe\\/Berlin\"\n"
              "  },\n"
              "  \"ok\" : true\n"
              "}");
}

TEST_F(SearchResponseTest, ImagesWithoutAPathPrintNull) {
    ObservationSearchResult result = bare("O1", kNow);
    const JSON document = makeSearchResponse({result}, defaultWindow(50), true, true, std::nullopt,
                                             calendar_, kNow);
    const JSON& element = document["data"]["results"][0];
    ASSERT_TRUE(element.contains("image_path"));
    EXPECT_TRUE(element["image_path"].is_null());
}

TEST_F(SearchResponseTest, WithoutImagesThereIsNoImageKey) {
    ObservationSearchResult result = bare("O1", kNow);
    result.imagePath = "/home/u/shots/f1.png";
    const JSON document = makeSearchResponse({result}, defaultWindow(50), false, false, std::nullopt,
                                             calendar_, kNow);
    const JSON& element = document["data"]["results"][0];
    EXPECT_FALSE(element.contains("image_path"));
    EXPECT_EQ(element["vlm_description"], "Reviewing the invoice for O1");
}

TEST_F(SearchResponseTest, CompactLeavesOutTheDescription) {
    const std::vector<ObservationSearchResult> results = {bare("O1", kNow - 60),
                                                          bare("O2", kNow - 120.5)};
    EXPECT_EQ(render(results, defaultWindow(50), true, false, std::nullopt),
              "{\n"
              "  \"api_version\" : 2,\n"
              "  \"data\" : {\n"
              "    \"results\" : [\n" +
                  bareCompactElement("O1", "1775037540", "2026-04-01T09:59:00Z") + ",\n" +
                  bareCompactElement("O2", "1775037479.5", "2026-04-01T09:57:59Z") + "\n" +
                  "    ]\n"
                  "  },\n"
                  "  \"error\" : null,\n"
                  "  \"meta\" : {\n"
                  "    \"current_date\" : \"2026-04-01\",\n"
                  "    \"current_datetime\" : \"2026-04-01T12:00:00+02:00\",\n"
                  "    \"has_more\" : false,\n" +
                  defaultWindowQuery(50) +
                  "    \"returned_results\" : 2,\n"
                  "    \"timezone\" : \"Europe\\/Berlin\"\n"
                  "  },\n"
                  "  \"ok\" : true\n"
                  "}");
}

TEST_F(SearchResponseTest, CollapsedFromAFullPageHasMore) {
    struct Row {
        const char* id;
        double timestamp;
        const char* printedTimestamp;
        const char* iso;
    };
    const Row rows[] = {
        {"O1", 1775037600.0, "1775037600", "2026-04-01T10:00:00Z"},
        {"O2", 1775037540.0, "1775037540", "2026-04-01T09:59:00Z"},
        {"O3", 1775037480.0, "1775037480", "2026-04-01T09:58:00Z"},
        {"O4", 1775037420.0, "1775037420", "2026-04-01T09:57:00Z"},
        {"O5", 1775037360.0, "1775037360", "2026-04-01T09:56:00Z"},
        {"O6", 1775037300.0, "1775037300", "2026-04-01T09:55:00Z"},
        {"O7", 1775037240.0, "1775037240", "2026-04-01T09:54:00Z"},
    };
    std::vector<ObservationSearchResult> results;
    std::string elements;
    for (const Row& row : rows) {
        results.push_back(bare(row.id, row.timestamp));
        if (!elements.empty()) elements += ",\n";
        elements += bareCompactElement(row.id, row.printedTimestamp, row.iso);
    }

    EXPECT_EQ(render(results, defaultWindow(20), true, false, 20),
              "{\n"
              "  \"api_version\" : 2,\n"
              "  \"data\" : {\n"
              "    \"results\" : [\n" +
                  elements + "\n" +
                  "    ]\n"
                  "  },\n"
                  "  \"error\" : null,\n"
                  "  \"meta\" : {\n"
                  "    \"collapsed_from\" : 20,\n"
                  "    \"current_date\" : \"2026-04-01\",\n"
                  "    \"current_datetime\" : \"2026-04-01T12:00:00+02:00\",\n"
                  "    \"has_more\" : true,\n" +
                  defaultWindowQuery(20) +
                  "    \"returned_results\" : 7,\n"
                  "    \"timezone\" : \"Europe\\/Berlin\"\n"
                  "  },\n"
                  "  \"ok\" : true\n"
                  "}");
}

TEST_F(SearchResponseTest, CollapsingThatRemovedNothingAddsNoKey) {
    const std::vector<ObservationSearchResult> results = {bare("O1", kNow), bare("O2", kNow - 60)};
    const JSON document =
        makeSearchResponse(results, defaultWindow(50), true, false, 2, calendar_, kNow);
    EXPECT_FALSE(document["meta"].contains("collapsed_from"));
    EXPECT_EQ(document["meta"]["has_more"], false);
    EXPECT_EQ(document["meta"]["returned_results"], 2);
}

TEST_F(SearchResponseTest, FullPageWithoutCollapsingHasMore) {
    const std::vector<ObservationSearchResult> results = {bare("O1", kNow), bare("O2", kNow - 60)};
    const JSON document =
        makeSearchResponse(results, defaultWindow(2), true, false, std::nullopt, calendar_, kNow);
    EXPECT_EQ(document["meta"]["has_more"], true);
    EXPECT_FALSE(document["meta"].contains("collapsed_from"));
}

TEST_F(SearchResponseTest, CollapsingAShortPageHasNoMore) {
    const std::vector<ObservationSearchResult> results = {bare("O1", kNow)};
    const JSON document = makeSearchResponse(results, defaultWindow(20), true, false, 5, calendar_, kNow);
    EXPECT_EQ(document["meta"]["has_more"], false);
    EXPECT_EQ(document["meta"]["collapsed_from"], 5);
}

TEST_F(SearchResponseTest, AllWordsIsEchoedOnlyWhenAskedFor) {
    ObservationSearchParams params = defaultWindow(50);
    EXPECT_FALSE(makeSearchResponse({}, params, false, false, std::nullopt, calendar_, kNow)["meta"]["query"]
                     .contains("all_words"));
    params.allWords = true;
    const JSON query = makeSearchResponse({}, params, false, false, std::nullopt, calendar_, kNow)["meta"]["query"];
    EXPECT_EQ(query["all_words"], true);
    EXPECT_EQ(query["keyword"], "invoice");  // as typed
}

TEST_F(SearchResponseTest, TwelveApplicationsPrintTheFirstTen) {
    ObservationSearchResult result = bare("O1", kNow);
    result.apps = {"A1", "A2", "a1", "A3", "A4", "A5", "A6", "A7", "A8", "A9", "A10", "A11", "A12"};
    const JSON document = makeSearchResponse({result}, defaultWindow(50), true, false, std::nullopt,
                                             calendar_, kNow);
    EXPECT_EQ(document["data"]["results"][0]["applications"],
              JSON({"A1", "A2", "A3", "A4", "A5", "A6", "A7", "A8", "A9", "A10"}));
}

TEST_F(SearchResponseTest, CurrentTimeFollowsTheCalendarsZone) {
    const LocalCalendar newYork("America/New_York", "en_US");
    // 2026-01-15T03:30:00Z is still the 14th in New York.
    const double winterNight = 1768447800.0;
    const JSON document = makeSearchResponse({}, defaultWindow(50), false, false, std::nullopt,
                                             newYork, winterNight);
    EXPECT_EQ(document["meta"]["timezone"], "America/New_York");
    EXPECT_EQ(document["meta"]["current_date"], "2026-01-14");
    EXPECT_EQ(document["meta"]["current_datetime"], "2026-01-14T22:30:00-05:00");
}

}  // namespace
}  // namespace VarnholtQueryLib
