#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace VarnholtQueryLib::MCP {

// How a line wrote the ids of its messages, for ids the JSON parser does not
// keep as written: numbers with a fraction or an exponent ("2.0", "1e2") and
// integers beyond 64 bits, which it reads as doubles.
//
// For a line holding one object, one entry: the text of its "id" member when
// that is a number, else absent. For a line holding an array (a batch), one
// entry per element in order, likewise. Empty for anything else, and for a
// line that is not JSON.
//
// REQUIRES: `line` nests no deeper than the session allows; the scan keeps
// one entry per open level.
std::vector<std::optional<std::string>> writtenNumberIds(std::string_view line);

}  // namespace VarnholtQueryLib::MCP
