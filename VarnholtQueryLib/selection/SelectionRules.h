#pragma once

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace VarnholtQueryLib {

// The rules that pick an observation out of a range: by what its
// description says, by an application it shows, or by an entity it names.
// A rule set (all the rules one question gives) picks a row when any of its
// rules matches it. Rules are plain values, checked when they are made, so
// that every front end refuses the same input for the same reason.

// One piece of a text rule: a word, or the inside of a double-quoted phrase.
struct MatchTerm {
    std::string text;
    bool phrase = false;

    bool operator==(const MatchTerm&) const = default;
};

// The terms of `words` as a person types them: words are separated by white
// space (Unicode's, a NUL byte too); a double quote opens a phrase, which
// runs to the next double quote or, unmatched, to the end of `words`, white
// space and all. A quote also ends the word it touches ("a\"b c\"" is the
// word a and the phrase "b c"). Empty phrases are no term. The quotes never
// reach a term, so no term can be read as full-text query syntax.
std::vector<MatchTerm> matchTermsOf(std::string_view words);

// The row's description holds every word of `words` and every phrase as a
// phrase, as the full-text index tokenizes and folds them.
struct TextRule {
    std::string words;  // as given

    bool operator==(const TextRule&) const = default;
};

// The row's applications list `name`, compared by the name key.
struct ApplicationRule {
    std::string name;  // as given

    bool operator==(const ApplicationRule&) const = default;
};

// The row names an entity of value `value` (compared by the name key) and,
// when `kind` is given, of exactly that kind.
struct EntityRule {
    std::optional<std::string> kind;
    std::string value;

    bool operator==(const EntityRule&) const = default;
};

using SelectionRule = std::variant<TextRule, ApplicationRule, EntityRule>;
using RuleSet = std::vector<SelectionRule>;

// Why a rule cannot be used.
enum class RuleProblem {
    noWord,          // a text rule without any word to look for
    tooLong,         // a text rule longer than kLongestMatchWords bytes
    noApplication,   // an application rule with an empty name
    noEntityValue,   // an entity rule with an empty value
    noEntityKind,    // an entity rule with "=" but nothing before it
};

// A rule that cannot be used, and where it stands: the rule set's place
// and the rule's place in it, as the caller gave them (both 0 for a rule
// made on its own). The front ends word the message.
class InvalidRule : public std::runtime_error {
public:
    InvalidRule(RuleProblem problem, std::string given, std::size_t ruleSet = 0, std::size_t rule = 0);

    RuleProblem problem() const { return problem_; }
    // The rule's text as given (the words, the name, "KIND=VALUE").
    const std::string& given() const { return given_; }
    std::size_t ruleSet() const { return ruleSet_; }
    std::size_t rule() const { return rule_; }

private:
    RuleProblem problem_;
    std::string given_;
    std::size_t ruleSet_;
    std::size_t rule_;
};

// The longest text rule, in bytes of UTF-8: the size of the longest search
// keyword, for the same reason (a pasted log is fair, megabytes are not).
inline constexpr std::size_t kLongestMatchWords = 100000;

// Throws InvalidRule: noWord when `words` has no term at all (matchTermsOf),
// tooLong beyond kLongestMatchWords. Whether a term holds a word the index
// can find is only known to the index (RowSelector::resolve checks it).
TextRule textRule(std::string words);
// Throws InvalidRule noApplication for an empty name.
ApplicationRule applicationRule(std::string name);
// "[KIND=]VALUE", split at the first "=". Throws InvalidRule noEntityValue
// for an empty VALUE, noEntityKind for an empty KIND before an "=".
EntityRule entityRule(const std::string& text);

}  // namespace VarnholtQueryLib
