#include "ObservationEntities.h"

#include <nlohmann/json.hpp>

#include <string_view>

#include "PlainJSON.h"

namespace RecentWorkTimelineCore {

namespace {

// The list as the database writes it, [{"kind":"K","value":"V"},...],
// read without a JSON document when its strings need no decoding; nullopt
// for any other text.
std::optional<std::vector<EntityKey>> plainEntityList(std::string_view text) {
    VarnholtText::PlainJSON reader(text);
    std::vector<EntityKey> pairs;
    if (!reader.take("[")) return std::nullopt;
    if (reader.take("]")) return reader.atEnd() ? std::optional(std::move(pairs)) : std::nullopt;
    do {
        if (!reader.take("{") || reader.plainString() != "kind" || !reader.take(":")) return std::nullopt;
        auto kind = reader.plainString();
        if (!kind || !reader.take(",") || reader.plainString() != "value" || !reader.take(":")) return std::nullopt;
        auto value = reader.plainString();
        if (!value || !reader.take("}")) return std::nullopt;
        pairs.emplace_back(std::move(*kind), std::move(*value));
    } while (reader.take(","));
    if (!reader.take("]") || !reader.atEnd()) return std::nullopt;
    return pairs;
}

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
    if (auto plain = plainEntityList(*text)) return std::move(*plain);
    return parseEntitiesAsJSON(text);
}

}  // namespace RecentWorkTimelineCore
