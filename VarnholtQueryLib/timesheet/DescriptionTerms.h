#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace VarnholtQueryLib {

// The terms a description offers as a text rule for a timesheet's next
// call, so that the time no category placed can be placed:
//  - a word is a maximal run of letters (Unicode general category L) and
//    decimal digits (Nd); every other character separates words;
//  - a word is a term when it holds at least three letters and, lower-cased
//    by the name key (DeduplicationService::nameKey), is not one of the
//    common English words of commonWords();
//  - two words next to each other in the text (no other word between them)
//    that are both terms make a two-word term, the two lower-cased words
//    joined by one space.
// Stateless; deterministic.
namespace DescriptionTerms {

// The terms of `description` (meant to be masked by PIIFilter already),
// each once, in the order they first appear: a two-word term right after
// its second word.
std::vector<std::string> termsOf(std::string_view description);

// The common English words never taken as terms, lower-cased, in ascending
// byte order: the one list, which the README shows too.
const std::vector<std::string_view>& commonWords();

}  // namespace DescriptionTerms

}  // namespace VarnholtQueryLib
