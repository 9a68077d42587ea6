#include "UTF8Text.h"

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace VarnholtText;

TEST(UTF8TextTest, WellFormedText) {
    EXPECT_TRUE(isValidUTF8(""));
    EXPECT_TRUE(isValidUTF8("plain ASCII"));
    EXPECT_TRUE(isValidUTF8("Grüße — 東京 😀"));
    EXPECT_TRUE(isValidUTF8(std::string("nul\0inside", 10)));
    EXPECT_TRUE(isValidUTF8("\xF4\x8F\xBF\xBF"));  // U+10FFFF
}

TEST(UTF8TextTest, IllFormedText) {
    for (const char* text : {"\xff", "\x80", "\xc0\xaf", "\xc1\xbf", "\xe0\x80\xaf", "\xed\xa0\x80",
                             "\xf0\x80\x80\xaf", "\xf4\x90\x80\x80", "\xf5\x80\x80\x80", "\xe2\x82",
                             "a\xe2\x82"}) {
        EXPECT_FALSE(isValidUTF8(text)) << text;
    }
}

TEST(UTF8TextTest, RepairReplacesEachMaximalIllFormedPart) {
    EXPECT_EQ(repairedUTF8("Grüße 東京"), "Grüße 東京");
    EXPECT_EQ(repairedUTF8("invoice\xff"), "invoice\uFFFD");
    // A truncated sequence is one replacement, not one per byte.
    EXPECT_EQ(repairedUTF8("a\xe2\x82" "b"), "a\uFFFDb");
    // A byte that cannot start a sequence is replaced alone, each time.
    EXPECT_EQ(repairedUTF8("\x80\x80"), "\uFFFD\uFFFD");
    // An overlong lead is not a prefix of anything well-formed.
    EXPECT_EQ(repairedUTF8("\xc0\xaf"), "\uFFFD\uFFFD");
    // A surrogate's second byte is out of range after ED.
    EXPECT_EQ(repairedUTF8("\xed\xa0\x80"), "\uFFFD\uFFFD\uFFFD");
    // A four-byte prefix cut short by ASCII.
    EXPECT_EQ(repairedUTF8("\xf0\x9f\x98" "x"), "\uFFFDx");
}

namespace {

// Well-formedness decided another way than the code under test: decode each
// sequence into its code point, then reject overlong forms, surrogates and
// anything beyond U+10FFFF.
bool decodesToScalarValues(std::string_view text) {
    for (size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i]);
        if (lead < 0x80) {
            ++i;
            continue;
        }
        size_t length = 0;
        std::uint32_t point = 0;
        if ((lead & 0xE0) == 0xC0) {
            length = 2;
            point = lead & 0x1F;
        } else if ((lead & 0xF0) == 0xE0) {
            length = 3;
            point = lead & 0x0F;
        } else if ((lead & 0xF8) == 0xF0) {
            length = 4;
            point = lead & 0x07;
        } else {
            return false;
        }
        if (text.size() - i < length) return false;
        for (size_t k = 1; k < length; ++k) {
            const auto next = static_cast<unsigned char>(text[i + k]);
            if ((next & 0xC0) != 0x80) return false;
            point = (point << 6) | (next & 0x3F);
        }
        const std::uint32_t shortest = length == 2 ? 0x80 : length == 3 ? 0x800 : 0x10000;
        if (point < shortest || point > 0x10FFFF || (point >= 0xD800 && point <= 0xDFFF)) return false;
        i += length;
    }
    return true;
}

}  // namespace

// Mostly ASCII with a few other pieces at every offset, so that a bad or
// multi-byte sequence falls at each place within and across the eight-byte
// steps over plain ASCII.
TEST(UTF8TextTest, AgreesWithDecodingOnTextsOfEveryShape) {
    const std::vector<std::string> pieces = {
        "é", "東", "😀", "\xF4\x8F\xBF\xBF", "\xff", "\x80", "\xc0\xaf", "\xe0\x80\xaf", "\xed\xa0\x80",
        "\xf4\x90\x80\x80", "\xf5\x80\x80\x80", "\xe2\x82", "\xf0\x9f\x98", std::string("\0", 1), "\x7f"};
    std::mt19937 random(20261126);
    int invalid = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string text;
        const int parts = static_cast<int>(random() % 4);
        for (int part = 0; part <= parts; ++part) {
            text.append(random() % 20, static_cast<char>('a' + random() % 26));
            if (random() % 3 != 0) text += pieces[random() % pieces.size()];
        }
        const bool expected = decodesToScalarValues(text);
        invalid += expected ? 0 : 1;
        ASSERT_EQ(isValidUTF8(text), expected) << testing::PrintToString(text);
        const std::string repaired = repairedUTF8(text);
        ASSERT_TRUE(decodesToScalarValues(repaired)) << testing::PrintToString(text);
        if (expected) {
            ASSERT_EQ(repaired, text);
        }
    }
    // Both kinds were met, many times.
    EXPECT_GT(invalid, 5000);
    EXPECT_LT(invalid, 15000);
}
