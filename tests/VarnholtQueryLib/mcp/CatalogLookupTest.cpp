#include "mcp/CatalogLookup.h"

#include <array>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace VarnholtQueryLib::MCP;

namespace {

struct NamedEntry {
    std::string name;
    int value = 0;
};

struct TableEntry {
    const char* name;
    int value;
};

}  // namespace

TEST(CatalogLookupTest, FindsTheEntryWhoseKeyIsExactlyTheName) {
    const std::vector<NamedEntry> catalog = {{"status", 1}, {"search", 2}, {"summary", 3}};
    EXPECT_EQ(findInCatalog(catalog, &NamedEntry::name, "search"), &catalog[1]);
    EXPECT_EQ(findInCatalog(catalog, &NamedEntry::name, "summary"), &catalog[2]);
    for (const char* other : {"", "Search", "searc", "search ", "summary2"}) {
        EXPECT_EQ(findInCatalog(catalog, &NamedEntry::name, other), nullptr) << other;
    }
}

TEST(CatalogLookupTest, TablesOfCStringsAndTheFirstOfEqualKeys) {
    const std::array<TableEntry, 3> table = {{{"tools/list", 1}, {"tools/call", 2}, {"tools/call", 3}}};
    const TableEntry* found = findInCatalog(table, &TableEntry::name, std::string("tools/call"));
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->value, 2);
    EXPECT_EQ(findInCatalog(std::array<TableEntry, 0>{}, &TableEntry::name, "tools/list"), nullptr);
}
