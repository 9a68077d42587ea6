#include "search/RepeatedAlternatives.h"

#include <map>
#include <string_view>
#include <vector>

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

// The alternatives of `text` in their order, when it is exactly
// alternatives joined with " OR "; absent otherwise.
std::optional<std::vector<std::string_view>> flatAlternatives(std::string_view text) {
    std::vector<std::string_view> alternatives;
    std::size_t at = 0;
    while (true) {
        const std::string_view alternative = alternativeAt(text, at);
        if (alternative.empty()) return std::nullopt;
        alternatives.push_back(alternative);
        at += alternative.size();
        if (at == text.size()) return alternatives;
        at += kSeparator.size();
    }
}

// Appends `alternatives` to `out` as a balanced tree of ORs, each half of
// more than one alternative in parentheses.
void appendGrouped(const std::string_view* alternatives, std::size_t count, std::string& out) {
    if (count == 1) {
        out += alternatives[0];
        return;
    }
    const std::size_t half = count / 2;
    const auto appendHalf = [&](const std::string_view* first, std::size_t size) {
        if (size > 1) out += '(';
        appendGrouped(first, size, out);
        if (size > 1) out += ')';
    };
    appendHalf(alternatives, half);
    out += kSeparator;
    appendHalf(alternatives + half, count - half);
}

}  // namespace

std::optional<RepeatedAlternatives> repeatedAlternatives(const std::string& matchText) {
    const auto alternatives = flatAlternatives(matchText);
    if (!alternatives) return std::nullopt;
    std::map<std::string_view, int> firstCopy;
    RepeatedAlternatives result;
    for (const std::string_view alternative : *alternatives) {
        const auto [entry, isNew] = firstCopy.emplace(alternative, static_cast<int>(firstCopy.size()));
        if (isNew) {
            if (!result.distinctMatchText.empty()) result.distinctMatchText += kSeparator;
            result.distinctMatchText += alternative;
        }
        result.copyOf.push_back(entry->second);
    }
    if (firstCopy.size() == result.copyOf.size()) return std::nullopt;
    return result;
}

std::string groupedAlternatives(const std::string& matchText) {
    const auto alternatives = flatAlternatives(matchText);
    if (!alternatives || alternatives->size() < 3) return matchText;
    std::string grouped;
    grouped.reserve(matchText.size() + 2 * alternatives->size());
    appendGrouped(alternatives->data(), alternatives->size(), grouped);
    return grouped;
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
