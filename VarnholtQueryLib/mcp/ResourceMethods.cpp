// resources/list, resources/templates/list and resources/read; the time
// view among the resources for a client that shows MCP Apps.

#include "mcp/DocumentContent.h"
#include "mcp/MethodTable.h"
#include "mcp/ResourceCatalog.h"
#include "mcp/TimeViewApp.h"

namespace VarnholtQueryLib::MCP {

namespace {

template <typename Definition>
JSON describe(const Definition& definition, ProtocolRevision revision) {
    JSON described = {{"name", definition.name},
                      {"description", definition.description},
                      {"mimeType", kDocumentMimeType}};
    if (hasStructuredToolOutput(revision)) described["title"] = definition.title;
    return described;
}

}  // namespace

MethodOutcome listResourcesMethod(const ServerServices&, const JSON& params,
                                  const RequestTerms& terms) {
    if (auto refused = refuseForeignCursor(params)) return *refused;
    JSON resources = JSON::array();
    for (const auto& resource : resourceCatalog()) {
        JSON described = describe(resource, terms.revision);
        described["uri"] = resource.uri;
        resources.push_back(std::move(described));
    }
    if (terms.appsExtension) resources.push_back(timeViewResource(terms.revision));
    return MethodOutcome::success({{"resources", std::move(resources)}});
}

MethodOutcome listResourceTemplatesMethod(const ServerServices&, const JSON& params,
                                          const RequestTerms& terms) {
    if (auto refused = refuseForeignCursor(params)) return *refused;
    JSON templates = JSON::array();
    for (const auto& definition : resourceTemplateCatalog()) {
        JSON described = describe(definition, terms.revision);
        described["uriTemplate"] = definition.uriTemplate;
        templates.push_back(std::move(described));
    }
    return MethodOutcome::success({{"resourceTemplates", std::move(templates)}});
}

MethodOutcome readResourceMethod(const ServerServices& services, const JSON& params,
                                 const RequestTerms& terms) {
    if (!params.contains("uri") || !params["uri"].is_string()) {
        return MethodOutcome::invalidParams("uri must be a string");
    }
    const std::string uri = params["uri"].get<std::string>();
    // The view is there only for a client that shows it; to any other it is
    // as unknown as before.
    if (terms.appsExtension && uri == timeViewURI()) {
        return MethodOutcome::success({{"contents", JSON::array({timeViewContents()})}});
    }
    const ResourceTarget target = resolveResource(uri);
    if (std::holds_alternative<UnknownResource>(target)) {
        return MethodOutcome::failure(resourceNotFoundCode(terms.revision), "Resource not found",
                                      JSON{{"uri", uri}});
    }
    if (const auto* malformed = std::get_if<MalformedResourceDate>(&target)) {
        return MethodOutcome::invalidParams(malformed->message, JSON{{"uri", uri}});
    }
    // A document that cannot be read (no database, a locked one) is still
    // what varnholt-query prints: its error envelope is the content.
    const ToolAnswer answer = services.documents.answer(std::get<CommandRecipe>(target));
    const auto text = printedDocument(answer.document);
    if (!text) {
        return MethodOutcome::failure(ErrorCode::internalError,
                                      "Internal error: Failed to serialize JSON");
    }
    return MethodOutcome::success(
        {{"contents", JSON::array({textResourceContents(uri, *text)})}});
}

}  // namespace VarnholtQueryLib::MCP
