#include "cli/CommandArguments.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <vector>

#include "UTF8Text.h"

namespace VarnholtQueryLib {

namespace {

// The flags that take the next argument as their value, whatever it looks
// like: `--since --images` gives --since the value "--images".
bool takesValue(const std::string& flag) {
    return flag == "--limit" || flag == "--since" || flag == "--from" || flag == "--to" ||
           flag == "--app" || flag == "--kind" || flag == "--match" || flag == "--entity" ||
           flag == "--week-start" || flag == "--only" || flag == "--category" || flag == "--categories" ||
           flag == "--format";
}

bool isFlag(const std::string& argument) {
    return argument == "-h" || argument == "-v" || argument.rfind("--", 0) == 0;
}

}  // namespace

std::optional<std::int64_t> parseWholeDecimal(const std::string& text) {
    // from_chars reads a leading "-" but not a "+".
    std::string_view number = text;
    if (!number.empty() && number.front() == '+') number.remove_prefix(1);
    std::string_view digits = number;
    if (!digits.empty() && digits.front() == '-' && text.front() != '+') digits.remove_prefix(1);
    if (digits.empty() ||
        !std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; })) {
        return std::nullopt;
    }
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), value);
    // A number beyond 64 bits asks for more than any limit allows (or for
    // less than one); its nearest 64-bit value says the same and is then
    // clamped like any other, as a tool call's JSON number is.
    if (error == std::errc::result_out_of_range) {
        return number.front() == '-' ? std::numeric_limits<std::int64_t>::min()
                                     : std::numeric_limits<std::int64_t>::max();
    }
    if (error != std::errc() || end != number.data() + number.size()) return std::nullopt;
    return value;
}

bool containsArgument(const std::vector<std::string>& args, const std::string& word) {
    return std::find(args.begin(), args.end(), word) != args.end();
}

CommandArguments CommandArguments::fromProcessArguments(const std::vector<std::string>& arguments) {
    CommandArguments result;
    if (!arguments.empty()) {
        std::transform(arguments.begin() + 1, arguments.end(), std::back_inserter(result.args),
                       [](const std::string& argument) {
                           return VarnholtText::repairedUTF8(argument);
                       });
    }
    const auto& args = result.args;

    for (size_t index = 0; index < args.size();) {
        if (isFlag(args[index])) {
            index += takesValue(args[index]) ? 2 : 1;
        } else {
            result.positional.push_back(args[index]);
            index += 1;
        }
    }
    result.compactRequested = containsArgument(args, "--compact");
    result.fullRequested = containsArgument(args, "--full");
    result.jsonFlag = containsArgument(args, "--json");

    const auto limitFlag = std::find(args.begin(), args.end(), "--limit");
    if (limitFlag != args.end() && limitFlag + 1 != args.end()) {
        result.limit = parseWholeDecimal(*(limitFlag + 1));
    }
    return result;
}

}  // namespace VarnholtQueryLib
