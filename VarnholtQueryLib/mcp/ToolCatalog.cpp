#include "mcp/ToolCatalog.h"

#include "mcp/CatalogLookup.h"
#include "mcp/JSONSchema.h"
#include "mcp/ToolCommands.h"
#include "mcp/ToolOutputSchemas.h"

namespace VarnholtQueryLib::MCP {

namespace {

using namespace JSONSchema;

// Every session pays for these texts before its first question, so each
// says what a model needs to choose the tool and its arguments, once. A
// switch is false unless given, as JSON readers assume.
constexpr const char* kKinds = "Entity kind: app, person, company, project, website, programming_language, "
                               "software_tool, framework.";

JSON compactArgument() { return boolean("Leave out descriptions."); }

// The period of the timeline and of summary, named the same way.
JSON presetArgument() {
    return oneOfTexts({"today", "yesterday", "this-week", "last-active-day"}, "Default: today.");
}
JSON sinceArgument() { return text("Back from now: 30m, 2h, 1.5h, 1d, 1w."); }
JSON fromArgument() { return text("Start: ISO 8601, or local yyyy-MM-dd[THH:mm:ss]. With to."); }
JSON toArgument() { return text("End; a date includes its day."); }
// The week's first day, for every tool that names weeks: a host that starts
// the server without the user's locale passes the user's week.
JSON weekStartArgument() {
    return oneOfTexts({"monday", "tuesday", "wednesday", "thursday", "friday", "saturday", "sunday"},
                      "The week's first day; default: the locale's.");
}

JSON timelineInput() {
    return object(
        {
            {"preset", presetArgument()},
            {"since", sinceArgument()},
            {"from", fromArgument()},
            {"to", toArgument()},
            {"week_start", weekStartArgument()},
            {"limit", withMinimum(integer("At most this many moments, the earliest."), 0)},
            {"compact", compactArgument()},
            {"images", boolean("Add image_path (with since).")},
        },
        {});
}

JSON searchInput() {
    return object(
        {
            {"keyword", text("Words to find; any one matches unless all_words. \"A phrase\"; FTS5 syntax "
                             "unless all_words.")},
            {"all_words", boolean("Every word and phrase must occur.")},
            {"app", text("Only where this application was on screen.")},
            {"since", text("Back from now: 30m, 2h, 1d, 1w. Default: the last day.")},
            {"from", text("Earliest: ISO 8601, or local yyyy-MM-dd[THH:mm:ss].")},
            {"to", text("Latest; a date includes its day.")},
            {"latest", boolean("The newest match alone.")},
            {"limit", withMaximum(withMinimum(withDefault(integer("At most this many results."), 50), 1), 200)},
            {"collapse", boolean("Merge results with the same description.")},
            {"images", boolean("Add image_path.")},
            {"compact", compactArgument()},
        },
        {"keyword"});
}

JSON entitiesInput() {
    return object(
        {
            {"since", text("Back from now: 30m, 2h, 1d, 1w. Default: 1d.")},
            {"kind", text(kKinds)},
            {"limit", withMaximum(withMinimum(withDefault(integer("At most this many, the most seen."), 100), 1),
                                  500)},
        },
        {});
}

// The summary's periods: the timeline's, and whole weeks and months.
JSON summaryPresetArgument() {
    return oneOfTexts({"today", "yesterday", "this-week", "last-week", "this-month", "last-month",
                       "last-active-day"},
                      "Default: today. this-week and this-month end now; last-active-day is the newest "
                      "day with activity.");
}

JSON summaryInput() {
    return object(
        {
            {"preset", summaryPresetArgument()},
            {"since", sinceArgument()},
            {"from", fromArgument()},
            {"to", toArgument()},
            {"idle", withDefault(text("A longer pause ends a session: 1m to 1h."), "5m")},
            {"kind", text(kKinds)},
            {"limit", withMaximum(withMinimum(withDefault(integer("Length of the application and entity "
                                                                  "lists."),
                                                          10),
                                              1),
                                  100)},
            {"match", arrayOf(text(), "Count only observations whose description holds every word of "
                                      "one of these texts (\"quoted phrases\" as phrases; letter case, "
                                      "accents and word endings do not matter): how long on a topic.")},
            {"app", arrayOf(text(), "Count only observations showing one of these applications (any "
                                    "letter case).")},
            {"entity", arrayOf(text(), "Count only observations naming one of these entities, as VALUE "
                                       "or KIND=VALUE (any letter case), e.g. "
                                       "programming_language=Swift.")},
            {"week_start", weekStartArgument()},
            {"only", arrayOf(oneOfTexts({"sessions", "applications", "entities", "days", "coverage"}),
                             "Answer with only these sections besides the totals.")},
            {"max_chars", withMinimum(withDefault(integer("Longest answer; detail is dropped to fit "
                                                          "(meta.omitted)."),
                                                  kSummaryDefaultMaxChars),
                                      1)},
        },
        {});
}

JSON timesheetInput() {
    const JSON category = object({{"name", text("Unique, at most 64 characters")},
                                  {"rules", arrayOf(text(), "text:WORDS, app:NAME or entity:[KIND=]VALUE")}},
                                 {"name", "rules"});
    return object(
        {
            {"categories", arrayOf(category, "1 to 50, in order: a row goes to the first that matches")},
            {"preset", summaryPresetArgument()},
            {"since", sinceArgument()},
            {"from", fromArgument()},
            {"to", toArgument()},
            {"week_start", weekStartArgument()},
            {"idle", withDefault(text("Idle gap, 1m to 1h"), "5m")},
            {"max_chars", withMinimum(withDefault(integer("Longest answer; spans, then suggestions, are "
                                                          "dropped to fit"),
                                                  kSummaryDefaultMaxChars),
                                      1)},
        },
        {"categories"});
}

JSON noInput() { return object({}, {}); }

std::vector<ToolDefinition> makeCatalog() {
    return {
        {"timeline", "Work timeline",
         "What happened minute by minute in a short range: five-minute moments with a screen "
         "description, applications and entities. Keeps a range's newest 5,000 observations only; "
         "for time totals, whole days and weeks use summary.",
         timelineInput(), timelineOutputSchema()},
        {"search", "Search work memory",
         "Finds moments by the words of their screen descriptions, best match or newest first. For "
         "a moment the user remembers, use all_words with latest.",
         searchInput(), searchOutputSchema()},
        {"entities", "Entities seen",
         "Counts the apps, people, companies, projects, languages and tools seen on screen, with "
         "first and last sighting.",
         entitiesInput(), entitiesOutputSchema()},
        {"summary", "Time summary",
         "Where the time of any period went: exact active time, sessions with highlights, time per "
         "application, entity and day, within max_chars. Use it for how long, and for whole days "
         "or weeks; for how long on a topic, an application or an entity, pass match, app or entity.",
         summaryInput(), summaryOutputSchema()},
        {"timesheet", "Timesheet",
         "Puts each second of a period's active time into exactly one of the given categories (the first "
         "whose rule matches), per day and adding up exactly, with spans as evidence; to refine, call "
         "again with rules made from uncategorized.suggestions (applications as app:, entities as "
         "entity:, terms as text:).",
         timesheetInput(), timesheetOutputSchema()},
        {"status", "Recorder status",
         "The screen recorder's health: database facts, capture and analysis counters, a "
         "diagnosis with advice.",
         noInput(), statusOutputSchema()},
        {"support_context", "Support context",
         "The last two hours' screen descriptions and a condensed recorder status, for a support "
         "request about the recorder.",
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
        // Every tool only reads the user's own recorder database. The title
        // is said here only where the tool has no title of its own.
        listed["annotations"] = {{"readOnlyHint", true}, {"openWorldHint", false}};
        if (!hasStructuredToolOutput(revision)) listed["annotations"]["title"] = tool.title;
    }
    return listed;
}

}  // namespace

const std::vector<ToolDefinition>& toolCatalog() {
    static const std::vector<ToolDefinition> catalog = makeCatalog();
    return catalog;
}

const ToolDefinition* findTool(const std::string& name) {
    return findInCatalog(toolCatalog(), &ToolDefinition::name, name);
}

JSON listTools(ProtocolRevision revision) {
    JSON tools = JSON::array();
    for (const ToolDefinition& tool : toolCatalog()) tools.push_back(listedTool(tool, revision));
    return tools;
}

}  // namespace VarnholtQueryLib::MCP
