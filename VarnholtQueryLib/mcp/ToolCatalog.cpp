#include "mcp/ToolCatalog.h"

#include "mcp/JSONSchema.h"
#include "mcp/ToolCommands.h"
#include "mcp/ToolOutputSchemas.h"

namespace VarnholtQueryLib::MCP {

namespace {

using namespace JSONSchema;

// The date forms every time argument accepts, said once.
constexpr const char* kDateForms =
    "an ISO 8601 date-time with zone (2026-04-01T09:30:00Z), a local date-time "
    "(2026-04-01T09:30:00) or a local date (2026-04-01)";
constexpr const char* kDuration =
    "A duration back from now: a positive number and a unit m, h, d or w (30m, 2h, 1.5h, 1d, 1w).";

JSON compactArgument() {
    return withDefault(boolean("Leave out the screen descriptions (vlm_description) to save space."),
                       false);
}

// The period of the timeline and of summary, named the same way.
JSON presetArgument() {
    return oneOfTexts({"today", "yesterday", "this-week", "last-active-day"},
                      "A named period: today, yesterday, this week so far (from the "
                      "locale's first weekday), or the newest day with activity. "
                      "Without preset, since, from and to: today.");
}
JSON sinceArgument() { return text(std::string(kDuration) + " Use instead of preset."); }
JSON fromArgument() {
    return text(std::string("Start of a custom range, ") + kDateForms +
                "; requires to. Use instead of preset and since.");
}
JSON toArgument() {
    return text(std::string("End of a custom range, ") + kDateForms +
                "; a bare date includes its whole day. Requires from.");
}

JSON timelineInput() {
    return object(
        {
            {"preset", presetArgument()},
            {"since", sinceArgument()},
            {"from", fromArgument()},
            {"to", toArgument()},
            {"limit", withMinimum(integer("Return at most this many moments, the earliest "
                                          "first; meta.has_more says whether more follow."),
                                  0)},
            {"compact", compactArgument()},
            {"images", withDefault(boolean("Add each representative's image_path (a local file "
                                           "path); honoured with since only."),
                                   false)},
        },
        {});
}

JSON searchInput() {
    return object(
        {
            {"keyword", text("What to look for in the screen descriptions: one or more words "
                             "(a description with any of them matches; the best matches rank "
                             "first), or SQLite FTS5 syntax such as \"exact phrase\", AND, OR, "
                             "NOT or prefix*.")},
            {"all_words", withDefault(boolean("Every word and every quoted phrase must occur; nothing "
                                              "is read as FTS5 syntax."),
                                      false)},
            {"app", text("Only observations whose visible applications include this name "
                         "(whole name, any case), e.g. Slack.")},
            {"since", text(std::string(kDuration) + " The from and to arguments override its ends.")},
            {"from", text(std::string("Earliest time, ") + kDateForms + "; a bare date means its midnight.")},
            {"to", text(std::string("Latest time, ") + kDateForms + "; a bare date means its 23:59:59.")},
            {"latest", withDefault(boolean("Return only the newest match instead of the best "
                                           "ranked ones."),
                                   false)},
            {"limit", withMaximum(withMinimum(withDefault(integer("Return at most this many "
                                                                  "results (clamped to 1 to "
                                                                  "200)."),
                                                          50),
                                              1),
                                  200)},
            {"collapse", withDefault(boolean("Merge results with the same description into "
                                             "one; meta.collapsed_from counts them before."),
                                     false)},
            {"images", withDefault(boolean("Add each result's image_path (a local file path)."),
                                   false)},
            {"compact", compactArgument()},
        },
        {"keyword"});
}

JSON entitiesInput() {
    return object(
        {
            {"since", text(std::string(kDuration) + " Default: the last 24 hours.")},
            {"kind", text("Only entities of this kind, e.g. app, person, company, project, website, "
                          "programming_language, software_tool, framework.")},
            {"limit", withMaximum(withMinimum(withDefault(integer("Return at most this many "
                                                                  "entities, most frequent "
                                                                  "first (clamped to 1 to "
                                                                  "500)."),
                                                          100),
                                              1),
                                  500)},
        },
        {});
}

JSON summaryInput() {
    return object(
        {
            {"preset", presetArgument()},
            {"since", sinceArgument()},
            {"from", fromArgument()},
            {"to", toArgument()},
            {"idle", withDefault(text("The idle gap, a duration from 1m to 1h: a pause longer than this "
                                      "ends a session, and no observation counts for more."),
                                 "5m")},
            {"kind", text("Only entities of this kind, e.g. app, person, company, project, website, "
                          "programming_language, software_tool, framework.")},
            {"limit", withMaximum(withMinimum(withDefault(integer("Entries of the applications and "
                                                                  "entities lists, most time first."),
                                                          10),
                                              1),
                                  100)},
            {"max_chars", withMinimum(withDefault(integer("The longest answer, in characters: detail "
                                                          "(highlights, list tails, then sessions "
                                                          "folded into days) is dropped until it "
                                                          "fits, and meta.omitted counts it."),
                                                  kSummaryDefaultMaxChars),
                                      1)},
        },
        {});
}

JSON noInput() { return object({}, {}); }

std::vector<ToolDefinition> makeCatalog() {
    return {
        {"timeline", "Work timeline",
         "Tells what the user worked on, as five-minute moments with a representative screen "
         "description, the visible applications and entity counts, for a named period, the last "
         "duration (since) or a from/to range (today without arguments); a range keeps only its "
         "newest 5,000 observations, so for whole days, weeks and time totals use summary.",
         timelineInput(), timelineOutputSchema()},
        {"search", "Search work memory",
         "Finds the moments of the user's screen activity whose description matches a keyword, "
         "best ranked first or newest first (latest), optionally within an application and a "
         "time window; for a moment the user remembers, use all_words with latest.",
         searchInput(), searchOutputSchema()},
        {"entities", "Entities seen",
         "Counts the apps, people, companies, projects, websites, languages, tools and frameworks "
         "seen on the user's screen, with first and last sighting, over the last 24 hours unless "
         "since says otherwise.",
         entitiesInput(), entitiesOutputSchema()},
        {"summary", "Time summary",
         "Accounts exactly for the user's time over a period of any length (today without "
         "arguments, a named period, the last duration or a from/to range): active time, "
         "sessions with a few highlights, the time each application was visible and each "
         "entity seen, the days, and what the recorder's frames say about gaps, in at most "
         "max_chars characters.",
         summaryInput(), summaryOutputSchema()},
        {"status", "Recorder status",
         "Checks the screen recorder's health: database facts, capture and analysis counters, a "
         "diagnosis code with advice, and whether the analysis bridge has failed.",
         noInput(), statusOutputSchema()},
        {"support_context", "Support context",
         "Summarises the last two hours (up to five distinct screen descriptions) with a "
         "condensed recorder status, for drafting a support request about the recorder.",
         noInput(), supportContextOutputSchema()},
    };
}

JSON listedTool(const ToolDefinition& tool, ProtocolRevision revision) {
    JSON listed = {
        {"name", tool.name},
        {"description", tool.description},
        {"inputSchema", tool.inputSchema},
    };
    if (hasStructuredToolOutput(revision)) {
        listed["title"] = tool.title;
        listed["outputSchema"] = tool.outputSchema;
    }
    if (hasToolAnnotations(revision)) {
        // Every tool only reads the user's own recorder database.
        listed["annotations"] = {
            {"title", tool.title},
            {"readOnlyHint", true},
            {"openWorldHint", false},
        };
    }
    return listed;
}

}  // namespace

const std::vector<ToolDefinition>& toolCatalog() {
    static const std::vector<ToolDefinition> catalog = makeCatalog();
    return catalog;
}

const ToolDefinition* findTool(const std::string& name) {
    for (const ToolDefinition& tool : toolCatalog()) {
        if (tool.name == name) return &tool;
    }
    return nullptr;
}

JSON listTools(ProtocolRevision revision) {
    JSON tools = JSON::array();
    for (const ToolDefinition& tool : toolCatalog()) tools.push_back(listedTool(tool, revision));
    return tools;
}

}  // namespace VarnholtQueryLib::MCP
