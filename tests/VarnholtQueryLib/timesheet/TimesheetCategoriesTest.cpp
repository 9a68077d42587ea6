#include "timesheet/TimesheetCategories.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace VarnholtQueryLib {
namespace {

TimesheetCategory category(const std::string& name, std::vector<std::string> rules) {
    return {name, std::move(rules)};
}

// The message of the InvalidCategories that `check` throws, and its problem.
template <typename Check>
std::pair<CategoryProblem, std::string> refusal(Check check) {
    try {
        check();
    } catch (const InvalidCategories& invalid) {
        return {invalid.problem(), invalid.what()};
    }
    ADD_FAILURE() << "nothing was refused";
    return {};
}

std::pair<CategoryProblem, std::string> refusalOf(const std::vector<TimesheetCategory>& categories) {
    return refusal([&] { checkCategories(categories); });
}

TEST(TimesheetCategoriesTest, RulesAreReadByTheirPrefix) {
    const auto sets = ruleSetsOf({category("Invoicing", {"text:invoice \"PDF export\"", "app:QuickBooks",
                                                         "entity:person=Jane=Doe", "entity:Acme"})});
    ASSERT_EQ(sets.size(), 1u);
    EXPECT_EQ(sets[0], (RuleSet{TextRule{"invoice \"PDF export\""}, ApplicationRule{"QuickBooks"},
                                EntityRule{"person", "Jane=Doe"}, EntityRule{std::nullopt, "Acme"}}));
}

TEST(TimesheetCategoriesTest, CategoriesKeepTheirOrder) {
    const auto sets = ruleSetsOf({category("B", {"app:Mail"}), category("A", {"app:Xcode"})});
    EXPECT_EQ(sets, (std::vector<RuleSet>{{ApplicationRule{"Mail"}}, {ApplicationRule{"Xcode"}}}));
}

TEST(TimesheetCategoriesTest, NoCategoryIsRefused) {
    EXPECT_EQ(refusalOf({}),
              std::make_pair(CategoryProblem::noCategory,
                             std::string("A timesheet needs at least one category: --category NAME=RULE[|RULE...] "
                                         "or --categories FILE (the categories argument of the tool).")));
}

TEST(TimesheetCategoriesTest, FiftyCategoriesAreTheMost) {
    std::vector<TimesheetCategory> categories;
    for (int i = 0; i < 50; ++i) categories.push_back(category("C" + std::to_string(i), {"app:X"}));
    EXPECT_NO_THROW(checkCategories(categories));
    categories.push_back(category("C50", {"app:X"}));
    EXPECT_EQ(refusalOf(categories),
              std::make_pair(CategoryProblem::tooMany, std::string("At most 50 categories are allowed, not 51.")));
}

TEST(TimesheetCategoriesTest, NamesAreCheckedInOrder) {
    EXPECT_EQ(refusalOf({category("A", {"app:X"}), category("", {"app:X"})}),
              std::make_pair(CategoryProblem::emptyName, std::string("Category 2 has an empty name.")));
    // Characters, not bytes: 64 letters of two bytes each pass.
    std::string name;
    for (int i = 0; i < 64; ++i) name += "\xC3\xA9";
    EXPECT_NO_THROW(checkCategories({category(name, {"app:X"})}));
    const std::string longName(65, 'n');
    EXPECT_EQ(refusalOf({category(longName, {"app:X"})}),
              std::make_pair(CategoryProblem::longName,
                             "Category name '" + longName + "' is 65 characters long; at most 64 are allowed."));
}

TEST(TimesheetCategoriesTest, NamesCompareExactly) {
    EXPECT_NO_THROW(checkCategories({category("Billing", {"app:X"}), category("billing", {"app:X"}),
                                     category("Billing ", {"app:X"})}));
    EXPECT_EQ(refusalOf({category("Billing", {"app:X"}), category("Mail", {"app:X"}), category("Billing", {"app:Y"})}),
              std::make_pair(CategoryProblem::repeatedName,
                             std::string("Category name 'Billing' is given twice; each category needs a name of "
                                         "its own.")));
}

TEST(TimesheetCategoriesTest, EveryCategoryNeedsARule) {
    EXPECT_EQ(refusalOf({category("Billing", {})}),
              std::make_pair(CategoryProblem::noRule,
                             std::string("Category 'Billing' has no rule: give text:WORDS, app:NAME or "
                                         "entity:[KIND=]VALUE.")));
}

TEST(TimesheetCategoriesTest, ARuleNeedsAKnownPrefix) {
    for (const std::string rule : {"invoice", "Text:invoice", "apps:Mail", "", "entity"}) {
        EXPECT_EQ(refusalOf({category("Billing", {"app:Mail", rule})}),
                  std::make_pair(CategoryProblem::unknownPrefix,
                                 "Rule '" + rule + "' of category 'Billing' has no known prefix: use text:WORDS, "
                                 "app:NAME or entity:[KIND=]VALUE."));
    }
}

TEST(TimesheetCategoriesTest, UnusableRulesSayWhy) {
    const auto unusable = [](const std::string& rule, const std::string& message) {
        EXPECT_EQ(refusalOf({category("Billing", {rule})}), std::make_pair(CategoryProblem::unusableRule, message))
            << rule;
    };
    unusable("text:", "Rule 'text:' of category 'Billing' holds no word to look for: text:WORDS needs a word of "
                      "letters or digits.");
    unusable("text: \"\" ", "Rule 'text: \"\" ' of category 'Billing' holds no word to look for: text:WORDS needs "
                            "a word of letters or digits.");
    unusable("app:", "Rule 'app:' of category 'Billing' needs an application name after app:.");
    unusable("entity:", "Rule 'entity:' of category 'Billing' needs an entity value: entity:[KIND=]VALUE.");
    unusable("entity:person=", "Rule 'entity:person=' of category 'Billing' needs an entity value: "
                               "entity:[KIND=]VALUE.");
    unusable("entity:=Jane", "Rule 'entity:=Jane' of category 'Billing' has an empty kind before '=': "
                             "entity:[KIND=]VALUE.");
    unusable("text:" + std::string(100001, 'a'),
             "A text rule of category 'Billing' is 100001 bytes long; at most 100000 are allowed.");
}

TEST(TimesheetCategoriesTest, LongTextsAreCutInMessages) {
    const std::string rule = "nope:" + std::string(100, 'x');
    EXPECT_EQ(refusalOf({category("Billing", {rule})}).second,
              "Rule '" + rule.substr(0, 80) + "...' of category 'Billing' has no known prefix: use text:WORDS, "
              "app:NAME or entity:[KIND=]VALUE.");
}

TEST(TimesheetCategoriesTest, JSONCategoriesAreReadInOrder) {
    const auto categories = categoriesFromJSONText(
        R"([{"name": "Invoicing", "rules": ["text:invoice exporter", "app:QuickBooks"]},
            {"rules": [], "name": "Empty"}])",
        "The categories file 'c.json'");
    EXPECT_EQ(categories, (std::vector<TimesheetCategory>{category("Invoicing", {"text:invoice exporter", "app:QuickBooks"}),
                                                          category("Empty", {})}));
    EXPECT_TRUE(categoriesFromJSONText("[]", "x").empty());
}

TEST(TimesheetCategoriesTest, JSONOfAnotherShapeSaysWhere) {
    const auto shape = [](const std::string& text, const std::string& what) {
        EXPECT_EQ(refusal([&] { categoriesFromJSONText(text, "The categories file 'c.json'"); }),
                  std::make_pair(CategoryProblem::malformed,
                                 "The categories file 'c.json' must be an array of {\"name\": TEXT, \"rules\": "
                                 "[TEXT, ...]} objects: " + what + "."))
            << text;
    };
    shape(R"({"name": "A"})", "it is not an array");
    shape(R"([{"name": "A", "rules": []}, 3])", "[1] is not an object");
    shape(R"([{"rules": []}])", "[0].name is not a text");
    shape(R"([{"name": 1, "rules": []}])", "[0].name is not a text");
    shape(R"([{"name": "A"}])", "[0].rules is not an array");
    shape(R"([{"name": "A", "rules": "app:X"}])", "[0].rules is not an array");
    shape(R"([{"name": "A", "rules": ["app:X", null]}])", "[0].rules[1] is not a text");
    shape(R"([{"name": "A", "rules": [], "rule": []}])", "[0] has an unknown key 'rule'");
}

TEST(TimesheetCategoriesTest, TextThatIsNotJSONSaysWhereTheParserStopped) {
    EXPECT_EQ(refusal([] { categoriesFromJSONText("[{\"name\": \"A\",\n \"rules\": [}]", "The categories file 'c.json'"); }),
              std::make_pair(CategoryProblem::malformed,
                             std::string("The categories file 'c.json' is not valid JSON: parse error at line 2, "
                                         "column 12: syntax error while parsing value - unexpected '}'; expected "
                                         "'[', '{', or a literal.")));
    EXPECT_EQ(refusal([] { categoriesFromJSONText("", "F"); }).first, CategoryProblem::malformed);
    EXPECT_EQ(refusal([] { categoriesFromJSONText("[\"\xFF\"]", "F"); }).first, CategoryProblem::malformed);
}

TEST(TimesheetCategoriesTest, TheEchoListsNamesAndRules) {
    EXPECT_EQ(categoriesJSON({category("A", {"app:X", "text:y"})}).dump(),
              R"([{"name":"A","rules":["app:X","text:y"]}])");
}

}  // namespace
}  // namespace VarnholtQueryLib
