#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "support_context/SupportContextQueryPort.h"

namespace VarnholtQueryLib {

// What the user was just doing, condensed for a support request: the
// distinct descriptions of a recent window, newest first, at most `limit` of
// them. Descriptions are not redacted here; the response redacts what it
// prints. Holds the query port, borrowed
// for its lifetime.
class SupportContextUseCase {
public:
    explicit SupportContextUseCase(SupportContextQueryPort& supportContextQuery);

    // The observations from `now` - `windowSeconds` on. Each description is
    // trimmed; blank ones are skipped, and so is a description equal to the
    // last one kept (a blank in between does not separate them). Only runs
    // of equal neighbours collapse: A, A, B, A gives A, B, A. The walk stops
    // once exactly `limit` are kept, so a limit of 0 or below keeps all.
    // Passes the port's DatabaseError on unchanged.
    SupportContextSnapshot execute(std::int64_t windowSeconds, std::int64_t limit, double now);

    // `text` without leading and trailing white space and line breaks,
    // Unicode-aware (no-break and ideographic spaces, U+2028 and U+2029,
    // NEL). Malformed UTF-8 counts as text, not as space.
    static std::string trimmedDescription(std::string_view text);

private:
    SupportContextQueryPort& supportContextQuery_;
};

}  // namespace VarnholtQueryLib
