#pragma once

#include <optional>
#include <string>
#include <vector>

namespace RecentWorkTimelineCore {

// One observation as the timeline sees it: what the vision model said about
// the screen at one moment, the applications it saw, and the entities that
// were extracted from the description. A plain value, compared field by field.
struct TimelineObservation {
    std::string id;
    // The effective time in seconds since 1970 UTC: the frame's capture time,
    // or the observation's own time when there is no frame time.
    double timestamp = 0;
    // Empty when the recorder stored none (the query never returns those).
    std::string vlmDescription;
    // Application names as the recorder listed them; empty when unreadable.
    std::vector<std::string> apps;
    // Absent when the observation has no image.
    std::optional<std::string> imagePath;
    // The observation's entities as a JSON array text of {"kind", "value"}
    // objects, read by the use case; absent when the database gave none.
    std::optional<std::string> entitiesJson;

    bool operator==(const TimelineObservation&) const = default;
};

}  // namespace RecentWorkTimelineCore
