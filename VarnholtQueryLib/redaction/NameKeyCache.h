#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>

namespace VarnholtQueryLib {

// DeduplicationService::nameKey for the names of rows that stream by, each
// distinct name folded once: a range names the same few applications and
// entities thousands of times, and folding is a call into ICU.
//
// Keeps at most kKeysKept keys, plenty for the names of a range, and starts
// again empty when a database names a new one in every row. A returned
// reference is valid until the next call. Single-threaded.
class NameKeyCache {
public:
    static constexpr std::size_t kKeysKept = 8192;

    const std::string& keyOf(const std::string& name);

private:
    std::unordered_map<std::string, std::string> keyByName_;
};

}  // namespace VarnholtQueryLib
