#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "mcp/CalendarDate.h"
#include "mcp/DocumentSource.h"

namespace VarnholtQueryLib::MCP {

// The documents a host can attach to a conversation, each one the document
// varnholt-query prints for an equivalent command line, read from the
// database anew on every read:
//
//   varnholt://status                  varnholt-query status --json
//   varnholt://summary/today           varnholt-query summary --max-chars 24000
//   varnholt://summary/day/{date}      varnholt-query summary --from DATE --to DATE --max-chars 24000
//   varnholt://summary/week/{date}     varnholt-query summary --from DATE --to DATE+6 --max-chars 24000
//   varnholt://timeline/day/{date}     varnholt-query range --from DATE --to DATE
//
// `{date}` is a local date, yyyy-MM-dd; a week is the seven days from it.
// Summaries keep the summary tool's default budget, so that a document a
// host attaches fits its context as the tool's answer does.

// A resource with a fixed URI.
struct ResourceDefinition {
    std::string uri;
    std::string name;
    std::string title;
    std::string description;
    CommandRecipe (*recipe)();
};

// A family of resources keyed by a local date.
struct ResourceTemplateDefinition {
    std::string uriTemplate;  // ends in "{date}"
    std::string name;
    std::string title;
    std::string description;
    CommandRecipe (*recipe)(const CalendarDate& date);

    // The URI for `date`.
    std::string uriFor(const CalendarDate& date) const;
};

// The resources and the templates, in the order the list methods show them.
const std::vector<ResourceDefinition>& resourceCatalog();
const std::vector<ResourceTemplateDefinition>& resourceTemplateCatalog();

// The resource whose uri is `uri`, or null.
const ResourceDefinition* findResource(const std::string& uri);
// The template whose uriTemplate is `uriTemplate`, or null.
const ResourceTemplateDefinition* findResourceTemplate(const std::string& uriTemplate);

// What a URI names.
struct UnknownResource {};
struct MalformedResourceDate {
    std::string message;  // says which date form is expected
};
using ResourceTarget = std::variant<CommandRecipe, UnknownResource, MalformedResourceDate>;

// The command behind `uri`: a resource's, or a template's for the date in
// place of "{date}". A URI with a template's prefix and something other than
// a real yyyy-MM-dd date after it is malformed; anything else is unknown.
ResourceTarget resolveResource(const std::string& uri);

}  // namespace VarnholtQueryLib::MCP
