#include "status/StatusResponse.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <iostream>
#include <limits>
#include <sstream>

#include "platform/LocalCalendar.h"
#include "platform/StandardStreams.h"

using namespace VarnholtQueryLib;

namespace {

OperationalMetrics coverageOf(std::int64_t observations, std::int64_t frames) {
    OperationalMetrics metrics;
    metrics.totalObservations = observations;
    metrics.totalFrames = frames;
    return metrics;
}

// A recorder that captured three frames, analysed one of them ten minutes
// ago and has a failure report lying around.
StatusData fullStatus() {
    StatusData data;
    data.dbPath = "/home/ada/.varnholt/varnholt.db";
    data.sizeBytes = 12'345'678;
    data.schemaVersion = 24;
    data.recorderLikelyActive = true;
    data.lastDbModified = 1775037590.5;  // 2026-04-01T09:59:50.5Z
    OperationalMetrics metrics;
    metrics.totalFrames = 3;
    metrics.totalObservations = 1;
    metrics.pendingFrames = 2;
    metrics.lastFrameTimestamp = 1775037599.75;
    metrics.lastObservationTimestamp = 1775037000.0;
    metrics.framesLast5Min = 3;
    metrics.observationsLast5Min = 0;
    metrics.firstObservationAt = 1775030400;
    metrics.lastObservationAt = 1775037000;
    data.operationalMetrics = metrics;
    data.diagnosis = "IDLE";
    data.diagnosisMessage =
        "No recent analysis activity. User may be away or screen activity is minimal.";
    data.tailLogRecorder = "09:59:58 captured frame\n09:59:59 captured frame\n";
    data.tailLogBridge = "";
    data.tailLogBridgeErrors = "Error: Unable to decode log output.";
    data.bridgeHealth = StatusData::BridgeHealth{"degraded", "Model failed to load",
                                                 "2026-04-01T09:58:12Z",
                                                 "/home/ada/.varnholt/last-bridge-error.json"};
    return data;
}

// What a status looks like when the database could not be read at all.
StatusData bareStatus() {
    StatusData data;
    data.dbPath = "/home/ada/.varnholt/varnholt.db";
    data.sizeBytes = 0;
    data.schemaVersion = 24;
    data.recorderLikelyActive = false;
    data.bridgeHealth = StatusData::BridgeHealth{"healthy", std::nullopt, std::nullopt, std::nullopt};
    return data;
}

std::string human(const StatusData& data) {
    std::ostringstream out;
    printHumanStatus(data, out);
    return out.str();
}

std::string written(const JSON& document) {
    const auto text = serializeJSON(document);
    EXPECT_TRUE(text.has_value());
    return text.value_or("");
}

}  // namespace

// ---- Coverage ---------------------------------------------------------------

TEST(StatusResponseTest, CoverageRatioRoundsToTwoDecimals) {
    EXPECT_EQ(coverageRatio(coverageOf(1, 3)), 0.33);
    EXPECT_EQ(coverageRatio(coverageOf(2, 3)), 0.67);
    EXPECT_EQ(coverageRatio(coverageOf(1, 2)), 0.5);
    EXPECT_EQ(coverageRatio(coverageOf(3, 3)), 1.0);
    EXPECT_EQ(coverageRatio(coverageOf(1, 200)), 0.01);  // 0.5 % rounds away from zero
    EXPECT_EQ(coverageRatio(coverageOf(1, 201)), 0.0);
}

TEST(StatusResponseTest, CoverageWithoutFramesIsZero) {
    EXPECT_EQ(coverageRatio(coverageOf(0, 0)), 0.0);
    EXPECT_EQ(coverageRatio(coverageOf(5, 0)), 0.0);
}

TEST(StatusResponseTest, MoreObservationsThanFramesGoAboveOne) {
    EXPECT_EQ(coverageRatio(coverageOf(5, 4)), 1.25);
}

TEST(StatusResponseTest, HumanCoverageHasOneDecimal) {
    auto coverageLine = [](std::int64_t observations, std::int64_t frames) {
        StatusData data = bareStatus();
        data.operationalMetrics = coverageOf(observations, frames);
        const std::string text = human(data);
        const auto start = text.find("  Coverage:");
        return text.substr(start, text.find('\n', start) - start);
    };
    EXPECT_EQ(coverageLine(1, 3), "  Coverage:          33.3%");
    EXPECT_EQ(coverageLine(2, 3), "  Coverage:          66.7%");
    EXPECT_EQ(coverageLine(0, 0), "  Coverage:          0.0%");
    EXPECT_EQ(coverageLine(5, 4), "  Coverage:          125.0%");
}

TEST(StatusResponseTest, JSONCoverageIsWrittenAsANumber) {
    StatusData data = bareStatus();
    data.operationalMetrics = coverageOf(0, 0);
    EXPECT_EQ(written(makeOperationalJSON(data)["coverage_percent"]), "0");
    data.operationalMetrics = coverageOf(2, 3);
    EXPECT_EQ(written(makeOperationalJSON(data)["coverage_percent"]), "0.67");
}

// ---- JSON -------------------------------------------------------------------

TEST(StatusResponseTest, FullDocument) {
    const LocalCalendar calendar("Europe/Berlin", "de_DE");
    EXPECT_EQ(written(makeStatusResponse(fullStatus(), calendar)),
              R"({
  "api_version" : 2,
  "data" : {
    "bridge_health" : {
      "last_error_reason" : "Model failed to load",
      "report_path" : "\/home\/ada\/.varnholt\/last-bridge-error.json",
      "report_timestamp" : "2026-04-01T09:58:12Z",
      "status" : "degraded"
    },
    "database" : {
      "first_observation_at" : "2026-04-01T08:00:00Z",
      "last_observation_at" : "2026-04-01T09:50:00Z",
      "path" : "\/home\/ada\/.varnholt\/varnholt.db",
      "schema_version" : 24,
      "size_bytes" : 12345678,
      "total_observations" : 1
    },
    "last_db_modified" : "2026-04-01T09:59:50Z",
    "operational" : {
      "coverage_percent" : 0.33,
      "diagnosis" : "IDLE",
      "diagnosis_message" : "No recent analysis activity. User may be away or screen activity is minimal.",
      "frames_last_5min" : 3,
      "last_frame_at" : "2026-04-01T09:59:59Z",
      "last_observation_at" : "2026-04-01T09:50:00Z",
      "observations_last_5min" : 0,
      "pending_frames" : 2,
      "total_frames" : 3,
      "total_observations" : 1
    },
    "recorder_likely_active" : true
  },
  "error" : null,
  "meta" : {
    "timezone" : "Europe\/Berlin"
  },
  "ok" : true
})");
}

TEST(StatusResponseTest, WithoutMetricsTheDatabaseHasThreeKeysAndNoOperationalBlock) {
    const LocalCalendar calendar("America/New_York", "en_US");
    EXPECT_EQ(written(makeStatusResponse(bareStatus(), calendar)),
              R"({
  "api_version" : 2,
  "data" : {
    "database" : {
      "path" : "\/home\/ada\/.varnholt\/varnholt.db",
      "schema_version" : 24,
      "size_bytes" : 0
    },
    "last_db_modified" : null,
    "recorder_likely_active" : false
  },
  "error" : null,
  "meta" : {
    "timezone" : "America\/New_York"
  },
  "ok" : true
})");
}

TEST(StatusResponseTest, MetricsWithoutTimesAndDiagnosisWriteNulls) {
    StatusData data = bareStatus();
    data.operationalMetrics = OperationalMetrics{};
    const LocalCalendar calendar("UTC", "en_US");
    const JSON document = makeStatusResponse(data, calendar);
    EXPECT_EQ(written(document["data"]["database"]), R"({
  "first_observation_at" : null,
  "last_observation_at" : null,
  "path" : "\/home\/ada\/.varnholt\/varnholt.db",
  "schema_version" : 24,
  "size_bytes" : 0,
  "total_observations" : 0
})");
    EXPECT_EQ(written(document["data"]["operational"]), R"({
  "coverage_percent" : 0,
  "diagnosis" : null,
  "diagnosis_message" : null,
  "frames_last_5min" : 0,
  "last_frame_at" : null,
  "last_observation_at" : null,
  "observations_last_5min" : 0,
  "pending_frames" : 0,
  "total_frames" : 0,
  "total_observations" : 0
})");
}

TEST(StatusResponseTest, HealthyOrUnknownBridgeHasNoKey) {
    const LocalCalendar calendar("UTC", "en_US");
    StatusData data = fullStatus();
    data.bridgeHealth = StatusData::BridgeHealth{"healthy", std::nullopt, std::nullopt, std::nullopt};
    EXPECT_FALSE(makeStatusResponse(data, calendar)["data"].contains("bridge_health"));
    data.bridgeHealth.reset();
    EXPECT_FALSE(makeStatusResponse(data, calendar)["data"].contains("bridge_health"));
}

TEST(StatusResponseTest, DegradedBridgeWithoutDetailsWritesNulls) {
    StatusData data = bareStatus();
    data.bridgeHealth = StatusData::BridgeHealth{"degraded", std::nullopt, std::nullopt, std::nullopt};
    EXPECT_EQ(written(*makeDegradedBridgeHealthJSON(data)), R"({
  "last_error_reason" : null,
  "report_path" : null,
  "report_timestamp" : null,
  "status" : "degraded"
})");
}

// ---- Human report -----------------------------------------------------------

TEST(StatusResponseTest, FullHumanReport) {
    EXPECT_EQ(human(fullStatus()),
              "=== Varnholt Status ===\n"
              "\n"
              "  Database: /home/ada/.varnholt/varnholt.db\n"
              "  Size: 12.3 MB\n"
              "  Schema: v24\n"
              "  Total observations: 1\n"
              "  First observation: 2026-04-01T08:00:00Z\n"
              "  Last observation: 2026-04-01T09:50:00Z\n"
              "  Recorder active: likely yes\n"
              "  Last modified: 2026-04-01T09:59:50Z\n"
              "\n"
              "=== Operational Metrics ===\n"
              "\n"
              "  Total frames:      3\n"
              "  Total observations: 1\n"
              "  Pending analysis:  2\n"
              "  Coverage:          33.3%\n"
              "  Last frame:        2026-04-01T09:59:59Z\n"
              "  Last observation:  2026-04-01T09:50:00Z\n"
              "  Frames (5min):     3\n"
              "  Observations (5min): 0\n"
              "\n"
              "=== Diagnosis ===\n"
              "\n"
              "  IDLE\n"
              "  No recent analysis activity. User may be away or screen activity is minimal.\n"
              "\n"
              "=== Tail of recorder.log ===\n"
              "\n"
              "09:59:58 captured frame\n09:59:59 captured frame\n"
              "\n"
              "\n"
              "=== Tail of mlx-bridge-recorder-vlm.log ===\n"
              "\n"
              "\n"
              "\n"
              "=== Tail of mlx-bridge-recorder-vlm-stdout.log ===\n"
              "\n"
              "Error: Unable to decode log output.\n");
}

TEST(StatusResponseTest, HumanReportWithoutMetricsOrTails) {
    EXPECT_EQ(human(bareStatus()),
              "=== Varnholt Status ===\n"
              "\n"
              "  Database: /home/ada/.varnholt/varnholt.db\n"
              "  Size: Zero KB\n"
              "  Schema: v24\n"
              "  Recorder active: no recent activity\n");
}

TEST(StatusResponseTest, HumanReportWithoutTailsEndsAfterTheDiagnosis) {
    StatusData data = fullStatus();
    data.tailLogRecorder.reset();
    data.tailLogBridge.reset();
    data.tailLogBridgeErrors.reset();
    const std::string text = human(data);
    const std::string ending =
        "\n=== Diagnosis ===\n\n  IDLE\n  No recent analysis activity. User may be away or screen "
        "activity is minimal.\n";
    ASSERT_GE(text.size(), ending.size());
    EXPECT_EQ(text.substr(text.size() - ending.size()), ending);
}

TEST(StatusResponseTest, HumanReportLeavesOutAbsentTimes) {
    StatusData data = bareStatus();
    data.sizeBytes = 532;
    data.operationalMetrics = coverageOf(0, 0);
    EXPECT_EQ(human(data),
              "=== Varnholt Status ===\n"
              "\n"
              "  Database: /home/ada/.varnholt/varnholt.db\n"
              "  Size: 532 bytes\n"
              "  Schema: v24\n"
              "  Total observations: 0\n"
              "  Recorder active: no recent activity\n"
              "\n"
              "=== Operational Metrics ===\n"
              "\n"
              "  Total frames:      0\n"
              "  Total observations: 0\n"
              "  Pending analysis:  0\n"
              "  Coverage:          0.0%\n"
              "  Frames (5min):     0\n"
              "  Observations (5min): 0\n");
}

TEST(StatusResponseTest, DiagnosisNeedsBothCodeAndMessage) {
    StatusData data = bareStatus();
    data.diagnosis = "IDLE";
    EXPECT_EQ(human(data).find("=== Diagnosis ==="), std::string::npos);
}

// Times far outside any calendar (a recorder's clock gone wrong, a REAL column
// holding 1e300) are written as the nearest 64-bit second, in both
// renderings; far but holdable years are written as they are.
TEST(StatusResponseTest, TimesBeyond64BitSecondsAreWrittenAsTheNearestOne) {
    StatusData data = bareStatus();
    OperationalMetrics metrics;
    metrics.lastFrameTimestamp = 1e300;
    metrics.lastObservationTimestamp = -1e300;
    metrics.firstObservationAt = std::numeric_limits<std::int64_t>::min();
    metrics.lastObservationAt = std::numeric_limits<std::int64_t>::max();
    data.operationalMetrics = metrics;
    data.lastDbModified = 1e12;
    const LocalCalendar calendar("UTC", "en_US");
    const JSON document = makeStatusResponse(data, calendar);
    EXPECT_EQ(document["data"]["operational"]["last_frame_at"], "292277026596-12-04T15:30:07Z");
    EXPECT_EQ(document["data"]["operational"]["last_observation_at"], "-292277022657-01-27T08:29:52Z");
    EXPECT_EQ(document["data"]["database"]["first_observation_at"], "-292277022657-01-27T08:29:52Z");
    EXPECT_EQ(document["data"]["database"]["last_observation_at"], "292277026596-12-04T15:30:07Z");
    EXPECT_EQ(document["data"]["last_db_modified"], "33658-09-27T01:46:40Z");
    const std::string report = human(data);
    EXPECT_NE(report.find("  First observation: -292277022657-01-27T08:29:52Z\n"
                          "  Last observation: 292277026596-12-04T15:30:07Z\n"),
              std::string::npos)
        << report;
    EXPECT_NE(report.find("  Last frame:        292277026596-12-04T15:30:07Z\n"
                          "  Last observation:  -292277022657-01-27T08:29:52Z\n"),
              std::string::npos)
        << report;
}

// The report on a terminal that went away: the front end's final check
// finds the lost bytes and names the reason once.
TEST(StatusResponseTest, AHumanReportThatCannotBeWrittenIsReportedAsLost) {
    const int full = open("/dev/full", O_WRONLY);
    if (full < 0) GTEST_SKIP() << "no /dev/full here (Linux has one)";
    DescriptorOutputBuffer unwritable(full);
    std::ostringstream errors;
    std::streambuf* const standardOutput = std::cout.rdbuf(&unwritable);
    std::streambuf* const standardError = std::cerr.rdbuf(errors.rdbuf());
    printHumanStatus(fullStatus(), std::cout);
    const bool written = confirmOutputWritten();
    std::cout.rdbuf(standardOutput);
    std::cerr.rdbuf(standardError);
    std::cout.clear();
    close(full);
    EXPECT_FALSE(written);
    EXPECT_EQ(errors.str(), "Failed to write to standard output: No space left on device\n");
}
