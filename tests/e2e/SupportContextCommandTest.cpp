#include <fcntl.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "RecorderSchema.h"
#include "TemporaryHome.h"

namespace support_context_command_test {

using namespace VarnholtTestSupport;

namespace {

// The frozen clock of every run: 2026-04-01T10:00:00Z; the two-hour window
// starts at 08:00:00Z. libfaketime reads the frozen text in the run's own
// zone, so runs that depend on the clock use UTC.
constexpr const char* kFrozenTime = "2026-04-01 10:00:00";
constexpr double kFrozenNow = 1775037600.0;

// Newest first: a repeat, a NULL description, a frame-less row without apps,
// the first description again after a different one, two more, a sixth
// distinct one beyond the limit of five, and one row before the window.
constexpr const char* kRecentWork = R"SQL(
INSERT INTO frames (id, display_id, captured_at, timestamp, image_path, analyzed) VALUES
  ('F1', '1', '2026-04-01T09:59:00Z', 1775037540.0, '/f/1.png', 1);
INSERT INTO observations (id, frame_id, type, timestamp, vlm_description, apps, created_at) VALUES
  ('O1', 'F1', 'visual', 1775037530.0, 'Writing the support-context tests', '["VS Code","Terminal"]', 'x'),
  ('O2', NULL, 'visual', 1775037480.0, 'Writing the support-context tests', '["VS Code"]', 'x'),
  ('O3', NULL, 'visual', 1775037420.0, NULL, '["VS Code"]', 'x'),
  ('O4', NULL, 'visual', 1775037360.0, 'Reading the SQLite documentation', NULL, 'x'),
  ('O5', 'PRUNED', 'visual', 1775037000.0, '  Writing the support-context tests
', '["VS Code"]', 'x'),
  ('O6', NULL, 'visual', 1775036400.0, 'Reviewing pull request #42', '["Safari"]', 'x'),
  ('O7', NULL, 'visual', 1775035800.0, 'Answering mail about the release', '["Mail"]', 'x'),
  ('O8', NULL, 'visual', 1775035200.0, 'Planning the next sprint', '["Notes"]', 'x'),
  ('O9', NULL, 'visual', 1775030399.0, 'Too old for the window', '["Mail"]', 'x');
)SQL";

constexpr const char* kFailureReport =
    R"({"timestamp": "2026-04-01T09:41:07Z", "pythonPath": "/usr/bin/python3",
        "bridgePath": "/opt/varnholt/bridge.py", "modelId": "qwen2-vl-2b-instruct-4bit",
        "socketPath": "/tmp/varnholt-bridge.sock", "reason": "Bridge exited with status 1"})";

// The recorder's activity is judged from the database's modification time,
// which each test stages itself; the harness leaves file times unfaked.
InvocationOptions frozenIn(const std::string& zone) {
    InvocationOptions options;
    options.timeZone = zone;
    options.frozenTime = kFrozenTime;
    return options;
}

void createDatabase(const TemporaryHome& home, const std::string& inserts, double modifiedAt) {
    home.varnholtDirectory();
    sqlite3* handle = VarnholtSampleData::openWritableDatabase(home.databasePath());
    VarnholtSampleData::createRecorderSchema(handle);
    if (!inserts.empty()) VarnholtSampleData::execWritable(handle, inserts);
    sqlite3_close(handle);
    const struct timespec times[2] = {{static_cast<time_t>(modifiedAt), 0},
                                      {static_cast<time_t>(modifiedAt), 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, home.databasePath().c_str(), times, 0), 0);
}

std::string escaped(const std::string& path) {
    return std::regex_replace(path, std::regex("/"), "\\/");
}

// Checks the volatile "current_datetime" by its form (local date-time with a
// numeric offset) and replaces it, so the rest compares exactly.
std::string withCheckedCurrentDateTime(const std::string& document) {
    static const std::regex field(
        "\"current_datetime\" : \"\\d{4}-\\d{2}-\\d{2}T\\d{2}:\\d{2}:\\d{2}([+-]\\d{2}:\\d{2}|Z)\"");
    EXPECT_TRUE(std::regex_search(document, field)) << document;
    return std::regex_replace(document, field, "\"current_datetime\" : \"<now>\"");
}

std::string recentWorkDocument(const TemporaryHome& home) {
    return "{\n"
           "  \"api_version\" : 2,\n"
           "  \"data\" : {\n"
           "    \"context_window_seconds\" : 7200,\n"
           "    \"recent_observations\" : [\n"
           "      {\n"
           "        \"applications\" : [\n"
           "          \"VS Code\",\n"
           "          \"Terminal\"\n"
           "        ],\n"
           "        \"timestamp\" : \"2026-04-01T09:59:00Z\",\n"
           "        \"vlm_description\" : \"Writing the support-context tests\"\n"
           "      },\n"
           "      {\n"
           "        \"applications\" : [\n"
           "\n"
           "        ],\n"
           "        \"timestamp\" : \"2026-04-01T09:56:00Z\",\n"
           "        \"vlm_description\" : \"Reading the SQLite documentation\"\n"
           "      },\n"
           "      {\n"
           "        \"applications\" : [\n"
           "          \"VS Code\"\n"
           "        ],\n"
           "        \"timestamp\" : \"2026-04-01T09:50:00Z\",\n"
           "        \"vlm_description\" : \"Writing the support-context tests\"\n"
           "      },\n"
           "      {\n"
           "        \"applications\" : [\n"
           "          \"Safari\"\n"
           "        ],\n"
           "        \"timestamp\" : \"2026-04-01T09:40:00Z\",\n"
           "        \"vlm_description\" : \"Reviewing pull request #42\"\n"
           "      },\n"
           "      {\n"
           "        \"applications\" : [\n"
           "          \"Mail\"\n"
           "        ],\n"
           "        \"timestamp\" : \"2026-04-01T09:30:00Z\",\n"
           "        \"vlm_description\" : \"Answering mail about the release\"\n"
           "      }\n"
           "    ],\n"
           "    \"status\" : {\n"
           "      \"bridge_health\" : {\n"
           "        \"last_error_reason\" : \"Bridge exited with status 1\",\n"
           "        \"report_path\" : \"" + escaped(home.path()) +
           "\\/.varnholt\\/last-bridge-error.json\",\n"
           "        \"report_timestamp\" : \"2026-04-01T09:41:07Z\",\n"
           "        \"status\" : \"degraded\"\n"
           "      },\n"
           "      \"last_db_modified\" : \"2026-04-01T09:59:55Z\",\n"
           "      \"operational\" : {\n"
           "        \"coverage_percent\" : 9,\n"
           "        \"diagnosis\" : \"HEALTHY\",\n"
           "        \"diagnosis_message\" : \"Capture and analysis are both running normally.\",\n"
           "        \"frames_last_5min\" : 1,\n"
           "        \"last_frame_at\" : \"2026-04-01T09:59:00Z\",\n"
           "        \"last_observation_at\" : \"2026-04-01T09:58:50Z\",\n"
           "        \"observations_last_5min\" : 4,\n"
           "        \"pending_frames\" : 0,\n"
           "        \"total_frames\" : 1,\n"
           "        \"total_observations\" : 9\n"
           "      },\n"
           "      \"recorder_likely_active\" : true\n"
           "    }\n"
           "  },\n"
           "  \"error\" : null,\n"
           "  \"meta\" : {\n"
           "    \"current_datetime\" : \"<now>\",\n"
           "    \"timezone\" : \"UTC\"\n"
           "  },\n"
           "  \"ok\" : true\n"
           "}\n";
}

}  // namespace

TEST(SupportContextCommandTest, RecentDistinctWorkAndCondensedStatus) {
    TemporaryHome home;
    createDatabase(home, kRecentWork, kFrozenNow - 5.0);
    home.writeFile(".varnholt/last-bridge-error.json", kFailureReport);
    home.writeFile(".varnholt/logs/recorder.log", "never shown here\n");
    const ProcessResult result = home.run({"support-context"}, frozenIn("UTC"));
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(withCheckedCurrentDateTime(result.standardOutput), recentWorkDocument(home));
    // No log is tailed for this command, so tail never complains.
    EXPECT_EQ(result.standardError, "");
}

// Rows a damaged database may hold, outside the window both: O10's frame
// has text for a time, so O10's own time (yesterday) dates it; O11's own
// time is text and it has no frame, so it has no time. As text either would
// sort after every number: inside the window, newest, and dated 1970.
constexpr const char* kDamagedRows = R"SQL(
INSERT INTO frames (id, display_id, captured_at, timestamp, image_path, analyzed) VALUES
  ('F2', '1', 'x', 'pending', '/f/2.png', 1);
INSERT INTO observations (id, frame_id, type, timestamp, vlm_description, apps, created_at) VALUES
  ('O10', 'F2', 'visual', 1774951200.0, 'Dated yesterday by itself', '[]', 'x'),
  ('O11', NULL, 'visual', '2026-04-01T09:59:59Z', 'Undated', '[]', 'x');
)SQL";

TEST(SupportContextCommandTest, TimesOfTextAreNoTimes) {
    TemporaryHome home;
    createDatabase(home, std::string(kRecentWork) + kDamagedRows, kFrozenNow - 5.0);
    home.writeFile(".varnholt/last-bridge-error.json", kFailureReport);
    const ProcessResult result = home.run({"support-context"}, frozenIn("UTC"));
    EXPECT_EQ(result.exitStatus, 0);
    // The two rows count as rows, and only so.
    std::string expected = recentWorkDocument(home);
    for (const auto& [before, after] : std::vector<std::pair<std::string, std::string>>{
             {"\"coverage_percent\" : 9,", "\"coverage_percent\" : 5.5,"},
             {"\"total_frames\" : 1,", "\"total_frames\" : 2,"},
             {"\"total_observations\" : 9", "\"total_observations\" : 11"}}) {
        ASSERT_NE(expected.find(before), std::string::npos) << before;
        expected.replace(expected.find(before), before.size(), after);
    }
    EXPECT_EQ(withCheckedCurrentDateTime(result.standardOutput), expected);
    EXPECT_EQ(result.standardError, "");
}

TEST(SupportContextCommandTest, CurrentDateTimeIsTheFrozenNow) {
    TemporaryHome home;
    createDatabase(home, kRecentWork, kFrozenNow - 5.0);
    const ProcessResult result = home.run({"support-context"}, frozenIn("UTC"));
    EXPECT_NE(result.standardOutput.find("\"current_datetime\" : \"2026-04-01T10:00:00Z\""),
              std::string::npos)
        << result.standardOutput;
}

TEST(SupportContextCommandTest, CurrentDateTimeCarriesTheLocalOffset) {
    TemporaryHome home;
    createDatabase(home, kRecentWork, kFrozenNow - 5.0);
    InvocationOptions options;
    options.timeZone = "Asia/Kolkata";  // no daylight saving: always +05:30
    const ProcessResult result = home.run({"support-context"}, options);
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_TRUE(std::regex_search(
        result.standardOutput,
        std::regex("\"current_datetime\" : \"\\d{4}-\\d{2}-\\d{2}T\\d{2}:\\d{2}:\\d{2}\\+05:30\",\n"
                   "    \"timezone\" : \"Asia\\\\/Kolkata\"\n")))
        << result.standardOutput;
}

TEST(SupportContextCommandTest, AlwaysJSONEvenOnATerminal) {
    TemporaryHome home;
    createDatabase(home, kRecentWork, kFrozenNow - 5.0);
    home.writeFile(".varnholt/last-bridge-error.json", kFailureReport);
    PseudoTerminalProcess process(home, {"support-context"}, frozenIn("UTC"));
    ASSERT_EQ(process.waitForExit(std::chrono::seconds(30)), 0);
    std::string output = process.output();
    output.erase(std::remove(output.begin(), output.end(), '\r'), output.end());
    EXPECT_EQ(withCheckedCurrentDateTime(output), recentWorkDocument(home));
}

TEST(SupportContextCommandTest, QuietDatabaseHasNoObservationsAndNoBridgeHealth) {
    TemporaryHome home;
    createDatabase(home, "", kFrozenNow - 600.0);
    const ProcessResult result = home.run({"support-context"}, frozenIn("UTC"));
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(withCheckedCurrentDateTime(result.standardOutput),
              "{\n"
              "  \"api_version\" : 2,\n"
              "  \"data\" : {\n"
              "    \"context_window_seconds\" : 7200,\n"
              "    \"recent_observations\" : [\n"
              "\n"
              "    ],\n"
              "    \"status\" : {\n"
              "      \"last_db_modified\" : \"2026-04-01T09:50:00Z\",\n"
              "      \"operational\" : {\n"
              "        \"coverage_percent\" : 0,\n"
              "        \"diagnosis\" : \"NO_DATA\",\n"
              "        \"diagnosis_message\" : \"No frames captured yet. The recorder may be "
              "paused or waiting for Screen Recording permission.\",\n"
              "        \"frames_last_5min\" : 0,\n"
              "        \"last_frame_at\" : null,\n"
              "        \"last_observation_at\" : null,\n"
              "        \"observations_last_5min\" : 0,\n"
              "        \"pending_frames\" : 0,\n"
              "        \"total_frames\" : 0,\n"
              "        \"total_observations\" : 0\n"
              "      },\n"
              "      \"recorder_likely_active\" : false\n"
              "    }\n"
              "  },\n"
              "  \"error\" : null,\n"
              "  \"meta\" : {\n"
              "    \"current_datetime\" : \"<now>\",\n"
              "    \"timezone\" : \"UTC\"\n"
              "  },\n"
              "  \"ok\" : true\n"
              "}\n");
}

TEST(SupportContextCommandTest, MissingDatabaseIsAnError) {
    TemporaryHome home;
    const ProcessResult result = home.run({"support-context"}, frozenIn("UTC"));
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardOutput,
              "{\n"
              "  \"api_version\" : 2,\n"
              "  \"data\" : null,\n"
              "  \"error\" : {\n"
              "    \"code\" : \"DB_NOT_FOUND\",\n"
              "    \"message\" : \"Database not found at " + escaped(home.databasePath()) + "\",\n"
              "    \"timestamp\" : \"2026-04-01T10:00:00Z\"\n"
              "  },\n"
              "  \"meta\" : null,\n"
              "  \"ok\" : false\n"
              "}\n");
    EXPECT_EQ(result.standardError, "");
    EXPECT_FALSE(std::filesystem::exists(home.databasePath()));
}

TEST(SupportContextCommandTest, AFIFOOrDirectoryAtTheReportPathIsAHealthyBridge) {
    TemporaryHome home;
    createDatabase(home, kRecentWork, kFrozenNow - 5.0);
    InvocationOptions options = frozenIn("UTC");
    options.timeout = std::chrono::seconds(20);
    const ProcessResult withoutReport = home.run({"support-context"}, options);
    ASSERT_EQ(withoutReport.exitStatus, 0);
    EXPECT_EQ(withoutReport.standardOutput.find("bridge_health"), std::string::npos);

    const std::string report = home.varnholtDirectory() + "/last-bridge-error.json";
    ASSERT_EQ(mkfifo(report.c_str(), 0600), 0);
    const ProcessResult withFIFO = home.run({"support-context"}, options);
    EXPECT_EQ(withFIFO.exitStatus, 0);
    EXPECT_EQ(withFIFO.standardOutput, withoutReport.standardOutput);
    EXPECT_EQ(withFIFO.standardError, "");

    std::filesystem::remove(report);
    std::filesystem::create_directory(report);
    const ProcessResult withDirectory = home.run({"support-context"}, options);
    EXPECT_EQ(withDirectory.exitStatus, 0);
    EXPECT_EQ(withDirectory.standardOutput, withoutReport.standardOutput);
    EXPECT_EQ(withDirectory.standardError, "");
}

// The answer is pasted into support requests: no address, credential or
// token of the user's may travel with it. Redaction changes only what is
// printed: neighbours that differed before it are still two entries.
TEST(SupportContextCommandTest, DescriptionsAreRedacted) {
    TemporaryHome home;
    createDatabase(home, R"SQL(
INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at) VALUES
  ('O1', 'visual', 1775037500.0, 'Mailing the build log to ada@example.com', '["Mail"]', 'x'),
  ('O2', 'visual', 1775037400.0, 'Mailing the build log to bob@example.org', '["Mail"]', 'x'),
  ('O3', 'visual', 1775037300.0, 'Exporting API_KEY=sk-live-4242 in the shell', '["Terminal"]', 'x'),
  ('O4', 'visual', 1775037200.0, 'Comparing 0123456789abcdef0123456789abcdef with the cache', '[]', 'x');
)SQL", kFrozenNow - 5.0);
    const ProcessResult result = home.run({"support-context"}, frozenIn("UTC"));
    EXPECT_EQ(result.exitStatus, 0);
    const std::string expected =
        "    \"recent_observations\" : [\n"
        "      {\n"
        "        \"applications\" : [\n"
        "          \"Mail\"\n"
        "        ],\n"
        "        \"timestamp\" : \"2026-04-01T09:58:20Z\",\n"
        "        \"vlm_description\" : \"Mailing the build log to [EMAIL]\"\n"
        "      },\n"
        "      {\n"
        "        \"applications\" : [\n"
        "          \"Mail\"\n"
        "        ],\n"
        "        \"timestamp\" : \"2026-04-01T09:56:40Z\",\n"
        "        \"vlm_description\" : \"Mailing the build log to [EMAIL]\"\n"
        "      },\n"
        "      {\n"
        "        \"applications\" : [\n"
        "          \"Terminal\"\n"
        "        ],\n"
        "        \"timestamp\" : \"2026-04-01T09:55:00Z\",\n"
        "        \"vlm_description\" : \"Exporting API_KEY: [REDACTED] in the shell\"\n"
        "      },\n"
        "      {\n"
        "        \"applications\" : [\n"
        "\n"
        "        ],\n"
        "        \"timestamp\" : \"2026-04-01T09:53:20Z\",\n"
        "        \"vlm_description\" : \"Comparing [TOKEN] with the cache\"\n"
        "      }\n"
        "    ],\n";
    EXPECT_NE(result.standardOutput.find(expected), std::string::npos) << result.standardOutput;
    EXPECT_EQ(result.standardOutput.find("example"), std::string::npos);
}

}  // namespace support_context_command_test
