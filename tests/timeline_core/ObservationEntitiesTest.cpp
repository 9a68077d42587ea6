#include "ObservationEntities.h"

#include <gtest/gtest.h>

#include <random>

using namespace RecentWorkTimelineCore;

TEST(ObservationEntitiesTest, PairsInOrderWithRepeats) {
    EXPECT_EQ(parseEntities(R"([{"kind":"app","value":"Xcode"},{"kind":"language","value":"Swift"},)"
                            R"({"kind":"app","value":"Xcode"}])"),
              (std::vector<EntityKey>{{"app", "Xcode"}, {"language", "Swift"}, {"app", "Xcode"}}));
}

TEST(ObservationEntitiesTest, AnElementWithoutTextKindOrValueIsSkippedAlone) {
    EXPECT_EQ(parseEntities(R"([{"kind":"app"},{"kind":"app","value":42},{"kind":null,"value":"x"},)"
                            R"({"kind":"tool","value":"git","extra":1}])"),
              (std::vector<EntityKey>{{"tool", "git"}}));
}

TEST(ObservationEntitiesTest, AnythingButAnArrayOfObjectsGivesNothing) {
    EXPECT_TRUE(parseEntities(std::nullopt).empty());
    EXPECT_TRUE(parseEntities("").empty());
    EXPECT_TRUE(parseEntities("not json").empty());
    EXPECT_TRUE(parseEntities(R"({"kind":"app","value":"Xcode"})").empty());
    EXPECT_TRUE(parseEntities(R"([{"kind":"app","value":"Xcode"},"loose"])").empty());
    EXPECT_TRUE(parseEntities("[]").empty());
}

TEST(ObservationEntitiesTest, TextOutsideUTF8OrWithControlCharactersGivesNothing) {
    EXPECT_EQ(parseEntities("[{\"kind\":\"person\",\"value\":\"Zo\xC3\xAB \xE2\x82\xAC \xF0\x9F\x98\x80\"}]"),
              (std::vector<EntityKey>{{"person", "Zo\xC3\xAB \xE2\x82\xAC \xF0\x9F\x98\x80"}}));
    for (const char* bytes : {"\xC3", "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\x80", "\xE2\x82", "\x01"}) {
        EXPECT_TRUE(parseEntities(std::string("[{\"kind\":\"app\",\"value\":\"a") + bytes + "\"}]").empty())
            << "bytes " << testing::PrintToString(std::string(bytes));
    }
}

TEST(ObservationEntitiesTest, EscapesAndSpacesAreReadAsJSON) {
    EXPECT_EQ(parseEntities(R"([ {"kind":"app","value":"say \"hi\"\\\u00e9\ud83d\ude00"} , {"value":"v","kind":"k"}])"),
              (std::vector<EntityKey>{{"app", "say \"hi\"\\\xC3\xA9\xF0\x9F\x98\x80"}, {"k", "v"}}));
}

// Texts put together from the pieces a database, or a damaged one, can
// hold, read both ways: the direct reading must never give another result
// than the JSON document.
TEST(ObservationEntitiesTest, EveryTextReadsAsItsJSONDocumentDoes) {
    const std::vector<std::string> readablePieces = {
        "app", "Xcode", " ", "caf\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80", "\x7F", "\xED\x9F\xBF",
        "\xEF\xBF\xBF", "\xF4\x8F\xBF\xBF", "\xE0\xA0\x80", "\xF0\x90\x80\x80", "\\\"", "\\\\", "\\n",
        "\\u00e9", "\\ud83d\\ude00"};
    const std::vector<std::string> damagedPieces = {
        "\\ud800", "\"", "\\", "\xC3", "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80",
        "\x80", "\xE2\x82", "\x01", "\x1F", std::string(1, '\0'), "\xE0\x9F\xBF", "\xF0\x8F\xBF\xBF"};
    std::mt19937 random(20261126);
    const auto pick = [&](std::size_t count) { return std::uniform_int_distribution<std::size_t>(0, count - 1)(random); };
    const auto someString = [&] {
        std::string text;
        for (std::size_t pieces = pick(4); pieces > 0; --pieces) {
            const auto& from = pick(40) == 0 ? damagedPieces : readablePieces;
            text += from[pick(from.size())];
        }
        return text;
    };
    const std::vector<std::string> elementShapes = {
        R"({"kind":"%K","value":"%V"})", R"({"kind":"%K","value":"%V"})", R"({"kind":"%K","value":"%V"})",
        R"({"value":"%V","kind":"%K"})", R"({ "kind":"%K","value":"%V"})", R"({"kind":"%K","value":"%V","x":1})",
        R"({"kind":"%K","value":1})", R"({"kind":"%K","kind":"%V","value":"%V"})", R"({"kind":"%K"})", R"("%K")"};
    std::size_t nonEmpty = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string text = "[";
        for (std::size_t elements = pick(4); elements > 0; --elements) {
            std::string element = elementShapes[pick(elementShapes.size())];
            for (const auto& [mark, value] : {std::pair{std::string("%K"), someString()}, {"%V", someString()}}) {
                for (std::size_t at; (at = element.find(mark)) != std::string::npos;) element.replace(at, 2, value);
            }
            text += (text.size() > 1 ? "," : "") + element;
        }
        text += "]";
        if (pick(20) == 0) text.insert(pick(text.size() + 1), pick(2) ? " " : "x");
        const auto expected = parseEntitiesAsJSON(text);
        if (!expected.empty()) ++nonEmpty;
        ASSERT_EQ(parseEntities(text), expected) << "text " << testing::PrintToString(text);
    }
    // The pieces must make readable lists often enough to test anything.
    EXPECT_GT(nonEmpty, 5000u);
}
