#include "UTF8Text.h"

#include <cstdint>
#include <cstring>

namespace VarnholtText {

namespace {

constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";
constexpr std::uint64_t kHighBits = 0x8080808080808080;

// The length of the well-formed sequence starting at `position`, or 0 when
// it is ill-formed; `consumed` is then the length of its maximal ill-formed
// prefix (at least 1), which is replaced as one unit.
size_t wellFormedLength(std::string_view text, size_t position, size_t& consumed) {
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(position);
    consumed = 1;
    if (lead < 0x80) return 1;
    size_t length = 0;
    unsigned char low = 0x80, high = 0xBF;  // the range of the second byte
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        if (lead == 0xE0) low = 0xA0;
        if (lead == 0xED) high = 0x9F;  // no surrogates
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        if (lead == 0xF0) low = 0x90;
        if (lead == 0xF4) high = 0x8F;  // nothing beyond U+10FFFF
    } else {
        return 0;
    }
    for (size_t k = 1; k < length; ++k) {
        if (position + k >= text.size()) return 0;
        const unsigned char next = byte(position + k);
        const bool inRange = k == 1 ? (next >= low && next <= high) : (next >= 0x80 && next <= 0xBF);
        if (!inRange) return 0;
        consumed = k + 1;
    }
    return length;
}

}  // namespace

bool isValidUTF8(std::string_view text) {
    size_t consumed = 0;
    for (size_t position = 0; position < text.size();) {
        // Descriptions, identifiers and application names are mostly ASCII,
        // and every text of every row passes here: eight bytes at a time
        // while none of them has its high bit set.
        if (text.size() - position >= sizeof(std::uint64_t)) {
            std::uint64_t bytes;
            std::memcpy(&bytes, text.data() + position, sizeof bytes);
            if ((bytes & kHighBits) == 0) {
                position += sizeof bytes;
                continue;
            }
        }
        const size_t length = wellFormedLength(text, position, consumed);
        if (length == 0) return false;
        position += length;
    }
    return true;
}

std::string repairedUTF8(std::string_view text) {
    if (isValidUTF8(text)) return std::string(text);
    std::string repaired;
    repaired.reserve(text.size() + 8);
    size_t consumed = 0;
    for (size_t position = 0; position < text.size();) {
        const size_t length = wellFormedLength(text, position, consumed);
        if (length == 0) {
            repaired += kReplacementCharacter;
            position += consumed;
        } else {
            repaired.append(text, position, length);
            position += length;
        }
    }
    return repaired;
}

}  // namespace VarnholtText
