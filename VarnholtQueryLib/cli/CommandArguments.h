#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace VarnholtQueryLib {

// The command line after a first pass that needs no knowledge of commands:
// which words are positional, which switches are present, and the --limit
// value. The parser decides the command from this.
struct CommandArguments {
    std::vector<std::string> args;        // everything after the program name
    std::vector<std::string> positional;  // words that are neither flags nor flag values
    bool compactRequested = false;        // --compact present
    bool fullRequested = false;           // --full present
    bool jsonFlag = false;                // --json present
    // The value after the first --limit when it is a whole decimal integer
    // (optional sign, digits only; beyond 64 bits, the nearest 64-bit value);
    // absent otherwise. Never an error: `--limit abc` is the same as no limit.
    std::optional<std::int64_t> limit;

    // REQUIRES: `arguments` is the full process argument list, program first.
    // Arguments that are not valid UTF-8 are repaired first (ill-formed
    // bytes become U+FFFD), so every later echo of them can be written as
    // JSON.
    static CommandArguments fromProcessArguments(const std::vector<std::string>& arguments);
};


// `text` as a whole signed decimal integer ("+5", "-3", "42"), or absent for
// anything else, including empty text. A number beyond 64 bits is the
// nearest 64-bit value, so that a huge limit means as many as the command
// allows, on the command line as in a tool call.
std::optional<std::int64_t> parseWholeDecimal(const std::string& text);

// Whether `args` holds exactly `word` somewhere.
bool containsArgument(const std::vector<std::string>& args, const std::string& word);

}  // namespace VarnholtQueryLib
