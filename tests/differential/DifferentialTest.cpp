// The literal statements define every answer; the index-driven statements
// must give exactly the same one. This test builds hundreds of small random
// recorder databases (tools/random_db: ties, pruned and timeless frames,
// frameless observations, recording ids, odd values, missing indexes, other
// index orders, statistics) and asks every query both ways, with every kind
// of range the commands use, comparing rows exactly: same rows, same order,
// same text, doubles bit for bit, and the same failure when there is one.
// The index-driven statements answer twice: alone, and with helpers warming
// the page cache beside them on connections of their own, which must not
// change a byte of the answer.

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <bit>
#include <cinttypes>
#include <cstdio>
#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "DatabaseError.h"
#include "DifferentialSizing.h"
#include "IndexCatalogue.h"
#include "RandomRecorderDatabase.h"
#include "SampleRandom.h"
#include "SQLiteObservationTimeline.h"
#include "SQLiteReadConnection.h"
#include "StatementLog.h"
#include "TalliedWarming.h"
#include "TemporaryDirectory.h"
#include "TestClock.h"
#include "entities/SQLiteEntityQuery.h"
#include "search/FTS5Keyword.h"
#include "search/SQLiteObservationSearch.h"
#include "status/SQLiteOperationalStatusQuery.h"
#include "support_context/SQLiteSupportContextQuery.h"

namespace differential_test {

namespace {

using RecentWorkTimelineSQLite::SQLiteObservationTimeline;
using VarnholtQueryLib::EntityQueryParams;
namespace FTS5Keyword = VarnholtQueryLib::FTS5Keyword;
using VarnholtQueryLib::ObservationSearchParams;
using VarnholtQueryLib::SQLiteEntityQuery;
using VarnholtQueryLib::SQLiteObservationSearch;
using VarnholtQueryLib::SQLiteOperationalStatusQuery;
using VarnholtQueryLib::SQLiteSupportContextQuery;
using VarnholtRandomData::RandomDatabaseShape;
using VarnholtSQLiteSupport::DatabaseError;
using VarnholtSQLiteSupport::IndexCatalogue;
using VarnholtSQLiteSupport::SQLiteReadConnection;
using VarnholtTestSupport::StatementLog;
using VarnholtTestSupport::TalliedWarming;
using VarnholtTestSupport::WarmedConnection;

constexpr int kBlocks = 10;
constexpr int kDatabasesPerBlock = 30;
// The awkward rows are in every database, small or large; large ones are
// there for the commands' limit to cut, and the one or two 16th seeds of a
// block are enough for that.
const VarnholtRandomData::RandomDatabaseOptions kBlockDatabases{
    .missingIndex = {}, .large = VarnholtRandomData::LargeDatabases::every16thOnly};
constexpr double kDay = 86400.0;

// Exact text forms: a double by its bits (and readably), text as is.
std::string exact(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%.17g/%016" PRIx64, value, std::bit_cast<std::uint64_t>(value));
    return text;
}

std::string exact(const std::optional<std::string>& text) { return text ? "'" + *text + "'" : "<absent>"; }

std::string exact(const std::vector<std::string>& list) {
    std::string text = "[";
    for (const auto& item : list) text += "'" + item + "',";
    return text + "]";
}

template <typename Number>
std::string exact(const std::optional<Number>& value) {
    return value ? exact(static_cast<double>(*value)) + "/" + std::to_string(*value) : "<absent>";
}

// What one query answered: its rows in exact text form, or its failure.
using Answer = std::vector<std::string>;

Answer failureOf(const DatabaseError& failure) {
    return {"failure " + std::to_string(static_cast<int>(failure.errorCase())) + ": " + failure.message()};
}

// One database, asked every query both ways.
class DatabaseComparison {
public:
    DatabaseComparison(const std::string& path, const RandomDatabaseShape& shape)
        : shape_(shape),
          random_(VarnholtSampleData::SampleRandom::forStream(shape.seed, 0xD1FF)),
          connection_(path),
          indexes_(IndexCatalogue::read(connection_.handle())),
          warming_(path, TalliedWarming::bothWays()) {
        // All of the recorder's indexes present: every index-driven
        // statement must then serve (for a bounded window).
        indexedExpected_ = shape.missingIndexes.empty();
    }

    void compareTimeline() {
        // Everything as the commands ask it, so that a database with more
        // rows than the commands keep is always cut by the limit once.
        compareTimelineWindow(shape_.start - 2e9, shape_.end + 2e9, kTimelineLimit);
        for (const auto& [from, to] : some(windows(), 5)) {
            // The commands always ask for 5000; other limits cut elsewhere.
            for (std::int64_t limit : some(std::vector<std::int64_t>{kTimelineLimit, kTimelineLimit, 1, 37, 0, -1}, 1)) {
                compareTimelineWindow(from, to, limit);
            }
        }
    }

    void compareSearch() {
        std::vector<std::string> keywords = shape_.words;
        keywords.insert(keywords.end(), {"error deploy", "\"working on\" budget", "Error*", "\"unbalanced",
                                         "kubernetes OR review", "", "nothing-matches",
                                         // Repeated words, ranked from their distinct alternatives.
                                         "error error deploy", "budget error budget error error",
                                         "\"working on\" budget \"working on\"", "deploy.x deploy.x invoice",
                                         "error OR deploy OR error", "Error error ERROR errors"});
        // A pasted stretch of the database's own words, most of them repeats.
        std::string pasted;
        for (int i = 0; i < 300; ++i) pasted += (i > 0 ? " " : "") + random_.pick(shape_.words);
        keywords.push_back(pasted);
        // Distinct words and phrases, each once: FTS5 gets them grouped from
        // the index-driven statement and flat from the literal one.
        std::string distinct = "\"working on\"";
        for (const auto& word : shape_.words) {
            if (FTS5Keyword::isBareWord(word)) distinct += " " + word;
        }
        keywords.push_back(distinct + " \"the parser\" missing");
        std::vector<std::optional<std::string>> applications = {std::nullopt, "slack", "VS Code"};
        const double end = shape_.end;
        const std::vector<std::pair<std::optional<double>, std::optional<double>>> bounds = {
            {end - kDay, std::nullopt},         // the 24-hour default
            {end - 30 * kDay, end},             // --since 30d
            {end - 7200, end},                  // --since 2h
            {shape_.start, shape_.end},         // the whole activity
            {std::nullopt, end - kDay},         // --to only
            {std::nullopt, std::nullopt},       // no bound
            {pickShared(), std::nullopt},       // from a shared time on
        };
        // Keywords, bounds, filters and orders vary from draw to draw.
        for (int i = 0; i < 10; ++i) compareSearchDraw(keywords, bounds, applications, false);
        // Every word required: pairs of the database's words (often both in
        // a row, often not), and the keywords above, operators and all.
        std::vector<std::string> required = keywords;
        for (int i = 0; i < 4; ++i) required.push_back(random_.pick(shape_.words) + " " + random_.pick(shape_.words));
        required.insert(required.end(), {"error NOT deploy", "* review", "\"working on\" OR"});
        for (int i = 0; i < 4; ++i) compareSearchDraw(required, bounds, applications, true);
    }

    void compareSearchDraw(const std::vector<std::string>& keywords,
                           const std::vector<std::pair<std::optional<double>, std::optional<double>>>& bounds,
                           const std::vector<std::optional<std::string>>& applications, bool allWords) {
        ObservationSearchParams params;
        params.keyword = random_.pick(keywords);
        std::tie(params.fromTs, params.toTs) = random_.pick(bounds);
        params.appFilter = random_.pick(applications);
        params.latestOnly = random_.chance(0.3);
        params.limit = params.latestOnly ? 1 : (random_.chance(0.3) ? 200 : 7);
        params.allWords = allWords;
        compare("search '" + params.keyword + "' from " + exact(params.fromTs) + " to " + exact(params.toTs) +
                    " app " + exact(params.appFilter) + (params.latestOnly ? " latest" : "") +
                    (params.allWords ? " all words" : "") + " limit " + std::to_string(params.limit),
                SQLiteObservationSearch::statementFor(params), params.fromTs || params.toTs,
                [&](const IndexCatalogue& indexes) {
                    SQLiteObservationSearch search(connection_, indexes);
                    Answer rows;
                    for (const auto& result : search.search(params)) {
                        std::string entities;
                        for (const auto& entity : result.entities) entities += entity.kind + "=" + entity.value + ";";
                        rows.push_back(result.observationId + " " + exact(result.frameTimestamp) + " '" +
                                       result.vlmDescription + "' " + exact(result.apps) + " " +
                                       exact(result.imagePath) + " " + entities);
                    }
                    return rows;
                });
    }

    void compareEntities() {
        const double end = shape_.end;
        const std::vector<std::pair<std::optional<double>, std::optional<double>>> bounds = {
            {end - kDay, std::nullopt},      // the 24-hour default
            {end - 7 * kDay, end},           // --since 1w
            {shape_.start, shape_.end},
            {shape_.start - 2e9, shape_.end + 2e9},
            {pickShared(), pickShared()},
            {std::nullopt, end},
            {std::nullopt, std::nullopt},    // no bound: the literal statement
        };
        const std::vector<std::optional<std::string>> kinds = {std::nullopt, std::nullopt, "app", "App", "nothing"};
        for (const auto& [from, to] : some(bounds, 4)) {
            for (const std::optional<std::string>& kind : some(kinds, 1)) {
                EntityQueryParams params{from, to, kind, random_.chance(0.5) ? 500 : 3};
                compare("entities from " + exact(from) + " to " + exact(to) + " kind " + exact(kind) + " limit " +
                            std::to_string(params.limit),
                        SQLiteEntityQuery::composeSQL(params), from || to, [&](const IndexCatalogue& indexes) {
                            SQLiteEntityQuery query(connection_, indexes);
                            Answer rows;
                            for (const auto& row : query.aggregate(params)) {
                                rows.push_back(row.kind + " " + row.value + " " + std::to_string(row.count) + " " +
                                               exact(row.firstSeen) + " " + exact(row.lastSeen));
                            }
                            return rows;
                        });
            }
        }
    }

    void compareSupportContext() {
        for (double since :
             some(std::vector<double>{shape_.end - 7200, shape_.end - 7200, shape_.start, pickShared(),
                                      shape_.start - 2e9, shape_.end + 1e9},
                  2)) {
            compare("support context since " + exact(since), SQLiteSupportContextQuery::kStatement, true,
                    [&](const IndexCatalogue& indexes) {
                        SQLiteSupportContextQuery query(connection_, indexes);
                        Answer rows;
                        for (const auto& row : query.findRecentObservations(since)) {
                            rows.push_back(exact(row.timestamp) + " '" + row.vlmDescription + "' " +
                                           exact(row.applications));
                        }
                        return rows;
                    });
        }
    }

    void compareMetrics() {
        for (double now : some(std::vector<double>{shape_.end, shape_.start + 300, pickShared() + 300,
                                                    shape_.end + 2e9},
                               2)) {
            compare("metrics at " + exact(now), SQLiteOperationalStatusQuery::kStatement, true,
                    [&](const IndexCatalogue& indexes) {
                        const VarnholtTestSupport::TestClock clock(now);
                        SQLiteOperationalStatusQuery query(connection_, indexes, clock);
                        const auto metrics = query.getOperationalMetrics();
                        return Answer{std::to_string(metrics.totalFrames), std::to_string(metrics.totalObservations),
                                      std::to_string(metrics.pendingFrames), exact(metrics.lastFrameTimestamp),
                                      exact(metrics.lastObservationTimestamp),
                                      std::to_string(metrics.framesLast5Min),
                                      std::to_string(metrics.observationsLast5Min),
                                      exact(metrics.firstObservationAt), exact(metrics.lastObservationAt)};
                    });
        }
    }

    int comparisons() const { return comparisons_; }
    int indexedAnswers() const { return indexedAnswers_; }
    // Timelines of the commands' limit that had more rows than it keeps.
    int cutTimelines() const { return cutTimelines_; }
    // Comparisons whose warmed answer had helpers running beside it.
    int warmedAnswers() const { return warmedAnswers_; }
    // Warmings whose helpers the answer's own progress checks started.
    int coldWarmings() const { return warming_.tally().startedCold; }
    // Helpers that stopped on an error of their own.
    int warmingFailures() const { return warming_.tally().failures; }

private:
    static constexpr std::int64_t kTimelineLimit = 5000;

    void compareTimelineWindow(double from, double to, std::int64_t limit) {
        compare("timeline " + exact(from) + ".." + exact(to) + " limit " + std::to_string(limit),
                SQLiteObservationTimeline::kStatement, true, [&](const IndexCatalogue& indexes) {
                    SQLiteObservationTimeline timeline(connection_, indexes);
                    Answer rows;
                    for (const auto& row : timeline.fetchTimeline(from, to, limit)) {
                        rows.push_back(row.id + " " + exact(row.timestamp) + " '" + row.vlmDescription + "' " +
                                       exact(row.apps) + " " + exact(row.imagePath) + " " + exact(row.entitiesJson));
                    }
                    return rows;
                });
        // One row more than the limit tells whether it cut.
        if (limit == kTimelineLimit &&
            SQLiteObservationTimeline(connection_, indexes_).fetchTimeline(from, to, limit + 1).size() >
                static_cast<std::size_t>(limit)) {
            ++cutTimelines_;
        }
    }

    // Closed ranges as the timeline commands ask them: days, a week, the
    // whole activity, everything, around and exactly at shared times.
    std::vector<std::pair<double, double>> windows() {
        const double start = shape_.start;
        const double end = shape_.end;
        std::vector<std::pair<double, double>> ranges = {
            {end - kDay, end},            // today / yesterday-like
            {end - 7200, end},            // recent --since 2h
            {end - 7 * kDay, end},        // this-week
            {end - 365 * kDay, end},      // range over a year
            {start, end},
            {start - 2e9, end + 2e9},     // everything, far past and future included
            {end + 1, end + 3e9},         // only the future
        };
        const double shared = pickShared();
        ranges.push_back({shared, shared});
        ranges.push_back({shared - 60, shared + 60});
        ranges.push_back({shared, end});
        return ranges;
    }

    // `count` of `choices`, drawn without putting back (all when fewer):
    // each database asks a different sample, the suite asks them all.
    template <typename T>
    std::vector<T> some(std::vector<T> choices, int count) {
        std::vector<T> chosen;
        while (!choices.empty() && static_cast<int>(chosen.size()) < count) {
            const auto at = static_cast<std::size_t>(random_.integer(0, static_cast<int>(choices.size()) - 1));
            chosen.push_back(choices[at]);
            choices.erase(choices.begin() + static_cast<std::ptrdiff_t>(at));
        }
        return chosen;
    }

    double pickShared() {
        const auto& shared = shape_.sharedTimes;
        return shared[static_cast<std::size_t>(picks_++) % shared.size()];
    }

    // Runs `query` with no index known (the literal statement) and with the
    // database's indexes, and expects the same answer. `literalSQL` tells
    // whether the literal statement ran; with all indexes present and a
    // window to walk (`windowed`), the indexed run must not have needed it.
    // Then runs it with the indexes again, helpers warming beside it, and
    // expects that answer too.
    void compare(const std::string& what, const std::string& literalSQL, bool windowed,
                 const std::function<Answer(const IndexCatalogue&)>& query) {
        const Answer literal = answer(query, IndexCatalogue());
        StatementLog log(connection_.handle());
        const Answer indexed = answer(query, indexes_);
        const bool usedIndexes = !log.ran(literalSQL);
        ++comparisons_;
        if (usedIndexes) ++indexedAnswers_;
        if (indexedExpected_ && windowed && !(literal.size() == 1 && literal[0].starts_with("failure"))) {
            EXPECT_TRUE(usedIndexes) << what << " ran the literal statement";
        }
        expectSame(what, "literally", literal, "indexed", indexed);

        const int startedBefore = warming_.tally().started;
        Answer warmed;
        bool warmedUsedIndexes = false;
        {
            const WarmedConnection warmedConnection(connection_, warming_);
            StatementLog warmedLog(connection_.handle());
            warmed = answer(query, indexes_);
            warmedUsedIndexes = !warmedLog.ran(literalSQL);
        }
        if (warming_.tally().started > startedBefore) ++warmedAnswers_;
        // The literal statement would give the same answer: a warmed
        // index-driven statement that failed and fell back to it must not
        // pass unseen.
        EXPECT_EQ(warmedUsedIndexes, usedIndexes) << what << " warmed";
        expectSame(what, "indexed", indexed, "warmed", warmed);
    }

    static void expectSame(const std::string& what, const char* expectedWay, const Answer& expected,
                           const char* actualWay, const Answer& actual) {
        if (expected == actual) return;
        std::size_t first = 0;
        while (first < expected.size() && first < actual.size() && expected[first] == actual[first]) ++first;
        ADD_FAILURE() << what << ": " << expected.size() << " rows " << expectedWay << ", " << actual.size() << " "
                      << actualWay << "; first difference at row " << first << ":\n  " << expectedWay << ": "
                      << (first < expected.size() ? expected[first] : "<none>") << "\n  " << actualWay << ": "
                      << (first < actual.size() ? actual[first] : "<none>");
    }

    static Answer answer(const std::function<Answer(const IndexCatalogue&)>& query, const IndexCatalogue& indexes) {
        try {
            return query(indexes);
        } catch (const DatabaseError& failure) {
            return failureOf(failure);
        }
    }

    const RandomDatabaseShape& shape_;
    VarnholtSampleData::SampleRandom random_;
    SQLiteReadConnection connection_;
    const IndexCatalogue indexes_;
    TalliedWarming warming_;
    bool indexedExpected_ = false;
    int picks_ = 0;
    int comparisons_ = 0;
    int indexedAnswers_ = 0;
    int cutTimelines_ = 0;
    int warmedAnswers_ = 0;
};

class DifferentialTest : public ::testing::TestWithParam<int> {};

struct ComparisonTally {
    int comparisons = 0;
    int indexedAnswers = 0;
    int cutTimelines = 0;
    int warmedAnswers = 0;
    int coldWarmings = 0;
    int warmingFailures = 0;
};

// Asks every query both ways on the random database of `seed`; adds what
// it compared to the tally.
void compareAll(std::uint64_t seed, const VarnholtRandomData::RandomDatabaseOptions& options, ComparisonTally& tally) {
    VarnholtTestSupport::TemporaryDirectory directory;
    const std::string path = directory.file("varnholt.db");
    const RandomDatabaseShape shape = VarnholtRandomData::writeRandomDatabase(path, seed, options);
    SCOPED_TRACE(shape.summary());
    if (!options.missingIndex.empty()) {
        EXPECT_EQ(shape.missingIndexes.size(), 1u);
    }
    DatabaseComparison comparison(path, shape);
    comparison.compareTimeline();
    comparison.compareSearch();
    comparison.compareEntities();
    comparison.compareSupportContext();
    comparison.compareMetrics();
    tally.comparisons += comparison.comparisons();
    tally.indexedAnswers += comparison.indexedAnswers();
    tally.cutTimelines += comparison.cutTimelines();
    tally.warmedAnswers += comparison.warmedAnswers();
    tally.coldWarmings += comparison.coldWarmings();
    tally.warmingFailures += comparison.warmingFailures();
}

TEST_P(DifferentialTest, IndexedStatementsAnswerExactlyAsTheLiteralOnes) {
    ComparisonTally tally;
    for (int i = 0; i < kDatabasesPerBlock; ++i) {
        const auto seed = static_cast<std::uint64_t>(GetParam() * kDatabasesPerBlock + i + 1);
        if (VarnholtDifferential::comparedInThisBuild(seed)) compareAll(seed, kBlockDatabases, tally);
    }
    // Most answers must come from the index-driven statements, or the
    // comparison proves little.
    EXPECT_GT(tally.indexedAnswers * 10, tally.comparisons * 7) << tally.indexedAnswers << " of " << tally.comparisons;
    // And the commands' limit must have cut a timeline, where the two ways
    // of choosing the newest rows could differ.
    EXPECT_GT(tally.cutTimelines, 0) << "no timeline had more rows than the commands keep";
    RecordProperty("comparisons", tally.comparisons);
    RecordProperty("indexed_answers", tally.indexedAnswers);
    RecordProperty("cut_timelines", tally.cutTimelines);
    RecordProperty("warmed_answers", tally.warmedAnswers);
    RecordProperty("cold_warmings", tally.coldWarmings);
    // A fifth of the answers at least had helpers reading beside them (the
    // others' ranges are too short to share, they do not warm, or they end
    // before their progress checks find them cold), some of them started by
    // the answer's own checks, or the warmed answers prove little; and no
    // helper failed on its own: one that could not even run its lookups
    // would warm nothing.
    EXPECT_GT(tally.warmedAnswers * 5, tally.comparisons) << tally.warmedAnswers << " of " << tally.comparisons;
    EXPECT_GT(tally.coldWarmings, 0) << "no answer's progress checks started helpers";
    EXPECT_EQ(tally.warmingFailures, 0);
}

INSTANTIATE_TEST_SUITE_P(SeedBlocks, DifferentialTest, ::testing::Range(0, kBlocks));

// Without any one of the recorder's indexes the queries that walk it fall
// back to their literal statements, and the answers still agree.
TEST(DifferentialFallbackTest, EachMissingIndexStillGivesTheSameAnswers) {
    const std::vector<std::string> indexes = {
        "idx_frames_analyzed", "idx_frames_timestamp", "idx_frames_processing_lock",
        "idx_frames_analyzed_timestamp", "idx_observations_recording_type",
        "idx_observations_recording_timestamp", "idx_observations_frame", "idx_observations_tb",
        "idx_observation_entities_observation", "idx_observation_entities_kind"};
    ComparisonTally tally;
    for (std::size_t i = 0; i < indexes.size(); ++i) {
        for (std::uint64_t seed : {10001 + 2 * i, 10002 + 2 * i}) {
            compareAll(seed, {indexes[i]}, tally);
        }
    }
    EXPECT_GT(tally.comparisons, 0);
}

}  // namespace

}  // namespace differential_test
