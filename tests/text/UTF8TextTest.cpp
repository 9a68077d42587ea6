#include "UTF8Text.h"

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
