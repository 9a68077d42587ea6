#include "mcp/ResourceCatalog.h"

#include <gtest/gtest.h>

#include "FakeDocumentSource.h"

using namespace VarnholtQueryLib;
using namespace VarnholtQueryLib::MCP;

namespace {

// The command `uri` stands for, as FakeDocumentSource describes it, or why not.
std::string commandFor(const std::string& uri) {
    const ResourceTarget target = resolveResource(uri);
    if (std::holds_alternative<UnknownResource>(target)) return "unknown";
    if (const auto* malformed = std::get_if<MalformedResourceDate>(&target)) return "malformed: " + malformed->message;
    const FakeDocumentSource documents;
    return documents.answer(std::get<CommandRecipe>(target)).document["command"].get<std::string>();
}

}  // namespace

TEST(ResourceCatalogTest, EachResourceIsACommand) {
    EXPECT_EQ(commandFor("varnholt://status"), "status");
    EXPECT_EQ(commandFor("varnholt://timeline/day/2026-03-31"), "range 2026-03-31 2026-03-31");
    EXPECT_EQ(commandFor("varnholt://summary/today"), "summary today max 24000");
    EXPECT_EQ(commandFor("varnholt://summary/day/2026-03-31"), "summary 2026-03-31 2026-03-31 max 24000");
}

TEST(ResourceCatalogTest, AWeekIsTheSevenDaysFromItsDate) {
    EXPECT_EQ(commandFor("varnholt://summary/week/2026-03-30"), "summary 2026-03-30 2026-04-05 max 24000");
    EXPECT_EQ(commandFor("varnholt://summary/week/2026-12-28"), "summary 2026-12-28 2027-01-03 max 24000");
    EXPECT_EQ(commandFor("varnholt://summary/week/2026-13-01").rfind("malformed", 0), 0u);
}

TEST(ResourceCatalogTest, EveryListedURIResolves) {
    for (const auto& resource : resourceCatalog()) {
        EXPECT_NE(commandFor(resource.uri), "unknown") << resource.uri;
    }
    for (const auto& definition : resourceTemplateCatalog()) {
        EXPECT_EQ(findResourceTemplate(definition.uriTemplate), &definition);
        const std::string uri = definition.uriFor({2026, 2, 28});
        EXPECT_EQ(uri.substr(uri.size() - 10), "2026-02-28");
        EXPECT_NE(commandFor(uri), "unknown") << uri;
        EXPECT_EQ(commandFor(uri).rfind("malformed", 0), std::string::npos) << uri;
    }
}

TEST(ResourceCatalogTest, ABadDateIsMalformedAndAnUnknownURIUnknown) {
    EXPECT_EQ(commandFor("varnholt://timeline/day/2026-02-29"),
              "malformed: the date in varnholt://timeline/day/2026-02-29 must be a local date of the form yyyy-MM-dd");
    EXPECT_EQ(commandFor("varnholt://timeline/day/"),
              "malformed: the date in varnholt://timeline/day/ must be a local date of the form yyyy-MM-dd");
    EXPECT_EQ(commandFor("varnholt://timeline/day/{date}").rfind("malformed", 0), 0u);
    for (const char* uri : {"varnholt://nothing", "varnholt://status/", "varnholt://STATUS", "", "varnholt://timeline/day",
                            "file:///status", "varnholt://timeline/week/2026-03-30"}) {
        EXPECT_EQ(commandFor(uri), "unknown") << uri;
    }
    EXPECT_EQ(findResourceTemplate("varnholt://status"), nullptr);
}
