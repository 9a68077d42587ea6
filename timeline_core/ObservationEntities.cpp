#include "ObservationEntities.h"

#include <nlohmann/json.hpp>

namespace RecentWorkTimelineCore {

std::vector<EntityKey> parseEntities(const std::optional<std::string>& text) {
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

}  // namespace RecentWorkTimelineCore
