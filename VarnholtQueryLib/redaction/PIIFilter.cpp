#include "redaction/PIIFilter.h"

#include <array>
#include <string_view>

#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

namespace VarnholtQueryLib {
namespace PIIFilter {

// Each pass below is a hand-written scanner for one regular expression. The
// expressions are the definition of what is masked, and the scanners find
// exactly their leftmost, greedy, non-overlapping matches (the tests compare
// both on many inputs), in one walk over the text: a backtracking engine
// needs time quadratic in the length of a run of word characters, and one
// long description must not hang a search.
//
//  1. [A-Za-z0-9._%+-]+@[A-Za-z0-9.-]+\.[A-Za-z]{2,}                  -> [EMAIL]
//  2. (?i)(api[_-]?key|secret[_-]?key|auth[_-]?token|bearer)\s*[:=]\s*\S+
//                                                           -> $1: [REDACTED]
//  3. (?i)(password|passwd|pwd)\s*[:=]\s*\S+                -> $1: [REDACTED]
//  4. (?<![A-Za-z0-9])[A-Fa-f0-9]{32,}(?![A-Za-z0-9])                -> [TOKEN]
//  5. (?<![A-Za-z0-9+/])[A-Za-z0-9+/]{40,}={0,2}(?![A-Za-z0-9+/=])   -> [TOKEN]
//
// The order is part of the behaviour: e-mail addresses go first, so that the
// token passes never see their parts, and credential values are replaced
// before a long value could be reported as a mere token. Every class but \s
// and \S is ASCII, so the scanners work on UTF-8 bytes and decode a code
// point only where \s, \S or a case-insensitive label needs one.

namespace {

constexpr std::size_t kNone = std::string_view::npos;

bool isAsciiLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
bool isAsciiDigit(char c) { return c >= '0' && c <= '9'; }
bool isAsciiAlphanumeric(char c) { return isAsciiLetter(c) || isAsciiDigit(c); }
bool isHexDigit(char c) {
    return isAsciiDigit(c) || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}
bool isEmailLocalCharacter(char c) {
    return isAsciiAlphanumeric(c) || c == '.' || c == '_' || c == '%' || c == '+' || c == '-';
}
bool isEmailDomainCharacter(char c) { return isAsciiAlphanumeric(c) || c == '.' || c == '-'; }
bool isBase64Character(char c) { return isAsciiAlphanumeric(c) || c == '+' || c == '/'; }
bool isAscii(char c) { return static_cast<unsigned char>(c) < 0x80; }
// The case folding of an ASCII character.
char foldedAscii(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

// The text with some spans replaced, built in one pass from left to right.
class Rewrite {
public:
    explicit Rewrite(std::string_view text) : text_(text) {}

    // REQUIRES: spans are replaced in order and do not overlap.
    void replace(std::size_t begin, std::size_t end, std::string_view replacement) {
        result_.append(text_.substr(copied_, begin - copied_));
        result_.append(replacement);
        copied_ = end;
    }

    std::string finish() {
        if (copied_ == 0) return std::string(text_);
        result_.append(text_.substr(copied_));
        return std::move(result_);
    }

private:
    std::string_view text_;
    std::string result_;
    std::size_t copied_ = 0;
};

// The end of the maximal run of bytes satisfying `inClass` from `position`.
template <typename Class>
std::size_t endOfRun(std::string_view text, std::size_t position, Class inClass) {
    while (position < text.size() && inClass(text[position])) ++position;
    return position;
}

// Walks `text` from left to right and calls `atRun(start, end)` for each run
// of `inClass` bytes, from where the walk stands to where the run ends;
// `atRun` returns where the walk goes on (at least `end`).
template <typename Class, typename AtRun>
void forEachRun(std::string_view text, Class inClass, AtRun atRun) {
    std::size_t position = 0;
    while (position < text.size()) {
        if (inClass(text[position])) {
            position = atRun(position, endOfRun(text, position, inClass));
        } else {
            ++position;
        }
    }
}

// --- 1. E-mail addresses ---------------------------------------------------

// Where an address whose domain starts at `domainStart` ends, or kNone. The
// domain's greedy [A-Za-z0-9.-]+ gives back characters until a dot followed by
// two letters remains, so the last such dot inside the run of domain
// characters is the one, and the letters after it run as far as they go.
std::size_t endOfEmailDomain(std::string_view text, std::size_t domainStart) {
    const std::size_t runEnd = endOfRun(text, domainStart, isEmailDomainCharacter);
    // The dot needs one domain character before it and two letters after it,
    // all inside the run (letters are domain characters too).
    for (std::size_t dot = runEnd >= 3 ? runEnd - 3 : 0; dot > domainStart; --dot) {
        if (text[dot] == '.' && isAsciiLetter(text[dot + 1]) && isAsciiLetter(text[dot + 2])) {
            return endOfRun(text, dot + 1, isAsciiLetter);
        }
    }
    return kNone;
}

std::string maskEmailAddresses(std::string_view text) {
    Rewrite rewrite(text);
    // "@" is no local-part character, so from every start inside a run of
    // local-part characters the local part can only end where the run ends:
    // the whole run matches or no part of it does, and its start is the
    // leftmost match.
    forEachRun(text, isEmailLocalCharacter, [&](std::size_t start, std::size_t at) {
        if (at >= text.size() || text[at] != '@') return at;
        const std::size_t end = endOfEmailDomain(text, at + 1);
        if (end == kNone) return at;
        rewrite.replace(start, end, "[EMAIL]");
        return end;
    });
    return rewrite.finish();
}

// --- 2. and 3. Credential assignments ---------------------------------------

// The code point starting at byte `position` of well-formed UTF-8, and the
// position after it.
UChar32 codePointAt(std::string_view text, std::size_t& position) {
    UChar32 codePoint = 0;
    int32_t offset = static_cast<int32_t>(position);
    U8_NEXT(text.data(), offset, static_cast<int32_t>(text.size()), codePoint);
    position = static_cast<std::size_t>(offset);
    return codePoint;
}

// \s of the pattern language: the Unicode White_Space property (tab to
// carriage return, blank, NEL, no-break space, the line and paragraph
// separators, ...). Sets `next` to the position after the code point.
bool isWhiteSpaceAt(std::string_view text, std::size_t position, std::size_t& next) {
    const char byte = text[position];
    if (isAscii(byte)) {
        next = position + 1;
        return byte == ' ' || (byte >= '\t' && byte <= '\r');
    }
    next = position;
    const UChar32 codePoint = codePointAt(text, next);
    return u_hasBinaryProperty(codePoint, UCHAR_WHITE_SPACE) != 0;
}

std::size_t skipWhiteSpace(std::string_view text, std::size_t position) {
    std::size_t next = position;
    while (position < text.size() && isWhiteSpaceAt(text, position, next)) position = next;
    return position;
}

std::size_t skipNonWhiteSpace(std::string_view text, std::size_t position) {
    std::size_t next = position;
    while (position < text.size() && !isWhiteSpaceAt(text, position, next)) position = next;
    return position;
}

// The full case folding of one code point, as case-insensitive matching
// compares it: "ß" folds to "ss", the Kelvin sign to "k", "A" to "a".
std::u16string caseFolded(UChar32 codePoint) {
    std::array<UChar, 2> source{};
    int32_t length = 0;
    U16_APPEND_UNSAFE(source.data(), length, codePoint);
    std::array<UChar, 8> folded{};
    UErrorCode status = U_ZERO_ERROR;
    const int32_t foldedLength = u_strFoldCase(folded.data(), static_cast<int32_t>(folded.size()),
                                               source.data(), length, U_FOLD_CASE_DEFAULT, &status);
    if (U_FAILURE(status)) return std::u16string(source.data(), static_cast<std::size_t>(length));
    return std::u16string(folded.data(), static_cast<std::size_t>(foldedLength));
}

// Where `literal` (lower-case ASCII) ends when matched case-insensitively
// from `position`, or kNone. Whole code points are matched: a code point
// whose folding runs past the literal's end does not match.
std::size_t endOfFoldedLiteral(std::string_view text, std::size_t position,
                               std::string_view literal) {
    std::size_t matched = 0;
    while (matched < literal.size()) {
        if (position >= text.size()) return kNone;
        if (isAscii(text[position])) {
            if (foldedAscii(text[position]) != literal[matched]) return kNone;
            ++matched;
            ++position;
            continue;
        }
        const std::u16string folded = caseFolded(codePointAt(text, position));
        if (folded.size() > literal.size() - matched) return kNone;
        for (const char16_t unit : folded) {
            if (unit != static_cast<unsigned char>(literal[matched])) return kNone;
            ++matched;
        }
    }
    return position;
}

// A label written with "?" for the optional separator [_-]: "api?key".
// Returns where it ends when matched at `position`, or kNone. The separator
// is taken when present and given back if the rest then fails.
std::size_t endOfLabel(std::string_view text, std::size_t position, std::string_view label) {
    const std::size_t separator = label.find('?');
    if (separator == kNone) return endOfFoldedLiteral(text, position, label);
    const std::size_t headEnd = endOfFoldedLiteral(text, position, label.substr(0, separator));
    if (headEnd == kNone) return kNone;
    const std::string_view tail = label.substr(separator + 1);
    if (headEnd < text.size() && (text[headEnd] == '_' || text[headEnd] == '-')) {
        const std::size_t end = endOfLabel(text, headEnd + 1, tail);
        if (end != kNone) return end;
    }
    return endOfLabel(text, headEnd, tail);
}

// After a label: \s*[:=]\s*\S+. Returns where the value ends, or kNone.
// Neither \s* can give back anything useful (a blank is neither ":" nor "="
// nor part of \S+), and \S+ takes the whole run, so no backtracking is needed.
std::size_t endOfAssignedValue(std::string_view text, std::size_t position) {
    position = skipWhiteSpace(text, position);
    if (position >= text.size() || (text[position] != ':' && text[position] != '=')) return kNone;
    position = skipWhiteSpace(text, position + 1);
    if (position >= text.size()) return kNone;
    return skipNonWhiteSpace(text, position);
}

// The first unit of the case folding of the code point at `position`; most
// positions can be ruled out as a label's start with it alone.
char16_t firstFoldedUnit(std::string_view text, std::size_t position) {
    if (isAscii(text[position])) return static_cast<char16_t>(foldedAscii(text[position]));
    return caseFolded(codePointAt(text, position)).front();
}

template <std::size_t kCount>
std::string maskCredentials(std::string_view text, const std::array<std::string_view, kCount>& labels) {
    Rewrite rewrite(text);
    std::size_t position = 0;
    while (position < text.size()) {
        bool masked = false;
        const char16_t first = firstFoldedUnit(text, position);
        // The alternatives in their order; the first that completes a match
        // at this position wins.
        for (const std::string_view label : labels) {
            if (first != static_cast<unsigned char>(label.front())) continue;
            const std::size_t labelEnd = endOfLabel(text, position, label);
            if (labelEnd == kNone) continue;
            const std::size_t valueEnd = endOfAssignedValue(text, labelEnd);
            if (valueEnd == kNone) continue;
            std::string replacement(text.substr(position, labelEnd - position));
            replacement += ": [REDACTED]";
            rewrite.replace(position, valueEnd, replacement);
            position = valueEnd;
            masked = true;
            break;
        }
        if (masked) continue;
        // Matches start at code points, not inside one.
        if (isAscii(text[position])) {
            ++position;
        } else {
            codePointAt(text, position);
        }
    }
    return rewrite.finish();
}

constexpr std::array<std::string_view, 4> kKeyLabels = {"api?key", "secret?key", "auth?token",
                                                        "bearer"};
constexpr std::array<std::string_view, 3> kPasswordLabels = {"password", "passwd", "pwd"};

// --- 4. and 5. Free-standing tokens -----------------------------------------

// A run is free-standing when the characters on either side are not of the
// run's class (the look-behind and look-ahead), so only maximal runs can
// match, and a maximal run matches whole or not at all.
std::string maskHexTokens(std::string_view text) {
    Rewrite rewrite(text);
    forEachRun(text, isAsciiAlphanumeric, [&](std::size_t start, std::size_t end) {
        if (end - start >= 32 && endOfRun(text, start, isHexDigit) == end) {
            rewrite.replace(start, end, "[TOKEN]");
        }
        return end;
    });
    return rewrite.finish();
}

std::string maskBase64Tokens(std::string_view text) {
    Rewrite rewrite(text);
    forEachRun(text, isBase64Character, [&](std::size_t start, std::size_t runEnd) {
        // Up to two padding signs, and then neither a run character nor a
        // third padding sign.
        std::size_t end = runEnd;
        while (end < text.size() && end - runEnd < 2 && text[end] == '=') ++end;
        const bool freeStanding =
            end >= text.size() || (!isBase64Character(text[end]) && text[end] != '=');
        if (runEnd - start < 40 || !freeStanding) return runEnd;
        rewrite.replace(start, end, "[TOKEN]");
        return end;
    });
    return rewrite.finish();
}

// Ill-formed UTF-8 becomes U+FFFD, so the scanners only ever see whole code
// points and the result can always be written as JSON.
std::string wellFormed(const std::string& text) {
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8(nullptr, 0, nullptr, text.data(), static_cast<int32_t>(text.size()), &status);
    if (status != U_INVALID_CHAR_FOUND) return text;
    std::string repaired;
    icu::UnicodeString::fromUTF8(text).toUTF8String(repaired);
    return repaired;
}

}  // namespace

std::string redact(const std::string& text) {
    std::string current = wellFormed(text);
    current = maskEmailAddresses(current);
    current = maskCredentials(current, kKeyLabels);
    current = maskCredentials(current, kPasswordLabels);
    current = maskHexTokens(current);
    return maskBase64Tokens(current);
}

}  // namespace PIIFilter
}  // namespace VarnholtQueryLib
