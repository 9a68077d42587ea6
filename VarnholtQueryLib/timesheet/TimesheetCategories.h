#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include "output/JSONWriter.h"
#include "selection/SelectionRules.h"

namespace VarnholtQueryLib {

// The categories of a timesheet: named rule sets, in the order the person
// gave them, to which each row of a range is assigned exclusively (the
// first category with a matching rule takes it). A rule is written with a
// prefix naming its kind: "text:WORDS" (the description holds the words and
// "phrases", as the full-text index reads them), "app:NAME" (an application
// the row shows) or "entity:[KIND=]VALUE" (an entity the row names).
//
// Categories are plain values, checked as a whole (checkCategories) before
// anything is read, so that every front end refuses the same input with
// the same message.

struct TimesheetCategory {
    std::string name;
    std::vector<std::string> rules;  // as given, prefixes and all

    bool operator==(const TimesheetCategory&) const = default;
};

// Why categories cannot be used. The message (what()) names the offending
// part in words a person can act on.
enum class CategoryProblem {
    noCategory,      // none given
    tooMany,         // more than kMostCategories
    emptyName,
    longName,        // more than kLongestCategoryName characters
    repeatedName,    // the same name as an earlier category (compared exactly)
    noRule,          // a category without a rule
    unknownPrefix,   // a rule that is not text:, app: or entity:
    unusableRule,    // a rule of a known kind that cannot be used (ruleProblem())
    malformed,       // JSON that is not the list of categories
};

class InvalidCategories : public std::runtime_error {
public:
    InvalidCategories(CategoryProblem problem, const std::string& message);
    CategoryProblem problem() const { return problem_; }

private:
    CategoryProblem problem_;
};

inline constexpr std::size_t kMostCategories = 50;
// In characters (Unicode code points), so that a name in any script fits
// the same number of letters.
inline constexpr std::size_t kLongestCategoryName = 64;

// The rule `text` stands for. Throws InvalidCategories unknownPrefix, or
// unusableRule with the rule's problem (a text rule without a word, an
// application rule without a name, ...), naming `category`.
SelectionRule categoryRule(const std::string& text, const std::string& category);

// Throws InvalidCategories for the first problem, in this order: none at
// all; more than kMostCategories; then category by category, its name
// (empty, too long, repeated), then its rules (none, then each in order).
void checkCategories(const std::vector<TimesheetCategory>& categories);

// The rule sets of checked categories, one per category, in their order.
// REQUIRES: checkCategories(categories) passed.
std::vector<RuleSet> ruleSetsOf(const std::vector<TimesheetCategory>& categories);

// The message for a text rule whose terms hold no word the full-text index
// can find, which only the index can tell (RowSelector::resolve): the same
// words as a rule with no term at all.
std::string noWordMessage(const std::string& rule, const std::string& category);

// Categories written as JSON: [{"name": "Invoicing", "rules": ["text:invoice
// exporter", "app:QuickBooks"]}, ...], an array of objects with exactly the
// keys "name" (a text) and "rules" (an array of texts). Only the shape is
// checked here (checkCategories checks the rest). Throws InvalidCategories
// malformed, its message "<source> must be ...: <what is wrong, where>",
// where `source` names where the JSON came from.
std::vector<TimesheetCategory> categoriesFromJSON(const JSON& value, const std::string& source);

// Categories from the text of a file holding that JSON. Throws
// InvalidCategories malformed, naming `source` and, for text that is not
// JSON, the parser's line, column and reason.
std::vector<TimesheetCategory> categoriesFromJSONText(const std::string& text, const std::string& source);

// The categories as an answer echoes them: [{"name", "rules"}].
JSON categoriesJSON(const std::vector<TimesheetCategory>& categories);

}  // namespace VarnholtQueryLib
