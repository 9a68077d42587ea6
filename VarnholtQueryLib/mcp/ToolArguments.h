#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "output/JSONWriter.h"

namespace VarnholtQueryLib::MCP {

// The arguments of one tool call, checked against the names and JSON types
// the tool's input schema declares. JSON gives every argument a type, so
// there is none of the command line's guessing: a keyword may begin with
// "--", and an empty text is a text. Only the shape is checked here; what a
// value means (a duration, a date, a preset) is checked by the command
// builders, in the command line's own words.
//
// A shape error is thrown as CLIError::unknownError, the command line's code
// for a malformed flag:
//  - "Unknown argument '<name>'. Arguments: <names>." for a name the schema
//    does not declare;
//  - "Argument '<name>' must be a string." ("an integer", "true or false",
//    "an array of strings", "an array of objects") for a value of another
//    type.
// A null value counts as not given.
class ToolArguments {
public:
    // REQUIRES: `inputSchema` is an object schema whose properties each have
    // a "type" of "string", "integer", "boolean" or "array" (of strings,
    // or of objects when its "items" say so); `arguments` is an object or
    // null (no arguments). Throws the shape errors above, the first in
    // order of argument names.
    ToolArguments(const JSON& arguments, const JSON& inputSchema);

    // The text given for `name`, or absent.
    std::optional<std::string> text(const std::string& name) const;
    // The integer given for `name`, or absent. A whole number written with a
    // fraction (5.0) is that integer; one beyond 64 bits is the nearest
    // 64-bit value, which the commands' limits then clamp.
    std::optional<std::int64_t> integer(const std::string& name) const;
    // The texts given for `name`, in order, or absent.
    std::optional<std::vector<std::string>> texts(const std::string& name) const;
    // The value given for `name` as it was given, or null when absent: for
    // an array of objects, whose members the command builders check.
    const JSON* value(const std::string& name) const;
    // The boolean given for `name`; false when absent.
    bool flag(const std::string& name) const;

private:
    const JSON* given(const std::string& name) const;

    JSON arguments_;
};

}  // namespace VarnholtQueryLib::MCP
