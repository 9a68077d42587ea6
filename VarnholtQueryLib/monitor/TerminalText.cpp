#include "monitor/TerminalText.h"

#include <algorithm>
#include <cstddef>

namespace VarnholtQueryLib {

namespace {

constexpr unsigned kEscape = 0x1B;
constexpr unsigned kBell = 0x07;
constexpr unsigned kDelete = 0x7F;
// The C1 controls that open a sequence, and the string terminator.
constexpr unsigned kControlSequenceIntroducer = 0x9B;
constexpr unsigned kStringTerminator = 0x9C;

bool isBetween(unsigned value, unsigned low, unsigned high) { return value >= low && value <= high; }

// Walks the text one character at a time. Only the code points of controls
// matter here: ASCII, and U+0080 to U+00BF, which UTF-8 writes as C2 xx.
class Scanner {
public:
    explicit Scanner(std::string_view text) : text_(text) {}

    bool atEnd() const { return position_ >= text_.size(); }
    std::size_t position() const { return position_; }
    unsigned byteAt(std::size_t offset) const {
        return position_ + offset < text_.size()
                   ? static_cast<unsigned char>(text_[position_ + offset])
                   : 0x100;  // past the end: matches no byte range
    }
    // The code point at the current position where it is below U+00C0,
    // otherwise a value that is no control.
    unsigned codePoint() const {
        const unsigned lead = byteAt(0);
        if (lead < 0x80) return lead;
        if (lead == 0xC2 && isBetween(byteAt(1), 0x80, 0xBF)) return byteAt(1);
        return 0xFFFF;
    }
    // Bytes of the character at the current position.
    std::size_t characterLength() const {
        const unsigned lead = byteAt(0);
        const std::size_t length = lead < 0xC0 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        return std::min(length, text_.size() - position_);
    }
    void skipCharacter() { position_ += characterLength(); }
    void skipByte() { ++position_; }
    void skipBytesWhile(unsigned low, unsigned high) {
        while (isBetween(byteAt(0), low, high)) ++position_;
    }

    // After a CSI: parameters, intermediates, one final byte.
    void skipControlSequenceBody() {
        skipBytesWhile(0x30, 0x3F);
        skipBytesWhile(0x20, 0x2F);
        if (isBetween(byteAt(0), 0x40, 0x7E)) skipByte();
    }
    // After OSC, DCS, SOS, PM or APC: up to and including BEL or ST.
    void skipControlString() {
        while (!atEnd()) {
            if (byteAt(0) == kBell) {
                skipByte();
                return;
            }
            if (byteAt(0) == kEscape && byteAt(1) == '\\') {
                position_ += 2;
                return;
            }
            if (codePoint() == kStringTerminator) {
                skipCharacter();
                return;
            }
            skipCharacter();
        }
    }
    // After ESC: whatever sequence it introduces.
    void skipEscapeSequenceBody() {
        const unsigned next = byteAt(0);
        if (next == '[') {
            skipByte();
            skipControlSequenceBody();
        } else if (next == ']' || next == 'P' || next == 'X' || next == '^' || next == '_') {
            skipByte();
            skipControlString();
        } else if (isBetween(next, 0x20, 0x2F)) {
            skipBytesWhile(0x20, 0x2F);
            if (isBetween(byteAt(0), 0x30, 0x7E)) skipByte();
        } else if (isBetween(next, 0x30, 0x7E)) {
            skipByte();
        }
    }

private:
    std::string_view text_;
    std::size_t position_ = 0;
};

bool opensControlString(unsigned codePoint) {
    // OSC, DCS, SOS, PM, APC.
    return codePoint == 0x9D || codePoint == 0x90 || codePoint == 0x98 || codePoint == 0x9E ||
           codePoint == 0x9F;
}

}  // namespace

std::string terminalSafeText(std::string_view text) {
    std::string safe;
    safe.reserve(text.size());
    Scanner scanner(text);
    while (!scanner.atEnd()) {
        const unsigned codePoint = scanner.codePoint();
        if (codePoint == kEscape) {
            scanner.skipByte();
            scanner.skipEscapeSequenceBody();
        } else if (codePoint == kControlSequenceIntroducer) {
            scanner.skipCharacter();
            scanner.skipControlSequenceBody();
        } else if (opensControlString(codePoint)) {
            scanner.skipCharacter();
            scanner.skipControlString();
        } else if (codePoint < 0x20 || isBetween(codePoint, kDelete, 0x9F)) {
            scanner.skipCharacter();
        } else {
            const std::size_t start = scanner.position();
            scanner.skipCharacter();
            safe.append(text.substr(start, scanner.position() - start));
        }
    }
    return safe;
}

}  // namespace VarnholtQueryLib
