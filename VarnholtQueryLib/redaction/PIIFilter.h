#pragma once

#include <string>

namespace VarnholtQueryLib {

// Masks personal data in description text before it is printed: e-mail
// addresses, credential assignments and long token-like strings. Five
// regular expressions define what is masked, applied in order (PIIFilter.cpp
// lists them); each is answered by a hand-written scanner that finds exactly
// its matches in one walk over the text, in time linear in its length, so
// nothing is compiled and no state is kept.
namespace PIIFilter {

// `text` with every match of each pattern replaced, pattern after pattern.
std::string redact(const std::string& text);

}  // namespace PIIFilter

}  // namespace VarnholtQueryLib
