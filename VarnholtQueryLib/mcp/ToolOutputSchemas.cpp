#include "mcp/ToolOutputSchemas.h"

#include "mcp/JSONSchema.h"

namespace VarnholtQueryLib::MCP {

namespace {

using namespace JSONSchema;

JSON utcTime(const std::string& description) {
    return text(description + ", ISO 8601 in UTC (2026-04-01T09:30:00Z)");
}

// A time taken from the database; null when the value stored there is not
// a finite number.
JSON storedInstant() {
    return nullable(number("Seconds since 1970-01-01 UTC, with fractions"));
}

JSON errorEnvelope() {
    return objectRequiringAll(
        {
            {"ok", constant(false)},
            {"api_version", constant(2)},
            {"data", constant(nullptr)},
            {"error", objectRequiringAll({
                          {"code", oneOfTexts({"DB_NOT_FOUND", "DB_LOCKED", "SCHEMA_MISMATCH",
                                               "INVALID_TIME_RANGE", "UNKNOWN_ERROR"},
                                              "What went wrong, for an agent to branch on")},
                          {"message", text("What went wrong, for a person")},
                          {"timestamp", utcTime("When it failed")},
                      })},
            {"meta", constant(nullptr)},
        },
        "The call failed");
}

// The answer: this tool's success document or the error envelope.
JSON envelope(JSON data, JSON meta) {
    return eitherObject(objectRequiringAll(
                            {
                                {"ok", constant(true)},
                                {"api_version", constant(2)},
                                {"data", std::move(data)},
                                {"error", constant(nullptr)},
                                {"meta", std::move(meta)},
                            },
                            "The answer"),
                        errorEnvelope());
}

JSON applications() {
    return arrayOf(text(), "Applications visible on screen, de-duplicated");
}

// What the answers that depend on "now" say about the user's clock.
JSON timeZone() { return text("The user's time zone, e.g. Europe/Berlin"); }
JSON currentDate() { return text("Today in the user's zone, yyyy-MM-dd"); }
JSON currentDateTime() { return text("Now in the user's zone, ISO 8601 with offset"); }

JSON diagnosis() {
    return nullable(oneOfTexts({"NO_DATA", "NO_CAPTURE", "HEALTHY", "BRIDGE_DEAD", "IDLE",
                                "BACKPRESSURE"},
                               "The pipeline's state; null without metrics"));
}

JSON operational() {
    return objectRequiringAll({
        {"total_frames", integer()},
        {"total_observations", integer()},
        {"pending_frames", integer("Frames waiting for analysis")},
        {"coverage_percent", number("Observations per frame, a ratio despite the name")},
        {"last_frame_at", nullable(utcTime("Newest frame"))},
        {"last_observation_at", nullable(utcTime("Newest observation"))},
        {"frames_last_5min", integer()},
        {"observations_last_5min", integer()},
        {"diagnosis", diagnosis()},
        {"diagnosis_message", nullable(text("Advice for the user"))},
    });
}

// Present only while the analysis bridge is degraded.
JSON bridgeHealth() {
    return objectRequiringAll({
        {"status", constant("degraded")},
        {"last_error_reason", nullable(text())},
        {"report_timestamp", nullable(text("As the recorder wrote it"))},
        {"report_path", nullable(text())},
    });
}

JSON momentRepresentative() {
    return object(
        {
            {"observation_id", text()},
            {"timestamp", storedInstant()},
            {"timestamp_iso", utcTime("The observation's time")},
            {"applications", applications()},
            {"applications_truncated", constant(true)},
            {"vlm_description", text("What the screen showed, personal data masked; absent when compact")},
            {"image_path", nullable(text("The frame's image file; only with images"))},
        },
        {"observation_id", "timestamp", "timestamp_iso", "applications"});
}

}  // namespace

JSON timelineOutputSchema() {
    const JSON moment = objectRequiringAll({
        {"bucket_start_iso", utcTime("Start of the five-minute moment")},
        {"bucket_end_iso", utcTime("End of the five-minute moment")},
        {"observation_count", integer()},
        {"representative", momentRepresentative()},
        {"entities", arrayOf(objectRequiringAll({
                                 {"kind", text()},
                                 {"value", text()},
                                 {"count", integer()},
                             }),
                             "The moment's entities, most frequent first")},
    });
    return envelope(
        objectRequiringAll({{"moments", arrayOf(moment, "Oldest first")}}),
        objectRequiringAll({
            {"query", objectRequiringAll({
                          {"preset", oneOfTexts({"today", "yesterday", "this-week",
                                                 "last-active-day", "recent", "range"})},
                          {"from", utcTime("Start of the range")},
                          {"to", utcTime("End of the range")},
                      })},
            {"timezone", timeZone()},
            {"current_date", currentDate()},
            {"current_datetime", currentDateTime()},
            {"returned_moments", integer()},
            {"total_moments", integer()},
            {"has_more", boolean("Whether more moments follow")},
        }));
}

JSON searchOutputSchema() {
    const JSON result = object(
        {
            {"observation_id", text()},
            {"timestamp", storedInstant()},
            {"timestamp_iso", utcTime("The observation's time")},
            {"applications", applications()},
            {"entities", arrayOf(objectRequiringAll({{"kind", text()}, {"value", text()}}))},
            {"vlm_description", text("What the screen showed, personal data masked; absent when compact")},
            {"image_path", nullable(text("The frame's image file; only with images"))},
        },
        {"observation_id", "timestamp", "timestamp_iso", "applications", "entities"});
    return envelope(
        objectRequiringAll({{"results", arrayOf(result)}}),
        object(
            {
                {"query", objectRequiringAll({
                              {"keyword", text()},
                              {"app_filter", nullable(text())},
                              {"from", nullable(utcTime("Earliest time"))},
                              {"to", nullable(utcTime("Latest time"))},
                              {"latest_only", boolean()},
                              {"limit", integer()},
                          })},
                {"timezone", timeZone()},
                {"current_date", currentDate()},
                {"current_datetime", currentDateTime()},
                {"returned_results", integer()},
                {"has_more", boolean("The limit was reached; more results likely")},
                {"collapsed_from", integer("Results before collapsing, when collapsing merged any")},
            },
            {"query", "timezone", "current_date", "current_datetime", "returned_results",
             "has_more"}));
}

JSON entitiesOutputSchema() {
    const JSON entity = objectRequiringAll({
        {"kind", text()},
        {"value", text()},
        {"count", integer()},
        {"first_seen_iso", utcTime("First sighting")},
        {"last_seen_iso", utcTime("Last sighting")},
    });
    return envelope(
        objectRequiringAll({{"entities", arrayOf(entity, "Most frequent first")}}),
        object(
            {
                {"timezone", timeZone()},
                {"current_date", currentDate()},
                {"current_datetime", currentDateTime()},
                {"returned_entities", integer()},
                {"kind_filter", text()},
                {"from", utcTime("Start of the window")},
                {"to", utcTime("End of the window")},
            },
            {"timezone", "current_date", "current_datetime", "returned_entities"}));
}

JSON summaryOutputSchema() {
    const auto seconds = [](const std::string& description) {
        return integer(description + ", whole seconds (rounded)");
    };
    const auto applicationTimes = [&](const std::string& description) {
        return arrayOf(objectRequiringAll({
                           {"name", text("As the earliest observation spells it")},
                           {"visible_seconds", seconds("Time it was on screen")},
                       }),
                       description);
    };
    const JSON session = objectRequiringAll({
        {"start_iso", utcTime("Its first observation")},
        {"end_iso", utcTime("Its last observation plus that one's cover")},
        {"active_seconds", seconds("Active time")},
        {"observation_count", integer()},
        {"applications", applicationTimes("Its three most visible applications")},
        {"highlights", arrayOf(text(), "Up to three distinct descriptions, personal data masked, in time order")},
    });
    const JSON application = objectRequiringAll({
        {"name", text("As the earliest observation spells it")},
        {"visible_seconds", seconds("Time it was on screen; applications overlap")},
        {"observation_count", integer("Observations that list it")},
    });
    const JSON entity = objectRequiringAll({
        {"kind", text()},
        {"value", text()},
        {"seconds", seconds("Time it was seen")},
        {"count", integer("Observations that list it")},
        {"first_seen_iso", utcTime("First sighting")},
        {"last_seen_iso", utcTime("Last sighting")},
    });
    const JSON day = objectRequiringAll({
        {"date", text("The user's local day, yyyy-MM-dd")},
        {"active_seconds", seconds("Active time")},
        {"observation_count", integer()},
        {"first_activity_iso", nullable(utcTime("Its first observation; null on a day without any"))},
        {"last_activity_iso", nullable(utcTime("Its last observation; null on a day without any"))},
        {"session_count", integer("Sessions that start on it")},
        {"applications", applicationTimes("Its three most visible applications")},
    });
    const JSON coverage = object(
        {
            {"frames", integer("Frames captured in the range")},
            {"analyzed_frames", integer()},
            {"pending_frames", integer("Frames the model has not analysed yet")},
            {"failed_frames", integer()},
            {"observations", integer("Observations of the range, selected or not")},
            {"selected_observations", integer("Observations the selection picked, when there is one")},
            {"gaps", arrayOf(objectRequiringAll({{"from_iso", utcTime("Start")}, {"to_iso", utcTime("End")}}),
                             "Half an hour or more without any frame")},
            {"verdict", nullable(text("Why there is nothing to count; null when there is"))},
        },
        {"frames", "analyzed_frames", "pending_frames", "failed_frames", "observations", "gaps", "verdict"});
    // Counts of the sections the answer holds.
    const JSON omitted = object(
        {
            {"highlights", integer()},
            {"session_applications", integer()},
            {"day_applications", integer()},
            {"gaps", integer()},
            {"entities", integer()},
            {"applications", integer()},
            {"sessions", integer()},
            {"days", integer()},
        },
        {});
    return envelope(
        // The totals always; each section when asked for (all without only).
        object(
            {
                {"active_seconds", seconds("Active time of the range")},
                {"observation_count", integer("Observations counted")},
                {"session_count", integer()},
                {"first_activity_iso", nullable(utcTime("First observation"))},
                {"last_activity_iso", nullable(utcTime("Last observation"))},
                {"sessions", arrayOf(session, "Oldest first")},
                {"applications", arrayOf(application, "Most visible first")},
                {"entities", arrayOf(entity, "Most seen first")},
                {"days", arrayOf(day, "Every day of the range, oldest first")},
                {"coverage", coverage},
            },
            {"active_seconds", "observation_count", "first_activity_iso", "last_activity_iso"}),
        objectRequiringAll({
            {"query", object(
                          {
                              {"preset", oneOfTexts({"today", "yesterday", "this-week", "last-week",
                                                     "this-month", "last-month", "last-active-day",
                                                     "recent", "range"})},
                              {"from", utcTime("Start of the range")},
                              {"to", utcTime("End of the range")},
                              {"idle_seconds", number("The idle gap")},
                              {"kind", nullable(text("Entities of this kind only"))},
                              {"limit", integer("Entries of the applications and entities lists")},
                              {"max_chars", nullable(integer("The budget of the answer in characters"))},
                              {"match", arrayOf(text(), "Texts of the selection, as given")},
                              {"app", arrayOf(text(), "Applications of the selection, as given")},
                              {"entity", arrayOf(text(), "Entities of the selection, as given")},
                              {"week_start", text("The first day of the week, as given")},
                              {"only", arrayOf(text(), "The sections asked for, as given")},
                          },
                          {"preset", "from", "to", "idle_seconds", "kind", "limit", "max_chars"})},
            {"truncated", boolean("Whether detail was dropped to fit max_chars")},
            {"omitted", omitted},
            {"timezone", timeZone()},
            {"current_date", currentDate()},
            {"current_datetime", currentDateTime()},
        }));
}

// The members of data and meta by their JSON type alone: every session pays
// for a tool's schemas before its first question, the top-level shape is
// what a host checks a result by, and the tool's description says how to
// read the rest.
JSON timesheetOutputSchema() {
    return envelope(objectRequiringAll({
                        {"active_seconds", integer()},
                        {"observation_count", integer()},
                        {"categories", anyArray()},
                        {"uncategorized", anyObject()},
                        {"days", anyArray()},
                        {"coverage", anyObject()},
                    }),
                    anyObject());
}

JSON statusOutputSchema() {
    const JSON database = object(
        {
            {"path", text()},
            {"size_bytes", integer()},
            {"schema_version", integer("The lowest schema version this tool reads")},
            {"total_observations", integer()},
            {"first_observation_at", nullable(utcTime("Oldest observation"))},
            {"last_observation_at", nullable(utcTime("Newest observation"))},
        },
        {"path", "size_bytes", "schema_version"});
    return envelope(
        object(
            {
                {"database", database},
                {"recorder_likely_active", boolean("The database changed in the last minute")},
                {"last_db_modified", nullable(utcTime("Last change of the database file"))},
                {"operational", operational()},
                {"bridge_health", bridgeHealth()},
            },
            {"database", "recorder_likely_active", "last_db_modified"}),
        objectRequiringAll({{"timezone", timeZone()}}));
}

JSON supportContextOutputSchema() {
    const JSON observation = objectRequiringAll({
        {"timestamp", utcTime("The observation's time")},
        {"vlm_description", text()},
        {"applications", applications()},
    });
    const JSON status = object(
        {
            {"recorder_likely_active", boolean("The database changed in the last minute")},
            {"last_db_modified", nullable(utcTime("Last change of the database file"))},
            {"operational", operational()},
            {"bridge_health", bridgeHealth()},
        },
        {"recorder_likely_active", "last_db_modified"});
    return envelope(
        objectRequiringAll({
            {"context_window_seconds", integer()},
            {"recent_observations", arrayOf(observation, "Newest first, distinct descriptions")},
            {"status", status},
        }),
        objectRequiringAll({
            {"timezone", timeZone()},
            {"current_datetime", currentDateTime()},
        }));
}

}  // namespace VarnholtQueryLib::MCP
