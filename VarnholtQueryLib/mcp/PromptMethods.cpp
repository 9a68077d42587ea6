// prompts/list and prompts/get.

#include <algorithm>

#include "mcp/MethodTable.h"
#include "mcp/PromptCatalog.h"

namespace VarnholtQueryLib::MCP {

namespace {

// The arguments of a prompts/get as the prompt accepts them, or why not.
std::variant<PromptArguments, std::string> checkedArguments(const PromptDefinition& prompt,
                                                            const JSON& params) {
    PromptArguments checked;
    const auto given = params.find("arguments");
    if (given != params.end() && !given->is_null()) {
        if (!given->is_object()) return std::string("arguments must be an object");
        for (const auto& item : given->items()) {
            const std::string& name = item.key();
            const JSON& value = item.value();
            const bool known = std::any_of(prompt.arguments.begin(), prompt.arguments.end(),
                                           [&](const auto& a) { return a.name == name; });
            if (!known) return "Unknown argument '" + name + "' of prompt " + prompt.name;
            if (!value.is_string()) return "argument " + name + " must be a string";
            checked[name] = value.get<std::string>();
        }
    }
    for (const auto& argument : prompt.arguments) {
        if (argument.required && !checked.count(argument.name)) {
            return "argument " + argument.name + " is required";
        }
    }
    return checked;
}

}  // namespace

MethodOutcome listPromptsMethod(const ServerServices&, const JSON& params,
                                const RequestTerms& terms) {
    if (auto refused = refuseForeignCursor(params)) return *refused;
    JSON prompts = JSON::array();
    for (const auto& prompt : promptCatalog()) prompts.push_back(describePrompt(prompt, terms.revision));
    return MethodOutcome::success({{"prompts", std::move(prompts)}});
}

MethodOutcome getPromptMethod(const ServerServices& services, const JSON& params,
                              const RequestTerms&) {
    if (!params.contains("name") || !params["name"].is_string()) {
        return MethodOutcome::invalidParams("name must be a string");
    }
    const std::string name = params["name"].get<std::string>();
    const PromptDefinition* prompt = findPrompt(name);
    if (!prompt) return MethodOutcome::invalidParams("Unknown prompt: " + name);
    const auto arguments = checkedArguments(*prompt, params);
    if (const auto* problem = std::get_if<std::string>(&arguments)) {
        return MethodOutcome::invalidParams(*problem);
    }
    PromptMessages messages = prompt->build(services.documents, std::get<PromptArguments>(arguments));
    if (const auto* problem = std::get_if<std::string>(&messages)) {
        return MethodOutcome::invalidParams(*problem);
    }
    return MethodOutcome::success(
        {{"description", prompt->description}, {"messages", std::move(std::get<JSON>(messages))}});
}

}  // namespace VarnholtQueryLib::MCP
