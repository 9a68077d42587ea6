#include "redaction/PIIFilter.h"

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unicode/regex.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

namespace VarnholtQueryLib {
namespace {

using PIIFilter::redact;

// The definition of what is masked: five ICU regular expressions, each
// replacing all of its matches in the result of the one before. redact()
// must give exactly what they give, on every input, without their
// backtracking (quadratic on long runs of word characters).
std::string referenceRedact(const std::string& text) {
    struct Pass {
        std::unique_ptr<icu::RegexPattern> pattern;
        icu::UnicodeString replacement;
    };
    static const std::vector<Pass> passes = [] {
        const std::pair<const char16_t*, const char16_t*> definitions[] = {
            {uR"([A-Za-z0-9._%+-]+@[A-Za-z0-9.-]+\.[A-Za-z]{2,})", u"[EMAIL]"},
            {uR"((?i)(api[_-]?key|secret[_-]?key|auth[_-]?token|bearer)\s*[:=]\s*\S+)",
             u"$1: [REDACTED]"},
            {uR"((?i)(password|passwd|pwd)\s*[:=]\s*\S+)", u"$1: [REDACTED]"},
            {uR"((?<![A-Za-z0-9])[A-Fa-f0-9]{32,}(?![A-Za-z0-9]))", u"[TOKEN]"},
            {uR"((?<![A-Za-z0-9+/])[A-Za-z0-9+/]{40,}={0,2}(?![A-Za-z0-9+/=]))", u"[TOKEN]"},
        };
        std::vector<Pass> compiled;
        for (const auto& [expression, replacement] : definitions) {
            UParseError parseError{};
            UErrorCode status = U_ZERO_ERROR;
            compiled.push_back({std::unique_ptr<icu::RegexPattern>(icu::RegexPattern::compile(
                                    icu::UnicodeString(expression), 0, parseError, status)),
                                icu::UnicodeString(replacement)});
            if (U_FAILURE(status)) ADD_FAILURE() << "the reference does not compile";
        }
        return compiled;
    }();
    icu::UnicodeString current = icu::UnicodeString::fromUTF8(text);
    for (const Pass& pass : passes) {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::RegexMatcher> matcher(pass.pattern->matcher(current, status));
        icu::UnicodeString replaced = matcher->replaceAll(pass.replacement, status);
        if (U_FAILURE(status)) {
            ADD_FAILURE() << "the reference failed: " << u_errorName(status);
            return "<reference failed>";
        }
        matcher.reset();
        current = replaced;
    }
    std::string result;
    current.toUTF8String(result);
    return result;
}

std::string utf8(UChar32 codePoint) {
    std::string text;
    icu::UnicodeString(codePoint).toUTF8String(text);
    return text;
}

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

// Pieces that random texts are made of: everything the patterns care about,
// with Unicode white space, case folding to ASCII ("ß" is "ss", "ſ" is "s",
// the Kelvin sign is "k"), letters outside ASCII and ill-formed UTF-8.
const std::vector<std::string>& textPieces() {
    static const std::vector<std::string> pieces = {
        "a", "Z", "q", "e", "F", "0", "7", "9", ".", "_", "%", "+", "-", "@", "@", "=", "==", "/", ":",
        " ", " ", "\t", "\n", "\v", "\f", "\r", "\u0085", "\u00A0", "\u1680", "\u2000",
        "\u2028", "\u2029", "\u202F", "\u3000", "\u200B", "\uFEFF", "\u180E",
        "api", "API", "Api", "key", "KEY", "secret", "SeCrEt", "auth", "token", "TOKEN",
        "bearer", "Bearer", "password", "PASSWORD", "passwd", "pwd", "PwD",
        "pa\u00DFword", "pa\u1E9Ewd", "\u017Fecret", "api_\u212Aey", "ap\u0130", "ap\u0131",
        "\uFB06", "\u00E9", "\u00FC", "\u4E2D", "\U0001F600", "\u03A9", "\u00C5",
        "\xff", "\xc3", "\xed\xa0\x80", "\xf4\x90\x80\x80", "\xc0\xaf", std::string(1, '\0'),
        "x@y.zz", "a.b@c-d.ef.gh", "@example.com", ".de", ".c", "user.name+tag",
    };
    return pieces;
}

std::string randomRun(std::mt19937& random, const std::string& alphabet, int minimum, int maximum) {
    std::string run;
    const int length = std::uniform_int_distribution<int>(minimum, maximum)(random);
    std::uniform_int_distribution<std::size_t> pick(0, alphabet.size() - 1);
    for (int i = 0; i < length; ++i) run += alphabet[pick(random)];
    return run;
}

std::string randomText(std::mt19937& random) {
    const std::string hex = "0123456789abcdefABCDEF";
    const std::string base64 = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const auto& pieces = textPieces();
    std::uniform_int_distribution<std::size_t> pick(0, pieces.size() + 3);
    std::string text;
    const int count = std::uniform_int_distribution<int>(1, 40)(random);
    for (int i = 0; i < count; ++i) {
        const std::size_t choice = pick(random);
        if (choice < pieces.size()) {
            text += pieces[choice];
        } else if (choice == pieces.size()) {
            text += randomRun(random, hex, 28, 45);
        } else if (choice == pieces.size() + 1) {
            text += randomRun(random, base64, 36, 46) + std::string(random() % 4, '=');
        } else if (choice == pieces.size() + 2) {
            text += randomRun(random, "ab.-_%+@", 1, 30);
        } else {
            text += randomRun(random, " \t:=", 1, 4);
        }
    }
    return text;
}

TEST(PIIFilterTest, MatchesTheReferenceOnRandomTexts) {
    std::mt19937 random(20260401);
    for (int i = 0; i < 20000; ++i) {
        const std::string text = randomText(random);
        ASSERT_EQ(redact(text), referenceRedact(text)) << "text: " << testing::PrintToString(text);
    }
}

TEST(PIIFilterTest, MatchesTheReferenceOnAdversarialTexts) {
    const std::string hex32 = kHex32;
    const std::vector<std::string> texts = {
        std::string(3000, 'a'),
        std::string(3000, 'a') + "@",
        std::string(2000, 'a') + "@" + std::string(2000, 'b'),
        std::string(2000, 'a') + "@" + std::string(2000, 'b') + ".c",
        std::string(2000, 'a') + "@b." + std::string(2000, 'c'),
        "a@b.cd.ef.gh9.ij-kl.mn@op.qr",
        "a@b.cd9x@y.zz..@@..a@.bc",
        "x@-.-.ab", "x@a..bc", "x@.ab", "x@a.b1c", "@@a@b.cd", "a@b@c.de",
        "..." + std::string(500, '.') + "@" + std::string(500, '.') + "ab",
        std::string(1000, '@'),
        [] { std::string t; for (int i = 0; i < 600; ++i) t += "ab@"; return t; }(),
        [] { std::string t; for (int i = 0; i < 600; ++i) t += "a.b@c."; return t; }(),
        std::string(3000, 'f'), std::string(3000, 'f') + "g", "g" + std::string(3000, 'f'),
        hex32 + "=" + hex32, hex32 + "_" + hex32, "\u00E4" + hex32 + "\u00F6", "\U0001F600" + hex32,
        std::string(3000, '+'), std::string(3000, '/') + "==", std::string(40, 'A') + "=",
        std::string(40, 'A') + "==", std::string(40, 'A') + "===", std::string(40, 'A') + "=A",
        std::string(40, 'A') + "==/", "=" + std::string(40, 'A'), std::string(39, 'A') + "=",
        "pwd" + std::string(3000, ' ') + "=x", "pwd=" + std::string(3000, ' '),
        "pwd=" + std::string(3000, 'x'), "pwd\u00A0:\u2028v\u3000w", "pwd\u0085=v", "pwd\u200B=v",
        "PASSWORD\u000B=\u000Bv", "password=password=x", "pwdpwd=x", "apikey:key=v",
        "api__key=v", "api_-key=v", "api-key=v", "api_key=v", "APIKEY=v", "auth-token:v", "bearer:",
        "pa\u00DFword=x", "PA\u1E9EWD=x", "pas\u00DFword=x", "pa\u00DF\u00DFword=x",
        "\u017Fecret_key=x", "api\u212Aey=x", "api_\u212AEY=x", "ap\u0130_key=x", "\u0130api=x",
        "secret\uFB06=x", "pass\uFB06=x", "mypassword=x", "xpwd=x", "pwd=\xff\xfe",
        "pwd=a\u2029b", "pwd : = x", "pwd==x", "pwd::x",
        "mail me@x.io, password: " + std::string(40, 'Z') + " " + hex32,
    };
    for (const std::string& text : texts) {
        EXPECT_EQ(redact(text), referenceRedact(text)) << "text: " << testing::PrintToString(text);
    }
}

// Every assigned code point (private use aside) in the positions where white
// space, case folding and the ASCII classes are decided: after a label,
// inside one, around a token, around an address.
TEST(PIIFilterTest, MatchesTheReferenceForEveryAssignedCodePoint) {
    const auto templateFor = [](int kind, const std::string& c) -> std::string {
        switch (kind) {
            case 0: return "pwd" + c + "=v" + c + "w\n";
            case 1: return "pa" + c + "word=v\n";
            case 2: return "api" + c + "key:" + c + "\n";
            case 3: return c + "0123456789abcdef0123456789abcdef" + c + "\n";
            default: return "x" + c + "@ab.cd" + c + "\n";
        }
    };
    std::vector<std::string> codePoints;
    for (UChar32 c = 0; c <= 0x10FFFF; ++c) {
        const int8_t type = u_charType(c);
        if (type == U_UNASSIGNED || type == U_PRIVATE_USE_CHAR || type == U_SURROGATE) continue;
        codePoints.push_back(utf8(c));
    }
    ASSERT_GT(codePoints.size(), 100000u);
    constexpr std::size_t kChunk = 8192;
    for (int kind = 0; kind < 5; ++kind) {
        for (std::size_t first = 0; first < codePoints.size(); first += kChunk) {
            std::string text;
            for (std::size_t i = first; i < std::min(first + kChunk, codePoints.size()); ++i) {
                text += templateFor(kind, codePoints[i]);
            }
            ASSERT_EQ(redact(text), referenceRedact(text))
                << "template " << kind << " from " << testing::PrintToString(codePoints[first]);
        }
    }
}

// Long descriptions, as a log pasted into a note would give: the answer is
// checked, and the scanners take one walk over the text whatever it holds.
TEST(PIIFilterTest, AMegabyteOfMixedTextIsRedacted) {
    const std::string block = "Contact jane.doe@example.com about api_key=abc123 and " + kHex32 +
                              " then PASSWORD :\u00A0hunter2 with " + kBase64WithPadding + " \u6771\u4EAC ";
    const std::string expectedBlock =
        "Contact [EMAIL] about api_key: [REDACTED] and [TOKEN] then PASSWORD: [REDACTED] with "
        "[TOKEN] \u6771\u4EAC ";
    std::string text, expected;
    while (text.size() < (1u << 20)) {
        text += block;
        expected += expectedBlock;
    }
    EXPECT_EQ(redact(text), expected);
}

TEST(PIIFilterTest, AMegabyteWordIsRedacted) {
    // Without an "@" after it, every start inside the word used to be tried
    // against the whole rest of it.
    EXPECT_EQ(redact(std::string(1u << 20, 'x') + " mailed me"), "[TOKEN] mailed me");
    EXPECT_EQ(redact(std::string(1u << 20, '.') + "@x"), std::string(1u << 20, '.') + "@x");
}

TEST(PIIFilterTest, TwentyMegabyteRunsAreRedacted) {
    const std::size_t size = 20u << 20;
    // One word: a local part as long as the description, then a domain.
    EXPECT_EQ(redact(std::string(size, 'a') + "@example.com"), "[EMAIL]");
    // No "@" anywhere, no dot with letters after it.
    const std::string noAddress = std::string(size, 'a') + "@" + std::string(size / 4, 'b') + "!";
    EXPECT_EQ(redact(noAddress), "[TOKEN]@[TOKEN]!");
    EXPECT_EQ(redact(std::string(size, 'f')), "[TOKEN]");
    EXPECT_EQ(redact("pwd" + std::string(size, ' ') + "=" + std::string(size, 'x') + " end"),
              "pwd: [REDACTED] end");
    std::string dots;
    for (std::size_t i = 0; dots.size() < size; ++i) dots += "a.b@";
    EXPECT_EQ(redact(dots), dots);
}

}  // namespace
}  // namespace VarnholtQueryLib
