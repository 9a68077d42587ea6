#include "summary/SummarySections.h"

namespace VarnholtQueryLib {

std::optional<SummarySections> SummarySections::named(const std::vector<std::string>& names) {
    SummarySections sections{false, false, false, false, false};
    for (const std::string& name : names) {
        if (name == "sessions") {
            sections.sessions = true;
        } else if (name == "applications") {
            sections.applications = true;
        } else if (name == "entities") {
            sections.entities = true;
        } else if (name == "days") {
            sections.days = true;
        } else if (name == "coverage") {
            sections.coverage = true;
        } else {
            return std::nullopt;
        }
    }
    return sections;
}

}  // namespace VarnholtQueryLib
