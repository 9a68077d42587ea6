#include "PlainJSON.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using VarnholtText::PlainJSON;

namespace {

TEST(PlainJSONTest, TakesTokensAndStringsAcrossWhitespace) {
    PlainJSON reader(" \t[\n\"Xcode\" ,\r\"caf\xC3\xA9\"] ");
    EXPECT_TRUE(reader.take("["));
    EXPECT_EQ(reader.plainString(), "Xcode");
    EXPECT_FALSE(reader.take("]"));
    EXPECT_TRUE(reader.take(","));
    EXPECT_EQ(reader.plainString(), "caf\xC3\xA9");
    EXPECT_FALSE(reader.atEnd());
    EXPECT_TRUE(reader.take("]"));
    EXPECT_TRUE(reader.atEnd());
}

TEST(PlainJSONTest, AnEmptyStringAndDELArePlain) {
    PlainJSON reader("\"\"\"\x7F\"");
    EXPECT_EQ(reader.plainString(), "");
    EXPECT_EQ(reader.plainString(), "\x7F");
    EXPECT_TRUE(reader.atEnd());
}

// Strings that need decoding, or that a JSON parser refuses, are not plain.
TEST(PlainJSONTest, GivesUpOnEscapesControlCharactersBadUTF8AndOpenStrings) {
    for (const std::string& text : std::vector<std::string>{"\"a\\\"b\"", "\"a\\nb\"", "\"\\u00e9\"", "\"a\x01\"", std::string("\"a\0b\"", 5),
                                   "\"\xC3\"", "\"\xED\xA0\x80\"", "\"\xF4\x90\x80\x80\"", "\"\xC0\x80\"", "\"open",
                                   "Xcode", "'Xcode'"}) {
        PlainJSON reader(text);
        EXPECT_EQ(reader.plainString(), std::nullopt) << testing::PrintToString(text);
    }
}

TEST(PlainJSONTest, OnlyJSONWhitespaceIsSkipped) {
    PlainJSON reader("\v[");
    EXPECT_FALSE(reader.take("["));
    EXPECT_FALSE(reader.atEnd());
}

}  // namespace
