#pragma once

#include "output/JSONWriter.h"

namespace VarnholtQueryLib::MCP {

// The JSON Schemas of the tools' answers, one per tool, by their top-level
// shape. An answer is the envelope varnholt-query prints: "ok",
// "api_version" 2, "data", "error" and "meta". On success "data" and "meta"
// are objects and "error" is null; on failure "data" and "meta" are null and
// "error" is an object. Clients check structured content against the schema
// whether or not the call failed, so the schema admits both.
//
// "data" names every key the tool's response builder may write at its
// level, with its JSON type, which keys are always there, and no other; a
// builder that grows a key there fails the tests until its schema says so.
// What lies inside the members of "data", and the members of "error" and
// "meta", are not described (the manual pages and README do), so that the
// schemas cost a session little.
JSON timelineOutputSchema();
JSON searchOutputSchema();
JSON entitiesOutputSchema();
JSON summaryOutputSchema();
JSON statusOutputSchema();
JSON supportContextOutputSchema();

}  // namespace VarnholtQueryLib::MCP
