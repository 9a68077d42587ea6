#include "search/RepeatedAlternatives.h"

#include <map>
#include <string_view>

#include "search/FTS5Keyword.h"

namespace VarnholtQueryLib {

namespace {

constexpr std::string_view kSeparator = " OR ";

// A bare word that FTS5 reads as a word, not as an operator (operators are
// upper case only).
bool isBareTerm(std::string_view word) {
    return FTS5Keyword::isBareWord(word) && word != "AND" && word != "OR" && word != "NOT" && word != "NEAR";
}

// The alternative starting at `at`, which must end at the end of the text or
// at a separator; empty when there is none.
std::string_view alternativeAt(std::string_view text, std::size_t at) {
    std::size_t end = at;
    if (at < text.size() && text[at] == '"') {
        end = text.find('"', at + 1);
        if (end == std::string_view::npos) return {};
        ++end;
    } else {
        end = text.find(' ', at);
        if (end == std::string_view::npos) end = text.size();
        if (!isBareTerm(text.substr(at, end - at))) return {};
    }
    if (end != text.size() && text.substr(end, kSeparator.size()) != kSeparator) return {};
    return text.substr(at, end - at);
}

}  // namespace

std::optional<RepeatedAlternatives> repeatedAlternatives(const std::string& matchText) {
    const std::string_view text = matchText;
    std::map<std::string_view, int> firstCopy;
    RepeatedAlternatives result;
    std::size_t at = 0;
    while (true) {
        const std::string_view alternative = alternativeAt(text, at);
        if (alternative.empty()) return std::nullopt;
        const auto [entry, isNew] = firstCopy.emplace(alternative, static_cast<int>(firstCopy.size()));
        if (isNew) {
            if (!result.distinctMatchText.empty()) result.distinctMatchText += kSeparator;
            result.distinctMatchText += alternative;
        }
        result.copyOf.push_back(entry->second);
        at += alternative.size();
        if (at == text.size()) break;
        at += kSeparator.size();
    }
    if (firstCopy.size() == result.copyOf.size()) return std::nullopt;
    return result;
}

std::string copiesArgument(const std::vector<int>& copyOf) {
    std::string argument;
    for (const int position : copyOf) {
        if (!argument.empty()) argument += ' ';
        argument += std::to_string(position);
    }
    return argument;
}

}  // namespace VarnholtQueryLib
