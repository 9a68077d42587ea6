#include "search/PIIFilter.h"

#include <string>

#include <gtest/gtest.h>

namespace VarnholtQueryLib {
namespace {

using PIIFilter::redact;

// Runs of known length, checked below so that a typo cannot silently move a
// case across a threshold.
const std::string kHex31 = "0123456789abcdef0123456789abcde";
const std::string kHex32 = "0123456789abcdef0123456789abcdef";
const std::string kHex40 = "0123456789ABCDEF0123456789abcdef01234567";
// Base64 of "this is a secret token value!!!": 42 characters and "==".
const std::string kBase64WithPadding = "dGhpcyBpcyBhIHNlY3JldCB0b2tlbiB2YWx1ZSEhIQ==";
const std::string kBase6439 = kBase64WithPadding.substr(0, 39);
const std::string kBase6440 = kBase64WithPadding.substr(0, 40);

TEST(PIIFilterTest, FixtureLengths) {
    EXPECT_EQ(kHex31.size(), 31u);
    EXPECT_EQ(kHex32.size(), 32u);
    EXPECT_EQ(kHex40.size(), 40u);
    EXPECT_EQ(kBase64WithPadding.size(), 44u);
    EXPECT_EQ(kBase6439.size(), 39u);
    EXPECT_EQ(kBase6440.size(), 40u);
}

TEST(PIIFilterTest, TextWithoutPersonalDataIsUnchanged) {
    EXPECT_EQ(redact(""), "");
    EXPECT_EQ(redact("Editing main.cpp in Xcode"), "Editing main.cpp in Xcode");
}

TEST(PIIFilterTest, EmailAlone) {
    EXPECT_EQ(redact("jane.doe+work@example.co.uk"), "[EMAIL]");
}

TEST(PIIFilterTest, EmailInsideSentence) {
    EXPECT_EQ(redact("Reply to bob_99@mail.example.org about the build, cc ann@x.io."),
              "Reply to [EMAIL] about the build, cc [EMAIL].");
}

TEST(PIIFilterTest, EmailNeedsTopLevelDomainOfTwoLetters) {
    EXPECT_EQ(redact("user@host.c"), "user@host.c");
    EXPECT_EQ(redact("user@localhost"), "user@localhost");
}

TEST(PIIFilterTest, ApiKeyAssignmentKeepsLabel) {
    EXPECT_EQ(redact("api_key=abc123"), "api_key: [REDACTED]");
    EXPECT_EQ(redact("export API-KEY : abc123 now"), "export API-KEY: [REDACTED] now");
    EXPECT_EQ(redact("secretkey:xyz auth_token= t0k"), "secretkey: [REDACTED] auth_token: [REDACTED]");
}

TEST(PIIFilterTest, BearerWithoutSeparatorIsNotACredentialAssignment) {
    // The label must be followed by ":" or "="; "Authorization" is not one of
    // the labels, and "Bearer abc.def" has no separator, so nothing matches.
    EXPECT_EQ(redact("Authorization: Bearer abc.def"), "Authorization: Bearer abc.def");
}

TEST(PIIFilterTest, BearerWithSeparatorKeepsLabel) {
    EXPECT_EQ(redact("Bearer: abc.def"), "Bearer: [REDACTED]");
    EXPECT_EQ(redact("header bearer=abc.def;x=1 rest"), "header bearer: [REDACTED] rest");
}

TEST(PIIFilterTest, PasswordAssignmentNormalisesSeparator) {
    EXPECT_EQ(redact("password = hunter2"), "password: [REDACTED]");
    EXPECT_EQ(redact("login with pwd=1234 then"), "login with pwd: [REDACTED] then");
    EXPECT_EQ(redact("passwd:\tsecret"), "passwd: [REDACTED]");
}

TEST(PIIFilterTest, LabelCaseIsKept) {
    EXPECT_EQ(redact("PASSWORD:x"), "PASSWORD: [REDACTED]");
    EXPECT_EQ(redact("PassWord=x"), "PassWord: [REDACTED]");
}

TEST(PIIFilterTest, LabelWithoutValueIsLeftAlone) {
    EXPECT_EQ(redact("Enter your password below"), "Enter your password below");
    EXPECT_EQ(redact("password:"), "password:");
}

TEST(PIIFilterTest, FortyHexDigitsBecomeToken) {
    EXPECT_EQ(redact(kHex40), "[TOKEN]");
    EXPECT_EQ(redact("commit " + kHex40 + " merged"), "commit [TOKEN] merged");
}

TEST(PIIFilterTest, ThirtyTwoHexDigitsBecomeToken) {
    EXPECT_EQ(redact("md5 " + kHex32), "md5 [TOKEN]");
}

TEST(PIIFilterTest, ThirtyOneHexDigitsStay) {
    EXPECT_EQ(redact("id " + kHex31), "id " + kHex31);
}

TEST(PIIFilterTest, HexRunGluedToLettersIsNotAHexToken) {
    // Letters around the run make it part of a longer word for the hex pass.
    // Below 40 characters in total the base64 pass does not fire either.
    EXPECT_EQ(redact("x" + kHex32 + "z"), "x" + kHex32 + "z");
    EXPECT_EQ(redact("g" + kHex32), "g" + kHex32);
}

TEST(PIIFilterTest, FortyHexDigitsGluedToLettersAreCaughtAsBase64Run) {
    // The hex pass skips the run (a letter touches it), but the letters and
    // digits together form a free-standing base64-like run of 41 characters.
    EXPECT_EQ(redact("ref=g" + kHex40 + " end"), "ref=[TOKEN] end");
}

TEST(PIIFilterTest, HexRunAfterUnderscoreIsFreeStanding) {
    EXPECT_EQ(redact("sha_" + kHex40), "sha_[TOKEN]");
}

TEST(PIIFilterTest, HexRunFollowedByPaddingKeepsThePadding) {
    // The hex pass runs first and stops before "=", which it does not cover.
    EXPECT_EQ(redact(kHex40 + "=="), "[TOKEN]==");
}

TEST(PIIFilterTest, Base64RunWithPaddingBecomesToken) {
    EXPECT_EQ(redact(kBase64WithPadding), "[TOKEN]");
    EXPECT_EQ(redact("token (" + kBase64WithPadding + ") used"), "token ([TOKEN]) used");
}

TEST(PIIFilterTest, Base64RunOfFortyBecomesToken) {
    EXPECT_EQ(redact(kBase6440), "[TOKEN]");
}

TEST(PIIFilterTest, Base64RunOfThirtyNineStays) {
    EXPECT_EQ(redact("value " + kBase6439), "value " + kBase6439);
}

TEST(PIIFilterTest, Base64RunWithThreePaddingSignsStays) {
    EXPECT_EQ(redact(kBase6440 + "==="), kBase6440 + "===");
}

TEST(PIIFilterTest, NonAsciiTextAroundMatchSurvives) {
    EXPECT_EQ(redact("Grüße an juergen@example.com — 東京"), "Grüße an [EMAIL] — 東京");
    EXPECT_EQ(redact("Schlüssel: api_key=abc ✓ 🔑"), "Schlüssel: api_key: [REDACTED] ✓ 🔑");
}

TEST(PIIFilterTest, NonAsciiLettersAreNotPartOfAnEmailAddress) {
    // The address pattern is ASCII only: the match starts after "ü".
    EXPECT_EQ(redact("Grüße an jürgen@example.com — 東京"), "Grüße an jü[EMAIL] — 東京");
}

TEST(PIIFilterTest, NonAsciiLetterDoesNotGlueToAHexRun) {
    // The guards look for ASCII letters and digits only.
    EXPECT_EQ(redact("ä" + kHex32 + "ö"), "ä[TOKEN]ö");
}

TEST(PIIFilterTest, EmailIsMaskedBeforeTokenPatterns) {
    // A local part that is a long hex run would otherwise become a token.
    EXPECT_EQ(redact(kHex40 + "@example.com"), "[EMAIL]");
}

TEST(PIIFilterTest, CredentialValueIsRedactedNotTokenised) {
    EXPECT_EQ(redact("api_key=" + kHex40), "api_key: [REDACTED]");
    EXPECT_EQ(redact("password: " + kBase64WithPadding), "password: [REDACTED]");
}

TEST(PIIFilterTest, AllPassesInOneText) {
    EXPECT_EQ(redact("mail a@b.de, pwd=p4ss, key " + kHex32 + ", blob " + kBase64WithPadding),
              "mail [EMAIL], pwd: [REDACTED] key [TOKEN], blob [TOKEN]");
}

TEST(PIIFilterTest, InvalidUtf8BecomesReplacementCharacter) {
    EXPECT_EQ(redact("bad \xff byte"), "bad \xEF\xBF\xBD byte");
}

TEST(PIIFilterTest, LongTextIsRedactedWhole) {
    std::string text;
    std::string expected;
    for (int i = 0; i < 20000; ++i) {
        text += "line " + std::to_string(i) + " a@b.io " + kHex32 + "\n";
        expected += "line " + std::to_string(i) + " [EMAIL] [TOKEN]\n";
    }
    EXPECT_EQ(redact(text), expected);
}

}  // namespace
}  // namespace VarnholtQueryLib
