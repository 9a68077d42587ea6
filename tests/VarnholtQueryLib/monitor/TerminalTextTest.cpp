#include "monitor/TerminalText.h"

#include <gtest/gtest.h>

#include <string>

using namespace VarnholtQueryLib;

TEST(TerminalTextTest, PrintableTextIsKeptByteForByte) {
    EXPECT_EQ(terminalSafeText("describing frame 4711"), "describing frame 4711");
    EXPECT_EQ(terminalSafeText("Gr\u00fc\u00dfe \u2014 \u6771\u4eac \U0001F600 \u00a0nbsp"),
              "Gr\u00fc\u00dfe \u2014 \u6771\u4eac \U0001F600 \u00a0nbsp");
    EXPECT_EQ(terminalSafeText(""), "");
}

TEST(TerminalTextTest, C0ControlsAndDeleteGo) {
    EXPECT_EQ(terminalSafeText(std::string("a\0b\x01" "c\td\ne\rf\x07g\x08h\x7fi", 17)), "abcdefghi");
}

TEST(TerminalTextTest, C1ControlsGo) {
    // U+0085 (NEL) and U+0084 (IND), written in UTF-8 as C2 85 and C2 84.
    EXPECT_EQ(terminalSafeText("a\xc2\x85" "b\xc2\x84" "c"), "abc");
    // U+00A0 and above are printable and stay.
    EXPECT_EQ(terminalSafeText("a\xc2\xa0" "b"), "a\xc2\xa0" "b");
}

TEST(TerminalTextTest, ControlSequencesGoWhole) {
    EXPECT_EQ(terminalSafeText("\x1b[31mred\x1b[0m"), "red");
    EXPECT_EQ(terminalSafeText("\x1b[2J\x1b[0;0Hhome"), "home");
    EXPECT_EQ(terminalSafeText("\x1b[?1049hscreen"), "screen");
    EXPECT_EQ(terminalSafeText("a\x1b[1 qb"), "ab");  // intermediate byte before the final one
    EXPECT_EQ(terminalSafeText("\xc2\x9b" "2Jcleared"), "cleared");  // the one-character CSI
}

TEST(TerminalTextTest, StringSequencesGoUpToTheirTerminator) {
    EXPECT_EQ(terminalSafeText("\x1b]0;window title\x07" "after"), "after");
    EXPECT_EQ(terminalSafeText("\x1b]8;;https://example.com\x1b\\link\x1b]8;;\x1b\\"), "link");
    EXPECT_EQ(terminalSafeText("\x1bPq#0;2;0;0;0\x1b\\sixel"), "sixel");
    EXPECT_EQ(terminalSafeText("\x1b_application\x1b\\x"), "x");
    EXPECT_EQ(terminalSafeText("\x1b^privacy\x1b\\y"), "y");
    EXPECT_EQ(terminalSafeText("\x1bXstring\x1b\\z"), "z");
    EXPECT_EQ(terminalSafeText("\xc2\x9d" "0;title\xc2\x9c" "after"), "after");
    // Unterminated: the rest of the text belongs to it.
    EXPECT_EQ(terminalSafeText("before\x1b]0;title without end"), "before");
}

TEST(TerminalTextTest, OtherEscapeSequencesGoWithTheirFinalByte) {
    EXPECT_EQ(terminalSafeText("\x1b" "csave\x1b" "7d\x1b" "8"), "saved");
    EXPECT_EQ(terminalSafeText("\x1b(Bascii\x1b#8"), "ascii");
    // An escape before a character that cannot end a sequence goes alone.
    EXPECT_EQ(terminalSafeText("a\x1b\xc3\xa9"), "a\xc3\xa9");
    EXPECT_EQ(terminalSafeText("cut\x1b"), "cut");
    EXPECT_EQ(terminalSafeText("cut\x1b["), "cut");
    EXPECT_EQ(terminalSafeText("cut\x1b[12;"), "cut");
}
