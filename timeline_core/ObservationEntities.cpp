#include "ObservationEntities.h"

#include <nlohmann/json.hpp>

#include <string_view>

namespace RecentWorkTimelineCore {

namespace {

// The length of the well-formed UTF-8 sequence at the start of `bytes`
// (one to four bytes, no overlong form, no surrogate, nothing above
// U+10FFFF), or 0. The same sequences a JSON parser takes unescaped.
std::size_t sequenceLength(std::string_view bytes) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    const auto follows = [&](std::size_t i, unsigned char low = 0x80, unsigned char high = 0xBF) {
        return i < bytes.size() && byte(i) >= low && byte(i) <= high;
    };
    const unsigned char lead = byte(0);
    if (lead < 0x80) return 1;
    if (lead >= 0xC2 && lead <= 0xDF) return follows(1) ? 2 : 0;
    if (lead >= 0xE0 && lead <= 0xEF) {
        const unsigned char low = lead == 0xE0 ? 0xA0 : 0x80;
        const unsigned char high = lead == 0xED ? 0x9F : 0xBF;
        return follows(1, low, high) && follows(2) ? 3 : 0;
    }
    if (lead >= 0xF0 && lead <= 0xF4) {
        const unsigned char low = lead == 0xF0 ? 0x90 : 0x80;
        const unsigned char high = lead == 0xF4 ? 0x8F : 0xBF;
        return follows(1, low, high) && follows(2) && follows(3) ? 4 : 0;
    }
    return 0;
}

// Reads the text the database writes for an entity list whose kinds and
// values needed no escape: [{"kind":"K","value":"V"},...] without spaces.
// Every observation's list looks like that, and parsing it into a JSON
// document cost more than the rest of a summary's work on a row. Anything
// else (an escape, a space, another key, another type) is left to the
// JSON parser: nullopt.
class PlainEntityList {
public:
    explicit PlainEntityList(std::string_view text) : text_(text) {}

    std::optional<std::vector<EntityKey>> read() {
        std::vector<EntityKey> pairs;
        if (!literal("[")) return std::nullopt;
        if (literal("]")) return at_ == text_.size() ? std::optional(std::move(pairs)) : std::nullopt;
        do {
            auto kind = (literal(R"({"kind":")")) ? plainString() : std::nullopt;
            if (!kind) return std::nullopt;
            auto value = (literal(R"(,"value":")")) ? plainString() : std::nullopt;
            if (!value || !literal("}")) return std::nullopt;
            pairs.emplace_back(std::move(*kind), std::move(*value));
        } while (literal(","));
        if (!literal("]") || at_ != text_.size()) return std::nullopt;
        return pairs;
    }

private:
    bool literal(std::string_view expected) {
        if (text_.substr(at_, expected.size()) != expected) return false;
        at_ += expected.size();
        return true;
    }

    // The string whose opening quote was read, through its closing quote,
    // when it holds no escape, no control character and only well-formed
    // UTF-8.
    std::optional<std::string> plainString() {
        const std::size_t start = at_;
        while (at_ < text_.size()) {
            const unsigned char byte = static_cast<unsigned char>(text_[at_]);
            if (byte == '"') {
                std::string body(text_.substr(start, at_ - start));
                ++at_;
                return body;
            }
            if (byte < 0x20 || byte == '\\') return std::nullopt;
            const std::size_t length = sequenceLength(text_.substr(at_));
            if (length == 0) return std::nullopt;
            at_ += length;
        }
        return std::nullopt;
    }

    std::string_view text_;
    std::size_t at_ = 0;
};

}  // namespace

std::vector<EntityKey> parseEntitiesAsJSON(const std::optional<std::string>& text) {
    std::vector<EntityKey> pairs;
    if (!text) return pairs;
    const nlohmann::json parsed = nlohmann::json::parse(*text, nullptr, /*allow_exceptions=*/false);
    if (!parsed.is_array()) return pairs;
    for (const auto& element : parsed) {
        if (!element.is_object()) return {};
    }
    for (const auto& element : parsed) {
        const auto kind = element.find("kind");
        const auto value = element.find("value");
        if (kind == element.end() || value == element.end()) continue;
        if (!kind->is_string() || !value->is_string()) continue;
        pairs.emplace_back(kind->get<std::string>(), value->get<std::string>());
    }
    return pairs;
}

std::vector<EntityKey> parseEntities(const std::optional<std::string>& text) {
    if (!text) return {};
    if (auto plain = PlainEntityList(*text).read()) return std::move(*plain);
    return parseEntitiesAsJSON(text);
}

}  // namespace RecentWorkTimelineCore
