#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "support_context/SupportContextQueryPort.h"

namespace VarnholtQueryLib {

// What the user was just doing, condensed for a support request: the
// distinct descriptions of a recent window, newest first, at most `limit` of
// them. The answer is meant to be pasted into a support request, so every
// description is redacted with PIIFilter, as search and the timeline do.
// Holds the query port, borrowed for its lifetime.
class SupportContextUseCase {
public:
    explicit SupportContextUseCase(SupportContextQueryPort& supportContextQuery);

    // The observations from `now` - `windowSeconds` on. Each description is
    // trimmed, then redacted; blank ones are skipped, and so is one whose
    // redacted text equals the last one kept (a blank in between does not
    // separate them). Redaction comes first so that neighbours differing
    // only in what it masks collapse. Only runs of equal neighbours
    // collapse: A, A, B, A gives A, B, A. The walk stops once exactly
    // `limit` are kept, so a limit of 0 or below keeps all. Passes the
    // port's DatabaseError on unchanged.
    SupportContextSnapshot execute(std::int64_t windowSeconds, std::int64_t limit, double now);

    // `text` without leading and trailing white space and line breaks,
    // Unicode-aware (no-break and ideographic spaces, U+2028 and U+2029,
    // NEL). Malformed UTF-8 counts as text, not as space.
    static std::string trimmedDescription(std::string_view text);

private:
    SupportContextQueryPort& supportContextQuery_;
};

}  // namespace VarnholtQueryLib
