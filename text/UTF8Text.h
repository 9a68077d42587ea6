#pragma once

#include <string>
#include <string_view>

namespace VarnholtText {

// Text that reaches us as bytes (database columns, process arguments) is
// meant to be UTF-8 but nothing guarantees it. These decide whether it is, and
// repair it the way desktop runtimes decode such bytes, so that one bad byte
// never makes a whole answer unprintable.

// Whether `text` is well-formed UTF-8 (no overlong forms, no surrogates,
// nothing beyond U+10FFFF, no truncated sequence).
bool isValidUTF8(std::string_view text);

// `text` with each maximal ill-formed subsequence replaced by U+FFFD; valid
// text comes back unchanged.
std::string repairedUTF8(std::string_view text);

}  // namespace VarnholtText
