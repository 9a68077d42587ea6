#include "mcp/ToolOutputSchemas.h"

#include "mcp/JSONSchema.h"

namespace VarnholtQueryLib::MCP {

namespace {

using namespace JSONSchema;

// Members are given by their JSON type alone, nothing of what is inside an
// array or object: every session pays for the schemas before its first
// question, and the top-level shape is what a host checks a result by.
JSON list() { return anyArray(); }
JSON record() { return anyObject(); }

// An answer: this tool's "data" (null in an error envelope), "ok",
// "api_version" 2, "error" (null on success) and "meta" (null in an error
// envelope). "error" and "meta" are the same kind of object for every tool,
// described once in the manual page.
JSON envelope(JSON data) {
    return objectRequiringAll({
        {"ok", boolean()},
        {"api_version", constant(2)},
        {"data", nullable(std::move(data))},
        {"error", nullable(record())},
        {"meta", nullable(record())},
    });
}

}  // namespace

JSON timelineOutputSchema() { return envelope(objectRequiringAll({{"moments", list()}})); }

JSON searchOutputSchema() { return envelope(objectRequiringAll({{"results", list()}})); }

JSON entitiesOutputSchema() { return envelope(objectRequiringAll({{"entities", list()}})); }

JSON summaryOutputSchema() {
    return envelope(objectRequiringAll({
        {"active_seconds", integer()},
        {"observation_count", integer()},
        {"session_count", integer()},
        {"first_activity_iso", nullable(text())},
        {"last_activity_iso", nullable(text())},
        {"sessions", list()},
        {"applications", list()},
        {"entities", list()},
        {"days", list()},
        {"coverage", record()},
    }));
}

JSON statusOutputSchema() {
    return envelope(object(
        {
            {"database", record()},
            {"recorder_likely_active", boolean()},
            {"last_db_modified", nullable(text())},
            {"operational", record()},
            {"bridge_health", record()},
        },
        {"database", "recorder_likely_active", "last_db_modified"}));
}

JSON supportContextOutputSchema() {
    return envelope(objectRequiringAll({
        {"context_window_seconds", integer()},
        {"recent_observations", list()},
        {"status", record()},
    }));
}

}  // namespace VarnholtQueryLib::MCP
