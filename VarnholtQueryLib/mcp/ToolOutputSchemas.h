#pragma once

#include "output/JSONWriter.h"

namespace VarnholtQueryLib::MCP {

// The JSON Schemas of the success documents, one per tool: the envelope
// ("ok" true, "api_version" 2, "error" null) around each command's "data"
// and "meta", with every key the response builders may write, which of them
// are always there, and which may be null. No other key is allowed, so a
// builder that grows a key fails the end-to-end test until its schema says
// so.
JSON timelineOutputSchema();
JSON searchOutputSchema();
JSON entitiesOutputSchema();
JSON statusOutputSchema();
JSON supportContextOutputSchema();

}  // namespace VarnholtQueryLib::MCP
