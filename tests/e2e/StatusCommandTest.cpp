#include <gtest/gtest.h>
#include <sqlite3.h>
#include <fcntl.h>
#include <unistd.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "status/ByteCountFormat.h"
#include "RecorderSchema.h"
#include "TemporaryHome.h"

namespace status_command_test {

using namespace VarnholtTestSupport;

namespace {

// The frozen clock of every run: 2026-04-01T10:00:00Z. libfaketime reads the
// frozen text in the run's own zone, so runs that depend on the clock use UTC.
constexpr const char* kFrozenTime = "2026-04-01 10:00:00";
constexpr double kFrozenNow = 1775037600.0;

// Three frames, two of them in the last five minutes and one still pending;
// two observations, one of them recent: a healthy recorder.
constexpr const char* kHealthyRecorder = R"SQL(
INSERT INTO frames (id, display_id, captured_at, timestamp, image_path, analyzed) VALUES
  ('F1', '1', '2026-04-01T07:53:20Z', 1775030000.0, '/f/1.png', 1),
  ('F2', '1', '2026-04-01T09:58:20Z', 1775037500.0, '/f/2.png', 1),
  ('F3', '1', '2026-04-01T09:59:10Z', 1775037550.5, '/f/3.png', 0);
INSERT INTO observations (id, frame_id, type, timestamp, vlm_description, apps, created_at) VALUES
  ('O1', 'F1', 'visual', 1775030000.9, 'Reading the design notes', '["Preview"]', 'x'),
  ('O2', 'F2', 'visual', 1775037500.0, 'Writing the status tests', '["VS Code"]', 'x');
)SQL";

constexpr const char* kFailureReport =
    R"({"timestamp": "2026-04-01T09:41:07Z", "pythonPath": "/usr/bin/python3",
        "bridgePath": "/opt/varnholt/bridge.py", "modelId": "qwen2-vl-2b-instruct-4bit",
        "socketPath": "/tmp/varnholt-bridge.sock", "reason": "Model failed to load: out of memory",
        "exitCode": 1})";

// The recorder's activity is judged from the database's modification time,
// which each test stages itself; the harness leaves file times unfaked.
InvocationOptions frozenIn(const std::string& zone) {
    InvocationOptions options;
    options.timeZone = zone;
    options.frozenTime = kFrozenTime;
    return options;
}

// The recorder's database under `home` with `inserts`, its modification time
// set to `modifiedAt`, relative to the frozen clock.
void createDatabase(const TemporaryHome& home, const std::string& inserts, double modifiedAt) {
    home.varnholtDirectory();
    sqlite3* handle = VarnholtSampleData::openWritableDatabase(home.databasePath());
    VarnholtSampleData::createRecorderSchema(handle);
    if (!inserts.empty()) VarnholtSampleData::execWritable(handle, inserts);
    sqlite3_close(handle);
    const auto seconds = static_cast<time_t>(modifiedAt);
    const struct timespec times[2] = {
        {seconds, 0},
        {seconds, static_cast<long>((modifiedAt - static_cast<double>(seconds)) * 1e9)}};
    ASSERT_EQ(utimensat(AT_FDCWD, home.databasePath().c_str(), times, 0), 0);
}

std::int64_t databaseSize(const TemporaryHome& home) {
    return static_cast<std::int64_t>(std::filesystem::file_size(home.databasePath()));
}

// A path as the JSON writer writes it, slashes escaped.
std::string escaped(const std::string& path) {
    return std::regex_replace(path, std::regex("/"), "\\/");
}

std::string withoutCarriageReturns(std::string text) {
    text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
    return text;
}

// tail's own complaints about missing logs share the terminal with the
// report; they are the child's standard error, not ours.
std::string withoutTailComplaints(const std::string& text) {
    return std::regex_replace(text, std::regex("[^\n]*tail: cannot open [^\n]*\n"), "");
}

std::string runOnTerminal(const TemporaryHome& home, const std::vector<std::string>& arguments,
                          const InvocationOptions& options, int* exitStatus) {
    PseudoTerminalProcess process(home, arguments, options);
    *exitStatus = process.waitForExit(std::chrono::seconds(30));
    return withoutCarriageReturns(process.output());
}

std::string healthyDocument(const TemporaryHome& home, bool degraded) {
    const std::string bridge =
        degraded ? "    \"bridge_health\" : {\n"
                   "      \"last_error_reason\" : \"Model failed to load: out of memory\",\n"
                   "      \"report_path\" : \"" + escaped(home.path()) +
                       "\\/.varnholt\\/last-bridge-error.json\",\n"
                       "      \"report_timestamp\" : \"2026-04-01T09:41:07Z\",\n"
                       "      \"status\" : \"degraded\"\n"
                       "    },\n"
                 : "";
    return "{\n"
           "  \"api_version\" : 2,\n"
           "  \"data\" : {\n" +
           bridge +
           "    \"database\" : {\n"
           "      \"first_observation_at\" : \"2026-04-01T07:53:20Z\",\n"
           "      \"last_observation_at\" : \"2026-04-01T09:58:20Z\",\n"
           "      \"path\" : \"" + escaped(home.databasePath()) + "\",\n"
           "      \"schema_version\" : 24,\n"
           "      \"size_bytes\" : " + std::to_string(databaseSize(home)) + ",\n"
           "      \"total_observations\" : 2\n"
           "    },\n"
           "    \"last_db_modified\" : \"2026-04-01T09:59:30Z\",\n"
           "    \"operational\" : {\n"
           "      \"coverage_percent\" : 0.67,\n"
           "      \"diagnosis\" : \"HEALTHY\",\n"
           "      \"diagnosis_message\" : \"Capture and analysis are both running normally.\",\n"
           "      \"frames_last_5min\" : 2,\n"
           "      \"last_frame_at\" : \"2026-04-01T09:59:10Z\",\n"
           "      \"last_observation_at\" : \"2026-04-01T09:58:20Z\",\n"
           "      \"observations_last_5min\" : 1,\n"
           "      \"pending_frames\" : 1,\n"
           "      \"total_frames\" : 3,\n"
           "      \"total_observations\" : 2\n"
           "    },\n"
           "    \"recorder_likely_active\" : true\n"
           "  },\n"
           "  \"error\" : null,\n"
           "  \"meta\" : {\n"
           "    \"timezone\" : \"UTC\"\n"
           "  },\n"
           "  \"ok\" : true\n"
           "}\n";
}

std::string healthyReportHead(const TemporaryHome& home) {
    return "=== Varnholt Status ===\n"
           "\n"
           "  Database: " + home.databasePath() + "\n"
           "  Size: " + VarnholtQueryLib::formatByteCount(databaseSize(home)) + "\n"
           "  Schema: v24\n"
           "  Total observations: 2\n"
           "  First observation: 2026-04-01T07:53:20Z\n"
           "  Last observation: 2026-04-01T09:58:20Z\n"
           "  Recorder active: likely yes\n"
           "  Last modified: 2026-04-01T09:59:30Z\n"
           "\n"
           "=== Operational Metrics ===\n"
           "\n"
           "  Total frames:      3\n"
           "  Total observations: 2\n"
           "  Pending analysis:  1\n"
           "  Coverage:          66.7%\n"
           "  Last frame:        2026-04-01T09:59:10Z\n"
           "  Last observation:  2026-04-01T09:58:20Z\n"
           "  Frames (5min):     2\n"
           "  Observations (5min): 1\n"
           "\n"
           "=== Diagnosis ===\n"
           "\n"
           "  HEALTHY\n"
           "  Capture and analysis are both running normally.\n";
}

// The three tail sections of the human report when every tail is empty.
const std::string kEmptyTails =
    "\n=== Tail of recorder.log ===\n\n\n"
    "\n=== Tail of mlx-bridge-recorder-vlm.log ===\n\n\n"
    "\n=== Tail of mlx-bridge-recorder-vlm-stdout.log ===\n\n\n";

void writeLogs(const TemporaryHome& home) {
    home.writeFile(".varnholt/logs/recorder.log",
                   "2026-04-01 09:59:09 capture: frame F3 stored\n"
                   "2026-04-01 09:59:10 capture: 1 frame pending\n");
    home.writeFile(".varnholt/logs/mlx-bridge-recorder-vlm.log", "bridge ready on socket\n");
    home.writeFile(".varnholt/logs/mlx-bridge-recorder-vlm-stdout.log", "");
}

}  // namespace

TEST(StatusCommandTest, PipedOutputIsTheJSONDocument) {
    TemporaryHome home;
    createDatabase(home, kHealthyRecorder, kFrozenNow - 30.0);
    writeLogs(home);
    home.writeFile(".varnholt/last-bridge-error.json", kFailureReport);
    const ProcessResult result = home.run({"status"}, frozenIn("UTC"));
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardOutput, healthyDocument(home, /*degraded=*/true));
    EXPECT_EQ(result.standardError, "");
}

TEST(StatusCommandTest, WithoutFailureReportOrLogsTheBridgeIsHealthy) {
    TemporaryHome home;
    createDatabase(home, kHealthyRecorder, kFrozenNow - 30.0);
    const ProcessResult result = home.run({"status", "--json"}, frozenIn("UTC"));
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardOutput, healthyDocument(home, /*degraded=*/false));
    // tail's complaints about the three missing logs reach our standard error.
    EXPECT_NE(result.standardError.find("recorder.log"), std::string::npos);
    EXPECT_NE(result.standardError.find("mlx-bridge-recorder-vlm-stdout.log"), std::string::npos);
}

TEST(StatusCommandTest, TimesOfTextAreNoTimes) {
    // As text, F4's and O3's times would sort after every number: the newest
    // frame and observation, recent, and read as 1970. They count as rows.
    TemporaryHome home;
    createDatabase(home, std::string(kHealthyRecorder) + R"SQL(
INSERT INTO frames (id, display_id, captured_at, timestamp, image_path, analyzed) VALUES
  ('F4', '1', 'x', 'pending', '/f/4.png', 1);
INSERT INTO observations (id, frame_id, type, timestamp, vlm_description, apps, created_at) VALUES
  ('O3', 'F4', 'visual', '2026-04-01T09:59:59Z', 'Undated', '[]', 'x');
)SQL",
                   kFrozenNow - 30.0);
    const ProcessResult result = home.run({"status", "--json"}, frozenIn("UTC"));
    EXPECT_EQ(result.exitStatus, 0);
    std::string expected = healthyDocument(home, /*degraded=*/false);
    for (const auto& [before, after] : std::vector<std::pair<std::string, std::string>>{
             {"\"total_observations\" : 2\n    },", "\"total_observations\" : 3\n    },"},
             {"\"coverage_percent\" : 0.67,", "\"coverage_percent\" : 0.75,"},
             {"\"total_frames\" : 3,", "\"total_frames\" : 4,"},
             {"\"total_observations\" : 2\n    },", "\"total_observations\" : 3\n    },"}}) {
        ASSERT_NE(expected.find(before), std::string::npos) << before;
        expected.replace(expected.find(before), before.size(), after);
    }
    EXPECT_EQ(result.standardOutput, expected);
}

TEST(StatusCommandTest, MalformedFailureReportCountsAsHealthy) {
    TemporaryHome home;
    createDatabase(home, kHealthyRecorder, kFrozenNow - 30.0);
    writeLogs(home);
    home.writeFile(".varnholt/last-bridge-error.json", R"({"reason": "crashed"})");
    const ProcessResult result = home.run({"status"}, frozenIn("UTC"));
    EXPECT_EQ(result.standardOutput, healthyDocument(home, /*degraded=*/false));
}

TEST(StatusCommandTest, TerminalGetsTheHumanReportWithLogTails) {
    TemporaryHome home;
    createDatabase(home, kHealthyRecorder, kFrozenNow - 30.0);
    writeLogs(home);
    home.writeFile(".varnholt/last-bridge-error.json", kFailureReport);
    int exitStatus = -1;
    const std::string output = runOnTerminal(home, {"status"}, frozenIn("UTC"), &exitStatus);
    EXPECT_EQ(exitStatus, 0);
    EXPECT_EQ(output, healthyReportHead(home) +
                          "\n"
                          "=== Tail of recorder.log ===\n"
                          "\n"
                          "2026-04-01 09:59:09 capture: frame F3 stored\n"
                          "2026-04-01 09:59:10 capture: 1 frame pending\n"
                          "\n"
                          "\n"
                          "=== Tail of mlx-bridge-recorder-vlm.log ===\n"
                          "\n"
                          "bridge ready on socket\n"
                          "\n"
                          "\n"
                          "=== Tail of mlx-bridge-recorder-vlm-stdout.log ===\n"
                          "\n"
                          "\n");
}

TEST(StatusCommandTest, TerminalReportShowsMissingLogsAsEmptyTails) {
    TemporaryHome home;
    createDatabase(home, kHealthyRecorder, kFrozenNow - 30.0);
    int exitStatus = -1;
    const std::string output = runOnTerminal(home, {"status"}, frozenIn("UTC"), &exitStatus);
    EXPECT_EQ(exitStatus, 0);
    EXPECT_NE(output.find("tail: cannot open"), std::string::npos);
    EXPECT_EQ(withoutTailComplaints(output), healthyReportHead(home) +
                                                 kEmptyTails);
}

TEST(StatusCommandTest, JSONFlagWinsOnATerminal) {
    TemporaryHome home;
    createDatabase(home, kHealthyRecorder, kFrozenNow - 30.0);
    writeLogs(home);
    home.writeFile(".varnholt/last-bridge-error.json", kFailureReport);
    int exitStatus = -1;
    const std::string output =
        runOnTerminal(home, {"status", "--json"}, frozenIn("UTC"), &exitStatus);
    EXPECT_EQ(exitStatus, 0);
    EXPECT_EQ(output, healthyDocument(home, /*degraded=*/true));
}

TEST(StatusCommandTest, DatabaseUntouchedForAMinuteIsNotActive) {
    TemporaryHome home;
    createDatabase(home, kHealthyRecorder, kFrozenNow - 60.0);
    const ProcessResult result = home.run({"status"}, frozenIn("UTC"));
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_NE(result.standardOutput.find("\"last_db_modified\" : \"2026-04-01T09:59:00Z\""),
              std::string::npos);
    EXPECT_NE(result.standardOutput.find("\"recorder_likely_active\" : false"), std::string::npos);
}

TEST(StatusCommandTest, EmptyDatabaseHasNoDataOnATerminal) {
    TemporaryHome home;
    createDatabase(home, "", kFrozenNow - 3600.0);
    writeLogs(home);
    int exitStatus = -1;
    const std::string output = runOnTerminal(home, {"status"}, frozenIn("UTC"), &exitStatus);
    EXPECT_EQ(exitStatus, 0);
    const std::string expectedHead =
        "=== Varnholt Status ===\n"
        "\n"
        "  Database: " + home.databasePath() + "\n"
        "  Size: " + VarnholtQueryLib::formatByteCount(databaseSize(home)) + "\n"
        "  Schema: v24\n"
        "  Total observations: 0\n"
        "  Recorder active: no recent activity\n"
        "  Last modified: 2026-04-01T09:00:00Z\n"
        "\n"
        "=== Operational Metrics ===\n"
        "\n"
        "  Total frames:      0\n"
        "  Total observations: 0\n"
        "  Pending analysis:  0\n"
        "  Coverage:          0.0%\n"
        "  Frames (5min):     0\n"
        "  Observations (5min): 0\n"
        "\n"
        "=== Diagnosis ===\n"
        "\n"
        "  NO_DATA\n"
        "  No frames captured yet. The recorder may be paused or waiting for Screen Recording "
        "permission.\n"
        "\n"
        "=== Tail of recorder.log ===\n";
    EXPECT_EQ(output.substr(0, expectedHead.size()), expectedHead);
}

TEST(StatusCommandTest, MetaNamesTheUsersTimeZone) {
    TemporaryHome home;
    createDatabase(home, kHealthyRecorder, kFrozenNow - 30.0);
    writeLogs(home);
    InvocationOptions options;
    options.timeZone = "Europe/Berlin";
    const ProcessResult result = home.run({"status"}, options);
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_NE(result.standardOutput.find("  \"meta\" : {\n    \"timezone\" : \"Europe\\/Berlin\"\n  },"),
              std::string::npos)
        << result.standardOutput;
}

TEST(StatusCommandTest, MissingDatabaseIsAnErrorNotAStatus) {
    TemporaryHome home;
    const ProcessResult result = home.run({"status"}, frozenIn("UTC"));
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
    EXPECT_FALSE(std::filesystem::exists(home.databasePath()));
}

TEST(StatusCommandTest, MissingDatabaseOnATerminalIsStillTheEnvelope) {
    TemporaryHome home;
    int exitStatus = -1;
    const std::string output = runOnTerminal(home, {"status"}, frozenIn("UTC"), &exitStatus);
    EXPECT_EQ(exitStatus, 1);
    EXPECT_NE(output.find("\"code\" : \"DB_NOT_FOUND\""), std::string::npos);
    EXPECT_EQ(output.find("=== Varnholt Status ==="), std::string::npos);
}

// Whatever sits at the failure report's path, only a valid report makes the
// bridge degraded; nothing there may hang or fail the status.
TEST(StatusCommandTest, AFIFOOrDirectoryAtTheReportPathIsAHealthyBridge) {
    TemporaryHome home;
    createDatabase(home, kHealthyRecorder, kFrozenNow - 30.0);
    writeLogs(home);
    const std::string report = home.varnholtDirectory() + "/last-bridge-error.json";
    InvocationOptions options = frozenIn("UTC");
    options.timeout = std::chrono::seconds(20);

    ASSERT_EQ(mkfifo(report.c_str(), 0600), 0);
    const ProcessResult withFIFO = home.run({"status"}, options);
    EXPECT_EQ(withFIFO.exitStatus, 0);
    EXPECT_EQ(withFIFO.standardOutput, healthyDocument(home, /*degraded=*/false));
    EXPECT_EQ(withFIFO.standardError, "");

    std::filesystem::remove(report);
    std::filesystem::create_directory(report);
    const ProcessResult withDirectory = home.run({"status"}, options);
    EXPECT_EQ(withDirectory.exitStatus, 0);
    EXPECT_EQ(withDirectory.standardOutput, healthyDocument(home, /*degraded=*/false));
    EXPECT_EQ(withDirectory.standardError, "");
}

TEST(StatusCommandTest, AReportThatMayNotBeReadIsAHealthyBridge) {
    // Root reads every file; the report is kept from another user instead.
    if (geteuid() != 0) GTEST_SKIP() << "needs root to run as another user";
    TemporaryHome home;
    createDatabase(home, kHealthyRecorder, kFrozenNow - 30.0);
    writeLogs(home);
    const std::string report = home.varnholtDirectory() + "/last-bridge-error.json";
    // Readable, this report would make the bridge degraded.
    home.writeFile(".varnholt/last-bridge-error.json", kFailureReport);
    const unsigned user = TemporaryHome::kUnprivilegedUserId;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(home.path())) {
        ASSERT_EQ(lchown(entry.path().c_str(), user, user), 0) << entry.path();
    }
    ASSERT_EQ(chown(home.path().c_str(), user, user), 0);
    ASSERT_EQ(chown(report.c_str(), 0, 0), 0);
    ASSERT_EQ(chmod(report.c_str(), 0600), 0);

    InvocationOptions options = frozenIn("UTC");
    options.unprivileged = true;
    const ProcessResult result = home.run({"status"}, options);
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardOutput, healthyDocument(home, /*degraded=*/false));
    EXPECT_EQ(result.standardError, "");
}

TEST(StatusCommandTest, LogPathsHoldingAFIFOOrADirectoryShowEmptyTails) {
    TemporaryHome home;
    createDatabase(home, kHealthyRecorder, kFrozenNow - 30.0);
    writeLogs(home);
    std::filesystem::remove(home.path() + "/.varnholt/logs/recorder.log");
    ASSERT_EQ(mkfifo((home.path() + "/.varnholt/logs/recorder.log").c_str(), 0600), 0);
    std::filesystem::remove(home.path() + "/.varnholt/logs/mlx-bridge-recorder-vlm.log");
    std::filesystem::create_directory(home.path() + "/.varnholt/logs/mlx-bridge-recorder-vlm.log");
    int exitStatus = -1;
    const std::string output = runOnTerminal(home, {"status"}, frozenIn("UTC"), &exitStatus);
    EXPECT_EQ(exitStatus, 0);
    EXPECT_EQ(output, healthyReportHead(home) + kEmptyTails);
}

// The password database may give the home with a trailing slash; every path
// built from it still has one slash between home and ".varnholt".
TEST(StatusCommandTest, AHomeWithATrailingSlashGivesTheSamePaths) {
    TemporaryHome home;
    createDatabase(home, kHealthyRecorder, kFrozenNow - 30.0);
    writeLogs(home);
    home.writeFile(".varnholt/last-bridge-error.json", kFailureReport);
    const std::string expected = healthyDocument(home, /*degraded=*/true);
    for (const std::string suffix : {"/", "//"}) {
        home.setPasswordDatabaseHome(home.path() + suffix);
        const ProcessResult result = home.run({"status"}, frozenIn("UTC"));
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_EQ(result.standardOutput, expected) << suffix;
    }
    int exitStatus = -1;
    const std::string report = runOnTerminal(home, {"status"}, frozenIn("UTC"), &exitStatus);
    EXPECT_EQ(report.substr(0, healthyReportHead(home).size()), healthyReportHead(home));
}

}  // namespace status_command_test
