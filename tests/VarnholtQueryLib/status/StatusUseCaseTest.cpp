#include "status/StatusUseCase.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <ios>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "DatabaseError.h"
#include "status/FSTailTailLogPort.h"
#include "SchemaVersion.h"
#include "platform/SystemPlatform.h"
#include "TemporaryDirectory.h"
#include "TestClock.h"
#include "TestInstants.h"
#include "BridgeFailureReportText.h"

using namespace VarnholtQueryLib;

namespace {

constexpr const char* kHome = "/home/tester";
constexpr const char* kDatabase = "/home/tester/.varnholt/varnholt.db";
constexpr const char* kReportPath = "/home/tester/.varnholt/last-bridge-error.json";
using VarnholtTestSupport::kNow;  // 2026-04-01T10:00:00Z
using VarnholtTestSupport::TestClock;

// Files by path: attributes and contents, each on its own, so that a test can
// have an attribute-less or unreadable file.
class FakeFileSystem final : public FileSystemPort {
public:
    std::map<std::string, FileAttributes> attributesByPath;
    std::map<std::string, std::string> contentsByPath;
    // Paths whose read throws, as a careless file reader does on a directory.
    std::set<std::string> throwingPaths;

    std::optional<FileAttributes> attributes(const std::string& path) const override {
        const auto found = attributesByPath.find(path);
        if (found == attributesByPath.end()) return std::nullopt;
        return found->second;
    }
    std::optional<std::string> readFile(const std::string& path) const override {
        if (throwingPaths.count(path) != 0) {
            throw std::ios_base::failure("basic_filebuf::underflow error reading the file");
        }
        const auto found = contentsByPath.find(path);
        if (found == contentsByPath.end()) return std::nullopt;
        return found->second;
    }
};

// Answers with its metrics, or fails like a broken database when it has none.
class FakeOperationalQuery final : public OperationalStatusQueryPort {
public:
    explicit FakeOperationalQuery(std::optional<OperationalMetrics> metrics)
        : metrics_(std::move(metrics)) {}
    OperationalMetrics getOperationalMetrics() override {
        ++calls;
        if (!metrics_) throw VarnholtSQLiteSupport::DatabaseError::queryFailed("no such table: frames");
        return *metrics_;
    }
    int calls = 0;

private:
    std::optional<OperationalMetrics> metrics_;
};

// Returns "tail of <path>" and records what it was asked.
class RecordingTailLogPort final : public TailLogPort {
public:
    std::string tailLog(const std::string& filePath, std::int64_t lineCount) const override {
        requests.emplace_back(filePath, lineCount);
        return "tail of " + filePath;
    }
    mutable std::vector<std::pair<std::string, std::int64_t>> requests;
};

OperationalMetrics metrics(std::int64_t totalFrames, std::int64_t framesLast5Min,
                           std::int64_t observationsLast5Min, std::int64_t pendingFrames,
                           std::int64_t totalObservations) {
    OperationalMetrics result;
    result.totalFrames = totalFrames;
    result.framesLast5Min = framesLast5Min;
    result.observationsLast5Min = observationsLast5Min;
    result.pendingFrames = pendingFrames;
    result.totalObservations = totalObservations;
    return result;
}

std::optional<std::string> codeOf(const OperationalMetrics& input) {
    return StatusUseCase::computeDiagnosis(input).code;
}

}  // namespace

// ---- Diagnosis --------------------------------------------------------------

TEST(StatusUseCaseTest, DiagnosisIsAbsentWithoutMetrics) {
    const StatusDiagnosis verdict = StatusUseCase::computeDiagnosis(std::nullopt);
    EXPECT_FALSE(verdict.code.has_value());
    EXPECT_FALSE(verdict.message.has_value());
}

TEST(StatusUseCaseTest, NoFramesAtAllIsNoData) {
    const StatusDiagnosis verdict = StatusUseCase::computeDiagnosis(metrics(0, 0, 0, 0, 0));
    EXPECT_EQ(verdict.code, "NO_DATA");
    EXPECT_EQ(verdict.message,
              "No frames captured yet. The recorder may be paused or waiting for Screen Recording "
              "permission.");
}

TEST(StatusUseCaseTest, NoDataWinsOverEveryOtherCounter) {
    EXPECT_EQ(codeOf(metrics(0, 5, 5, 500, 10)), "NO_DATA");
}

TEST(StatusUseCaseTest, NoRecentFramesIsNoCaptureWhateverTheBacklog) {
    const StatusDiagnosis verdict = StatusUseCase::computeDiagnosis(metrics(5000, 0, 0, 4000, 1000));
    EXPECT_EQ(verdict.code, "NO_CAPTURE");
    EXPECT_EQ(verdict.message,
              "No recent capture activity. The recorder may be paused, the screen may be locked, "
              "or the app may not be running.");
    EXPECT_EQ(codeOf(metrics(5000, 0, 3, 0, 1000)), "NO_CAPTURE");
}

TEST(StatusUseCaseTest, RecentObservationsAreHealthyEvenWithALargeBacklog) {
    const StatusDiagnosis verdict = StatusUseCase::computeDiagnosis(metrics(5000, 40, 1, 4000, 1000));
    EXPECT_EQ(verdict.code, "HEALTHY");
    EXPECT_EQ(verdict.message, "Capture and analysis are both running normally.");
}

TEST(StatusUseCaseTest, OnePendingFrameAndNoObservationEverIsBridgeDead) {
    const StatusDiagnosis verdict = StatusUseCase::computeDiagnosis(metrics(10, 3, 0, 1, 0));
    EXPECT_EQ(verdict.code, "BRIDGE_DEAD");
    EXPECT_EQ(verdict.message,
              "Frames are being captured but analysis is not producing observations. The VLM "
              "bridge may have crashed on startup.");
}

TEST(StatusUseCaseTest, NothingPendingAndNoObservationEverIsIdle) {
    const StatusDiagnosis verdict = StatusUseCase::computeDiagnosis(metrics(10, 3, 0, 0, 0));
    EXPECT_EQ(verdict.code, "IDLE");
    EXPECT_EQ(verdict.message,
              "No recent analysis activity. User may be away or screen activity is minimal.");
}

TEST(StatusUseCaseTest, BacklogOfOneHundredIsIdleAndOneMoreIsBackpressure) {
    EXPECT_EQ(codeOf(metrics(500, 3, 0, 100, 200)), "IDLE");
    const StatusDiagnosis verdict = StatusUseCase::computeDiagnosis(metrics(500, 3, 0, 101, 200));
    EXPECT_EQ(verdict.code, "BACKPRESSURE");
    EXPECT_EQ(verdict.message,
              "Capture is running but the analysis queue is backed up. The bridge may be slow or "
              "stuck.");
}

TEST(StatusUseCaseTest, BridgeDeadLooksAtTheAllTimeObservationTotal) {
    // A large backlog but observations some time ago: backed up, not dead.
    EXPECT_EQ(codeOf(metrics(500, 3, 0, 400, 1)), "BACKPRESSURE");
    // A backlog and never an observation: dead, however large the backlog.
    EXPECT_EQ(codeOf(metrics(500, 3, 0, 400, 0)), "BRIDGE_DEAD");
}

TEST(StatusUseCaseTest, NegativePendingFallsThroughToIdle) {
    EXPECT_EQ(codeOf(metrics(500, 3, 0, -1, 0)), "IDLE");
}

// ---- execute ----------------------------------------------------------------

class StatusUseCaseExecuteTest : public ::testing::Test {
protected:
    StatusData run(std::optional<OperationalMetrics> answer, const TailLogPort* tails) {
        FakeOperationalQuery query(std::move(answer));
        const StatusUseCase useCase(&query, tails, fileSystem, clock, kHome);
        return useCase.execute();
    }
    // The use case over the real file system and tail, without metrics.
    StatusData executeOnTheSystem(const std::string& home) const {
        const SystemProcess processes;
        const SystemFileSystem files;
        const FSTailTailLogPort tails(processes);
        return StatusUseCase(nullptr, &tails, files, clock, home).execute();
    }
    void databaseModifiedAt(double instant, std::int64_t size = 4096) {
        fileSystem.attributesByPath[kDatabase] = FileAttributes{size, instant};
    }

    TestClock clock{kNow};
    FakeFileSystem fileSystem;
};

TEST_F(StatusUseCaseExecuteTest, NoDatabaseFileGivesZeroSizeAndNotActive) {
    const StatusData data = run(std::nullopt, nullptr);
    EXPECT_EQ(data.dbPath, kDatabase);
    EXPECT_EQ(data.sizeBytes, 0);
    EXPECT_FALSE(data.lastDbModified.has_value());
    EXPECT_FALSE(data.recorderLikelyActive);
    EXPECT_FALSE(data.operationalMetrics.has_value());
    EXPECT_FALSE(data.diagnosis.has_value());
    EXPECT_FALSE(data.diagnosisMessage.has_value());
}

TEST_F(StatusUseCaseExecuteTest, ReportsTheRequiredSchemaVersionNotTheDatabases) {
    EXPECT_EQ(run(std::nullopt, nullptr).schemaVersion, VarnholtSchema::SchemaVersion::current);
    EXPECT_EQ(run(std::nullopt, nullptr).schemaVersion, 24);
}

TEST_F(StatusUseCaseExecuteTest, SizeAndModificationTimeComeFromTheFile) {
    databaseModifiedAt(kNow - 3600.5, 123456789);
    const StatusData data = run(std::nullopt, nullptr);
    EXPECT_EQ(data.sizeBytes, 123456789);
    EXPECT_EQ(data.lastDbModified, kNow - 3600.5);
    EXPECT_FALSE(data.recorderLikelyActive);
}

TEST_F(StatusUseCaseExecuteTest, ModifiedFiftyNinePointNineSecondsAgoIsActive) {
    databaseModifiedAt(kNow - 59.9);
    EXPECT_TRUE(run(std::nullopt, nullptr).recorderLikelyActive);
}

TEST_F(StatusUseCaseExecuteTest, ModifiedSixtySecondsAgoIsNotActive) {
    databaseModifiedAt(kNow - 60.0);
    EXPECT_FALSE(run(std::nullopt, nullptr).recorderLikelyActive);
}

TEST_F(StatusUseCaseExecuteTest, ModificationTimeInTheFutureCountsAsActive) {
    databaseModifiedAt(kNow + 3600.0);
    EXPECT_TRUE(run(std::nullopt, nullptr).recorderLikelyActive);
}

TEST_F(StatusUseCaseExecuteTest, AttributesWithoutSizeOrTimeAreNeutral) {
    fileSystem.attributesByPath[kDatabase] = FileAttributes{};
    const StatusData data = run(std::nullopt, nullptr);
    EXPECT_EQ(data.sizeBytes, 0);
    EXPECT_FALSE(data.lastDbModified.has_value());
    EXPECT_FALSE(data.recorderLikelyActive);
}

TEST_F(StatusUseCaseExecuteTest, MetricsAndTheirDiagnosisAreKept) {
    const OperationalMetrics answer = metrics(900, 12, 4, 30, 850);
    const StatusData data = run(answer, nullptr);
    EXPECT_EQ(data.operationalMetrics, answer);
    EXPECT_EQ(data.diagnosis, "HEALTHY");
    EXPECT_EQ(data.diagnosisMessage, "Capture and analysis are both running normally.");
}

TEST_F(StatusUseCaseExecuteTest, FailingMetricsQueryLeavesMetricsAndDiagnosisAbsent) {
    databaseModifiedAt(kNow - 10.0, 2048);
    FakeOperationalQuery query(std::nullopt);
    const StatusUseCase useCase(&query, nullptr, fileSystem, clock, kHome);
    const StatusData data = useCase.execute();
    EXPECT_EQ(query.calls, 1);
    EXPECT_FALSE(data.operationalMetrics.has_value());
    EXPECT_FALSE(data.diagnosis.has_value());
    EXPECT_FALSE(data.diagnosisMessage.has_value());
    // The other sources are unaffected.
    EXPECT_EQ(data.sizeBytes, 2048);
    EXPECT_TRUE(data.recorderLikelyActive);
}

TEST_F(StatusUseCaseExecuteTest, NoMetricsPortMeansNoMetrics) {
    const StatusUseCase useCase(nullptr, nullptr, fileSystem, clock, kHome);
    const StatusData data = useCase.execute();
    EXPECT_FALSE(data.operationalMetrics.has_value());
    EXPECT_FALSE(data.diagnosis.has_value());
}

TEST_F(StatusUseCaseExecuteTest, NoTailPortLeavesAllThreeTailsAbsent) {
    const StatusData data = run(metrics(1, 1, 1, 0, 1), nullptr);
    EXPECT_FALSE(data.tailLogRecorder.has_value());
    EXPECT_FALSE(data.tailLogBridge.has_value());
    EXPECT_FALSE(data.tailLogBridgeErrors.has_value());
}

TEST_F(StatusUseCaseExecuteTest, TailsTwentyLinesOfTheThreeLogsInOrder) {
    RecordingTailLogPort tails;
    const StatusData data = run(std::nullopt, &tails);
    const std::vector<std::pair<std::string, std::int64_t>> expected = {
        {"/home/tester/.varnholt/logs/recorder.log", 20},
        {"/home/tester/.varnholt/logs/mlx-bridge-recorder-vlm.log", 20},
        {"/home/tester/.varnholt/logs/mlx-bridge-recorder-vlm-stdout.log", 20},
    };
    EXPECT_EQ(tails.requests, expected);
    EXPECT_EQ(data.tailLogRecorder, "tail of /home/tester/.varnholt/logs/recorder.log");
    EXPECT_EQ(data.tailLogBridge, "tail of /home/tester/.varnholt/logs/mlx-bridge-recorder-vlm.log");
    EXPECT_EQ(data.tailLogBridgeErrors,
              "tail of /home/tester/.varnholt/logs/mlx-bridge-recorder-vlm-stdout.log");
}

TEST_F(StatusUseCaseExecuteTest, MissingLogFileGivesAnEmptyTailWithTheRealTail) {
    VarnholtTestSupport::TemporaryDirectory home;
    std::filesystem::create_directories(home.file(".varnholt/logs"));
    std::ofstream(home.file(".varnholt/logs/recorder.log")) << "one\ntwo\n";
    const StatusData data = executeOnTheSystem(home.path());
    EXPECT_EQ(data.tailLogRecorder, "one\ntwo\n");
    EXPECT_EQ(data.tailLogBridge, "");
    EXPECT_EQ(data.tailLogBridgeErrors, "");
    EXPECT_EQ(data.dbPath, home.path() + "/.varnholt/varnholt.db");
    EXPECT_EQ(data.sizeBytes, 0);
}

TEST_F(StatusUseCaseExecuteTest, NoFailureReportIsHealthy) {
    const StatusData data = run(std::nullopt, nullptr);
    ASSERT_TRUE(data.bridgeHealth.has_value());
    EXPECT_EQ(*data.bridgeHealth, (StatusData::BridgeHealth{"healthy", std::nullopt, std::nullopt,
                                                            std::nullopt}));
}

TEST_F(StatusUseCaseExecuteTest, ReportWithAllSixKeysIsDegradedWithVerbatimFields) {
    fileSystem.contentsByPath[kReportPath] = kAllSixKeys;
    const StatusData data = run(std::nullopt, nullptr);
    ASSERT_TRUE(data.bridgeHealth.has_value());
    EXPECT_EQ(*data.bridgeHealth,
              (StatusData::BridgeHealth{"degraded", "Model failed to load: out of memory",
                                        "2026-04-01T09:58:12Z", kReportPath}));
}

TEST_F(StatusUseCaseExecuteTest, ReportLackingModelIdIsHealthy) {
    fileSystem.contentsByPath[kReportPath] =
        R"({"timestamp":"yesterday","pythonPath":"/usr/bin/python3","bridgePath":"/b.py",)"
        R"("socketPath":"/tmp/s","reason":"crashed"})";
    EXPECT_EQ(run(std::nullopt, nullptr).bridgeHealth->status, "healthy");
}

TEST_F(StatusUseCaseExecuteTest, ReportWithExtraKeysIsStillDegraded) {
    fileSystem.contentsByPath[kReportPath] =
        R"({"timestamp":"1775037000","pythonPath":"p","bridgePath":"b","modelId":"m",)"
        R"("socketPath":"s","reason":"exit code 1","exitCode":1,"stderr":["a","b"]})";
    const StatusData data = run(std::nullopt, nullptr);
    EXPECT_EQ(*data.bridgeHealth,
              (StatusData::BridgeHealth{"degraded", "exit code 1", "1775037000", kReportPath}));
}

TEST_F(StatusUseCaseExecuteTest, MalformedReportIsHealthy) {
    fileSystem.contentsByPath[kReportPath] = "{\"reason\": ";
    EXPECT_EQ(run(std::nullopt, nullptr).bridgeHealth->status, "healthy");
}

TEST_F(StatusUseCaseExecuteTest, AReportThatCannotBeReadAtAllStillLeavesTheBridgeHealthy) {
    fileSystem.throwingPaths.insert(kReportPath);
    databaseModifiedAt(kNow - 10.0);
    const StatusData data = run(metrics(1, 1, 1, 0, 1), nullptr);
    EXPECT_EQ(*data.bridgeHealth, (StatusData::BridgeHealth{"healthy", std::nullopt, std::nullopt,
                                                            std::nullopt}));
    EXPECT_EQ(data.diagnosis, "HEALTHY");
}

TEST_F(StatusUseCaseExecuteTest, ALogPathHoldingNoRegularFileIsNotTailed) {
    FileAttributes fifo;
    fifo.isRegularFile = false;
    fileSystem.attributesByPath["/home/tester/.varnholt/logs/mlx-bridge-recorder-vlm.log"] = fifo;
    fileSystem.attributesByPath["/home/tester/.varnholt/logs/recorder.log"] = FileAttributes{10, kNow};
    RecordingTailLogPort tails;
    const StatusData data = run(std::nullopt, &tails);
    const std::vector<std::pair<std::string, std::int64_t>> expected = {
        {"/home/tester/.varnholt/logs/recorder.log", 20},
        {"/home/tester/.varnholt/logs/mlx-bridge-recorder-vlm-stdout.log", 20},
    };
    EXPECT_EQ(tails.requests, expected);
    EXPECT_EQ(data.tailLogRecorder, "tail of /home/tester/.varnholt/logs/recorder.log");
    EXPECT_EQ(data.tailLogBridge, "");
}

// A FIFO would block a reader (and tail) until a writer comes, which may be
// never; a directory fails the read. Neither may stop or fail the status.
TEST_F(StatusUseCaseExecuteTest, FIFOsAndDirectoriesAmongTheSideFilesNeitherHangNorFail) {
    VarnholtTestSupport::TemporaryDirectory home;
    std::filesystem::create_directories(home.file(".varnholt/logs/mlx-bridge-recorder-vlm.log"));
    ASSERT_EQ(mkfifo(home.file(".varnholt/logs/recorder.log").c_str(), 0600), 0);
    ASSERT_EQ(mkfifo(home.file(".varnholt/last-bridge-error.json").c_str(), 0600), 0);
    std::ofstream(home.file(".varnholt/logs/mlx-bridge-recorder-vlm-stdout.log")) << "ready\n";
    const StatusData data = executeOnTheSystem(home.path());
    EXPECT_EQ(data.tailLogRecorder, "");
    EXPECT_EQ(data.tailLogBridge, "");
    EXPECT_EQ(data.tailLogBridgeErrors, "ready\n");
    EXPECT_EQ(data.bridgeHealth->status, "healthy");

    std::filesystem::remove(home.file(".varnholt/last-bridge-error.json"));
    std::filesystem::create_directories(home.file(".varnholt/last-bridge-error.json"));
    EXPECT_EQ(executeOnTheSystem(home.path()).bridgeHealth->status, "healthy");
}
