#include "selection/RowSelector.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace VarnholtQueryLib {
namespace {

using Entities = std::vector<std::pair<std::string, std::string>>;

// An index that knows, per term, the rows holding it, and records what it
// was asked. "*" and "!" hold no word.
class FakeIndex final : public FullTextMatchPort {
public:
    bool holdsWord(const std::string& text) override { return text != "*" && text != "!"; }

    std::vector<std::int64_t> rowidsMatching(const std::vector<MatchTerm>& terms, double from, double to) override {
        asked.push_back(terms);
        windows.push_back({from, to});
        std::vector<std::int64_t> matching;
        for (std::int64_t rowid = 1; rowid <= 10; ++rowid) {
            bool all = true;
            for (const MatchTerm& term : terms) {
                const auto& holders = rowsHolding[term.text];
                all = all && std::find(holders.begin(), holders.end(), rowid) != holders.end();
            }
            if (all) matching.push_back(rowid);
        }
        return matching;
    }

    std::map<std::string, std::vector<std::int64_t>> rowsHolding;
    std::vector<std::vector<MatchTerm>> asked;
    std::vector<std::pair<double, double>> windows;
};

class RowSelectorTest : public ::testing::Test {
protected:
    RowSelectorTest() {
        index_.rowsHolding["invoice"] = {1, 2, 3};
        index_.rowsHolding["exporter"] = {2, 3, 4};
        index_.rowsHolding["the parser"] = {5};
    }

    RowSelector resolve(const std::vector<RuleSet>& ruleSets) {
        return RowSelector::resolve(ruleSets, index_, 100, 200);
    }

    static std::optional<std::size_t> firstSet(RowSelector& selector, std::optional<std::int64_t> rowid,
                                               const std::vector<std::string>& apps = {},
                                               const Entities& entities = {}) {
        return selector.firstMatchingSet({rowid, apps, entities});
    }

    FakeIndex index_;
};

TEST_F(RowSelectorTest, ATextRuleSelectsTheRowsHoldingEveryTerm) {
    RowSelector selector = resolve({{TextRule{"invoice exporter"}}});
    EXPECT_EQ(index_.asked, (std::vector<std::vector<MatchTerm>>{{{"invoice", false}, {"exporter", false}}}));
    EXPECT_EQ(index_.windows, (std::vector<std::pair<double, double>>{{100, 200}}));
    EXPECT_FALSE(selector.selects({1, {}, {}}));
    EXPECT_TRUE(selector.selects({2, {}, {}}));
    EXPECT_TRUE(selector.selects({3, {}, {}}));
    EXPECT_FALSE(selector.selects({4, {}, {}}));
    EXPECT_TRUE(selector.readsRowids());
    EXPECT_FALSE(selector.readsApplications());
    EXPECT_FALSE(selector.readsEntities());
}

TEST_F(RowSelectorTest, TermsWithoutAWordAreLeftOut) {
    RowSelector selector = resolve({{TextRule{"* \"the parser\" !"}}});
    EXPECT_EQ(index_.asked, (std::vector<std::vector<MatchTerm>>{{{"the parser", true}}}));
    EXPECT_TRUE(selector.selects({5, {}, {}}));
}

TEST_F(RowSelectorTest, ATextRuleWithoutAnyWordIsRefusedWithItsPlace) {
    try {
        resolve({{ApplicationRule{"Xcode"}}, {EntityRule{{}, "Swift"}, TextRule{"* !"}}});
        FAIL() << "no word";
    } catch (const InvalidRule& invalid) {
        EXPECT_EQ(invalid.problem(), RuleProblem::noWord);
        EXPECT_EQ(invalid.given(), "* !");
        EXPECT_EQ(invalid.ruleSet(), 1u);
        EXPECT_EQ(invalid.rule(), 1u);
    }
    EXPECT_TRUE(index_.asked.empty());
}

TEST_F(RowSelectorTest, TheSameWordsAreLookedUpOnce) {
    RowSelector selector = resolve({{TextRule{"invoice"}}, {TextRule{"invoice"}, TextRule{"exporter"}}});
    EXPECT_EQ(index_.asked.size(), 2u);
    EXPECT_EQ(firstSet(selector, 1), 0u);
    EXPECT_EQ(firstSet(selector, 4), 1u);
    EXPECT_EQ(firstSet(selector, 5), std::nullopt);
}

TEST_F(RowSelectorTest, AnApplicationRuleComparesNamesByTheirKey) {
    RowSelector selector = resolve({{ApplicationRule{"xcode"}}});
    EXPECT_TRUE(selector.selects({std::nullopt, {"Safari", "XCODE"}, {}}));
    EXPECT_FALSE(selector.selects({std::nullopt, {"Xcode Beta"}, {}}));
    EXPECT_FALSE(selector.selects({std::nullopt, {}, {{"app", "Xcode"}}}));
    EXPECT_TRUE(selector.readsApplications());
    EXPECT_FALSE(selector.readsRowids());
    // Full Unicode lower-casing, as the name key does it.
    RowSelector accented = resolve({{ApplicationRule{"\xC3\x89" "diteur"}}});
    EXPECT_TRUE(accented.selects({std::nullopt, {"\xC3\xA9" "DITEUR"}, {}}));
}

TEST_F(RowSelectorTest, AnEntityRuleComparesTheValueByItsKeyAndTheKindExactly) {
    RowSelector anyKind = resolve({{EntityRule{std::nullopt, "swift"}}});
    EXPECT_TRUE(anyKind.selects({std::nullopt, {}, {{"programming_language", "Swift"}}}));
    EXPECT_TRUE(anyKind.selects({std::nullopt, {}, {{"company", "SWIFT"}}}));
    EXPECT_FALSE(anyKind.selects({std::nullopt, {"Swift"}, {}}));

    RowSelector ofKind = resolve({{EntityRule{"programming_language", "SWIFT"}}});
    EXPECT_TRUE(ofKind.selects({std::nullopt, {}, {{"app", "Xcode"}, {"programming_language", "swift"}}}));
    EXPECT_FALSE(ofKind.selects({std::nullopt, {}, {{"Programming_Language", "Swift"}}}));
    EXPECT_TRUE(ofKind.readsEntities());
}

TEST_F(RowSelectorTest, TheFirstSetWithAnEntityRuleIsKnown) {
    EXPECT_EQ(resolve({{ApplicationRule{"Mail"}}}).firstSetReadingEntities(), std::nullopt);
    EXPECT_EQ(resolve({{ApplicationRule{"Mail"}},
                       {ApplicationRule{"Xcode"}, EntityRule{std::nullopt, "Jira"}},
                       {EntityRule{std::nullopt, "Swift"}}})
                  .firstSetReadingEntities(),
              std::optional<std::size_t>(1));
}

TEST_F(RowSelectorTest, ARowGoesToTheFirstSetWithAMatchingRule) {
    RowSelector selector = resolve({
        {ApplicationRule{"Mail"}},
        {TextRule{"invoice"}, EntityRule{std::nullopt, "Swift"}},
        {ApplicationRule{"Xcode"}},
    });
    EXPECT_EQ(firstSet(selector, 1, {"Xcode", "Mail"}), 0u);
    EXPECT_EQ(firstSet(selector, 1, {"Xcode"}), 1u);
    EXPECT_EQ(firstSet(selector, 9, {"Xcode"}, {{"language", "swift"}}), 1u);
    EXPECT_EQ(firstSet(selector, 9, {"Xcode"}), 2u);
    EXPECT_EQ(firstSet(selector, 9, {"Safari"}), std::nullopt);
}

TEST_F(RowSelectorTest, NoRuleSetsSelectNothing) {
    RowSelector selector = resolve({});
    EXPECT_FALSE(selector.selects({1, {"Xcode"}, {{"app", "Xcode"}}}));
}

TEST_F(RowSelectorTest, ATextRuleWithoutTheRowsRowidIsAProgrammingError) {
    RowSelector selector = resolve({{TextRule{"invoice"}}});
    EXPECT_THROW(selector.selects({std::nullopt, {}, {}}), std::logic_error);
}

}  // namespace
}  // namespace VarnholtQueryLib
