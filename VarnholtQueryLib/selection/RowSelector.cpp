#include "selection/RowSelector.h"

#include <algorithm>
#include <map>
#include <stdexcept>

#include "redaction/DeduplicationService.h"

namespace VarnholtQueryLib {

RowSelector RowSelector::resolve(const std::vector<RuleSet>& ruleSets, FullTextMatchPort& index, double from,
                                 double to) {
    RowSelector selector;
    // The same words in several rules are looked up once.
    std::map<std::string, std::size_t> matchOfWords;
    for (std::size_t set = 0; set < ruleSets.size(); ++set) {
        std::vector<CompiledRule> compiled;
        for (std::size_t place = 0; place < ruleSets[set].size(); ++place) {
            const SelectionRule& rule = ruleSets[set][place];
            CompiledRule entry;
            if (const auto* text = std::get_if<TextRule>(&rule)) {
                entry.kind = Kind::text;
                auto found = matchOfWords.find(text->words);
                if (found == matchOfWords.end()) {
                    std::vector<MatchTerm> terms;
                    for (MatchTerm& term : matchTermsOf(text->words)) {
                        if (index.holdsWord(term.text)) terms.push_back(std::move(term));
                    }
                    if (terms.empty()) throw InvalidRule(RuleProblem::noWord, text->words, set, place);
                    selector.matches_.push_back(index.rowidsMatching(terms, from, to));
                    found = matchOfWords.emplace(text->words, selector.matches_.size() - 1).first;
                }
                entry.match = found->second;
                selector.readsRowids_ = true;
            } else if (const auto* application = std::get_if<ApplicationRule>(&rule)) {
                entry.kind = Kind::application;
                entry.key = DeduplicationService::nameKey(application->name);
                selector.readsApplications_ = true;
            } else {
                const auto& entity = std::get<EntityRule>(rule);
                entry.kind = Kind::entity;
                entry.key = DeduplicationService::nameKey(entity.value);
                entry.entityKind = entity.kind;
                selector.readsEntities_ = true;
                if (!selector.firstSetReadingEntities_) selector.firstSetReadingEntities_ = set;
            }
            compiled.push_back(std::move(entry));
        }
        selector.sets_.push_back(std::move(compiled));
    }
    return selector;
}

bool RowSelector::matches(const CompiledRule& rule, const Row& row) {
    switch (rule.kind) {
        case Kind::text: {
            if (!row.rowid) throw std::logic_error("A text rule needs the row's rowid");
            const std::vector<std::int64_t>& rowids = matches_[rule.match];
            return std::binary_search(rowids.begin(), rowids.end(), *row.rowid);
        }
        case Kind::application:
            return std::any_of(row.apps.begin(), row.apps.end(),
                               [&](const std::string& name) { return keys_.keyOf(name) == rule.key; });
        case Kind::entity:
            return std::any_of(row.entities.begin(), row.entities.end(), [&](const auto& entity) {
                return (!rule.entityKind || entity.first == *rule.entityKind) && keys_.keyOf(entity.second) == rule.key;
            });
    }
    return false;
}

std::optional<std::size_t> RowSelector::firstMatchingSet(const Row& row) {
    for (std::size_t set = 0; set < sets_.size(); ++set) {
        for (const CompiledRule& rule : sets_[set]) {
            if (matches(rule, row)) return set;
        }
    }
    return std::nullopt;
}

}  // namespace VarnholtQueryLib
