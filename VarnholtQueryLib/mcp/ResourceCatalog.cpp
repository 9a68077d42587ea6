#include "mcp/ResourceCatalog.h"

#include "cli/CommandBuilders.h"
#include "mcp/CatalogLookup.h"
#include "mcp/ToolCommands.h"

namespace VarnholtQueryLib::MCP {

namespace {

constexpr std::string_view kDatePlaceholder = "{date}";

CommandRecipe statusRecipe() {
    return [](const LocalCalendar&, double) { return Command{Command::Status{true}}; };
}

// A summary of `first` to `last` (whole local days), or of today without
// them, within the budget the summary tool has by default: a document a host
// attaches should fit its context as the tool's answer does.
CommandRecipe summaryRecipe(std::optional<CalendarDate> first, std::optional<CalendarDate> last) {
    return [first, last](const LocalCalendar&, double) {
        SummaryCommandBuilder summary;
        if (first && last) {
            summary.from(first->text());
            summary.to(last->text());
        }
        summary.maxChars(kSummaryDefaultMaxChars);
        return Command{summary.build()};
    };
}

CommandRecipe todaySummaryRecipe() { return summaryRecipe(std::nullopt, std::nullopt); }

CommandRecipe daySummaryRecipe(const CalendarDate& date) { return summaryRecipe(date, date); }

CommandRecipe weekSummaryRecipe(const CalendarDate& date) {
    return summaryRecipe(date, date.plusDays(6));
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
        {"varnholt://summary/today", "today-summary", "Today's summary",
         "Where today's time went: active time, sessions, time per application and entity; the "
         "document of varnholt-query summary --max-chars 24000.",
         todaySummaryRecipe},
    };
    return catalog;
}

const std::vector<ResourceTemplateDefinition>& resourceTemplateCatalog() {
    static const std::vector<ResourceTemplateDefinition> catalog = {
        {"varnholt://summary/day/{date}", "day-summary", "A day's summary",
         "Where the time of one local day (yyyy-MM-dd) went; the document of varnholt-query "
         "summary --from DATE --to DATE --max-chars 24000.",
         daySummaryRecipe},
        {"varnholt://summary/week/{date}", "week-summary", "A week's summary",
         "Where the time of the seven local days from DATE (yyyy-MM-dd) went, day by day; the "
         "document of varnholt-query summary --from DATE --to DATE+6 --max-chars 24000.",
         weekSummaryRecipe},
        {"varnholt://timeline/day/{date}", "day-timeline", "A day's timeline",
         "Five-minute moments of one local day (yyyy-MM-dd); the document of varnholt-query "
         "range --from DATE --to DATE, which keeps the newest 5000 observations.",
         dayTimelineRecipe},
    };
    return catalog;
}

const ResourceDefinition* findResource(const std::string& uri) {
    return findInCatalog(resourceCatalog(), &ResourceDefinition::uri, uri);
}

const ResourceTemplateDefinition* findResourceTemplate(const std::string& uriTemplate) {
    return findInCatalog(resourceTemplateCatalog(), &ResourceTemplateDefinition::uriTemplate,
                         uriTemplate);
}

ResourceTarget resolveResource(const std::string& uri) {
    if (const ResourceDefinition* resource = findResource(uri)) return resource->recipe();
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
