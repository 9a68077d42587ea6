#include "PlainJSON.h"

#include "UTF8Text.h"

namespace VarnholtText {

void PlainJSON::skipSpace() {
    while (at_ < text_.size() &&
           (text_[at_] == ' ' || text_[at_] == '\t' || text_[at_] == '\n' || text_[at_] == '\r')) {
        ++at_;
    }
}

bool PlainJSON::take(std::string_view token) {
    skipSpace();
    if (text_.substr(at_, token.size()) != token) return false;
    at_ += token.size();
    return true;
}

std::optional<std::string> PlainJSON::plainString() {
    if (!take("\"")) return std::nullopt;
    const std::size_t start = at_;
    for (; at_ < text_.size(); ++at_) {
        const unsigned char byte = static_cast<unsigned char>(text_[at_]);
        if (byte == '"') break;
        if (byte < 0x20 || byte == '\\') return std::nullopt;
    }
    if (at_ == text_.size()) return std::nullopt;
    const std::string_view body = text_.substr(start, at_ - start);
    if (!isValidUTF8(body)) return std::nullopt;
    ++at_;
    return std::string(body);
}

bool PlainJSON::atEnd() {
    skipSpace();
    return at_ == text_.size();
}

}  // namespace VarnholtText
