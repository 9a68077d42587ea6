#include "CommandArguments.h"

#include <unicode/unistr.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <charconv>
#include <vector>

namespace VarnholtQueryLib {

namespace {

// The flags that take the next argument as their value, whatever it looks
// like: `--since --images` gives --since the value "--images".
bool takesValue(const std::string& flag) {
    return flag == "--limit" || flag == "--since" || flag == "--from" || flag == "--to" ||
           flag == "--app" || flag == "--kind";
}

bool isFlag(const std::string& argument) {
    return argument == "-h" || argument == "-v" || argument.rfind("--", 0) == 0;
}

}  // namespace

std::string repairedUTF8(const std::string& text) {
    UErrorCode status = U_ZERO_ERROR;
    int32_t length = 0;
    u_strFromUTF8WithSub(nullptr, 0, &length, text.data(), static_cast<int32_t>(text.size()), 0xFFFD,
                         nullptr, &status);
    if (status != U_BUFFER_OVERFLOW_ERROR && U_FAILURE(status)) return text;
    std::vector<UChar> units(static_cast<size_t>(length) + 1);
    status = U_ZERO_ERROR;
    int32_t substitutions = 0;
    u_strFromUTF8WithSub(units.data(), length + 1, &length, text.data(),
                         static_cast<int32_t>(text.size()), 0xFFFD, &substitutions, &status);
    if (U_FAILURE(status) || substitutions == 0) return text;
    std::string repaired;
    icu::UnicodeString(units.data(), length).toUTF8String(repaired);
    return repaired;
}

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
                       repairedUTF8);
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
