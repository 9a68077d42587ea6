#include "search/FTS5Keyword.h"

#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <set>
#include <vector>

namespace VarnholtQueryLib {
namespace FTS5Keyword {

namespace {

using Terms = std::vector<icu::UnicodeString>;

// Whether a phrase's double quotes stay in its term (the query syntax) or
// are left out (the literal form).
enum class Quotes { keep, drop };

// Blanks and tabs in the Unicode sense (space separators and TAB), not
// newlines.
bool isBlankOrTab(UChar32 codePoint) { return u_isblank(codePoint) != 0; }

icu::UnicodeString trimmedOfBlanks(const icu::UnicodeString& term) {
    int32_t start = 0;
    int32_t end = term.length();
    while (start < end && isBlankOrTab(term.char32At(start))) start = term.moveIndex32(start, 1);
    while (end > start) {
        const int32_t previous = term.moveIndex32(end, -1);
        if (!isBlankOrTab(term.char32At(previous))) break;
        end = previous;
    }
    return icu::UnicodeString(term, start, end - start);
}

// The keyword split into terms: runs of non-white-space, with double-quoted
// phrases kept whole (their inner white space included) and trimmed of
// blanks. An unclosed phrase runs to the end of the keyword. One walk over
// the characters, appending each to the current term once.
Terms splitTerms(const icu::UnicodeString& keyword, Quotes quotes) {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::BreakIterator> characters(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    if (U_FAILURE(status) || !characters) {
        // The root locale's rules are part of every ICU installation; without
        // them the installation is broken, not the keyword.
        std::fprintf(stderr, "Fatal error: ICU cannot segment text into characters: %s\n",
                     u_errorName(status));
        std::abort();
    }
    characters->setText(keyword);

    Terms terms;
    icu::UnicodeString current;
    bool inQuote = false;
    int32_t start = characters->first();
    for (int32_t end = characters->next(); end != icu::BreakIterator::DONE;
         start = end, end = characters->next()) {
        if (end - start == 1 && keyword.charAt(start) == u'"') {
            if (quotes == Quotes::keep) current.append(u'"');
            if (inQuote) {
                terms.push_back(trimmedOfBlanks(current));
                current.remove();
            }
            inQuote = !inQuote;
        } else if (inQuote || !u_isUWhiteSpace(keyword.char32At(start))) {
            current.append(keyword, start, end - start);
        } else {
            if (!current.isEmpty()) terms.push_back(current);
            current.remove();
        }
    }
    if (!current.isEmpty()) terms.push_back(current);
    return terms;
}

bool isFTS5Operator(const icu::UnicodeString& term) {
    icu::UnicodeString upper(term);
    upper.toUpper(icu::Locale::getRoot());
    return upper == icu::UnicodeString(u"AND") || upper == icu::UnicodeString(u"OR") ||
           upper == icu::UnicodeString(u"NOT") || upper == icu::UnicodeString(u"NEAR") ||
           upper.startsWith(icu::UnicodeString(u"NEAR/"));
}

bool isBare(const icu::UnicodeString& term) {
    std::string word;
    return FTS5Keyword::isBareWord(term.toUTF8String(word));
}

bool isClosedPhrase(const icu::UnicodeString& term) {
    return term.length() >= 2 && term.charAt(0) == u'"' && term.indexOf(u'"', 1) == term.length() - 1;
}

// Later copies of a term left out; the first copies keep their order.
Terms withoutRepeats(const Terms& terms) {
    std::set<icu::UnicodeString> seen;
    Terms kept;
    for (const auto& term : terms) {
        if (seen.insert(term).second) kept.push_back(term);
    }
    return kept;
}

std::string joinedTerms(const Terms& terms, const icu::UnicodeString& separator, const icu::UnicodeString& wrap) {
    icu::UnicodeString joined;
    for (std::size_t index = 0; index < terms.size(); ++index) {
        if (index > 0) joined += separator;
        joined += wrap;
        joined += terms[index];
        joined += wrap;
    }
    std::string result;
    joined.toUTF8String(result);
    return result;
}

// The terms of the keyword taken literally: without their double quotes,
// trimmed of blanks, empty ones left out.
Terms literalTerms(const std::string& keyword) {
    Terms terms;
    for (const auto& term : splitTerms(icu::UnicodeString::fromUTF8(keyword), Quotes::drop)) {
        icu::UnicodeString trimmed = trimmedOfBlanks(term);
        if (!trimmed.isEmpty()) terms.push_back(std::move(trimmed));
    }
    return terms;
}

}  // namespace

std::string transformed(const std::string& keyword, RepeatedTerms repeated) {
    Terms terms = splitTerms(icu::UnicodeString::fromUTF8(keyword), Quotes::keep);
    if (terms.size() == 1) return keyword;
    bool flatAlternatives = true;
    for (const auto& term : terms) {
        if (isFTS5Operator(term)) return keyword;
        if (!isBare(term) && !isClosedPhrase(term)) flatAlternatives = false;
    }
    // Only bare words and whole phrases: their alternatives form one flat OR,
    // whose rows do not change when a repeated alternative goes.
    if (repeated == RepeatedTerms::drop && flatAlternatives) terms = withoutRepeats(terms);
    return joinedTerms(terms, icu::UnicodeString(u" OR "), icu::UnicodeString());
}

std::string literal(const std::string& keyword, RepeatedTerms repeated) {
    Terms terms = literalTerms(keyword);
    // Quoted phrases without quotes inside always form a flat OR.
    if (repeated == RepeatedTerms::drop) terms = withoutRepeats(terms);
    return joinedTerms(terms, icu::UnicodeString(u" OR "), icu::UnicodeString(u"\""));
}

std::string allWords(const std::string& keyword, RepeatedTerms repeated) {
    Terms terms = literalTerms(keyword);
    // A term required twice is required once: the rows are the same.
    if (repeated == RepeatedTerms::drop) terms = withoutRepeats(terms);
    return joinedTerms(terms, icu::UnicodeString(u" "), icu::UnicodeString(u"\""));
}

bool isBareWord(std::string_view word) {
    // A character beyond ASCII is bytes beyond ASCII in UTF-8, and every one
    // of them belongs to a word.
    for (const char c : word) {
        const auto byte = static_cast<unsigned char>(c);
        const bool asciiWord = (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
                               (byte >= 'a' && byte <= 'z') || byte == '_';
        if (byte < 0x80 && !asciiWord) return false;
    }
    return !word.empty();
}

}  // namespace FTS5Keyword
}  // namespace VarnholtQueryLib
