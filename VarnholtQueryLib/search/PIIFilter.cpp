#include "search/PIIFilter.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include <unicode/parseerr.h>
#include <unicode/regex.h>
#include <unicode/unistr.h>

namespace VarnholtQueryLib {
namespace PIIFilter {

namespace {

// One redaction pass: every match of `pattern` becomes `replacement`, where
// "$1" stands for the first capture group.
struct RedactionPass {
    std::unique_ptr<icu::RegexPattern> pattern;
    icu::UnicodeString replacement;
};

struct PatternSource {
    const char* expression;
    const char* replacement;
};

// The order is part of the behaviour: e-mail addresses go first, so that the
// token passes never see their parts, and credential values are replaced
// before a long value could be reported as a mere token. Case-insensitivity
// is written into the patterns that want it; they are compiled with no flags.
constexpr PatternSource kPatternSources[] = {
    // E-mail addresses.
    {R"([A-Za-z0-9._%+-]+@[A-Za-z0-9.-]+\.[A-Za-z]{2,})", "[EMAIL]"},
    // API keys, secret keys, auth tokens and bearer values after ":" or "=";
    // the label is kept as written and the separator becomes ": ".
    {R"((?i)(api[_-]?key|secret[_-]?key|auth[_-]?token|bearer)\s*[:=]\s*\S+)", "$1: [REDACTED]"},
    // Password assignments, label kept.
    {R"((?i)(password|passwd|pwd)\s*[:=]\s*\S+)", "$1: [REDACTED]"},
    // Free-standing hexadecimal runs of 32 or more digits (hashes, keys).
    {R"((?<![A-Za-z0-9])[A-Fa-f0-9]{32,}(?![A-Za-z0-9]))", "[TOKEN]"},
    // Free-standing base64-like runs of 40 or more characters, with up to two
    // padding signs.
    {R"((?<![A-Za-z0-9+/])[A-Za-z0-9+/]{40,}={0,2}(?![A-Za-z0-9+/=]))", "[TOKEN]"},
};

[[noreturn]] void patternBroken(const char* expression, UErrorCode status) {
    // The expressions are constants: a failure here is a programming error.
    std::fprintf(stderr, "Fatal error: redaction pattern %s failed to compile: %s\n", expression,
                 u_errorName(status));
    std::abort();
}

std::vector<RedactionPass> compilePasses() {
    std::vector<RedactionPass> passes;
    for (const PatternSource& source : kPatternSources) {
        UParseError parseError{};
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::RegexPattern> pattern(icu::RegexPattern::compile(
            icu::UnicodeString::fromUTF8(source.expression), 0, parseError, status));
        if (U_FAILURE(status) || pattern == nullptr) patternBroken(source.expression, status);
        passes.push_back({std::move(pattern), icu::UnicodeString::fromUTF8(source.replacement)});
    }
    return passes;
}

// Built on first use; the initialisation of a function-local static is
// thread-safe, and the compiled patterns are never changed afterwards (an ICU
// RegexPattern may hand out matchers to several threads at once).
const std::vector<RedactionPass>& passes() {
    static const std::vector<RedactionPass> compiled = compilePasses();
    return compiled;
}

}  // namespace

std::string redact(const std::string& text) {
    // Invalid UTF-8 bytes become U+FFFD here, so the result is always valid
    // UTF-8 and can be written as JSON.
    icu::UnicodeString current = icu::UnicodeString::fromUTF8(text);
    for (const RedactionPass& pass : passes()) {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::RegexMatcher> matcher(pass.pattern->matcher(current, status));
        if (U_FAILURE(status)) {
            std::fprintf(stderr, "Fatal error: redaction matcher failed: %s\n", u_errorName(status));
            std::abort();
        }
        icu::UnicodeString replaced = matcher->replaceAll(pass.replacement, status);
        if (U_FAILURE(status)) {
            std::fprintf(stderr, "Fatal error: redaction failed: %s\n", u_errorName(status));
            std::abort();
        }
        matcher.reset();  // it refers to `current`
        current = std::move(replaced);
    }
    std::string result;
    current.toUTF8String(result);
    return result;
}

}  // namespace PIIFilter
}  // namespace VarnholtQueryLib
