#include "JSONSchemaCheck.h"

#include <algorithm>
#include <set>

namespace VarnholtTestSupport {

namespace {

using nlohmann::json;

bool hasType(const json& value, const std::string& type) {
    if (type == "object") return value.is_object();
    if (type == "array") return value.is_array();
    if (type == "string") return value.is_string();
    if (type == "boolean") return value.is_boolean();
    if (type == "null") return value.is_null();
    if (type == "integer") return value.is_number_integer() || value.is_number_unsigned();
    if (type == "number") return value.is_number();
    return false;
}

void check(const json& value, const json& schema, const std::string& path,
           std::vector<std::string>& violations) {
    static const std::set<std::string> kKnown = {
        "type",  "enum",    "const",   "properties", "required",   "additionalProperties",
        "items", "minimum", "maximum", "default",    "description", "anyOf"};
    for (const auto& [keyword, unused] : schema.items()) {
        if (!kKnown.count(keyword)) violations.push_back(path + ": unchecked keyword " + keyword);
    }
    if (const auto alternatives = schema.find("anyOf"); alternatives != schema.end()) {
        std::vector<std::string> closest;
        bool matched = false;
        for (const auto& alternative : *alternatives) {
            std::vector<std::string> found;
            check(value, alternative, path, found);
            if (found.empty()) matched = true;
            if (closest.empty() || found.size() < closest.size()) closest = found;
        }
        if (!matched) {
            violations.push_back(path + ": matches no alternative; the closest says:");
            violations.insert(violations.end(), closest.begin(), closest.end());
        }
    }
    if (const auto type = schema.find("type"); type != schema.end()) {
        const json types = type->is_array() ? *type : json::array({*type});
        const bool any = std::any_of(types.begin(), types.end(),
                                     [&](const json& t) { return hasType(value, t.get<std::string>()); });
        if (!any) violations.push_back(path + ": not of type " + type->dump());
    }
    if (const auto values = schema.find("enum"); values != schema.end()) {
        if (std::find(values->begin(), values->end(), value) == values->end()) {
            violations.push_back(path + ": " + value.dump() + " not in " + values->dump());
        }
    }
    if (const auto constant = schema.find("const"); constant != schema.end() && value != *constant) {
        violations.push_back(path + ": " + value.dump() + " is not " + constant->dump());
    }
    if (value.is_number()) {
        if (schema.contains("minimum") && value.get<double>() < schema["minimum"].get<double>()) {
            violations.push_back(path + ": below minimum");
        }
        if (schema.contains("maximum") && value.get<double>() > schema["maximum"].get<double>()) {
            violations.push_back(path + ": above maximum");
        }
    }
    if (value.is_object()) {
        const json properties = schema.value("properties", json::object());
        for (const auto& name : schema.value("required", json::array())) {
            if (!value.contains(name.get<std::string>())) {
                violations.push_back(path + ": missing " + name.get<std::string>());
            }
        }
        for (const auto& [key, member] : value.items()) {
            if (properties.contains(key)) {
                check(member, properties[key], path + "." + key, violations);
            } else if (schema.value("additionalProperties", true) == false) {
                violations.push_back(path + ": unexpected key " + key);
            }
        }
    }
    if (value.is_array() && schema.contains("items")) {
        for (std::size_t i = 0; i < value.size(); ++i) {
            check(value[i], schema["items"], path + "[" + std::to_string(i) + "]", violations);
        }
    }
}

}  // namespace

std::vector<std::string> schemaViolations(const nlohmann::json& value, const nlohmann::json& schema) {
    std::vector<std::string> violations;
    check(value, schema, "$", violations);
    return violations;
}

}  // namespace VarnholtTestSupport
