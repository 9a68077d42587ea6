#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace VarnholtTestSupport {

// Checks `value` against `schema` for the keywords the server's schemas use
// (type, enum, const, properties, required, additionalProperties, items,
// anyOf, minimum, maximum) and returns one line per violation, "<path>: <what>";
// empty when the value conforms. Any other keyword in the schema is itself
// reported, so a schema cannot grow a keyword this check ignores.
std::vector<std::string> schemaViolations(const nlohmann::json& value, const nlohmann::json& schema);

}  // namespace VarnholtTestSupport
