#include "WarmingConnections.h"

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "FileBytes.h"
#include "FixtureDatabase.h"
#include "RecorderSchema.h"
#include "SQLiteReadConnection.h"
#include "TemporaryDirectory.h"

using VarnholtSQLiteSupport::ColdReads;
using VarnholtSQLiteSupport::SQLiteReadConnection;
using VarnholtSQLiteSupport::WarmingConnections;
using VarnholtSQLiteSupport::WarmingLookup;
using VarnholtSQLiteSupport::WarmingPlan;
using VarnholtSQLiteSupport::WarmingPolicy;
using VarnholtSQLiteSupport::WarmingReport;

namespace {

using Slices = std::vector<std::pair<double, double>>;

// --- How a range is cut -----------------------------------------------------

WarmingPlan rangePlan(double from, double to, bool wholeNumbers = false,
                      WarmingPlan::Walk walk = WarmingPlan::Walk::oldestFirst) {
    WarmingPlan plan;
    plan.from = from;
    plan.to = to;
    plan.wholeNumbers = wholeNumbers;
    plan.walk = walk;
    return plan;
}

// Each slice's bounds in order, each slice beginning where the one before
// ended, the first at `from` and the last ending exactly at `to`.
void expectTimeSlicesCover(const Slices& slices, double from, double to) {
    ASSERT_FALSE(slices.empty());
    EXPECT_EQ(slices.front().first, from);
    EXPECT_EQ(slices.back().second, to);
    const double width = (to - from) / static_cast<double>(slices.size());
    for (std::size_t i = 0; i < slices.size(); ++i) {
        EXPECT_LT(slices[i].first, slices[i].second) << "slice " << i;
        EXPECT_NEAR(slices[i].second - slices[i].first, width, 1e-3) << "slice " << i;
        if (i + 1 < slices.size()) {
            EXPECT_EQ(slices[i].second, slices[i + 1].first) << "slice " << i;
        }
    }
}

// Oldest first: whole-number bounds from `from` to `to`, and every rowid of
// the range in exactly one slice.
void expectRowidSlicesPartition(const Slices& slices, std::int64_t from, std::int64_t to) {
    ASSERT_FALSE(slices.empty());
    for (const auto& [lower, upper] : slices) {
        EXPECT_EQ(lower, std::floor(lower));
        EXPECT_EQ(upper, std::floor(upper));
        EXPECT_LE(lower, upper);
    }
    EXPECT_EQ(slices.front().first, static_cast<double>(from));
    EXPECT_EQ(slices.back().second, static_cast<double>(to));
    for (std::int64_t rowid = from; rowid <= to; ++rowid) {
        const auto holding = std::count_if(slices.begin(), slices.end(), [&](const auto& slice) {
            return slice.first <= static_cast<double>(rowid) && static_cast<double>(rowid) <= slice.second;
        });
        ASSERT_EQ(holding, 1) << "rowid " << rowid;
    }
}

TEST(WarmingConnectionsSlicesTest, ATimeRangeGivesEachHelperItsSlices) {
    const double from = 1700000000.25;
    const double to = from + 3 * 3600 + 0.5;
    const Slices slices = WarmingConnections::slicesOf(rangePlan(from, to), 3, 4);
    EXPECT_EQ(slices.size(), 12u);
    expectTimeSlicesCover(slices, from, to);

    // Bounds where from + (to - from) * 7 / 7 is not `to` in floating point:
    // the last slice still ends exactly at `to`.
    const double oddFrom = 956.0342718892493;
    const double oddTo = 49061.78167024997;
    const Slices odd = WarmingConnections::slicesOf(rangePlan(oddFrom, oddTo), 7, 1);
    EXPECT_EQ(odd.size(), 7u);
    expectTimeSlicesCover(odd, oddFrom, oddTo);
}

TEST(WarmingConnectionsSlicesTest, NoTimeSliceIsShorterThanFiveMinutes) {
    const double from = 1700000000;
    // Room for five slices of five minutes, not six.
    const double to = from + 5 * 300 + 299;
    const Slices slices = WarmingConnections::slicesOf(rangePlan(from, to), 3, 4);
    EXPECT_EQ(slices.size(), 5u);
    expectTimeSlicesCover(slices, from, to);
    EXPECT_EQ(WarmingConnections::slicesOf(rangePlan(from, from + 6 * 300), 3, 4).size(), 6u);
}

TEST(WarmingConnectionsSlicesTest, TheCountFollowsHelpersAndSlicesPerHelper) {
    const double from = 1700000000;
    const double to = from + 86400;
    EXPECT_EQ(WarmingConnections::slicesOf(rangePlan(from, to), 8, 4).size(), 32u);
    EXPECT_EQ(WarmingConnections::slicesOf(rangePlan(from, to), 2, 3).size(), 6u);
    EXPECT_EQ(WarmingConnections::slicesOf(rangePlan(from, to), 5, 1).size(), 5u);
    // No slices per helper still gives each helper one.
    EXPECT_EQ(WarmingConnections::slicesOf(rangePlan(from, to), 5, 0).size(), 5u);
    // No helpers, nothing to cut.
    EXPECT_TRUE(WarmingConnections::slicesOf(rangePlan(from, to), 0, 4).empty());
}

TEST(WarmingConnectionsSlicesTest, NewestFirstWalksTheSameSlicesBackwards) {
    for (const bool wholeNumbers : {false, true}) {
        const double from = wholeNumbers ? 1 : 1700000000.5;
        const double to = wholeNumbers ? 5000 : from + 7200;
        Slices oldest = WarmingConnections::slicesOf(rangePlan(from, to, wholeNumbers), 2, 4);
        const Slices newest = WarmingConnections::slicesOf(
            rangePlan(from, to, wholeNumbers, WarmingPlan::Walk::newestFirst), 2, 4);
        ASSERT_EQ(oldest.size(), 8u);
        EXPECT_EQ(newest.front().second, to);
        std::reverse(oldest.begin(), oldest.end());
        EXPECT_EQ(newest, oldest) << (wholeNumbers ? "rowids" : "times");
    }
}

TEST(WarmingConnectionsSlicesTest, RowidRangesGiveWholeNumberSlicesThatShareNoRowid) {
    const Slices even = WarmingConnections::slicesOf(rangePlan(1, 10000, true), 2, 4);
    EXPECT_EQ(even.size(), 8u);
    expectRowidSlicesPartition(even, 1, 10000);

    const Slices odd = WarmingConnections::slicesOf(rangePlan(17, 1234, true), 3, 4);
    EXPECT_EQ(odd.size(), 12u);  // 1217 rowids: room for twelve slices of a hundred
    expectRowidSlicesPartition(odd, 17, 1234);

    const Slices few = WarmingConnections::slicesOf(rangePlan(1, 250, true), 3, 4);
    EXPECT_EQ(few.size(), 2u);
    expectRowidSlicesPartition(few, 1, 250);

    Slices newest =
        WarmingConnections::slicesOf(rangePlan(17, 1234, true, WarmingPlan::Walk::newestFirst), 3, 4);
    ASSERT_EQ(newest.size(), 12u);
    EXPECT_EQ(newest.front().second, 1234);
    std::reverse(newest.begin(), newest.end());
    expectRowidSlicesPartition(newest, 17, 1234);
}

TEST(WarmingConnectionsSlicesTest, ARangeTooShortToShareGivesFewerThanTwoSlices) {
    const double from = 1700000000;
    EXPECT_EQ(WarmingConnections::slicesOf(rangePlan(from, from + 599), 3, 4).size(), 1u);
    EXPECT_TRUE(WarmingConnections::slicesOf(rangePlan(from, from + 299), 3, 4).empty());
    EXPECT_EQ(WarmingConnections::slicesOf(rangePlan(1, 200, true), 3, 4).size(), 1u);
    EXPECT_TRUE(WarmingConnections::slicesOf(rangePlan(1, 99, true), 3, 4).empty());
}

TEST(WarmingConnectionsSlicesTest, NonFiniteEmptyAndInvertedRangesGiveNone) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    const std::vector<std::pair<double, double>> ranges = {
        {nan, 1700000000}, {1600000000, nan},       {-infinity, 1700000000}, {1600000000, infinity},
        {-infinity, infinity}, {1700000000, 1700000000}, {1700086400, 1700000000},
    };
    for (const bool wholeNumbers : {false, true}) {
        for (const auto& [from, to] : ranges) {
            EXPECT_TRUE(WarmingConnections::slicesOf(rangePlan(from, to, wholeNumbers), 8, 4).empty())
                << from << " to " << to << (wholeNumbers ? " (rowids)" : "");
        }
    }
}

// --- The policy -------------------------------------------------------------

// The process's helper count as the machine gives it, again at the end.
class WarmersOfThisProcess {
public:
    ~WarmersOfThisProcess() {
        WarmingPolicy::useWarmersInThisProcess(
            WarmingPolicy::forMachine(std::thread::hardware_concurrency()).warmers);
    }
};

TEST(WarmingPolicyTest, FourHelpersPerCoreAtLeastFourAtMostEight) {
    EXPECT_EQ(WarmingPolicy::forMachine(0).warmers, 4);  // unknown counts as one core
    EXPECT_EQ(WarmingPolicy::forMachine(1).warmers, 4);
    EXPECT_EQ(WarmingPolicy::forMachine(2).warmers, 8);
    EXPECT_EQ(WarmingPolicy::forMachine(3).warmers, 8);
    EXPECT_EQ(WarmingPolicy::forMachine(8).warmers, 8);
    const WarmingPolicy policy = WarmingPolicy::forMachine(2);
    EXPECT_EQ(policy.slicesPerWarmer, 4);
    EXPECT_FALSE(policy.startAtOnce);  // the tool waits for a cold answer
}

TEST(WarmingPolicyTest, ThisMachinesPolicyFollowsItsProcessors) {
    EXPECT_EQ(WarmingPolicy::forThisMachine().warmers,
              WarmingPolicy::forMachine(std::thread::hardware_concurrency()).warmers);
}

TEST(WarmingPolicyTest, AProcessMayBeToldHowManyHelpersToUse) {
    const WarmersOfThisProcess restored;
    WarmingPolicy::useWarmersInThisProcess(3);
    EXPECT_EQ(WarmingPolicy::forThisMachine().warmers, 3);
    EXPECT_FALSE(WarmingPolicy::forThisMachine().startAtOnce);
    WarmingPolicy::useWarmersInThisProcess(0);
    EXPECT_EQ(WarmingPolicy::forThisMachine().warmers, 0);
    WarmingPolicy::useWarmersInThisProcess(20);
    EXPECT_EQ(WarmingPolicy::forThisMachine().warmers, 8);  // the cap holds
    WarmingPolicy::useWarmersInThisProcess(-2);
    EXPECT_EQ(WarmingPolicy::forThisMachine().warmers, 0);
}

// --- Helpers on a real database ---------------------------------------------

// Six hours of a recorder's work: a frame every ten seconds, an observation
// of every third frame.
constexpr double kFirst = 1700000000;
constexpr double kLast = kFirst + 2159 * 10;
constexpr const char* kSixHours = R"SQL(
WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < 2159)
INSERT INTO frames (id, display_id, captured_at, timestamp, image_path)
SELECT printf('frame-%05d', i), 'display-1', datetime(1700000000 + i * 10, 'unixepoch'),
       1700000000 + i * 10, printf('/frames/%05d.png', i) FROM n;
WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < 719)
INSERT INTO observations (id, frame_id, type, timestamp, end_timestamp, vlm_description, apps, created_at)
SELECT printf('observation-%05d', i), printf('frame-%05d', i * 3), 'screen', 1700000000 + i * 30,
       1700000030 + i * 30, 'editing warming tests in an editor', '["Editor"]',
       datetime(1700000000 + i * 30, 'unixepoch') FROM n;
)SQL";

constexpr const char* kFramesLookup =
    "SELECT id, image_path FROM frames WHERE timestamp BETWEEN :from AND :to ORDER BY timestamp";
// Binds a text and a number besides the slice's bounds, as the answers'
// lookups do; without them it finds no rows.
constexpr const char* kObservationsLookup =
    "SELECT o.id, f.image_path FROM observations o JOIN frames f ON f.id = o.frame_id"
    " WHERE o.timestamp BETWEEN :from AND :to AND o.type = :type LIMIT :limit";

WarmingPlan sixHoursPlan(std::vector<WarmingLookup> lookups) {
    WarmingPlan plan = rangePlan(kFirst, kLast);
    plan.lookups = std::move(lookups);
    return plan;
}

WarmingLookup framesLookup() { return {kFramesLookup, {}}; }
WarmingLookup observationsLookup() {
    return {kObservationsLookup, {{":type", std::string("screen")}, {":limit", std::int64_t{1000000}}}};
}

WarmingPolicy helpersAtOnce(int warmers, int slicesPerWarmer) {
    WarmingPolicy policy;
    policy.warmers = warmers;
    policy.slicesPerWarmer = slicesPerWarmer;
    policy.startAtOnce = true;
    return policy;
}

std::int64_t countOf(sqlite3* handle, const std::string& sql) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(handle, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
        ADD_FAILURE() << sql << ": " << sqlite3_errmsg(handle);
        return -1;
    }
    std::int64_t count = -1;
    if (sqlite3_step(statement) == SQLITE_ROW) {
        count = sqlite3_column_int64(statement, 0);
    } else {
        ADD_FAILURE() << sql << ": " << sqlite3_errmsg(handle);
    }
    sqlite3_finalize(statement);
    return count;
}

std::vector<std::string> namesIn(const std::string& directory) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

class WarmingConnectionsTest : public ::testing::Test {
protected:
    void SetUp() override { VarnholtTestSupport::createFixtureDatabase(path_, kSixHours); }

    VarnholtTestSupport::TemporaryDirectory directory_;
    const std::string path_ = directory_.file("varnholt.db");
};

TEST_F(WarmingConnectionsTest, HelpersWarmEverySliceOfTheRange) {
    const SQLiteReadConnection answer(path_, SQLiteReadConnection::States::oneForTheConnection);
    // Two slices per helper: a helper stops after two slices in a row that
    // found the pages in the cache, as a database just written has them.
    WarmingConnections warming(path_, helpersAtOnce(3, 2));
    warming.begin(answer.handle(), sixHoursPlan({framesLookup(), observationsLookup()}));
    warming.finish();
    const WarmingReport report = warming.lastReport();
    EXPECT_TRUE(report.started);
    EXPECT_EQ(report.warmers, 3);
    EXPECT_EQ(report.slices, 6);
    EXPECT_EQ(report.slicesWarmed, report.slices);
    EXPECT_EQ(report.failures, 0);
    EXPECT_EQ(countOf(answer.handle(), "SELECT count(*) FROM frames"), 2160);
}

#ifdef RUSAGE_THREAD
TEST_F(WarmingConnectionsTest, HelpersStopWhereTheRangeIsInTheCacheAlready) {
    // The database was just written: its pages are in the operating system's
    // cache, and every slice of observations has rows. Each helper reads two
    // slices without a disk read and stops.
    const SQLiteReadConnection answer(path_, SQLiteReadConnection::States::oneForTheConnection);
    WarmingConnections warming(path_, helpersAtOnce(3, 4));
    warming.begin(answer.handle(), sixHoursPlan({observationsLookup()}));
    warming.finish();
    const WarmingReport report = warming.lastReport();
    EXPECT_EQ(report.slices, 12);
    EXPECT_EQ(report.slicesWarmed, 6);
    EXPECT_EQ(report.failures, 0);
}
#endif

TEST_F(WarmingConnectionsTest, HelpersWriteNothingAndLeaveNoFileBehind) {
    // A recorder at work: rows in the write-ahead log that no checkpoint has
    // copied into the database yet.
    sqlite3* recorder = VarnholtSampleData::openWritableDatabase(path_);
    sqlite3_db_config(recorder, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    VarnholtSampleData::execWritable(
        recorder,
        "INSERT INTO frames (id, display_id, captured_at, timestamp, image_path)"
        " VALUES ('frame-late', 'display-1', 'x', 1700021600, '/frames/late.png')");
    sqlite3_close(recorder);
    ASSERT_FALSE(VarnholtTestSupport::fileBytes(path_ + "-wal").empty());

    // What an answer without helpers leaves.
    {
        const SQLiteReadConnection answer(path_, SQLiteReadConnection::States::oneForTheConnection);
        EXPECT_EQ(countOf(answer.handle(), "SELECT count(*) FROM frames"), 2161);
    }
    const std::vector<std::string> namesWithout = namesIn(directory_.path());
    const std::string database = VarnholtTestSupport::fileBytes(path_);
    const std::string log = VarnholtTestSupport::fileBytes(path_ + "-wal");

    {
        const SQLiteReadConnection answer(path_, SQLiteReadConnection::States::oneForTheConnection);
        WarmingConnections warming(path_, helpersAtOnce(3, 2));
        warming.begin(answer.handle(), sixHoursPlan({framesLookup(), observationsLookup()}));
        warming.finish();
        EXPECT_EQ(warming.lastReport().slicesWarmed, 6);
        EXPECT_EQ(countOf(answer.handle(), "SELECT count(*) FROM frames"), 2161);
    }
    EXPECT_EQ(namesIn(directory_.path()), namesWithout);
    EXPECT_TRUE(VarnholtTestSupport::fileBytes(path_) == database) << "the database file changed";
    EXPECT_TRUE(VarnholtTestSupport::fileBytes(path_ + "-wal") == log) << "the write-ahead log changed";
}

TEST_F(WarmingConnectionsTest, ALookupSQLiteRefusesEndsEachHelperQuietly) {
    const SQLiteReadConnection answer(path_, SQLiteReadConnection::States::oneForTheConnection);
    WarmingConnections warming(path_, helpersAtOnce(3, 2));
    warming.begin(answer.handle(),
                  sixHoursPlan({framesLookup(), {"SELECT id FROM no_such_table WHERE t BETWEEN :from AND :to", {}}}));
    warming.finish();
    const WarmingReport report = warming.lastReport();
    EXPECT_TRUE(report.started);
    EXPECT_EQ(report.warmers, 3);
    EXPECT_EQ(report.failures, 3);
    EXPECT_EQ(report.slicesWarmed, 0);
    EXPECT_EQ(countOf(answer.handle(), "SELECT count(*) FROM observations"), 720);
}

TEST_F(WarmingConnectionsTest, ADatabaseLockedByAWriterEndsEachHelperQuietly) {
    // A recorder in rollback-journal mode in the middle of a write: no other
    // connection may read until it commits.
    VarnholtTestSupport::writeToDatabase(path_, "PRAGMA journal_mode = DELETE");
    const SQLiteReadConnection answer(path_);
    sqlite3* recorder = VarnholtSampleData::openWritableDatabase(path_);
    VarnholtSampleData::execWritable(
        recorder,
        "BEGIN EXCLUSIVE; INSERT INTO frames (id, display_id, captured_at, timestamp, image_path)"
        " VALUES ('frame-late', 'display-1', 'x', 1700021600, '/frames/late.png')");

    WarmingConnections warming(path_, helpersAtOnce(3, 2));
    warming.begin(answer.handle(), sixHoursPlan({framesLookup()}));
    warming.finish();
    const WarmingReport report = warming.lastReport();
    EXPECT_TRUE(report.started);
    EXPECT_EQ(report.warmers, 3);
    EXPECT_EQ(report.failures, 3);
    EXPECT_EQ(report.slicesWarmed, 0);

    VarnholtSampleData::execWritable(recorder, "ROLLBACK");
    sqlite3_close(recorder);
    EXPECT_EQ(countOf(answer.handle(), "SELECT count(*) FROM frames"), 2160);
}

TEST_F(WarmingConnectionsTest, ADeletedDatabaseEndsEachHelperQuietlyAndTheAnswerGoesOn) {
    const SQLiteReadConnection answer(path_, SQLiteReadConnection::States::oneForTheConnection);
    ASSERT_EQ(countOf(answer.handle(), "SELECT count(*) FROM frames"), 2160);
    ASSERT_EQ(::unlink(path_.c_str()), 0);

    WarmingConnections warming(path_, helpersAtOnce(3, 2));
    warming.begin(answer.handle(), sixHoursPlan({framesLookup()}));
    warming.finish();
    const WarmingReport report = warming.lastReport();
    EXPECT_TRUE(report.started);
    EXPECT_EQ(report.failures, 3);
    EXPECT_EQ(report.slicesWarmed, 0);
    EXPECT_FALSE(std::filesystem::exists(path_)) << "a helper created the database";
    EXPECT_EQ(countOf(answer.handle(), "SELECT count(*) FROM observations"), 720);
}

// A lookup that would run for hours: ten billion steps of a recursive
// count, over the slice's bounds like any lookup.
constexpr const char* kEndlessLookup =
    "WITH RECURSIVE n(i) AS (SELECT :from - :from UNION ALL SELECT i + 1 FROM n WHERE i < 1e10 + :to - :to)"
    " SELECT count(*) FROM n";

TEST_F(WarmingConnectionsTest, EndStopsHelpersInTheMiddleOfALookup) {
    const SQLiteReadConnection answer(path_, SQLiteReadConnection::States::oneForTheConnection);
    WarmingConnections warming(path_, helpersAtOnce(3, 2));
    // At once, and after the helpers had a moment to open their connections
    // and start their lookups: either way end() returns (a hang is the
    // test's timeout), and a stop is not a failure.
    for (const int pause : {0, 1, 2, 5, 10, 20, 50, 100}) {
        warming.begin(answer.handle(), sixHoursPlan({{kEndlessLookup, {}}}));
        std::this_thread::sleep_for(std::chrono::milliseconds(pause));
        warming.end();
        const WarmingReport report = warming.lastReport();
        EXPECT_TRUE(report.started) << "after " << pause << " ms";
        EXPECT_EQ(report.warmers, 3) << "after " << pause << " ms";
        EXPECT_EQ(report.slicesWarmed, 0) << "after " << pause << " ms";
        EXPECT_EQ(report.failures, 0) << "after " << pause << " ms";
    }
    EXPECT_EQ(countOf(answer.handle(), "SELECT count(*) FROM frames"), 2160);
}

TEST_F(WarmingConnectionsTest, GoingAwayStopsHelpersInTheMiddleOfALookup) {
    const SQLiteReadConnection answer(path_, SQLiteReadConnection::States::oneForTheConnection);
    {
        WarmingConnections warming(path_, helpersAtOnce(3, 2));
        warming.begin(answer.handle(), sixHoursPlan({{kEndlessLookup, {}}}));
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    EXPECT_EQ(countOf(answer.handle(), "SELECT count(*) FROM frames"), 2160);
}

TEST_F(WarmingConnectionsTest, ANewBeginEndsTheWarmingStillGoing) {
    const SQLiteReadConnection answer(path_, SQLiteReadConnection::States::oneForTheConnection);
    WarmingConnections warming(path_, helpersAtOnce(3, 2));
    warming.begin(answer.handle(), sixHoursPlan({{kEndlessLookup, {}}}));
    warming.begin(answer.handle(), sixHoursPlan({framesLookup()}));
    warming.finish();
    EXPECT_EQ(warming.lastReport().slicesWarmed, 6);
    EXPECT_EQ(warming.lastReport().failures, 0);
}

// --- Waiting for a cold answer ------------------------------------------------

// An answer's statement of some million SQLite instructions: a hundred cold
// checks and more.
constexpr const char* kLongAnswer =
    "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < 200000) SELECT count(*) FROM n";

WarmingPolicy helpersWhenCold(ColdReads::BlocksRead blocksRead) {
    WarmingPolicy policy;
    policy.warmers = 3;
    policy.slicesPerWarmer = 2;
    policy.blocksRead = std::move(blocksRead);
    return policy;
}

TEST_F(WarmingConnectionsTest, HelpersStartOnceTheAnswerProvesCold) {
    const SQLiteReadConnection answer(path_, SQLiteReadConnection::States::oneForTheConnection);
    std::int64_t blocks = 0;
    WarmingConnections warming(path_, helpersWhenCold([&] { return blocks += 100; }));
    warming.begin(answer.handle(), sixHoursPlan({framesLookup()}));
    EXPECT_EQ(countOf(answer.handle(), kLongAnswer), 200001);
    warming.finish();
    const WarmingReport report = warming.lastReport();
    EXPECT_TRUE(report.started);
    EXPECT_EQ(report.warmers, 3);
    EXPECT_EQ(report.slicesWarmed, 6);
    EXPECT_EQ(report.failures, 0);
    // Started: no more checks.
    const std::int64_t checked = blocks;
    EXPECT_EQ(countOf(answer.handle(), kLongAnswer), 200001);
    EXPECT_EQ(blocks, checked);
}

TEST_F(WarmingConnectionsTest, AnAnswerThatNeverReadsFromDiskStartsNoHelper) {
    const SQLiteReadConnection answer(path_, SQLiteReadConnection::States::oneForTheConnection);
    int checks = 0;
    auto warming = std::make_unique<WarmingConnections>(path_, helpersWhenCold([&] {
                                                            ++checks;
                                                            return std::int64_t{4096};
                                                        }));
    warming->begin(answer.handle(), sixHoursPlan({framesLookup()}));
    EXPECT_EQ(countOf(answer.handle(), kLongAnswer), 200001);
    EXPECT_GT(checks, ColdReads::kRun) << "the answer was never checked";
    warming->finish();
    const WarmingReport report = warming->lastReport();
    EXPECT_FALSE(report.started);
    EXPECT_EQ(report.warmers, 0);
    EXPECT_EQ(report.slicesWarmed, 0);
    // Ended: later statements are not checked, also once the warming is
    // gone (the sanitized build sees any check left behind on the answer's
    // connection read the freed warming).
    const int checksAtEnd = checks;
    EXPECT_EQ(countOf(answer.handle(), kLongAnswer), 200001);
    warming.reset();
    EXPECT_EQ(countOf(answer.handle(), kLongAnswer), 200001);
    EXPECT_EQ(checks, checksAtEnd);
}

TEST_F(WarmingConnectionsTest, NoHelpersForARangeTooShortToShareOrWithoutHelpers) {
    const SQLiteReadConnection answer(path_, SQLiteReadConnection::States::oneForTheConnection);
    WarmingPlan shortPlan = sixHoursPlan({framesLookup()});
    shortPlan.to = shortPlan.from + 599;
    {
        WarmingConnections warming(path_, helpersAtOnce(3, 2));
        warming.begin(answer.handle(), shortPlan);
        warming.finish();
        EXPECT_FALSE(warming.lastReport().started);
        EXPECT_EQ(warming.lastReport().warmers, 0);
    }
    {
        // After a warming that ran, the one that never started is reported,
        // not the one before.
        WarmingConnections warming(path_, helpersAtOnce(3, 2));
        warming.begin(answer.handle(), sixHoursPlan({framesLookup()}));
        warming.finish();
        ASSERT_TRUE(warming.lastReport().started);
        warming.begin(answer.handle(), shortPlan);
        warming.finish();
        const WarmingReport report = warming.lastReport();
        EXPECT_FALSE(report.started);
        EXPECT_EQ(report.warmers, 0);
        EXPECT_EQ(report.slices, 0);
        EXPECT_EQ(report.slicesWarmed, 0);
    }
    {
        WarmingConnections warming(path_, helpersAtOnce(0, 2));
        warming.begin(answer.handle(), sixHoursPlan({framesLookup()}));
        warming.finish();
        EXPECT_FALSE(warming.lastReport().started);
        EXPECT_EQ(warming.lastReport().warmers, 0);
    }
}

}  // namespace
