// The summary's account, three ways, on hundreds of random recorder
// databases (tools/random_db: ties, frameless rows, odd values, malformed
// applications, missing indexes):
//  - the reference: the literal rows statement (the timeline's without its
//    LIMIT), all rows in memory, and a plain implementation of the rule,
//    written for obviousness, not speed;
//  - the tool with no index known: the literal statement through the
//    accountant, which counts row by row;
//  - the tool with the database's indexes: the index-driven parts merged by
//    time through the accountant, descriptions read for highlights only.
// Accounts compare exactly, doubles bit for bit, and so do the frames.

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <bit>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "IndexCatalogue.h"
#include "MomentBuckets.h"
#include "ObservationEntities.h"
#include "RandomRecorderDatabase.h"
#include "SampleRandom.h"
#include "SQLiteReadConnection.h"
#include "StatementLog.h"
#include "TemporaryDirectory.h"
#include "platform/LocalCalendar.h"
#include "redaction/DeduplicationService.h"
#include "summary/SQLiteSummaryQuery.h"
#include "summary/SummaryUseCase.h"

namespace {

using VarnholtQueryLib::ActivityAccount;
using VarnholtQueryLib::ActivityDay;
using VarnholtQueryLib::ActivitySession;
using VarnholtQueryLib::ApplicationTime;
using VarnholtQueryLib::EntityPair;
using VarnholtQueryLib::EntityTime;
using VarnholtQueryLib::FrameCounts;
using VarnholtQueryLib::FrameGap;
using VarnholtQueryLib::Highlight;
using VarnholtQueryLib::LocalCalendar;
using VarnholtQueryLib::SQLiteSummaryQuery;
using VarnholtQueryLib::SummaryFindings;
using VarnholtQueryLib::SummaryQuery;
using VarnholtQueryLib::SummaryUseCase;
using VarnholtQueryLib::wholeSeconds;
using VarnholtRandomData::RandomDatabaseShape;
using VarnholtSQLiteSupport::IndexCatalogue;
using VarnholtSQLiteSupport::SQLiteReadConnection;
using VarnholtTestSupport::StatementLog;

constexpr int kBlocks = 4;
constexpr int kDatabasesPerBlock = 25;
// Large databases are there for ranges with more rows than the timeline
// keeps; the one or two 16th seeds of a block are enough for that.
const VarnholtRandomData::RandomDatabaseOptions kBlockDatabases{
    .missingIndex = {}, .large = VarnholtRandomData::LargeDatabases::every16thOnly};
constexpr double kDay = 86400.0;

// ---- The reference --------------------------------------------------------

struct ReferenceRow {
    double time = 0;
    std::string id;
    std::string description;
    std::vector<std::string> apps;
    std::vector<EntityPair> entities;
};

// Every row of the literal statement, in its order.
std::vector<ReferenceRow> literalRows(sqlite3* handle, double from, double to) {
    sqlite3_stmt* statement = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(handle, SQLiteSummaryQuery::kActivityStatement, -1, &statement, nullptr), SQLITE_OK);
    sqlite3_bind_double(statement, 1, from);
    sqlite3_bind_double(statement, 2, to);
    const auto text = [&](int column) -> std::optional<std::string> {
        if (sqlite3_column_type(statement, column) == SQLITE_NULL) return std::nullopt;
        return reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
    };
    std::vector<ReferenceRow> rows;
    while (sqlite3_step(statement) == SQLITE_ROW) {
        ReferenceRow row;
        row.id = text(0).value_or("");
        row.description = text(1).value_or("");
        row.apps = SQLiteReadConnection::parseJsonArray(text(2).value_or("[]"));
        row.time = sqlite3_column_double(statement, 4);
        row.entities = RecentWorkTimelineCore::parseEntities(text(5));
        rows.push_back(std::move(row));
    }
    sqlite3_finalize(statement);
    return rows;
}

bool ranksBefore(const ApplicationTime& a, const ApplicationTime& b) {
    if (wholeSeconds(a.seconds) != wholeSeconds(b.seconds)) return wholeSeconds(a.seconds) > wholeSeconds(b.seconds);
    return a.name < b.name;
}

// Applications as a list: per name key, seconds and rows, named after their
// first spelling, ranked.
struct ApplicationTally {
    std::vector<std::string> keys;  // in order of first sighting
    std::map<std::string, ApplicationTime> byKey;

    void add(const std::string& key, const std::string& name, double seconds) {
        if (!byKey.count(key)) {
            keys.push_back(key);
            byKey[key] = {name, 0, 0};
        }
        byKey[key].seconds += seconds;
        ++byKey[key].observationCount;
    }
    std::vector<ApplicationTime> ranked() const {
        std::vector<ApplicationTime> list;
        for (const std::string& key : keys) list.push_back(byKey.at(key));
        std::sort(list.begin(), list.end(), ranksBefore);
        return list;
    }
};

ActivityAccount referenceAccount(std::vector<ReferenceRow> rows, const SummaryQuery& query, double coverEnd,
                                 const LocalCalendar& calendar) {
    std::stable_sort(rows.begin(), rows.end(), [](const ReferenceRow& a, const ReferenceRow& b) {
        if (a.time != b.time) return a.time < b.time;
        return a.id < b.id;
    });
    const std::size_t n = rows.size();
    const double idle = query.idleSeconds;
    std::vector<double> cover(n);
    for (std::size_t i = 0; i < n; ++i) {
        cover[i] = i + 1 < n ? std::min(rows[i + 1].time - rows[i].time, idle)
                             : std::clamp(coverEnd - rows[i].time, 0.0, idle);
    }

    ActivityAccount account;
    account.observationCount = static_cast<std::int64_t>(n);
    if (n > 0) {
        account.firstActivity = rows.front().time;
        account.lastActivity = rows.back().time;
    }
    for (std::size_t i = 0; i < n; ++i) account.activeSeconds += cover[i];

    // The rows' applications, each key once per row.
    std::vector<std::vector<std::pair<std::string, std::string>>> rowApplications(n);
    for (std::size_t i = 0; i < n; ++i) {
        std::set<std::string> seen;
        for (const std::string& name : rows[i].apps) {
            const std::string key = VarnholtQueryLib::DeduplicationService::nameKey(name);
            if (seen.insert(key).second) rowApplications[i].push_back({key, name});
        }
    }
    // The first spelling of each key over all rows names it everywhere.
    std::map<std::string, std::string> nameOfKey;
    for (std::size_t i = 0; i < n; ++i) {
        for (const auto& [key, name] : rowApplications[i]) nameOfKey.emplace(key, name);
    }

    ApplicationTally applications;
    for (std::size_t i = 0; i < n; ++i) {
        for (const auto& [key, name] : rowApplications[i]) applications.add(key, nameOfKey.at(key), cover[i]);
    }
    account.applications = applications.ranked();

    std::vector<EntityPair> entityOrder;
    std::map<EntityPair, EntityTime> entities;
    for (std::size_t i = 0; i < n; ++i) {
        std::set<EntityPair> seen;
        for (const EntityPair& pair : rows[i].entities) {
            if (query.kind && pair.first != *query.kind) continue;
            if (!seen.insert(pair).second) continue;
            if (!entities.count(pair)) {
                entityOrder.push_back(pair);
                entities[pair] = {pair.first, pair.second, 0, 0, rows[i].time, rows[i].time};
            }
            entities[pair].seconds += cover[i];
            ++entities[pair].count;
            entities[pair].lastSeen = rows[i].time;
        }
    }
    for (const EntityPair& pair : entityOrder) account.entities.push_back(entities.at(pair));
    std::sort(account.entities.begin(), account.entities.end(), [](const EntityTime& a, const EntityTime& b) {
        if (wholeSeconds(a.seconds) != wholeSeconds(b.seconds)) return wholeSeconds(a.seconds) > wholeSeconds(b.seconds);
        if (a.kind != b.kind) return a.kind < b.kind;
        return a.value < b.value;
    });

    // Sessions: split where the next row is more than the idle gap away.
    std::vector<std::pair<std::size_t, std::size_t>> sessions;  // [first, last]
    for (std::size_t i = 0; i < n; ++i) {
        if (i == 0 || rows[i].time - rows[i - 1].time > idle) sessions.push_back({i, i});
        sessions.back().second = i;
    }
    std::vector<std::string> dates(n);
    for (std::size_t i = 0; i < n; ++i) dates[i] = calendar.localDate(rows[i].time);
    for (const auto& [first, last] : sessions) {
        ActivitySession session;
        session.start = rows[first].time;
        session.end = rows[last].time + cover[last];
        session.observationCount = static_cast<std::int64_t>(last - first + 1);
        ApplicationTally sessionApplications;
        for (std::size_t i = first; i <= last; ++i) {
            session.activeSeconds += cover[i];
            for (const auto& [key, name] : rowApplications[i]) sessionApplications.add(key, nameOfKey.at(key), cover[i]);
        }
        session.applications = sessionApplications.ranked();
        // Moments: rows by five-minute bucket; the first row describes it.
        struct Moment {
            std::int64_t start;
            std::int64_t rows;
            std::string description;
        };
        std::vector<Moment> moments;
        for (std::size_t i = first; i <= last; ++i) {
            const std::int64_t start = *RecentWorkTimelineCore::bucketStartOf(rows[i].time, 300);
            if (moments.empty() || moments.back().start != start) moments.push_back({start, 0, rows[i].description});
            ++moments.back().rows;
        }
        std::vector<Moment> busiest = moments;
        std::stable_sort(busiest.begin(), busiest.end(), [](const Moment& a, const Moment& b) { return a.rows > b.rows; });
        std::set<std::string> shown;
        for (const Moment& moment : busiest) {
            if (session.highlights.size() == 3) break;
            if (!shown.insert(moment.description).second) continue;
            session.highlights.push_back({static_cast<double>(moment.start), static_cast<int>(session.highlights.size()),
                                          moment.description});
        }
        std::sort(session.highlights.begin(), session.highlights.end(),
                  [](const Highlight& a, const Highlight& b) { return a.momentStart < b.momentStart; });
        account.sessions.push_back(session);
    }

    for (std::size_t i = 0; i < n; ++i) {
        if (account.days.empty() || account.days.back().date != dates[i]) {
            ActivityDay day;
            day.date = dates[i];
            day.firstActivity = rows[i].time;
            account.days.push_back(day);
        }
    }
    for (ActivityDay& day : account.days) {
        ApplicationTally dayApplications;
        for (std::size_t i = 0; i < n; ++i) {
            if (dates[i] != day.date) continue;
            day.activeSeconds += cover[i];
            ++day.observationCount;
            day.lastActivity = rows[i].time;
            for (const auto& [key, name] : rowApplications[i]) dayApplications.add(key, nameOfKey.at(key), cover[i]);
        }
        for (const auto& [first, last] : sessions) day.sessionCount += dates[first] == day.date ? 1 : 0;
        day.applications = dayApplications.ranked();
    }
    return account;
}

struct ReferenceFrames {
    FrameCounts counts;
    std::vector<FrameGap> gaps;
};

// Every frame read and judged here: numbers only, analysed as compared in SQL.
ReferenceFrames referenceFrames(sqlite3* handle, double from, double to, double gapEnd) {
    sqlite3_stmt* statement = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(handle, "SELECT timestamp, analyzed FROM frames", -1, &statement, nullptr), SQLITE_OK);
    ReferenceFrames frames;
    std::vector<double> times;
    while (sqlite3_step(statement) == SQLITE_ROW) {
        const int type = sqlite3_column_type(statement, 0);
        if (type != SQLITE_INTEGER && type != SQLITE_FLOAT) continue;
        const double time = sqlite3_column_double(statement, 0);
        if (time < from || time > to) continue;
        ++frames.counts.frames;
        const int analyzedType = sqlite3_column_type(statement, 1);
        if (analyzedType == SQLITE_INTEGER || analyzedType == SQLITE_FLOAT) {
            const double analyzed = sqlite3_column_double(statement, 1);
            if (analyzed == 1) ++frames.counts.analyzedFrames;
            if (analyzed == 0) ++frames.counts.pendingFrames;
            if (analyzed == 2) ++frames.counts.failedFrames;
        }
        if (time <= gapEnd) times.push_back(time);
    }
    sqlite3_finalize(statement);
    if (from <= gapEnd) {
        std::sort(times.begin(), times.end());
        times.insert(times.begin(), from);
        times.push_back(gapEnd);
        for (std::size_t i = 0; i + 1 < times.size(); ++i) {
            if (times[i + 1] - times[i] >= 1800) frames.gaps.push_back({times[i], times[i + 1]});
        }
    }
    return frames;
}

// ---- Comparison -----------------------------------------------------------

std::string exact(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%.17g/%016" PRIx64, value, std::bit_cast<std::uint64_t>(value));
    return text;
}

// The first difference between two accounts, readably, or empty.
std::string difference(const ActivityAccount& expected, const ActivityAccount& actual) {
    if (expected == actual) return {};
    if (expected.activeSeconds != actual.activeSeconds) {
        return "active " + exact(expected.activeSeconds) + " != " + exact(actual.activeSeconds);
    }
    if (expected.observationCount != actual.observationCount) {
        return "rows " + std::to_string(expected.observationCount) + " != " + std::to_string(actual.observationCount);
    }
    if (expected.sessions.size() != actual.sessions.size()) {
        return "sessions " + std::to_string(expected.sessions.size()) + " != " + std::to_string(actual.sessions.size());
    }
    for (std::size_t i = 0; i < expected.sessions.size(); ++i) {
        if (!(expected.sessions[i] == actual.sessions[i])) return "session " + std::to_string(i);
    }
    if (expected.applications != actual.applications) return "applications";
    if (expected.entities != actual.entities) return "entities";
    if (expected.days != actual.days) return "days";
    return "first or last activity";
}

class SummaryComparison {
public:
    SummaryComparison(const std::string& path, const RandomDatabaseShape& shape)
        : shape_(shape),
          random_(VarnholtSampleData::SampleRandom::forStream(shape.seed, 0x5u)),
          connection_(path),
          indexes_(IndexCatalogue::read(connection_.handle())) {}

    void compareAll() {
        const double start = shape_.start;
        const double end = shape_.end;
        const double shared = shape_.sharedTimes.front();
        const std::vector<std::pair<double, double>> ranges = {
            {end - kDay, end},  {end - 7200, end},           {end - 7 * kDay, end}, {start, end},
            {start - 2e9, end + 2e9}, {shared, shared}, {shared - 60, shared + 60}, {end + 1, end + 3e9},
        };
        const std::vector<double> idles = {300, 60, 3600, 299.5};
        const std::vector<std::optional<std::string>> kinds = {std::nullopt, std::nullopt, "app", "App"};
        // Every row of the database once, however many: a timeline would
        // keep only 5000 of them.
        compare({start - 2e9, end + 2e9, random_.pick(idles), random_.pick(kinds)}, end);
        for (int i = 0; i < 4; ++i) {
            const auto [from, to] = random_.pick(ranges);
            // Now at the end of the range, inside it or well after it.
            const double now = random_.pick(std::vector<double>{to, (from + to) / 2, to + kDay});
            compare({from, to, random_.pick(idles), random_.pick(kinds)}, now);
        }
    }

    int comparisons() const { return comparisons_; }
    // The most rows one compared range held.
    std::int64_t mostRows() const { return mostRows_; }

private:
    void compare(const SummaryQuery& query, double now) {
        const std::string what = "summary " + exact(query.from) + ".." + exact(query.to) + " idle " +
                                 exact(query.idleSeconds) + " kind " + query.kind.value_or("<all>") + " now " +
                                 exact(now);
        const double coverEnd = std::min(query.to, now);
        const ActivityAccount expected =
            referenceAccount(literalRows(connection_.handle(), query.from, query.to), query, coverEnd, calendar_);
        const ReferenceFrames frames = referenceFrames(connection_.handle(), query.from, query.to, coverEnd);
        mostRows_ = std::max(mostRows_, expected.observationCount);

        for (const bool withIndexes : {false, true}) {
            SQLiteSummaryQuery port(connection_, withIndexes ? indexes_ : IndexCatalogue());
            SummaryUseCase useCase(port, calendar_);
            StatementLog log(connection_.handle());
            const SummaryFindings findings = useCase.execute(query, now);
            const char* way = withIndexes ? "indexed" : "literal";
            EXPECT_EQ(difference(expected, findings.account), "") << what << " (" << way << ")";
            EXPECT_EQ(findings.coverage.counts, frames.counts) << what << " (" << way << ")";
            EXPECT_EQ(findings.coverage.gaps, frames.gaps) << what << " (" << way << ")";
            if (withIndexes && shape_.missingIndexes.empty()) {
                EXPECT_FALSE(log.ran(SQLiteSummaryQuery::kActivityStatement)) << what << " ran the literal statement";
            }
            ++comparisons_;
        }
    }

    const RandomDatabaseShape& shape_;
    VarnholtSampleData::SampleRandom random_;
    SQLiteReadConnection connection_;
    const IndexCatalogue indexes_;
    const LocalCalendar calendar_{"Europe/Berlin", "en_US"};
    int comparisons_ = 0;
    std::int64_t mostRows_ = 0;
};

struct SeedComparison {
    int comparisons = 0;
    std::int64_t mostRows = 0;
};

SeedComparison compareSeed(std::uint64_t seed, const VarnholtRandomData::RandomDatabaseOptions& options = {}) {
    VarnholtTestSupport::TemporaryDirectory directory;
    const std::string path = directory.file("varnholt.db");
    const RandomDatabaseShape shape = VarnholtRandomData::writeRandomDatabase(path, seed, options);
    SCOPED_TRACE(shape.summary());
    SummaryComparison comparison(path, shape);
    comparison.compareAll();
    return {comparison.comparisons(), comparison.mostRows()};
}

class SummaryDifferentialTest : public ::testing::TestWithParam<int> {};

TEST_P(SummaryDifferentialTest, TheToolCountsAsThePlainRuleDoes) {
    int comparisons = 0;
    std::int64_t mostRows = 0;
    for (int i = 0; i < kDatabasesPerBlock; ++i) {
        const SeedComparison seed =
            compareSeed(static_cast<std::uint64_t>(20000 + GetParam() * kDatabasesPerBlock + i), kBlockDatabases);
        comparisons += seed.comparisons;
        mostRows = std::max(mostRows, seed.mostRows);
    }
    RecordProperty("comparisons", comparisons);
    // The summary has no cap: some range must hold more rows than the
    // timeline keeps, or the comparison never saw the rows a cap would drop.
    EXPECT_GT(mostRows, 5000) << "no compared range held more than the timeline's 5000 rows";
}

INSTANTIATE_TEST_SUITE_P(SeedBlocks, SummaryDifferentialTest, ::testing::Range(0, kBlocks));

// Without one of the indexes the parts walk, the literal statement answers,
// and the account is still the rule's.
TEST(SummaryDifferentialFallbackTest, EachMissingIndexStillGivesTheSameAccount) {
    for (const char* index : {"idx_frames_timestamp", "idx_observations_recording_timestamp", "idx_observations_frame",
                              "idx_observation_entities_observation", "idx_frames_analyzed_timestamp"}) {
        EXPECT_GT(compareSeed(30000 + std::string(index).size(), {index}).comparisons, 0);
    }
}

}  // namespace
