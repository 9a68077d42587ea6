#include "mcp/ResourceCatalog.h"

#include "cli/CommandBuilders.h"

namespace VarnholtQueryLib::MCP {

namespace {

constexpr std::string_view kDatePlaceholder = "{date}";

CommandRecipe statusRecipe() {
    return [](const LocalCalendar&, double) { return Command{Command::Status{true}}; };
}

CommandRecipe dayTimelineRecipe(const CalendarDate& date) {
    const std::string day = date.text();
    return [day](const LocalCalendar&, double) {
        return Command{timelineRangeCommand(day, day, false, std::nullopt)};
    };
}

std::string prefixOf(const ResourceTemplateDefinition& definition) {
    return definition.uriTemplate.substr(0, definition.uriTemplate.size() - kDatePlaceholder.size());
}

}  // namespace

std::string ResourceTemplateDefinition::uriFor(const CalendarDate& date) const {
    return prefixOf(*this) + date.text();
}

const std::vector<ResourceDefinition>& resourceCatalog() {
    static const std::vector<ResourceDefinition> catalog = {
        {"varnholt://status", "status", "Recorder status",
         "The recorder's health: database facts, pipeline metrics, a diagnosis, the bridge and "
         "log tails; the document of varnholt-query status --json.",
         statusRecipe},
    };
    return catalog;
}

const std::vector<ResourceTemplateDefinition>& resourceTemplateCatalog() {
    static const std::vector<ResourceTemplateDefinition> catalog = {
        {"varnholt://timeline/day/{date}", "day-timeline", "A day's timeline",
         "Five-minute moments of one local day (yyyy-MM-dd); the document of varnholt-query "
         "range --from DATE --to DATE, which keeps the newest 5000 observations.",
         dayTimelineRecipe},
    };
    return catalog;
}

const ResourceTemplateDefinition* findResourceTemplate(const std::string& uriTemplate) {
    for (const auto& definition : resourceTemplateCatalog()) {
        if (definition.uriTemplate == uriTemplate) return &definition;
    }
    return nullptr;
}

ResourceTarget resolveResource(const std::string& uri) {
    for (const auto& resource : resourceCatalog()) {
        if (resource.uri == uri) return resource.recipe();
    }
    for (const auto& definition : resourceTemplateCatalog()) {
        const std::string prefix = prefixOf(definition);
        if (uri.size() < prefix.size() || uri.compare(0, prefix.size(), prefix) != 0) continue;
        const auto date = CalendarDate::parse(std::string_view(uri).substr(prefix.size()));
        if (!date) {
            return MalformedResourceDate{"the date in " + uri +
                                         " must be a local date of the form yyyy-MM-dd"};
        }
        return definition.recipe(*date);
    }
    return UnknownResource{};
}

}  // namespace VarnholtQueryLib::MCP
