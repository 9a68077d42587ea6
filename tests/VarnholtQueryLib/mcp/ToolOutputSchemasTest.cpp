#include "mcp/ToolOutputSchemas.h"

#include <gtest/gtest.h>

#include "JSONSchemaCheck.h"
#include "entities/EntitiesResponse.h"
#include "platform/LocalCalendar.h"
#include "search/SearchResponse.h"
#include "status/StatusResponse.h"
#include "summary/SummaryBudget.h"
#include "summary/SummaryResponse.h"
#include "support_context/SupportContextResponse.h"
#include "timeline/RecentResponse.h"
#include "timesheet/TimesheetResponse.h"
#include "TestInstants.h"

using namespace VarnholtQueryLib;
using namespace VarnholtQueryLib::MCP;
using VarnholtTestSupport::schemaViolations;

namespace {

using VarnholtTestSupport::kNow;  // 2026-04-01T10:00:00Z

std::string violations(const JSON& document, const JSON& schema) {
    std::string text;
    for (const auto& line : schemaViolations(document, schema)) text += line + "\n";
    return text;
}

StatusData status(bool withMetrics, bool degraded) {
    StatusData data;
    data.dbPath = "/home/ada/.varnholt/varnholt.db";
    data.sizeBytes = 4096;
    data.schemaVersion = 24;
    if (withMetrics) {
        OperationalMetrics metrics;
        metrics.totalFrames = 3;
        metrics.totalObservations = 2;
        metrics.lastFrameTimestamp = 1775037590.5;
        metrics.firstObservationAt = 1775030000;
        data.operationalMetrics = metrics;
        data.diagnosis = "IDLE";
        data.diagnosisMessage = "No recent analysis activity.";
        data.lastDbModified = 1775037595.0;
    }
    if (degraded) {
        data.bridgeHealth = StatusData::BridgeHealth{"degraded", std::nullopt, "yesterday", std::nullopt};
    }
    return data;
}

class ToolOutputSchemasTest : public ::testing::Test {
protected:
    LocalCalendar calendar_{"Europe/Berlin", "de_DE"};
};

}  // namespace

TEST_F(ToolOutputSchemasTest, TimelineDocumentsConform) {
    RecentWorkTimelineCore::TimelineObservation row;
    row.id = "A";
    row.timestamp = 1775037000.25;
    row.vlmDescription = "Editing";
    row.apps = {"1", "2", "3", "4", "5", "6", "7", "8", "9", "10", "11"};  // truncated
    row.imagePath = "/img.png";
    const std::vector<RecentWorkTimelineCore::TimelineMoment> moments = {
        {1775036700, 1775037000, 2, row, {{"app", "Xcode", 2}}},
        {1775037000, 1775037300, 1, row, {}}};
    const TimeRange range{kNow - 3600, kNow, "recent"};
    for (const bool images : {false, true}) {
        for (const bool compact : {false, true}) {
            for (const auto limit : {std::optional<std::int64_t>{}, std::optional<std::int64_t>{0}}) {
                const JSON document = makeRecentResponse(moments, range, images, compact, limit, calendar_, kNow);
                EXPECT_EQ(violations(document, timelineOutputSchema()), "");
            }
        }
    }
    row.imagePath.reset();
    const JSON withoutImage = makeRecentResponse({{1775036700, 1775037000, 1, row, {}}}, range, true, false,
                                                 std::nullopt, calendar_, kNow);
    EXPECT_EQ(violations(withoutImage, timelineOutputSchema()), "");
}

TEST_F(ToolOutputSchemasTest, SearchDocumentsConform) {
    ObservationSearchResult result;
    result.observationId = "B";
    result.frameTimestamp = 1775037000.5;
    result.vlmDescription = "Reading mail";
    result.apps = {"Mail"};
    result.entities = {{"app", "Mail"}};
    ObservationSearchParams params;
    params.keyword = "mail";
    params.limit = 2;
    for (const bool images : {false, true}) {
        for (const bool compact : {false, true}) {
            const JSON plain = makeSearchResponse({result, result}, params, compact, images, std::nullopt, calendar_, kNow);
            EXPECT_EQ(violations(plain, searchOutputSchema()), "");
        }
    }
    params.appFilter = "Mail";
    params.fromTs = kNow - 60;
    params.toTs = kNow;
    params.latestOnly = true;
    const JSON collapsed = makeSearchResponse({result}, params, false, true, 2, calendar_, kNow);
    ASSERT_TRUE(collapsed["meta"].contains("collapsed_from"));
    EXPECT_EQ(violations(collapsed, searchOutputSchema()), "");
    EXPECT_EQ(violations(makeSearchResponse({}, params, false, false, std::nullopt, calendar_, kNow),
                         searchOutputSchema()),
              "");
}

TEST_F(ToolOutputSchemasTest, EntitiesDocumentsConform) {
    const std::vector<EntityAggregation> entities = {{"app", "Xcode", 4, 1775030000, 1775037000}};
    EntityQueryParams params;
    EXPECT_EQ(violations(makeEntitiesResponse(entities, params, calendar_, kNow), entitiesOutputSchema()), "");
    params.kind = "app";
    params.fromTs = kNow - 7200;
    params.toTs = kNow;
    EXPECT_EQ(violations(makeEntitiesResponse(entities, params, calendar_, kNow), entitiesOutputSchema()), "");
}

TEST_F(ToolOutputSchemasTest, SummaryDocumentsConform) {
    SummaryFindings findings;
    ActivityAccount& account = findings.account;
    account.activeSeconds = 600.5;
    account.observationCount = 3;
    account.firstActivity = kNow - 900;
    account.lastActivity = kNow - 300;
    ActivitySession session{kNow - 900, kNow, 600.5, 3, {{"Xcode", 600, 3}}, {{kNow - 900, 0, "Editing"}}};
    account.sessions = {session, session};
    account.applications = {{"Xcode", 600, 3}, {"Safari", 0.5, 1}};
    account.entities = {{"app", "Xcode", 600, 3, kNow - 900, kNow - 300}};
    account.days = {{"2026-04-01", 600.5, 3, kNow - 900, kNow - 300, 1, {{"Xcode", 600, 3}}}};
    findings.coverage = {{5, 3, 1, 1}, {{kNow - 7200, kNow - 900}}, std::nullopt};
    const TimeRange range{kNow - 86400, kNow, "recent"};
    const auto echo = [&](double idle, std::optional<std::string> kind, std::int64_t limit,
                          std::optional<std::int64_t> maxChars) {
        SummaryEcho asked;
        asked.range = range;
        asked.idleSeconds = idle;
        asked.kind = std::move(kind);
        asked.limit = limit;
        asked.maxChars = maxChars;
        return asked;
    };
    const JSON full = makeSummaryResponse(findings, echo(300, std::nullopt, 10, std::nullopt), calendar_, kNow);
    EXPECT_EQ(violations(full, summaryOutputSchema()), "");
    const JSON budgeted = makeSummaryResponse(findings, echo(90, "app", 5, 1500), calendar_, kNow);
    ASSERT_EQ(budgeted["meta"]["truncated"], true);
    EXPECT_EQ(violations(budgeted, summaryOutputSchema()), "");
    SummaryFindings empty;
    empty.coverage = FrameCoverage{};
    empty.coverage->verdict = "No frames were captured in this range: the recorder was not capturing the screen.";
    EXPECT_EQ(violations(makeSummaryResponse(empty, echo(300, std::nullopt, 10, std::nullopt), calendar_, kNow),
                         summaryOutputSchema()),
              "");
    // A selection, a day without rows, and only some sections.
    SummaryFindings selected = findings;
    selected.account.days.push_back({"2026-04-02", 0, 0, std::nullopt, std::nullopt, 0, {}});
    SummaryEcho narrowed = echo(300, std::nullopt, 10, std::nullopt);
    narrowed.match = {"invoice exporter"};
    narrowed.app = {"Xcode"};
    narrowed.entity = {"programming_language=Swift"};
    narrowed.weekStart = "monday";
    EXPECT_EQ(violations(makeSummaryResponse(selected, narrowed, calendar_, kNow), summaryOutputSchema()), "");
    narrowed.only = std::vector<std::string>{"days"};
    narrowed.sections = *SummarySections::named(*narrowed.only);
    EXPECT_EQ(violations(makeSummaryResponse(selected, narrowed, calendar_, kNow), summaryOutputSchema()), "");
}

TEST_F(ToolOutputSchemasTest, TimesheetDocumentsConform) {
    TimesheetFindings findings;
    TimesheetAccount& account = findings.account;
    account.activeSeconds = 900.5;
    account.observationCount = 4;
    account.days = {{"2026-03-31", 0}, {"2026-04-01", 900.5}};
    const TimesheetSpan span{kNow - 900, kNow - 300, 600, 2, "Editing"};
    account.categories = {{600, 2, {0, 600}, {span}}, {0, 0, {0, 0}, {}}};
    account.uncategorized = {300.5, 2, {0, 300.5}, {{kNow - 300, kNow, 300.5, 2, "Reading"}}};
    account.suggestions.applications = {{"Safari", 300.5, 2}};
    account.suggestions.entities = {{"app", "Safari", 300.5, 2, kNow - 300, kNow - 1}};
    account.suggestions.terms = {{"reading", 300.5}, {"reading mail", 10}};
    findings.coverage = {{5, 3, 1, 1}, {{kNow - 7200, kNow - 900}}, std::nullopt};
    TimesheetEcho echo;
    echo.range = {kNow - 86400, kNow, "recent"};
    echo.categories = {{"Coding", {"app:Xcode"}}, {"Design", {"app:Figma", "text:mockup"}}};
    const JSON full = makeTimesheetResponse(findings, echo, calendar_, kNow);
    EXPECT_EQ(violations(full, timesheetOutputSchema()), "");
    echo.weekStart = "monday";
    echo.maxChars = printedCharacters(full) - 10;
    const JSON budgeted = makeTimesheetResponse(findings, echo, calendar_, kNow);
    ASSERT_EQ(budgeted["meta"]["truncated"], true);
    EXPECT_EQ(violations(budgeted, timesheetOutputSchema()), "");
    TimesheetFindings empty;
    empty.account.categories = {{0, 0, {}, {}}, {0, 0, {}, {}}};
    empty.coverage.verdict = "No frames were captured in this range: the recorder was not capturing the screen.";
    echo.maxChars.reset();
    EXPECT_EQ(violations(makeTimesheetResponse(empty, echo, calendar_, kNow), timesheetOutputSchema()), "");
}

TEST_F(ToolOutputSchemasTest, StatusAndSupportContextDocumentsConform) {
    const SupportContextSnapshot context{kNow, 7200, {{kNow - 10, "Writing", {"Pages"}}}};
    for (const bool withMetrics : {false, true}) {
        for (const bool degraded : {false, true}) {
            const StatusData data = status(withMetrics, degraded);
            EXPECT_EQ(violations(makeStatusResponse(data, calendar_), statusOutputSchema()), "");
            EXPECT_EQ(violations(makeSupportContextResponse(context, data, calendar_),
                                 supportContextOutputSchema()),
                      "");
        }
    }
}

TEST_F(ToolOutputSchemasTest, ErrorEnvelopesConformToEverySchema) {
    const JSON failure = makeErrorEnvelope("DB_NOT_FOUND", "Database not found at /x", kNow);
    for (const JSON& schema : {timelineOutputSchema(), searchOutputSchema(), entitiesOutputSchema(),
                               summaryOutputSchema(), timesheetOutputSchema(), statusOutputSchema(),
                               supportContextOutputSchema()}) {
        EXPECT_EQ(violations(failure, schema), "");
    }
    JSON textualError = failure;
    textualError["error"] = "DB_NOT_FOUND";
    EXPECT_NE(violations(textualError, statusOutputSchema()), "");
    JSON withoutMeta = failure;
    withoutMeta.erase("meta");
    EXPECT_NE(violations(withoutMeta, statusOutputSchema()), "");
}

TEST_F(ToolOutputSchemasTest, ADocumentConformsOnlyToItsOwnToolsSchema) {
    const JSON entities = makeEntitiesResponse({}, EntityQueryParams{}, calendar_, kNow);
    EXPECT_EQ(violations(entities, entitiesOutputSchema()), "");
    for (const JSON& schema : {timelineOutputSchema(), searchOutputSchema(), summaryOutputSchema(),
                               timesheetOutputSchema(), statusOutputSchema(), supportContextOutputSchema()}) {
        EXPECT_NE(violations(entities, schema), "");
    }
    JSON grown = entities;
    grown["data"]["people"] = JSON::array();
    EXPECT_NE(violations(grown, entitiesOutputSchema()), "");
    JSON listAsText = entities;
    listAsText["data"]["entities"] = "none";
    EXPECT_NE(violations(listAsText, entitiesOutputSchema()), "");
    JSON withoutMeta = entities;
    withoutMeta["meta"] = "none";
    EXPECT_NE(violations(withoutMeta, entitiesOutputSchema()), "");
}

// Every session pays for the schemas, so they give the top-level shape only:
// no description, the members of "data" by their type, and "error" and
// "meta" as objects or null.
TEST_F(ToolOutputSchemasTest, SchemasDescribeTheTopLevelOnly) {
    for (const JSON& schema : {timelineOutputSchema(), searchOutputSchema(), entitiesOutputSchema(),
                               summaryOutputSchema(), statusOutputSchema(), supportContextOutputSchema()}) {
        EXPECT_EQ(schema.dump().find("description"), std::string::npos);
        for (const auto& [name, member] : schema["properties"]["data"]["properties"].items()) {
            EXPECT_FALSE(member.contains("properties") || member.contains("items")) << name;
        }
        for (const char* part : {"error", "meta"}) {
            EXPECT_EQ(schema["properties"][part], JSON::parse(R"({"type":["object","null"]})")) << part;
        }
    }
}
