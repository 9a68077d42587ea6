#pragma once

#include <initializer_list>
#include <string>
#include <utility>

#include "output/JSONWriter.h"

namespace VarnholtQueryLib::MCP::JSONSchema {

// Small builders for the JSON Schemas the tools publish. They use only
// keywords that mean the same in draft-07 and 2020-12 (type, enum, const,
// properties, required, additionalProperties, items, anyOf, minimum, maximum,
// default, description), so that every client's validator reads them alike,
// and no $ref, so that each schema stands on its own.

JSON text(const std::string& description = {});
JSON integer(const std::string& description = {});
JSON number(const std::string& description = {});
JSON boolean(const std::string& description = {});
// An array or an object, whatever it holds.
JSON anyArray(const std::string& description = {});
JSON anyObject(const std::string& description = {});
// One of the given texts.
JSON oneOfTexts(std::initializer_list<const char*> values, const std::string& description = {});
// Exactly `value`.
JSON constant(JSON value);
// `schema` or null.
JSON nullable(JSON schema);
JSON arrayOf(JSON items, const std::string& description = {});

// An object with exactly these properties, `required` among them; any other
// key is refused.
JSON object(std::initializer_list<std::pair<const char*, JSON>> properties,
            std::initializer_list<const char*> required, const std::string& description = {});
// The same with every property required.
JSON objectRequiringAll(std::initializer_list<std::pair<const char*, JSON>> properties,
                        const std::string& description = {});

// An object that matches `first` or `second` (both object schemas).
JSON eitherObject(JSON first, JSON second, const std::string& description = {});

// `schema` with "minimum"/"maximum"/"default" added.
JSON withMinimum(JSON schema, std::int64_t minimum);
JSON withMaximum(JSON schema, std::int64_t maximum);
JSON withDefault(JSON schema, JSON value);

}  // namespace VarnholtQueryLib::MCP::JSONSchema
