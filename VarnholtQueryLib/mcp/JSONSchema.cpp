#include "mcp/JSONSchema.h"

namespace VarnholtQueryLib::MCP::JSONSchema {

namespace {

JSON typed(const char* type, const std::string& description) {
    JSON schema = {{"type", type}};
    if (!description.empty()) schema["description"] = description;
    return schema;
}

}  // namespace

JSON text(const std::string& description) { return typed("string", description); }
JSON integer(const std::string& description) { return typed("integer", description); }
JSON number(const std::string& description) { return typed("number", description); }
JSON boolean(const std::string& description) { return typed("boolean", description); }
JSON anyArray(const std::string& description) { return typed("array", description); }
JSON anyObject(const std::string& description) { return typed("object", description); }

JSON oneOfTexts(std::initializer_list<const char*> values, const std::string& description) {
    JSON schema = text(description);
    schema["enum"] = JSON::array();
    for (const char* value : values) schema["enum"].push_back(value);
    return schema;
}

JSON constant(JSON value) { return JSON{{"const", std::move(value)}}; }

JSON nullable(JSON schema) {
    JSON type = schema["type"];
    schema["type"] = JSON::array({std::move(type), "null"});
    if (schema.contains("enum")) schema["enum"].push_back(nullptr);
    return schema;
}

JSON arrayOf(JSON items, const std::string& description) {
    JSON schema = typed("array", description);
    schema["items"] = std::move(items);
    return schema;
}

JSON object(std::initializer_list<std::pair<const char*, JSON>> properties,
            std::initializer_list<const char*> required, const std::string& description) {
    JSON schema = typed("object", description);
    schema["properties"] = JSON::object();
    for (const auto& [name, property] : properties) schema["properties"][name] = property;
    for (const char* name : required) schema["required"].push_back(name);
    schema["additionalProperties"] = false;
    return schema;
}

JSON objectRequiringAll(std::initializer_list<std::pair<const char*, JSON>> properties,
                        const std::string& description) {
    JSON schema = object(properties, {}, description);
    for (const auto& [name, property] : properties) schema["required"].push_back(name);
    return schema;
}

JSON eitherObject(JSON first, JSON second, const std::string& description) {
    JSON schema = typed("object", description);
    schema["anyOf"] = JSON::array({std::move(first), std::move(second)});
    return schema;
}

JSON withMinimum(JSON schema, std::int64_t minimum) {
    schema["minimum"] = minimum;
    return schema;
}

JSON withMaximum(JSON schema, std::int64_t maximum) {
    schema["maximum"] = maximum;
    return schema;
}

JSON withDefault(JSON schema, JSON value) {
    schema["default"] = std::move(value);
    return schema;
}

}  // namespace VarnholtQueryLib::MCP::JSONSchema
