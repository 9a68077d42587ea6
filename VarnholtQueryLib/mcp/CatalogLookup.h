#pragma once

#include <iterator>
#include <string_view>

namespace VarnholtQueryLib::MCP {

// The look-up every catalog of the server offers (tools, prompts, resources,
// resource templates, methods): the entry of `catalog` whose `key` member (a
// name or a URI, as std::string or const char*) is exactly `wanted`, or null.
// Catalogs hold a handful of entries, so a walk is the whole search; the
// first of two equal keys would win, and the catalogs' tests keep keys
// unique.
template <typename Catalog, typename Key>
auto findInCatalog(const Catalog& catalog, Key key, std::string_view wanted)
    -> decltype(&*std::begin(catalog)) {
    for (const auto& entry : catalog) {
        if (std::string_view(entry.*key) == wanted) return &entry;
    }
    return nullptr;
}

}  // namespace VarnholtQueryLib::MCP
