#include "mcp/ToolArguments.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "cli/CLIError.h"

namespace VarnholtQueryLib::MCP {

namespace {

bool isIntegral(const JSON& value) {
    if (value.is_number_integer() || value.is_number_unsigned()) return true;
    if (!value.is_number_float()) return false;
    const double number = value.get<double>();
    return std::isfinite(number) && std::trunc(number) == number;
}

// The type of an array's items: strings, unless the schema says objects.
std::string itemType(const JSON& property) {
    const auto items = property.find("items");
    if (items == property.end()) return "string";
    return items->value("type", "string") == "object" ? "object" : "string";
}

bool hasType(const JSON& value, const JSON& property) {
    const std::string type = property.at("type").get<std::string>();
    if (type == "string") return value.is_string();
    if (type == "boolean") return value.is_boolean();
    if (type == "integer") return isIntegral(value);
    if (type == "array") {
        const bool objects = itemType(property) == "object";
        return value.is_array() && std::all_of(value.begin(), value.end(), [&](const JSON& item) {
                   return objects ? item.is_object() : item.is_string();
               });
    }
    return false;
}

std::string typeInWords(const JSON& property) {
    const std::string type = property.at("type").get<std::string>();
    if (type == "string") return "a string";
    if (type == "integer") return "an integer";
    if (type == "array") return "an array of " + itemType(property) + "s";
    return "true or false";
}

std::string declaredNames(const JSON& properties) {
    std::string names;
    for (const auto& [name, property] : properties.items()) {
        names += (names.empty() ? "" : ", ") + name;
    }
    return names.empty() ? "none" : names;
}

}  // namespace

ToolArguments::ToolArguments(const JSON& arguments, const JSON& inputSchema)
    : arguments_(arguments.is_object() ? arguments : JSON::object()) {
    const JSON& properties = inputSchema.at("properties");
    // nlohmann::json keeps keys sorted, so the first error is the same for
    // every order the caller wrote the arguments in.
    for (const auto& [name, value] : arguments_.items()) {
        const auto property = properties.find(name);
        if (property == properties.end()) {
            throw CLIError::unknownError("Unknown argument '" + name +
                                         "'. Arguments: " + declaredNames(properties) + ".");
        }
        if (!value.is_null() && !hasType(value, *property)) {
            throw CLIError::unknownError("Argument '" + name + "' must be " + typeInWords(*property) +
                                         ".");
        }
    }
}

const JSON* ToolArguments::given(const std::string& name) const {
    const auto value = arguments_.find(name);
    if (value == arguments_.end() || value->is_null()) return nullptr;
    return &*value;
}

std::optional<std::string> ToolArguments::text(const std::string& name) const {
    const JSON* value = given(name);
    if (!value) return std::nullopt;
    return value->get<std::string>();
}

std::optional<std::int64_t> ToolArguments::integer(const std::string& name) const {
    const JSON* value = given(name);
    if (!value) return std::nullopt;
    constexpr auto kLargest = std::numeric_limits<std::int64_t>::max();
    constexpr auto kSmallest = std::numeric_limits<std::int64_t>::min();
    // is_number_integer() is true for unsigned numbers too, so they go first.
    if (value->is_number_unsigned()) {
        const std::uint64_t number = value->get<std::uint64_t>();
        return number > static_cast<std::uint64_t>(kLargest) ? kLargest
                                                              : static_cast<std::int64_t>(number);
    }
    if (value->is_number_integer()) return value->get<std::int64_t>();
    const double number = value->get<double>();
    if (number >= 9223372036854775808.0) return kLargest;
    if (number < -9223372036854775808.0) return kSmallest;
    return static_cast<std::int64_t>(number);
}

std::optional<std::vector<std::string>> ToolArguments::texts(const std::string& name) const {
    const JSON* value = given(name);
    if (!value) return std::nullopt;
    std::vector<std::string> list;
    for (const JSON& item : *value) list.push_back(item.get<std::string>());
    return list;
}

const JSON* ToolArguments::value(const std::string& name) const { return given(name); }

bool ToolArguments::flag(const std::string& name) const {
    const JSON* value = given(name);
    return value && value->get<bool>();
}

}  // namespace VarnholtQueryLib::MCP
