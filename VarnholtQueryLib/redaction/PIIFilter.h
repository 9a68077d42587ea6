#pragma once

#include <string>

namespace VarnholtQueryLib {

// Masks personal data in description text before it is printed: e-mail
// addresses, credential assignments and long token-like strings. The patterns
// are compiled once per process, on first use, and never change.
namespace PIIFilter {

// `text` with every match of each pattern replaced, pattern after pattern.
std::string redact(const std::string& text);

}  // namespace PIIFilter

}  // namespace VarnholtQueryLib
