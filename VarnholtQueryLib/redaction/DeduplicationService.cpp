#include "redaction/DeduplicationService.h"

#include <cstdint>
#include <unordered_set>

#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf16.h>

namespace VarnholtQueryLib {
namespace DeduplicationService {

namespace {

constexpr std::size_t kAppLimit = 10;

// Full Unicode lower-casing in the root locale, so that the result does not
// depend on the user's language ("STRAẞE" and "Straße" meet, "İ" lowers the
// same way everywhere).
icu::UnicodeString lowerCased(const std::string& text) {
    icu::UnicodeString unicode = icu::UnicodeString::fromUTF8(text);
    unicode.toLower(icu::Locale::getRoot());
    return unicode;
}

std::string utf8(const icu::UnicodeString& text) {
    std::string result;
    text.toUTF8String(result);
    return result;
}

// `text` without white space and line breaks at both ends: every code point
// with the Unicode White_Space property (spaces of all widths, tabs, line and
// paragraph separators, CR, LF, NEL).
icu::UnicodeString trimmedOfWhiteSpace(const icu::UnicodeString& text) {
    std::int32_t start = 0;
    std::int32_t end = text.length();
    while (start < end) {
        const UChar32 c = text.char32At(start);
        if (!u_isUWhiteSpace(c)) break;
        start += U16_LENGTH(c);
    }
    while (end > start) {
        const UChar32 c = text.char32At(end - 1);
        if (!u_isUWhiteSpace(c)) break;
        end -= U16_LENGTH(c);
    }
    return icu::UnicodeString(text, start, end - start);
}

}  // namespace

std::string nameKey(const std::string& name) { return utf8(lowerCased(name)); }

DeduplicatedList deduplicate(const std::vector<std::string>& items, std::size_t limit) {
    DeduplicatedList result;
    std::unordered_set<std::string> seen;
    for (const std::string& item : items) {
        if (seen.insert(nameKey(item)).second) result.items.push_back(item);
    }
    if (result.items.size() > limit) {
        result.items.resize(limit);
        result.truncated = true;
    }
    return result;
}

DeduplicatedList deduplicateApps(const std::vector<std::string>& items) {
    return deduplicate(items, kAppLimit);
}

std::string descriptionKey(const std::string& description) {
    return utf8(trimmedOfWhiteSpace(lowerCased(description)));
}

}  // namespace DeduplicationService
}  // namespace VarnholtQueryLib
