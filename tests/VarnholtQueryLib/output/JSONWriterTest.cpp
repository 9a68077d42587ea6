#include "output/JSONWriter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>

using namespace VarnholtQueryLib;

namespace {

std::string serialized(const JSON& document) {
    const auto text = serializeJSON(document);
    EXPECT_TRUE(text.has_value());
    return text.value_or("<unserializable>");
}

}  // namespace

TEST(JSONWriterTest, ObjectsAreIndentedWithSortedKeys) {
    JSON document = JSON::object();
    document["ok"] = true;
    document["data"] = {{"b", 1}, {"a", "x"}};
    document["api_version"] = 2;
    EXPECT_EQ(serialized(document),
              "{\n"
              "  \"api_version\" : 2,\n"
              "  \"data\" : {\n"
              "    \"a\" : \"x\",\n"
              "    \"b\" : 1\n"
              "  },\n"
              "  \"ok\" : true\n"
              "}");
}

TEST(JSONWriterTest, ArraysSpreadOverLines) {
    const JSON document = {{"list", {1, "two", false, nullptr}}};
    EXPECT_EQ(serialized(document),
              "{\n"
              "  \"list\" : [\n"
              "    1,\n"
              "    \"two\",\n"
              "    false,\n"
              "    null\n"
              "  ]\n"
              "}");
}

TEST(JSONWriterTest, EmptyContainersHaveAnEmptyLineInside) {
    JSON document = JSON::object();
    document["data"] = {{"moments", JSON::array()}};
    document["meta"] = JSON::object();
    EXPECT_EQ(serialized(document),
              "{\n"
              "  \"data\" : {\n"
              "    \"moments\" : [\n"
              "\n"
              "    ]\n"
              "  },\n"
              "  \"meta\" : {\n"
              "\n"
              "  }\n"
              "}");
    EXPECT_EQ(serialized(JSON::array()), "[\n\n]");
    EXPECT_EQ(serialized(JSON::object()), "{\n\n}");
    EXPECT_EQ(serialized(JSON::array({JSON::array()})), "[\n  [\n\n  ]\n]");
}

TEST(JSONWriterTest, StringsEscapeSlashesQuotesAndControls) {
    EXPECT_EQ(serialized("/Users/a/img.png"), "\"\\/Users\\/a\\/img.png\"");
    EXPECT_EQ(serialized("say \"hi\" \\ now"), "\"say \\\"hi\\\" \\\\ now\"");
    EXPECT_EQ(serialized("a\nb\tc\rd\be\ff"), "\"a\\nb\\tc\\rd\\be\\ff\"");
    EXPECT_EQ(serialized(std::string("\x01\x1f\x7f", 3)), "\"\\u0001\\u001f\x7f\"");
    EXPECT_EQ(serialized(std::string("nul\0in", 6)), "\"nul\\u0000in\"");
}

TEST(JSONWriterTest, NonASCIIIsWrittenAsUTF8) {
    EXPECT_EQ(serialized("Grüße — 東京 😀"), "\"Grüße — 東京 😀\"");
}

TEST(JSONWriterTest, NumbersKeepTheirKind) {
    EXPECT_EQ(serialized(JSON(1775034300.0)), "1775034300");
    EXPECT_EQ(serialized(JSON(1775034300.5)), "1775034300.5");
    EXPECT_EQ(serialized(JSON(0.33)), "0.33");
    EXPECT_EQ(serialized(JSON(0.0)), "0");
    EXPECT_EQ(serialized(JSON(-2.25)), "-2.25");
    EXPECT_EQ(serialized(JSON(0.1 + 0.2)), "0.30000000000000004");
    EXPECT_EQ(serialized(JSON(std::int64_t{-42})), "-42");
    EXPECT_EQ(serialized(JSON(std::numeric_limits<std::int64_t>::max())), "9223372036854775807");
    EXPECT_EQ(serialized(JSON(true)), "true");
    EXPECT_EQ(serialized(JSON(false)), "false");
}

TEST(JSONWriterTest, WholeNumbersBelowTwoToThe53AreWrittenInPlainDigits) {
    EXPECT_EQ(serialized(JSON(1791000000.0)), "1791000000");
    EXPECT_EQ(serialized(JSON(1e12)), "1000000000000");
    EXPECT_EQ(serialized(JSON(-1791000000.0)), "-1791000000");
    EXPECT_EQ(serialized(JSON(-1e12)), "-1000000000000");
    EXPECT_EQ(serialized(JSON(100.0)), "100");
    EXPECT_EQ(serialized(JSON(9007199254740991.0)), "9007199254740991");
    EXPECT_EQ(serialized(JSON(-9007199254740991.0)), "-9007199254740991");
    // The sign of zero stays as it was.
    EXPECT_EQ(serialized(JSON(-0.0)), "-0");
}

TEST(JSONWriterTest, OtherDoublesKeepTheirShortestRoundTripForm) {
    EXPECT_EQ(serialized(JSON(9007199254740992.0)), "9007199254740992");
    EXPECT_EQ(serialized(JSON(1e16)), "1e+16");
    EXPECT_EQ(serialized(JSON(-1e16)), "-1e+16");
    EXPECT_EQ(serialized(JSON(1e300)), "1e+300");
    EXPECT_EQ(serialized(JSON(1791000000.5)), "1791000000.5");
    EXPECT_EQ(serialized(JSON(-0.5)), "-0.5");
    EXPECT_EQ(serialized(JSON(1.5e-7)), "1.5e-07");
}

TEST(JSONWriterTest, NumbersThatAreNotFiniteAreNull) {
    const JSON document = {{"infinite", std::numeric_limits<double>::infinity()},
                           {"negative", -std::numeric_limits<double>::infinity()},
                           {"nan", std::nan("")},
                           {"timestamp", 1775034300.0}};
    EXPECT_EQ(serialized(document),
              "{\n"
              "  \"infinite\" : null,\n"
              "  \"nan\" : null,\n"
              "  \"negative\" : null,\n"
              "  \"timestamp\" : 1775034300\n"
              "}");
    EXPECT_EQ(serialized(JSON::array({std::numeric_limits<double>::infinity()})), "[\n  null\n]");
}

TEST(JSONWriterTest, UnwritableValuesFail) {
    EXPECT_FALSE(serializeJSON(JSON::binary({1, 2})).has_value());
    EXPECT_FALSE(serializeJSON(JSON{{"text", std::string("bad \xff byte")}}).has_value());
    EXPECT_FALSE(serializeJSON(JSON(std::string("\xc0\xaf"))).has_value());        // overlong "/"
    EXPECT_FALSE(serializeJSON(JSON(std::string("\xed\xa0\x80"))).has_value());    // surrogate
    EXPECT_FALSE(serializeJSON(JSON(std::string("\xe2\x82"))).has_value());        // truncated
    EXPECT_FALSE(serializeJSON(JSON{{std::string("k\xff"), 1}}).has_value());      // bad key
}

TEST(JSONWriterTest, TheCompactFormIsOneLineOfTheSameValue) {
    const JSON document = {{"b", {1, 2.5, 300.0, "a/b"}}, {"a", JSON::object()}, {"c", JSON::array()},
                           {"d", {{"z", nullptr}, {"y", "\u00e9\n"}}}};
    EXPECT_EQ(serializeCompactJSON(document), R"({"a":{},"b":[1,2.5,300,"a/b"],"c":[],"d":{"y":"é\n","z":null}})");
    EXPECT_EQ(JSON::parse(*serializeCompactJSON(document)), JSON::parse(*serializeJSON(document)));
    EXPECT_EQ(serializeCompactJSON(JSON(-0.0)), "-0");
    EXPECT_EQ(serializeCompactJSON(JSON(1e16)), "1e+16");
    EXPECT_FALSE(serializeCompactJSON(JSON{{"text", std::string("bad \xff byte")}}).has_value());
    EXPECT_FALSE(serializeCompactJSON(JSON::binary({1})).has_value());
}

TEST(JSONWriterTest, WriteAddsOneNewlineOrReportsFailure) {
    std::ostringstream out, err;
    EXPECT_TRUE(writeJSON(JSON{{"a", 1}}, out, err));
    EXPECT_EQ(out.str(), "{\n  \"a\" : 1\n}\n");
    EXPECT_EQ(err.str(), "");

    std::ostringstream out2, err2;
    EXPECT_FALSE(writeJSON(JSON{{"a", std::string("\xff")}}, out2, err2));
    EXPECT_EQ(out2.str(), "");
    EXPECT_EQ(err2.str(), "Failed to serialize JSON\n");
}

TEST(JSONWriterTest, WriteTellsWhenTheDocumentDidNotArrive) {
    // A stream whose every write fails, like standard output on a full disk.
    struct RefusingBuffer : std::streambuf {
        int_type overflow(int_type) override { return traits_type::eof(); }
    } refusing;
    std::ostream out(&refusing);
    std::ostringstream err;
    EXPECT_FALSE(writeJSON(JSON{{"a", 1}}, out, err));
    EXPECT_EQ(err.str(), "");
}

TEST(JSONWriterTest, ErrorEnvelope) {
    EXPECT_EQ(serialized(makeErrorEnvelope("DB_NOT_FOUND", "Database not found at /x/y.db", 1775037600.7)),
              "{\n"
              "  \"api_version\" : 2,\n"
              "  \"data\" : null,\n"
              "  \"error\" : {\n"
              "    \"code\" : \"DB_NOT_FOUND\",\n"
              "    \"message\" : \"Database not found at \\/x\\/y.db\",\n"
              "    \"timestamp\" : \"2026-04-01T10:00:00Z\"\n"
              "  },\n"
              "  \"meta\" : null,\n"
              "  \"ok\" : false\n"
              "}");
}

TEST(JSONWriterTest, TextThatIsNotUTF8IsRepairedEverywhereInTheDocument) {
    const std::string latin1 = "caf\xe9";
    const std::string repaired = "caf\xef\xbf\xbd";
    const JSON document = withRepairedText(
        JSON{{"path", "/home/" + latin1}, {"list", {latin1, 1, JSON{{latin1, latin1}}}}, {"fine", "Grüße"}});
    EXPECT_EQ(document, (JSON{{"path", "/home/" + repaired},
                              {"list", {repaired, 1, JSON{{repaired, repaired}}}},
                              {"fine", "Grüße"}}));
    EXPECT_TRUE(serializeJSON(document).has_value());
    EXPECT_EQ(makeErrorEnvelope("DB_NOT_FOUND", "Database not found at /home/" + latin1, 0)["error"]["message"],
              "Database not found at /home/" + repaired);
}
