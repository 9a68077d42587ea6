#include "timesheet/TimesheetCategories.h"

#include <set>
#include <string_view>

namespace VarnholtQueryLib {

namespace {

constexpr std::string_view kTextPrefix = "text:";
constexpr std::string_view kApplicationPrefix = "app:";
constexpr std::string_view kEntityPrefix = "entity:";
// A quoted text in a message is cut here: a message names the part, it
// need not repeat a pasted page.
constexpr std::size_t kShownCharacters = 80;
constexpr const char* kShape = "an array of {\"name\": TEXT, \"rules\": [TEXT, ...]} objects";

bool startsCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }

std::size_t characters(const std::string& text) {
    std::size_t count = 0;
    for (const char byte : text) count += startsCharacter(byte) ? 1 : 0;
    return count;
}

// `text` in single quotes, its first kShownCharacters characters only.
std::string quoted(const std::string& text) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (!startsCharacter(text[i])) continue;
        if (count++ == kShownCharacters) return "'" + text.substr(0, i) + "...'";
    }
    return "'" + text + "'";
}

bool hasPrefix(const std::string& text, std::string_view prefix) { return text.rfind(prefix, 0) == 0; }

std::string ruleProblemMessage(const InvalidRule& invalid, const std::string& rule, const std::string& category) {
    const std::string where = " of category " + quoted(category);
    switch (invalid.problem()) {
        case RuleProblem::noWord:
            return noWordMessage(rule, category);
        case RuleProblem::tooLong:
            return "A text rule" + where + " is " + std::to_string(invalid.given().size()) +
                   " bytes long; at most " + std::to_string(kLongestMatchWords) + " are allowed.";
        case RuleProblem::noApplication:
            return "Rule " + quoted(rule) + where + " needs an application name after app:.";
        case RuleProblem::noEntityValue:
            return "Rule " + quoted(rule) + where + " needs an entity value: entity:[KIND=]VALUE.";
        case RuleProblem::noEntityKind:
            return "Rule " + quoted(rule) + where + " has an empty kind before '=': entity:[KIND=]VALUE.";
    }
    return "Rule " + quoted(rule) + where + " cannot be used.";
}

[[noreturn]] void malformed(const std::string& source, const std::string& what) {
    throw InvalidCategories(CategoryProblem::malformed, source + " must be " + kShape + ": " + what + ".");
}

}  // namespace

InvalidCategories::InvalidCategories(CategoryProblem problem, const std::string& message)
    : std::runtime_error(message), problem_(problem) {}

std::string noWordMessage(const std::string& rule, const std::string& category) {
    return "Rule " + quoted(rule) + " of category " + quoted(category) +
           " holds no word to look for: text:WORDS needs a word of letters or digits.";
}

SelectionRule categoryRule(const std::string& text, const std::string& category) {
    try {
        if (hasPrefix(text, kTextPrefix)) return textRule(text.substr(kTextPrefix.size()));
        if (hasPrefix(text, kApplicationPrefix)) return applicationRule(text.substr(kApplicationPrefix.size()));
        if (hasPrefix(text, kEntityPrefix)) return entityRule(text.substr(kEntityPrefix.size()));
    } catch (const InvalidRule& invalid) {
        throw InvalidCategories(CategoryProblem::unusableRule, ruleProblemMessage(invalid, text, category));
    }
    throw InvalidCategories(CategoryProblem::unknownPrefix,
                            "Rule " + quoted(text) + " of category " + quoted(category) +
                                " has no known prefix: use text:WORDS, app:NAME or entity:[KIND=]VALUE.");
}

void checkCategories(const std::vector<TimesheetCategory>& categories) {
    if (categories.empty()) {
        throw InvalidCategories(CategoryProblem::noCategory,
                                "A timesheet needs at least one category: --category NAME=RULE[|RULE...] "
                                "or --categories FILE (the categories argument of the tool).");
    }
    if (categories.size() > kMostCategories) {
        throw InvalidCategories(CategoryProblem::tooMany, "At most " + std::to_string(kMostCategories) +
                                                              " categories are allowed, not " +
                                                              std::to_string(categories.size()) + ".");
    }
    std::set<std::string> names;
    for (std::size_t i = 0; i < categories.size(); ++i) {
        const TimesheetCategory& category = categories[i];
        if (category.name.empty()) {
            throw InvalidCategories(CategoryProblem::emptyName,
                                    "Category " + std::to_string(i + 1) + " has an empty name.");
        }
        const std::size_t length = characters(category.name);
        if (length > kLongestCategoryName) {
            throw InvalidCategories(CategoryProblem::longName,
                                    "Category name " + quoted(category.name) + " is " + std::to_string(length) +
                                        " characters long; at most " + std::to_string(kLongestCategoryName) +
                                        " are allowed.");
        }
        if (!names.insert(category.name).second) {
            throw InvalidCategories(CategoryProblem::repeatedName,
                                    "Category name " + quoted(category.name) +
                                        " is given twice; each category needs a name of its own.");
        }
        if (category.rules.empty()) {
            throw InvalidCategories(CategoryProblem::noRule, "Category " + quoted(category.name) +
                                                                 " has no rule: give text:WORDS, app:NAME or "
                                                                 "entity:[KIND=]VALUE.");
        }
        for (const std::string& rule : category.rules) categoryRule(rule, category.name);
    }
}

std::vector<RuleSet> ruleSetsOf(const std::vector<TimesheetCategory>& categories) {
    std::vector<RuleSet> sets;
    sets.reserve(categories.size());
    for (const TimesheetCategory& category : categories) {
        RuleSet rules;
        for (const std::string& rule : category.rules) rules.push_back(categoryRule(rule, category.name));
        sets.push_back(std::move(rules));
    }
    return sets;
}

std::vector<TimesheetCategory> categoriesFromJSON(const JSON& value, const std::string& source) {
    if (!value.is_array()) malformed(source, "it is not an array");
    std::vector<TimesheetCategory> categories;
    for (std::size_t i = 0; i < value.size(); ++i) {
        const JSON& entry = value[i];
        const std::string place = "[" + std::to_string(i) + "]";
        if (!entry.is_object()) malformed(source, place + " is not an object");
        for (const auto& [key, member] : entry.items()) {
            if (key != "name" && key != "rules") malformed(source, place + " has an unknown key " + quoted(key));
        }
        TimesheetCategory category;
        const auto name = entry.find("name");
        if (name == entry.end() || !name->is_string()) malformed(source, place + ".name is not a text");
        category.name = name->get<std::string>();
        const auto rules = entry.find("rules");
        if (rules == entry.end() || !rules->is_array()) malformed(source, place + ".rules is not an array");
        for (std::size_t r = 0; r < rules->size(); ++r) {
            const JSON& rule = (*rules)[r];
            if (!rule.is_string()) malformed(source, place + ".rules[" + std::to_string(r) + "] is not a text");
            category.rules.push_back(rule.get<std::string>());
        }
        categories.push_back(std::move(category));
    }
    return categories;
}

std::vector<TimesheetCategory> categoriesFromJSONText(const std::string& text, const std::string& source) {
    JSON value;
    try {
        value = JSON::parse(text);
    } catch (const JSON::parse_error& error) {
        // The parser's own words carry the line, the column and the reason;
        // its numbered tag means nothing to a person.
        std::string reason = error.what();
        const auto tagEnd = reason.find("] ");
        if (reason.rfind("[json.exception.", 0) == 0 && tagEnd != std::string::npos) reason.erase(0, tagEnd + 2);
        throw InvalidCategories(CategoryProblem::malformed, source + " is not valid JSON: " + reason + ".");
    }
    return categoriesFromJSON(value, source);
}

JSON categoriesJSON(const std::vector<TimesheetCategory>& categories) {
    JSON list = JSON::array();
    for (const TimesheetCategory& category : categories) {
        list.push_back({{"name", category.name}, {"rules", category.rules}});
    }
    return list;
}

}  // namespace VarnholtQueryLib
