#pragma once

#include "output/JSONWriter.h"

namespace VarnholtQueryLib::MCP {

// The JSON Schemas of the tools' answers, one per tool. An answer is either
// the tool's success document, the envelope ("ok" true, "api_version" 2,
// "error" null) around the command's "data" and "meta", or the error
// envelope ("ok" false, "data" and "meta" null, "error" with code, message
// and timestamp), exactly as varnholt-query prints them. Clients check
// structured content against the schema whether or not the call failed, so
// the schema admits both.
//
// Each success schema names every key the response builders may write, which
// of them are always there and which may be null; no other key is allowed,
// so a builder that grows a key fails the end-to-end test until its schema
// says so.
JSON timelineOutputSchema();
JSON searchOutputSchema();
JSON entitiesOutputSchema();
JSON summaryOutputSchema();
JSON timesheetOutputSchema();
JSON statusOutputSchema();
JSON supportContextOutputSchema();

}  // namespace VarnholtQueryLib::MCP
