#include "view/TimeViewPage.h"

#include <stdexcept>

#include "view/TimeView.h"

namespace VarnholtQueryLib {

std::string scriptSafeJSON(std::string_view json) {
    std::string safe;
    safe.reserve(json.size() + json.size() / 16);
    for (const char c : json) {
        switch (c) {
            case '<': safe += "\\u003c"; break;
            case '>': safe += "\\u003e"; break;
            case '&': safe += "\\u0026"; break;
            default: safe += c;
        }
    }
    return safe;
}

std::optional<std::string> timeViewPage(const JSON& answer) {
    const auto text = serializeJSON(answer);
    if (!text) return std::nullopt;
    const std::string_view page = timeViewHTML();
    const std::string emptyElement = std::string(kAnswerElementStart) + std::string(kAnswerElementEnd);
    const auto at = page.find(emptyElement);
    // The build embeds the page as it is in the source tree; its test holds
    // the element there exactly once.
    if (at == std::string_view::npos) throw std::logic_error("The time view has no answer element.");
    const auto inside = at + kAnswerElementStart.size();
    std::string filled;
    filled.reserve(page.size() + text->size() + text->size() / 16);
    filled.append(page.substr(0, inside));
    filled += scriptSafeJSON(*text);
    filled.append(page.substr(inside));
    return filled;
}

}  // namespace VarnholtQueryLib
