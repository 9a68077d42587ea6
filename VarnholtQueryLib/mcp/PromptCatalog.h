#pragma once

#include <map>
#include <string>
#include <variant>
#include <vector>

#include "mcp/DocumentSource.h"
#include "mcp/ProtocolRevision.h"

namespace VarnholtQueryLib::MCP {

// The questions people bring to a work memory, as prompts a host offers its
// user. Each returns messages that embed the documents varnholt-query prints
// for the equivalent commands, read when the prompt is fetched, each on one
// line as a tool result's text carries it:
//
//   stand-up {date?}          the summary of the newest earlier day with
//                             activity (looking back two months from date)
//                             and of date (default: today; today so far),
//                             varnholt-query summary --from D --to D (or
//                             today) --only sessions --max-chars 11000; a date
//                             after today is refused
//   timesheet {week_start?,   the timesheet of the days from week_start
//              categories?}   (default: this week's first day; not after
//                             today) to the seventh or today, whichever is
//                             first: varnholt-query timesheet --from S --to E
//                             --category LINE ... --max-chars 24000, one
//                             --category per non-blank line of categories;
//                             without categories, varnholt-query summary
//                             --from S --to E --only applications,entities,days
//                             --limit 20 and the request to propose categories
//                             and call the timesheet tool; categories the
//                             command line refuses are refused in its words,
//                             after "categories: "
//   what-was-i-doing {time}   the summary of the half hour around `time`,
//                             varnholt-query summary --from T-15m --to T+15m
//                             --max-chars 12000; then one line per moment of
//                             varnholt-query range --from T-10m --to T+10m:
//                             "START to END: DESCRIPTION" (ends in UTC, whole
//                             seconds), or that document's error envelope

struct PromptArgumentDefinition {
    std::string name;
    std::string description;
    bool required = false;
    // Whether completion offers the recent days with activity for it.
    bool completesWithActiveDays = false;
};

// The text arguments of one prompts/get, checked against the definition.
using PromptArguments = std::map<std::string, std::string>;

// A prompt's messages, or why its arguments cannot be used.
using PromptMessages = std::variant<JSON, std::string>;

struct PromptDefinition {
    std::string name;
    std::string title;
    std::string description;
    std::vector<PromptArgumentDefinition> arguments;
    // The "messages" array; every required argument is present and no other
    // than the defined ones.
    PromptMessages (*build)(const DocumentSource& documents, const PromptArguments& arguments);
};

// The prompts in the order prompts/list shows them.
const std::vector<PromptDefinition>& promptCatalog();
// The prompt named `name`, or null.
const PromptDefinition* findPrompt(const std::string& name);

// The entry of a prompts/list result for `prompt` on `revision` (a title from
// 2025-06-18 on).
JSON describePrompt(const PromptDefinition& prompt, ProtocolRevision revision);

}  // namespace VarnholtQueryLib::MCP
