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
        if (findResource(uri)) return false;
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
                             const RequestTerms&) {
    const auto argument = params.find("argument");
    if (argument == params.end() || !argument->is_object() || !argument->contains("name") ||
        !(*argument)["name"].is_string() || !argument->contains("value") ||
        !(*argument)["value"].is_string()) {
        return MethodOutcome::invalidParams("argument must be an object with a name and a value");
    }
    const std::string value = (*argument)["value"].get<std::string>();
    const auto dated = takesDate(params.contains("ref") ? params["ref"] : JSON(), (*argument)["name"]);
    if (const auto* refused = std::get_if<MethodOutcome>(&dated)) return *refused;

    std::vector<std::string> days;
    // One day more than offered tells whether there are more.
    if (std::get<bool>(dated)) days = services.documents.activeDays(value, kOfferedDays + 1);
    const bool hasMore = days.size() > kOfferedDays;
    if (hasMore) days.resize(kOfferedDays);
    JSON completion = {{"values", days}, {"hasMore", hasMore}};
    // The total is known only when nothing more is left.
    if (!hasMore) completion["total"] = days.size();
    return MethodOutcome::success({{"completion", std::move(completion)}});
}

}  // namespace VarnholtQueryLib::MCP
