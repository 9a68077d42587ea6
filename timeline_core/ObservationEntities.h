#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace RecentWorkTimelineCore {

// An entity as an observation lists it: kind and value, compared exactly
// (case-sensitive).
using EntityKey = std::pair<std::string, std::string>;

// The (kind, value) pairs of one observation's entity text (a JSON array of
// {"kind", "value"} objects, as the database builds it), in order, repeats
// kept. The one reader of that text: the timeline, summary and search read
// their rows' entities through it. Tolerant: absent or unreadable text
// gives nothing, and an element without a text "kind" and a text "value" is
// skipped on its own; text that is not an array of objects gives nothing.
// The list the database writes for most observations, kinds and values
// without escapes, is read directly (VarnholtText::PlainJSON); any other
// text through a JSON document, with the same result.
std::vector<EntityKey> parseEntities(const std::optional<std::string>& text);

// parseEntities through a JSON document only, whatever the text: the
// reference the direct reading is tested against.
std::vector<EntityKey> parseEntitiesAsJSON(const std::optional<std::string>& text);

}  // namespace RecentWorkTimelineCore
