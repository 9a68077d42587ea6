// The command-line front end as callers see it: which stream gets what, the
// exit statuses, the error envelopes, the time words, and the database checks
// that every database command makes before it runs.

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <regex>

#include "DatabaseLockHolder.h"
#include "ErrorEnvelope.h"
#include "RecorderSchema.h"
#include "TemporaryHome.h"

namespace command_line_test {

using namespace VarnholtTestSupport;

namespace {

const std::string kHelpText =
    "varnholt-query \xE2\x80\x94 Agent-native work memory interface\n"
    "\n"
    "USAGE:\n"
    "  varnholt-query [command] [options]\n"
    "\n"
    "COMMANDS:\n"
    "  today                 Activity from today (default)\n"
    "  yesterday             Activity from yesterday\n"
    "  this-week             Activity from this week\n"
    "  last-active-day       Most recent day with activity\n"
    "  recent --since <dur>  Moment timeline (e.g., 2h, 30m, 1d, 1w)\n"
    "  range --from <iso> --to <iso>  Custom time range\n"
    "  search <keyword>      Search observations (FTS5, BM25 ranked)\n"
    "  entities              Aggregated entity data (tools, languages, apps)\n"
    "  summary [period]      Active time per app, session and day (e.g., summary last-week)\n"
    "  timesheet [period] --category NAME=RULE[|RULE...]  Time per category, each second once\n"
    "  support-context       Machine-oriented support-draft context summary\n"
    "  status                Health check and database stats\n"
    "  top                   Live pipeline monitor (Ctrl+C to exit)\n"
    "\n"
    "OPTIONS:\n"
    "  --since <duration>    Time window (e.g., 2h, 30m, 1d, 1w)\n"
    "  --images              Include image_path in output (explicit escalation)\n"
    "  --kind <entity_kind>  Filter entities by kind (e.g., programming_language, app)\n"
    "  --idle <duration>     Idle gap that ends a session (summary; 1m to 1h, default 5m)\n"
    "  --max-chars N         Longest answer in characters; summary drops detail to fit\n"
    "  --match <words>       Summary of the observations whose description holds the words\n"
    "  --app <name>          Observations showing this application (search, summary)\n"
    "  --entity [kind=]value Summary of the observations naming this entity\n"
    "  --week-start <day>    First day of this-week and last-week (monday..sunday)\n"
    "  --only <sections>     Summary sections: sessions,applications,entities,days,coverage\n"
    "  --category NAME=RULE  A timesheet category; rules text:WORDS, app:NAME, entity:[KIND=]VALUE\n"
    "  --categories FILE     Timesheet categories as JSON: [{\"name\": ..., \"rules\": [...]}]\n"
    "  --format <format>     json (default), html (a page: summary, timesheet), csv (timesheet)\n"
    "  --compact             Omit description and topics fields\n"
    "  --full                Include description and topics fields\n"
    "  --collapse            Deduplicate search results by description\n"
    "  --all-words           Search results must contain every word and phrase\n"
    "  --json                JSON output (default for piped output)\n"
    "  --limit N             Limit results shown\n"
    "  --help, -h            Show this help\n"
    "  --version, -v         Show version\n"
    "\n"
    "OUTPUT:\n"
    "  JSON to stdout, logs/errors to stderr.\n"
    "  Exit 0 on success (even empty data), non-zero on failure.";

const std::string kCommandList = R"({
  "commands": [
    {"name": "today", "args": [], "flags": ["--json", "--compact", "--full", "--limit"]},
    {"name": "yesterday", "args": [], "flags": ["--json", "--compact", "--full", "--limit"]},
    {"name": "this-week", "args": [], "flags": ["--week-start", "--json", "--compact", "--full", "--limit"]},
    {"name": "last-active-day", "args": [], "flags": ["--json", "--compact", "--full", "--limit"]},
    {"name": "recent", "args": ["--since"], "flags": ["--since", "--images", "--compact", "--full", "--limit"]},
    {"name": "range", "args": ["--from", "--to"], "flags": ["--from", "--to", "--json", "--compact", "--full", "--limit"]},
    {"name": "search", "args": ["keyword"], "flags": ["--since", "--app", "--from", "--to", "--latest", "--limit", "--compact", "--images", "--collapse", "--all-words"]},
    {"name": "entities", "args": [], "flags": ["--since", "--kind", "--limit"]},
    {"name": "summary", "args": [], "flags": ["--since", "--from", "--to", "--week-start", "--match", "--app", "--entity", "--only", "--idle", "--kind", "--limit", "--max-chars", "--format", "--json"]},
    {"name": "timesheet", "args": [], "flags": ["--category", "--categories", "--since", "--from", "--to", "--week-start", "--idle", "--max-chars", "--format", "--json"]},
    {"name": "status", "args": [], "flags": ["--json"]},
    {"name": "top", "args": [], "flags": []}
  ]
}
)";

// Wednesday 1 April 2026, 10:00 UTC.
constexpr const char* kFrozenTime = "2026-04-01 10:00:00";

InvocationOptions frozen(const std::string& zone = "UTC", const std::string& language = "en_US.UTF-8") {
    InvocationOptions options;
    options.timeZone = zone;
    options.language = language;
    options.frozenTime = kFrozenTime;
    return options;
}

// An empty recorder database at the home's default location.
void createDatabase(const TemporaryHome& home, std::int32_t version = 24) {
    home.varnholtDirectory();
    sqlite3* handle = VarnholtSampleData::openWritableDatabase(home.databasePath());
    VarnholtSampleData::createRecorderSchema(handle, version);
    sqlite3_close(handle);
}

// The error envelope the binary prints, with its timestamp as given.
// The "query" block of a timeline answer: from, preset and to.
std::string timelineQuery(const ProcessResult& result) {
    static const std::regex query(R"re("query" : \{\n\s*"from" : "([^"]*)",\n\s*"preset" : "([^"]*)",\n\s*"to" : "([^"]*)")re");
    std::smatch match;
    if (!std::regex_search(result.standardOutput, match, query)) return "<no query>";
    return match[1].str() + " " + match[2].str() + " " + match[3].str();
}

void expectFailure(const ProcessResult& result, const std::string& code, const std::string& message) {
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardOutput, errorEnvelope(code, message));
    EXPECT_EQ(result.standardError, "");
}

}  // namespace

TEST(CommandLineTest, NoArgumentsAnswersToday) {
    TemporaryHome home;
    createDatabase(home);
    const ProcessResult result = home.run({}, frozen());
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardError, "");
    EXPECT_EQ(result.standardOutput,
              "{\n"
              "  \"api_version\" : 2,\n"
              "  \"data\" : {\n"
              "    \"moments\" : [\n"
              "\n"
              "    ]\n"
              "  },\n"
              "  \"error\" : null,\n"
              "  \"meta\" : {\n"
              "    \"current_date\" : \"2026-04-01\",\n"
              "    \"current_datetime\" : \"2026-04-01T10:00:00Z\",\n"
              "    \"has_more\" : false,\n"
              "    \"query\" : {\n"
              "      \"from\" : \"2026-04-01T00:00:00Z\",\n"
              "      \"preset\" : \"today\",\n"
              "      \"to\" : \"2026-04-02T00:00:00Z\"\n"
              "    },\n"
              "    \"returned_moments\" : 0,\n"
              "    \"timezone\" : \"UTC\",\n"
              "    \"total_moments\" : 0\n"
              "  },\n"
              "  \"ok\" : true\n"
              "}\n");
    // A limit that is not a number is no limit at all.
    EXPECT_EQ(home.run({"--limit", "abc"}, frozen()).standardOutput, result.standardOutput);
    EXPECT_EQ(home.run({"today", "--json"}, frozen()).standardOutput, result.standardOutput);
}

TEST(CommandLineTest, HelpGoesToStandardErrorByteForByte) {
    TemporaryHome home;
    for (const std::vector<std::string>& words :
         std::vector<std::vector<std::string>>{{"--help"}, {"-h"}, {"help"}, {"--help", "status"},
                                               {"status", "-h"}, {"-h", "--json"}, {"help", "--json"},
                                               {"search", "x", "--help"}}) {
        const ProcessResult result = home.run(words);
        EXPECT_EQ(result.exitStatus, 0) << words[0];
        EXPECT_EQ(result.standardOutput, "") << words[0];
        EXPECT_EQ(result.standardError, kHelpText) << words[0];
    }
}

TEST(CommandLineTest, LongHelpWithJsonListsTheCommands) {
    TemporaryHome home;
    for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{
             {"--help", "--json"}, {"--json", "--help"}, {"frobnicate", "--json", "x", "--help"}}) {
        const ProcessResult result = home.run(words);
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_EQ(result.standardOutput, kCommandList);
        EXPECT_EQ(result.standardError, "");
    }
}

TEST(CommandLineTest, VersionLineOnStandardOutput) {
    TemporaryHome home;
    const std::regex versionLine(R"(varnholt-query 0\.6\.6-beta \([0-9a-f]{7}\)\n)");
    for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{
             {"--version"}, {"-v"}, {"version"}, {"status", "--version"}, {"version", "today"}}) {
        const ProcessResult result = home.run(words);
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_TRUE(std::regex_match(result.standardOutput, versionLine)) << result.standardOutput;
        EXPECT_EQ(result.standardError, "");
    }
}

TEST(CommandLineTest, UnknownCommand) {
    TemporaryHome home;
    expectFailure(home.run({"frobnicate"}, frozen()), "INVALID_TIME_RANGE",
                  "Unrecognized command 'frobnicate'. Use --help for usage.");
}

TEST(CommandLineTest, ErrorTimestampIsNowInUTC) {
    TemporaryHome home;
    const ProcessResult result = home.run({"frobnicate"});
    static const std::regex stamp(R"("timestamp" : "\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ")");
    EXPECT_TRUE(std::regex_search(result.standardOutput, stamp)) << result.standardOutput;
}

TEST(CommandLineTest, MissingDatabaseIsReportedAndNotCreated) {
    TemporaryHome home;
    const std::string path = home.path() + "/.varnholt/varnholt.db";
    const std::string escaped = std::regex_replace(path, std::regex("/"), "\\/");
    for (const char* command : {"today", "yesterday", "this-week", "last-active-day", "search",
                                "entities", "status", "support-context"}) {
        std::vector<std::string> words = {command};
        if (std::string(command) == "search") words.push_back("invoice");
        expectFailure(home.run(words, frozen()), "DB_NOT_FOUND", "Database not found at " + escaped);
    }
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_FALSE(std::filesystem::exists(home.path() + "/.varnholt"));
}

TEST(CommandLineTest, OlderSchemasAreRefused) {
    for (const std::int32_t version : {23, 0}) {
        TemporaryHome home;
        createDatabase(home, version);
        expectFailure(home.run({"today"}, frozen()), "SCHEMA_MISMATCH",
                      "Database schema version " + std::to_string(version) + ", expected >= 24");
    }
}

TEST(CommandLineTest, CurrentAndNewerSchemasAnswer) {
    for (const std::int32_t version : {24, 30}) {
        TemporaryHome home;
        createDatabase(home, version);
        const ProcessResult result = home.run({"today"}, frozen());
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_NE(result.standardOutput.find("\"ok\" : true"), std::string::npos);
    }
}

TEST(CommandLineTest, DatabaseLockedByTheRecorder) {
    TemporaryHome home;
    createDatabase(home);
    DatabaseLockHolder recorder(home.databasePath());
    expectFailure(home.run({"today"}, frozen()), "DB_LOCKED",
                  "Database is locked by the recorder. Try again in a moment.");
}

TEST(CommandLineTest, RecentNeedsAWellFormedDuration) {
    TemporaryHome home;
    createDatabase(home);
    const std::string usage = "'recent' requires --since <duration>. Usage: recent --since 2h";
    expectFailure(home.run({"recent"}, frozen()), "INVALID_TIME_RANGE", usage);
    expectFailure(home.run({"recent", "--since", "--images"}, frozen()), "INVALID_TIME_RANGE", usage);
    expectFailure(home.run({"recent", "--since", "h"}, frozen()), "INVALID_TIME_RANGE",
                  "Invalid duration format 'h'. Use e.g. 2h, 30m, 1d, 1w");
    expectFailure(home.run({"recent", "--since", "-2h"}, frozen()), "INVALID_TIME_RANGE",
                  "Invalid duration value in '-2h'. Numeric prefix required.");
    expectFailure(home.run({"recent", "--since", "0h"}, frozen()), "INVALID_TIME_RANGE",
                  "Invalid duration value in '0h'. Numeric prefix required.");
    expectFailure(home.run({"recent", "--since", "2H"}, frozen()), "INVALID_TIME_RANGE",
                  "Unknown duration unit 'H'. Use m, h, d, or w.");
    const ProcessResult ninetyMinutes = home.run({"recent", "--since", "1.5h"}, frozen());
    EXPECT_EQ(ninetyMinutes.exitStatus, 0);
    EXPECT_EQ(timelineQuery(ninetyMinutes), "2026-04-01T08:30:00Z recent 2026-04-01T10:00:00Z");
}

TEST(CommandLineTest, RangeNeedsBothEnds) {
    TemporaryHome home;
    createDatabase(home);
    expectFailure(home.run({"range"}, frozen()), "INVALID_TIME_RANGE",
                  "'range' requires --from and --to flags. Usage: range --from 2026-04-01 --to 2026-04-07");
    expectFailure(home.run({"range", "--to", "2026-04-07"}, frozen()), "INVALID_TIME_RANGE",
                  "'range' requires --from flag. Usage: range --from 2026-04-01 --to 2026-04-07");
    expectFailure(home.run({"range", "--from", "2026-04-01"}, frozen()), "INVALID_TIME_RANGE",
                  "'range' requires --to flag. Usage: range --from 2026-04-01 --to 2026-04-07");
    expectFailure(home.run({"range", "--from", "2026-04-02", "--to", "2026-04-01"}, frozen()),
                  "INVALID_TIME_RANGE", "--from must be before --to");
    expectFailure(home.run({"range", "--from", "2026-04-01T10:00:00.500Z", "--to", "2026-04-02"}, frozen()),
                  "INVALID_TIME_RANGE",
                  "Cannot parse --from date '2026-04-01T10:00:00.500Z'. Use ISO 8601 or yyyy-MM-dd format.");
}

TEST(CommandLineTest, RangeOnADaylightSavingDayInBerlin) {
    TemporaryHome home;
    createDatabase(home);
    // 29 March 2026 has 23 hours in Berlin: the clocks jump from 02:00 to 03:00.
    EXPECT_EQ(timelineQuery(home.run({"range", "--from", "2026-03-29", "--to", "2026-03-29"},
                                     frozen("Europe/Berlin"))),
              "2026-03-28T23:00:00Z range 2026-03-29T22:00:00Z");
    EXPECT_EQ(timelineQuery(home.run({"range", "--from", "2026-03-29T01:00:00", "--to", "2026-03-29T10:00:00"},
                                     frozen("Europe/Berlin"))),
              "2026-03-29T00:00:00Z range 2026-03-29T08:00:00Z");
    EXPECT_EQ(timelineQuery(home.run({"range", "--from", "2026-03-29T01:00:00Z", "--to", "2026-03-29T10:00:00+02:00"},
                                     frozen("Europe/Berlin"))),
              "2026-03-29T01:00:00Z range 2026-03-29T08:00:00Z");
}

TEST(CommandLineTest, ThisWeekStartsOnTheLocalesFirstWeekday) {
    TemporaryHome home;
    createDatabase(home);
    // Wednesday 1 April: Sunday 29 March in the US, Monday 30 March in Germany.
    EXPECT_EQ(timelineQuery(home.run({"this-week"}, frozen("UTC", "en_US.UTF-8"))),
              "2026-03-29T00:00:00Z this-week 2026-04-01T10:00:00Z");
    EXPECT_EQ(timelineQuery(home.run({"this-week"}, frozen("UTC", "de_DE.UTF-8"))),
              "2026-03-30T00:00:00Z this-week 2026-04-01T10:00:00Z");
    EXPECT_EQ(timelineQuery(home.run({"this-week"}, frozen("Europe/Berlin", "de_DE.UTF-8"))),
              "2026-03-29T22:00:00Z this-week 2026-04-01T10:00:00Z");
}

TEST(CommandLineTest, TodayOnADaylightSavingDayLasts23Hours) {
    TemporaryHome home;
    createDatabase(home);
    InvocationOptions options = frozen("Europe/Berlin");
    options.frozenTime = "2026-03-29 12:00:00";
    EXPECT_EQ(timelineQuery(home.run({"today"}, options)), "2026-03-28T23:00:00Z today 2026-03-29T22:00:00Z");
    EXPECT_EQ(timelineQuery(home.run({"yesterday"}, options)),
              "2026-03-27T23:00:00Z yesterday 2026-03-28T23:00:00Z");
    // A duration is always fixed seconds.
    EXPECT_EQ(timelineQuery(home.run({"recent", "--since", "1d"}, options)),
              "2026-03-28T12:00:00Z recent 2026-03-29T12:00:00Z");
}

TEST(CommandLineTest, InvalidUTF8ArgumentsAreEchoedRepaired) {
    TemporaryHome home;
    const ProcessResult result = home.run({"frob\xff"}, frozen());
    expectFailure(result, "INVALID_TIME_RANGE", "Unrecognized command 'frob\xEF\xBF\xBD'. Use --help for usage.");
}

TEST(CommandLineTest, IllFormedTextInTheDatabaseStillGivesAnAnswer) {
    TemporaryHome home;
    createDatabase(home);
    sqlite3* handle = VarnholtSampleData::openWritableDatabase(home.databasePath());
    // "Grüße" written by something that spoke Latin-1: the bytes FC and DF
    // are not UTF-8.
    VarnholtSampleData::execWritable(
        handle,
        "INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at) VALUES "
        "('OBS-1', 'visual', 1775030400, CAST(x'4772fcdf65' AS TEXT), '[]', '2026-04-01T08:00:00Z')");
    sqlite3_close(handle);
    const ProcessResult result = home.run({"today"}, frozen());
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardError, "");
    EXPECT_NE(result.standardOutput.find("\"vlm_description\" : \"Gr\xEF\xBF\xBD\xEF\xBF\xBD" "e\""),
              std::string::npos)
        << result.standardOutput;
}

TEST(CommandLineTest, DurationUnitsAreCharactersNotBytes) {
    TemporaryHome home;
    createDatabase(home);
    expectFailure(home.run({"recent", "--since", "5\u00e9"}, frozen()), "INVALID_TIME_RANGE",
                  "Unknown duration unit '\u00e9'. Use m, h, d, or w.");
    expectFailure(home.run({"recent", "--since", "2\uff48"}, frozen()), "INVALID_TIME_RANGE",
                  "Unknown duration unit '\uff48'. Use m, h, d, or w.");
    expectFailure(home.run({"recent", "--since", "5h\u0301"}, frozen()), "INVALID_TIME_RANGE",
                  "Unknown duration unit 'h\u0301'. Use m, h, d, or w.");
    // One character, however many bytes: too short to be a duration.
    expectFailure(home.run({"recent", "--since", "\u00e9"}, frozen()), "INVALID_TIME_RANGE",
                  "Invalid duration format '\u00e9'. Use e.g. 2h, 30m, 1d, 1w");
    expectFailure(home.run({"entities", "--since", "h\u0301"}, frozen()), "INVALID_TIME_RANGE",
                  "Invalid duration format 'h\u0301'. Use e.g. 2h, 30m, 1d, 1w");
}

TEST(CommandLineTest, DurationsOfInfiniteSecondsAreInvalidValues) {
    TemporaryHome home;
    createDatabase(home);
    for (const std::string text : {"infh", "1e400h", "1e308w"}) {
        expectFailure(home.run({"recent", "--since", text}, frozen()), "INVALID_TIME_RANGE",
                      "Invalid duration value in '" + text + "'. Numeric prefix required.");
        expectFailure(home.run({"search", "invoice", "--since", text}, frozen()), "INVALID_TIME_RANGE",
                      "Invalid duration value in '" + text + "'. Numeric prefix required.");
    }
}

// Beyond 2^63 seconds: the start is written as the earliest 64-bit second,
// with no cast out of range.
TEST(CommandLineTest, AHugeButFiniteDurationStartsAtTheEarliestWritableInstant) {
    TemporaryHome home;
    createDatabase(home);
    const ProcessResult result = home.run({"recent", "--since", "1e16h"}, frozen());
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardError, "");
    EXPECT_EQ(timelineQuery(result), "-292277022657-01-27T08:29:52Z recent 2026-04-01T10:00:00Z");
}

// Havana, Sunday 1 November 2026: at 01:00 CDT the clocks fall back to 00:00
// CST, so midnight happens twice (04:00Z and 05:00Z). The day starts at the
// first and lasts 25 hours.
TEST(CommandLineTest, ADayWithTwoMidnightsStartsAtTheFirst) {
    TemporaryHome home;
    createDatabase(home);
    const InvocationOptions noon = frozenAt("2026-11-01 17:00:00", "America/Havana");
    EXPECT_EQ(timelineQuery(home.run({"today"}, noon)), "2026-11-01T04:00:00Z today 2026-11-02T05:00:00Z");
    // At 00:30 CDT, between the two midnights, today has already begun.
    EXPECT_EQ(timelineQuery(home.run({"today"}, frozenAt("2026-11-01 04:30:00", "America/Havana"))),
              "2026-11-01T04:00:00Z today 2026-11-02T05:00:00Z");
    EXPECT_EQ(timelineQuery(home.run({"yesterday"}, noon)),
              "2026-10-31T04:00:00Z yesterday 2026-11-01T04:00:00Z");
    EXPECT_EQ(timelineQuery(home.run({"yesterday"}, frozenAt("2026-11-02 15:00:00", "America/Havana"))),
              "2026-11-01T04:00:00Z yesterday 2026-11-02T05:00:00Z");
    // A Sunday, the first weekday in en_US.
    EXPECT_EQ(timelineQuery(home.run({"this-week"}, noon)),
              "2026-11-01T04:00:00Z this-week 2026-11-01T17:00:00Z");
    EXPECT_EQ(timelineQuery(home.run({"range", "--from", "2026-11-01", "--to", "2026-11-01"}, noon)),
              "2026-11-01T04:00:00Z range 2026-11-02T05:00:00Z");
    EXPECT_EQ(timelineQuery(home.run({"range", "--from", "2026-11-01T00:30:00", "--to", "2026-11-01T01:00:00"},
                                     noon)),
              "2026-11-01T04:30:00Z range 2026-11-01T06:00:00Z");
}

TEST(CommandLineTest, LastActiveDayFindsWorkBetweenTwoMidnights) {
    TemporaryHome home;
    createDatabase(home);
    sqlite3* handle = VarnholtSampleData::openWritableDatabase(home.databasePath());
    // 00:30 CDT, before the clocks fall back.
    VarnholtSampleData::execWritable(
        handle,
        "INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at) VALUES "
        "('BETWEEN-MIDNIGHTS', 'visual', 1793507400, 'Closing the month', '[]', 'x')");
    sqlite3_close(handle);
    const ProcessResult result =
        home.run({"last-active-day"}, frozenAt("2026-11-03 12:00:00", "America/Havana"));
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(timelineQuery(result), "2026-11-01T04:00:00Z last-active-day 2026-11-02T05:00:00Z");
    EXPECT_NE(result.standardOutput.find("\"observation_id\" : \"BETWEEN-MIDNIGHTS\""), std::string::npos)
        << result.standardOutput;
}

// Beirut, Sunday 27 March 2022: at 00:00 the clocks jump to 01:00, so the day
// has no midnight; it starts at 01:00 EEST (22:00Z the day before), and one
// calendar day later is 01:00 the next day.
TEST(CommandLineTest, ADayWithoutMidnightStartsWhenTheClocksJumpPastIt) {
    TemporaryHome home;
    createDatabase(home);
    const InvocationOptions morning = frozenAt("2022-03-27 10:00:00", "Asia/Beirut");
    EXPECT_EQ(timelineQuery(home.run({"today"}, morning)), "2022-03-26T22:00:00Z today 2022-03-27T22:00:00Z");
    EXPECT_EQ(timelineQuery(home.run({"yesterday"}, frozenAt("2022-03-28 09:00:00", "Asia/Beirut"))),
              "2022-03-26T22:00:00Z yesterday 2022-03-27T22:00:00Z");
    EXPECT_EQ(timelineQuery(home.run({"this-week"}, morning)),
              "2022-03-26T22:00:00Z this-week 2022-03-27T10:00:00Z");
    EXPECT_EQ(timelineQuery(home.run({"range", "--from", "2022-03-27", "--to", "2022-03-27"}, morning)),
              "2022-03-26T22:00:00Z range 2022-03-27T22:00:00Z");
    // 00:30 never showed on a clock that day: it means the end of the jump.
    EXPECT_EQ(timelineQuery(home.run({"range", "--from", "2022-03-27T00:30:00", "--to", "2022-03-27T02:00:00"},
                                     morning)),
              "2022-03-26T22:00:00Z range 2022-03-26T23:00:00Z");
}

// The password database may give the home with trailing slashes; the
// database path still has one slash between home and ".varnholt".
TEST(CommandLineTest, AHomeWithTrailingSlashesGivesOneSlashInTheDatabasePath) {
    TemporaryHome home;
    for (const std::string suffix : {"/", "///"}) {
        home.setPasswordDatabaseHome(home.path() + suffix);
        expectFailure(home.run({"today"}, frozen()), "DB_NOT_FOUND",
                      "Database not found at " + escapedSlashes(home.databasePath()));
    }
    if (std::filesystem::exists("/.varnholt")) GTEST_SKIP() << "/.varnholt exists on this machine";
    // A home of "/" itself: the recorder's folder is /.varnholt.
    home.setPasswordDatabaseHome("/");
    expectFailure(home.run({"status"}, frozen()), "DB_NOT_FOUND",
                  "Database not found at \\/.varnholt\\/varnholt.db");
}

}  // namespace command_line_test
