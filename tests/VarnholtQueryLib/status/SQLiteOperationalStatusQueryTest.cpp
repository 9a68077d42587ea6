#include "status/SQLiteOperationalStatusQuery.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "DatabaseError.h"
#include "RecorderSchema.h"
#include "SQLiteReadConnection.h"
#include "StatementLog.h"
#include "TemporaryDirectory.h"
#include "TestClock.h"
#include "TestInstants.h"

using namespace VarnholtQueryLib;
using VarnholtSQLiteSupport::DatabaseError;
using VarnholtSQLiteSupport::SQLiteReadConnection;
using VarnholtTestSupport::StatementChoice;
using VarnholtTestSupport::StatementLog;

namespace {

using VarnholtTestSupport::kNow;  // 2026-04-01T10:00:00Z
using VarnholtTestSupport::TestClock;

class SQLiteOperationalStatusQueryTest : public ::testing::TestWithParam<StatementChoice> {
protected:
    // Builds the recorder's schema plus `inserts`, then asks for the metrics
    // through a query-only connection, as the tool does.
    OperationalMetrics metricsAfter(const std::string& inserts) {
        sqlite3* handle = VarnholtSampleData::openWritableDatabase(path_);
        VarnholtSampleData::createRecorderSchema(handle);
        if (!inserts.empty()) VarnholtSampleData::execWritable(handle, inserts);
        sqlite3_close(handle);
        SQLiteReadConnection connection(path_);
        SQLiteOperationalStatusQuery query(
            connection, VarnholtTestSupport::indexesFor(GetParam(), connection.handle()), clock_);
        StatementLog log(connection.handle());
        const OperationalMetrics metrics = query.getOperationalMetrics();
        ranLiteral_ = log.ran(SQLiteOperationalStatusQuery::kStatement);
        EXPECT_EQ(ranLiteral_, GetParam() == StatementChoice::literal);
        return metrics;
    }

    static std::string frame(const std::string& id, const std::string& timestamp, int analyzed) {
        return "INSERT INTO frames (id, display_id, captured_at, timestamp, image_path, analyzed) "
               "VALUES ('" + id + "', '1', '2026-04-01T09:00:00Z', " + timestamp + ", '/f/" + id +
               ".png', " + std::to_string(analyzed) + ");\n";
    }
    static std::string observation(const std::string& id, const std::string& timestamp) {
        return "INSERT INTO observations (id, frame_id, type, timestamp, vlm_description, apps, "
               "created_at) VALUES ('" + id + "', NULL, 'visual', " + timestamp +
               ", 'Editing a file', '[]', '2026-04-01T09:00:00Z');\n";
    }

    VarnholtTestSupport::TemporaryDirectory directory_;
    std::string path_ = directory_.file("varnholt.db");
    TestClock clock_{kNow};
    bool ranLiteral_ = false;
};

}  // namespace

TEST_P(SQLiteOperationalStatusQueryTest, EmptyTablesGiveZeroCountsAndNoTimes) {
    const OperationalMetrics metrics = metricsAfter("");
    EXPECT_EQ(metrics, OperationalMetrics{});
    EXPECT_EQ(metrics.totalFrames, 0);
    EXPECT_EQ(metrics.totalObservations, 0);
    EXPECT_EQ(metrics.pendingFrames, 0);
    EXPECT_FALSE(metrics.lastFrameTimestamp.has_value());
    EXPECT_FALSE(metrics.lastObservationTimestamp.has_value());
    EXPECT_FALSE(metrics.firstObservationAt.has_value());
    EXPECT_FALSE(metrics.lastObservationAt.has_value());
}

TEST_P(SQLiteOperationalStatusQueryTest, CountsAndNewestTimes) {
    const OperationalMetrics metrics = metricsAfter(
        frame("F1", "1775030000.25", 1) + frame("F2", "1775036000.75", 1) +
        frame("F3", "1775037500.5", 0) + observation("O1", "1775020000") +
        observation("O2", "1775036000"));
    EXPECT_EQ(metrics.totalFrames, 3);
    EXPECT_EQ(metrics.totalObservations, 2);
    EXPECT_EQ(metrics.pendingFrames, 1);
    EXPECT_EQ(metrics.lastFrameTimestamp, 1775037500.5);  // fractions kept
    EXPECT_EQ(metrics.firstObservationAt, 1775020000);
    EXPECT_EQ(metrics.lastObservationAt, 1775036000);
    EXPECT_EQ(metrics.lastObservationTimestamp, 1775036000.0);
    EXPECT_EQ(metrics.framesLast5Min, 1);
    EXPECT_EQ(metrics.observationsLast5Min, 0);
}

TEST_P(SQLiteOperationalStatusQueryTest, TimesOfTextOrBlobAreNoTimesButTheRowsCount) {
    // Text and BLOBs sort after every number: read as times they would be
    // the newest, and recent, and read as numbers they would be 1970.
    const OperationalMetrics metrics = metricsAfter(
        frame("F1", "1775037500.5", 1) + frame("F2", "'pending'", 1) + frame("F3", "x'00'", 1) +
        observation("O1", "1775036000") + observation("O2", "'2026-04-01T10:00:00Z'") +
        observation("O3", "x'01'"));
    EXPECT_EQ(metrics.totalFrames, 3);
    EXPECT_EQ(metrics.totalObservations, 3);
    EXPECT_EQ(metrics.lastFrameTimestamp, 1775037500.5);
    EXPECT_EQ(metrics.firstObservationAt, 1775036000);
    EXPECT_EQ(metrics.lastObservationAt, 1775036000);
    EXPECT_EQ(metrics.framesLast5Min, 1);
    EXPECT_EQ(metrics.observationsLast5Min, 0);
}

TEST_P(SQLiteOperationalStatusQueryTest, OnlyTextTimesGiveNoTimesAtAll) {
    const OperationalMetrics metrics =
        metricsAfter(frame("F1", "'pending'", 1) + observation("O1", "'pending'"));
    EXPECT_FALSE(metrics.lastFrameTimestamp.has_value());
    EXPECT_FALSE(metrics.firstObservationAt.has_value());
    EXPECT_FALSE(metrics.lastObservationAt.has_value());
    EXPECT_EQ(metrics.framesLast5Min, 0);
    EXPECT_EQ(metrics.observationsLast5Min, 0);
}

TEST_P(SQLiteOperationalStatusQueryTest, PendingCountsOnlyUnanalysedFrames) {
    // 1 is analysed and 2 failed; neither waits any more.
    const OperationalMetrics metrics =
        metricsAfter(frame("A", "1775000000", 0) + frame("B", "1775000001", 0) +
                     frame("C", "1775000002", 1) + frame("D", "1775000003", 2) +
                     frame("E", "1775000004", 0));
    EXPECT_EQ(metrics.totalFrames, 5);
    EXPECT_EQ(metrics.pendingFrames, 3);
}

TEST_P(SQLiteOperationalStatusQueryTest, FrameExactlyThreeHundredSecondsOldCountsAsRecent) {
    const OperationalMetrics metrics = metricsAfter(
        frame("EDGE", "1775037300.0", 1) + frame("OLDER", "1775037299.999", 1) +
        observation("EDGE", "1775037300.0") + observation("OLDER", "1775037299.5"));
    EXPECT_EQ(metrics.framesLast5Min, 1);
    EXPECT_EQ(metrics.observationsLast5Min, 1);
}

TEST_P(SQLiteOperationalStatusQueryTest, WindowFollowsTheClock) {
    clock_.instant = kNow + 1.0;
    const OperationalMetrics metrics =
        metricsAfter(frame("EDGE", "1775037300.0", 1) + observation("EDGE", "1775037300.0"));
    EXPECT_EQ(metrics.framesLast5Min, 0);
    EXPECT_EQ(metrics.observationsLast5Min, 0);
}

TEST_P(SQLiteOperationalStatusQueryTest, FractionalObservationTimeIsTruncatedToTheSecond) {
    const OperationalMetrics metrics =
        metricsAfter(observation("O1", "1775036000.9") + observation("O0", "1775030000.9"));
    EXPECT_EQ(metrics.lastObservationAt, 1775036000);
    EXPECT_EQ(metrics.lastObservationTimestamp, 1775036000.0);
    EXPECT_EQ(metrics.firstObservationAt, 1775030000);
    EXPECT_EQ(metrics.totalObservations, 2);
    EXPECT_EQ(metrics.totalFrames, 0);
}

TEST_P(SQLiteOperationalStatusQueryTest, MissingTablesAreAQueryFailure) {
    sqlite3* handle = VarnholtSampleData::openWritableDatabase(path_);
    VarnholtSampleData::execWritable(handle, "PRAGMA user_version = 24; CREATE TABLE other (x);");
    sqlite3_close(handle);
    SQLiteReadConnection connection(path_);
    SQLiteOperationalStatusQuery query(
        connection, VarnholtTestSupport::indexesFor(GetParam(), connection.handle()), clock_);
    try {
        query.getOperationalMetrics();
        FAIL() << "expected a DatabaseError";
    } catch (const DatabaseError& error) {
        EXPECT_EQ(error.errorCase(), DatabaseError::Case::queryFailed);
        EXPECT_EQ(error.message(), "no such table: frames");
    }
}

INSTANTIATE_TEST_SUITE_P(BothStatements, SQLiteOperationalStatusQueryTest,
                         ::testing::Values(StatementChoice::literal, StatementChoice::indexed),
                         [](const auto& info) { return VarnholtTestSupport::nameOf(info.param); });
