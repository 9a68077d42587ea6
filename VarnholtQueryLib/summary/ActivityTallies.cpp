#include "summary/ActivityTallies.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

namespace VarnholtQueryLib {

namespace {

// One key per (kind, value), unambiguous whatever the texts hold, written
// into `key`.
void writePairKey(const std::string& kind, const std::string& value, std::string& key) {
    key = std::to_string(kind.size());
    key += ':';
    key += kind;
    key += value;
}

}  // namespace

bool ranksBefore(const ApplicationTime& a, const ApplicationTime& b) {
    const auto secondsA = wholeSeconds(a.seconds);
    const auto secondsB = wholeSeconds(b.seconds);
    if (secondsA != secondsB) return secondsA > secondsB;
    return a.name < b.name;
}

bool ranksBefore(const EntityTime& a, const EntityTime& b) {
    const auto secondsA = wholeSeconds(a.seconds);
    const auto secondsB = wholeSeconds(b.seconds);
    if (secondsA != secondsB) return secondsA > secondsB;
    if (a.kind != b.kind) return a.kind < b.kind;
    return a.value < b.value;
}

void ApplicationTally::add(const std::vector<std::string>& apps, double cover) {
    std::vector<std::size_t>& listed = listed_;
    listed.clear();
    for (const std::string& name : apps) {
        const std::string& key = keys_.keyOf(name);
        auto found = byKey_.find(key);
        if (found == byKey_.end()) {
            // Rows arrive oldest first, so the first spelling met is the
            // earliest row's.
            found = byKey_.emplace(key, applications_.size()).first;
            applications_.push_back({name, 0, 0});
        }
        const std::size_t application = found->second;
        if (std::find(listed.begin(), listed.end(), application) != listed.end()) continue;
        listed.push_back(application);
        applications_[application].seconds += cover;
        ++applications_[application].observationCount;
    }
}

std::vector<ApplicationTime> ApplicationTally::ranked() const {
    std::vector<ApplicationTime> ranking = applications_;
    std::sort(ranking.begin(), ranking.end(),
              [](const ApplicationTime& a, const ApplicationTime& b) { return ranksBefore(a, b); });
    return ranking;
}

EntityTally::EntityTally(std::optional<std::string> kind) : kind_(std::move(kind)) {}

void EntityTally::add(const std::vector<EntityPair>& entities, double time, double cover) {
    std::vector<std::size_t>& entitiesListed = listed_;
    entitiesListed.clear();
    // A spelling the row lists twice counts once. A row lists a handful of
    // entities, where looking back is quicker than a set; a set keeps a row
    // of thousands from taking quadratic time.
    constexpr std::size_t kLookBackAtMost = 64;
    std::unordered_set<std::string> spellingsListed;
    for (auto pair = entities.begin(); pair != entities.end(); ++pair) {
        if (kind_ && pair->first != *kind_) continue;
        if (entities.size() <= kLookBackAtMost) {
            if (std::find(entities.begin(), pair, *pair) != pair) continue;
        } else {
            writePairKey(pair->first, pair->second, key_);
            if (!spellingsListed.insert(key_).second) continue;
        }
        writePairKey(pair->first, keys_.keyOf(pair->second), key_);
        auto found = byKey_.find(key_);
        if (found == byKey_.end()) {
            found = byKey_.emplace(key_, entities_.size()).first;
            entities_.push_back({{pair->first, "", 0, 0, time, time}, {}});
        }
        Entity& entity = entities_[found->second];
        // Every spelling the row holds counts for that spelling; the row
        // counts once for the entity.
        auto spelling = std::find_if(entity.spellings.begin(), entity.spellings.end(),
                                     [&](const Spelling& known) { return known.value == pair->second; });
        if (spelling == entity.spellings.end()) {
            entity.spellings.push_back({pair->second, 0});
            spelling = entity.spellings.end() - 1;
        }
        ++spelling->rows;
        if (std::find(entitiesListed.begin(), entitiesListed.end(), found->second) != entitiesListed.end()) continue;
        entitiesListed.push_back(found->second);
        entity.time.seconds += cover;
        ++entity.time.count;
        entity.time.lastSeen = time;
    }
}

std::vector<EntityTime> EntityTally::ranked() const {
    std::vector<EntityTime> ranking;
    ranking.reserve(entities_.size());
    for (const Entity& entity : entities_) {
        EntityTime time = entity.time;
        const Spelling* most = &entity.spellings.front();
        for (const Spelling& spelling : entity.spellings) {
            if (spelling.rows > most->rows) most = &spelling;
        }
        time.value = most->value;
        ranking.push_back(std::move(time));
    }
    std::sort(ranking.begin(), ranking.end(), [](const EntityTime& a, const EntityTime& b) { return ranksBefore(a, b); });
    return ranking;
}

}  // namespace VarnholtQueryLib
