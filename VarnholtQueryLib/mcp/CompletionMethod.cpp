// completion/complete: the recent days with activity, for every argument
// that is a local date.

#include "mcp/MethodTable.h"
#include "mcp/PromptCatalog.h"
#include "mcp/ResourceCatalog.h"

namespace VarnholtQueryLib::MCP {

namespace {

// How many days with activity a completion offers: two working weeks.
constexpr std::size_t kOfferedDays = 10;

// Whether the argument `name` of what `reference` names takes a date, or the
// error when the reference names nothing of ours.
std::variant<bool, MethodOutcome> takesDate(const JSON& reference, const std::string& name) {
    if (!reference.is_object() || !reference.contains("type") || !reference["type"].is_string()) {
        return MethodOutcome::invalidParams("ref must be an object with a type");
    }
    const std::string type = reference["type"].get<std::string>();
    if (type == "ref/resource") {
        if (!reference.contains("uri") || !reference["uri"].is_string()) {
            return MethodOutcome::invalidParams("ref/resource needs a uri");
        }
        const std::string uri = reference["uri"].get<std::string>();
        if (findResourceTemplate(uri)) return name == "date";
        for (const auto& resource : resourceCatalog()) {
            if (resource.uri == uri) return false;
        }
        return MethodOutcome::invalidParams("Unknown resource template: " + uri);
    }
    if (type == "ref/prompt") {
        if (!reference.contains("name") || !reference["name"].is_string()) {
            return MethodOutcome::invalidParams("ref/prompt needs a name");
        }
        const std::string promptName = reference["name"].get<std::string>();
        const PromptDefinition* prompt = findPrompt(promptName);
        if (!prompt) return MethodOutcome::invalidParams("Unknown prompt: " + promptName);
        for (const auto& argument : prompt->arguments) {
            if (argument.name == name) return argument.completesWithActiveDays;
        }
        return false;
    }
    return MethodOutcome::invalidParams("Unknown reference type: " + type);
}

}  // namespace

MethodOutcome completeMethod(const ServerServices& services, const JSON& params,
                             ProtocolRevision) {
    const auto argument = params.find("argument");
    if (argument == params.end() || !argument->is_object() || !argument->contains("name") ||
        !(*argument)["name"].is_string() || !argument->contains("value") ||
        !(*argument)["value"].is_string()) {
        return MethodOutcome::invalidParams("argument must be an object with a name and a value");
    }
    const std::string value = (*argument)["value"].get<std::string>();
    const auto dated = takesDate(params.contains("ref") ? params["ref"] : JSON(), (*argument)["name"]);
    if (const auto* refused = std::get_if<MethodOutcome>(&dated)) return *refused;

    JSON values = JSON::array();
    if (std::get<bool>(dated)) {
        for (const std::string& day : services.documents.activeDays(kOfferedDays)) {
            if (day.compare(0, value.size(), value) == 0) values.push_back(day);
        }
    }
    const std::size_t total = values.size();
    return MethodOutcome::success(
        {{"completion", {{"values", std::move(values)}, {"total", total}, {"hasMore", false}}}});
}

}  // namespace VarnholtQueryLib::MCP
