#include "support_context/SupportContextUseCase.h"

#include <optional>

#include <unicode/uchar.h>
#include <unicode/utf8.h>

namespace VarnholtQueryLib {

namespace {

// White space in the sense of a text system's "whitespace and newlines":
// the separator categories plus the C0 controls TAB to CR and NEL.
bool isSpaceOrNewline(UChar32 character) {
    if (character < 0) return false;  // malformed byte sequence
    if ((character >= 0x09 && character <= 0x0D) || character == 0x85) return true;
    switch (u_charType(character)) {
        case U_SPACE_SEPARATOR:
        case U_LINE_SEPARATOR:
        case U_PARAGRAPH_SEPARATOR:
            return true;
        default:
            return false;
    }
}

}  // namespace

SupportContextUseCase::SupportContextUseCase(SupportContextQueryPort& supportContextQuery)
    : supportContextQuery_(supportContextQuery) {}

std::string SupportContextUseCase::trimmedDescription(std::string_view text) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    const auto length = static_cast<int32_t>(text.size());
    // The byte range from the first to the end of the last character that
    // is not space.
    int32_t begin = -1;
    int32_t end = 0;
    int32_t offset = 0;
    while (offset < length) {
        const int32_t start = offset;
        UChar32 character = 0;
        U8_NEXT(bytes, offset, length, character);
        if (!isSpaceOrNewline(character)) {
            if (begin < 0) begin = start;
            end = offset;
        }
    }
    if (begin < 0) return {};
    return std::string(text.substr(static_cast<size_t>(begin), static_cast<size_t>(end - begin)));
}

SupportContextSnapshot SupportContextUseCase::execute(std::int64_t windowSeconds,
                                                      std::int64_t limit, double now) {
    const double since = now - static_cast<double>(windowSeconds);
    const std::vector<SupportContextObservation> rows =
        supportContextQuery_.findRecentObservations(since);

    SupportContextSnapshot snapshot;
    snapshot.generatedAt = now;
    snapshot.windowSeconds = windowSeconds;
    std::optional<std::string> previousKept;
    for (const SupportContextObservation& row : rows) {
        std::string trimmed = trimmedDescription(row.vlmDescription);
        if (trimmed.empty()) continue;
        if (previousKept && *previousKept == trimmed) continue;
        previousKept = trimmed;
        snapshot.observations.push_back({row.timestamp, std::move(trimmed), row.applications});
        // An equality test on purpose: a limit of 0 or below never stops the
        // walk.
        if (static_cast<std::int64_t>(snapshot.observations.size()) == limit) break;
    }
    return snapshot;
}

}  // namespace VarnholtQueryLib
