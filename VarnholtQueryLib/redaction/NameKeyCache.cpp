#include "redaction/NameKeyCache.h"

#include "redaction/DeduplicationService.h"

namespace VarnholtQueryLib {

const std::string& NameKeyCache::keyOf(const std::string& name) {
    auto found = keyByName_.find(name);
    if (found == keyByName_.end()) {
        if (keyByName_.size() >= kKeysKept) keyByName_.clear();
        found = keyByName_.emplace(name, DeduplicationService::nameKey(name)).first;
    }
    return found->second;
}

}  // namespace VarnholtQueryLib
