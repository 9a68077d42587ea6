#include "selection/SelectionRules.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <cstdint>
#include <utility>

namespace VarnholtQueryLib {

namespace {

std::string describe(RuleProblem problem, const std::string& given) {
    switch (problem) {
        case RuleProblem::noWord:
            return "No word to look for in '" + given + "'";
        case RuleProblem::tooLong:
            return "Text rule of " + std::to_string(given.size()) + " bytes is too long";
        case RuleProblem::noApplication:
            return "Application rule without a name";
        case RuleProblem::noEntityValue:
            return "Entity rule without a value: '" + given + "'";
        case RuleProblem::noEntityKind:
            return "Entity rule with an empty kind: '" + given + "'";
    }
    return "Invalid rule";
}

// A NUL byte separates like white space: a C string would end there, and
// the full-text engine reads its query as one.
bool separates(UChar32 character) { return character == 0 || u_isUWhiteSpace(character); }

}  // namespace

InvalidRule::InvalidRule(RuleProblem problem, std::string given, std::size_t ruleSet, std::size_t rule)
    : std::runtime_error(describe(problem, given)),
      problem_(problem),
      given_(std::move(given)),
      ruleSet_(ruleSet),
      rule_(rule) {}

std::vector<MatchTerm> matchTermsOf(std::string_view words) {
    std::vector<MatchTerm> terms;
    MatchTerm current;
    bool inPhrase = false;
    // Whether `current` holds more than white space: a phrase of blanks is
    // no term.
    bool visible = false;
    const auto finish = [&] {
        if (visible) terms.push_back(std::move(current));
        current = MatchTerm{};
        visible = false;
    };
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(words.data());
    const auto length = static_cast<std::int32_t>(words.size());
    std::int32_t offset = 0;
    while (offset < length) {
        const std::int32_t start = offset;
        UChar32 character = 0;
        U8_NEXT(bytes, offset, length, character);
        if (character == '"') {
            finish();
            inPhrase = !inPhrase;
            current.phrase = inPhrase;
            continue;
        }
        if (!separates(character)) visible = true;
        if (separates(character)) {
            if (!inPhrase) {
                finish();
                continue;
            }
            // Inside a phrase a separator stays a separator, but never a NUL.
            if (character == 0) {
                current.text += ' ';
                continue;
            }
        }
        current.text.append(words.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(offset - start)));
    }
    finish();
    return terms;
}

TextRule textRule(std::string words) {
    if (words.size() > kLongestMatchWords) throw InvalidRule(RuleProblem::tooLong, std::move(words));
    if (matchTermsOf(words).empty()) throw InvalidRule(RuleProblem::noWord, std::move(words));
    return {std::move(words)};
}

ApplicationRule applicationRule(std::string name) {
    if (name.empty()) throw InvalidRule(RuleProblem::noApplication, std::move(name));
    return {std::move(name)};
}

EntityRule entityRule(const std::string& text) {
    const auto equals = text.find('=');
    EntityRule rule;
    if (equals == std::string::npos) {
        rule.value = text;
    } else {
        rule.kind = text.substr(0, equals);
        rule.value = text.substr(equals + 1);
        if (rule.kind->empty()) throw InvalidRule(RuleProblem::noEntityKind, text);
    }
    if (rule.value.empty()) throw InvalidRule(RuleProblem::noEntityValue, text);
    return rule;
}

}  // namespace VarnholtQueryLib
