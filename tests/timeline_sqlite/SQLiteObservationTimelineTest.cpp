#include <gtest/gtest.h>

#include <sqlite3.h>

#include <string>
#include <vector>

#include "DatabaseError.h"
#include "FixtureDatabase.h"
#include "RecorderSchema.h"
#include "SQLiteObservationTimeline.h"
#include "SQLiteReadConnection.h"
#include "StatementLog.h"
#include "TemporaryDirectory.h"

using RecentWorkTimelineCore::TimelineObservation;
using RecentWorkTimelineSQLite::SQLiteObservationTimeline;
using VarnholtSQLiteSupport::DatabaseError;
using VarnholtSQLiteSupport::SQLiteReadConnection;
using VarnholtTestSupport::StatementChoice;
using VarnholtTestSupport::StatementLog;

namespace {

// 2026-04-01T10:00:00Z.
constexpr double kTen = 1775037600.0;

// A recorder database built from literal SQL in a temporary directory, then
// read through the tool's own query-only connection. Every case runs twice:
// with the literal statement and with the index-driven one where the schema
// allows it; both must give the answer the case expects.
class SQLiteObservationTimelineTest : public ::testing::TestWithParam<StatementChoice> {
protected:
    // Creates the recorder schema and runs `sql` on it. `afterSchema` may
    // reshape tables before the rows go in.
    void build(const std::string& sql, const std::string& afterSchema = "") {
        sqlite3* handle = VarnholtSampleData::openWritableDatabase(path());
        try {
            VarnholtSampleData::createRecorderSchema(handle);
            if (!afterSchema.empty()) VarnholtSampleData::execWritable(handle, afterSchema);
            VarnholtSampleData::execWritable(handle, sql);
        } catch (...) {
            sqlite3_close(handle);
            throw;
        }
        sqlite3_close(handle);
    }

    std::vector<TimelineObservation> fetch(double from, double to, std::int64_t limit = 5000) {
        SQLiteReadConnection connection(path());
        SQLiteObservationTimeline timeline(connection,
                                           VarnholtTestSupport::indexesFor(GetParam(), connection.handle()));
        StatementLog log(connection.handle());
        auto rows = timeline.fetchTimeline(from, to, limit);
        ranLiteral_ = log.ran(SQLiteObservationTimeline::kStatement);
        if (GetParam() == StatementChoice::literal) {
            EXPECT_TRUE(ranLiteral_);
        }
        return rows;
    }

    // Whether the last fetch ran the literal statement.
    bool ranLiteral() const { return ranLiteral_; }

    std::vector<std::string> idsOf(const std::vector<TimelineObservation>& rows) {
        std::vector<std::string> ids;
        for (const auto& row : rows) ids.push_back(row.id);
        return ids;
    }

    std::string path() const { return directory_.file("varnholt.db"); }

private:
    VarnholtTestSupport::TemporaryDirectory directory_;
    bool ranLiteral_ = false;
};

}  // namespace

TEST_P(SQLiteObservationTimelineTest, EmptyRangeGivesNoRows) {
    build(R"SQL(
        INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at)
        VALUES ('outside', 'visual', 1775030000.0, 'Reading mail', '[]', '2026-04-01T07:53:20Z');
    )SQL");
    EXPECT_TRUE(fetch(kTen, kTen + 3600).empty());
}

TEST_P(SQLiteObservationTimelineTest, DecodesEveryColumn) {
    build(R"SQL(
        INSERT INTO frames (id, display_id, captured_at, timestamp, image_path, analyzed)
        VALUES ('F1', 'main', '2026-04-01T10:00:05Z', 1775037605.25, '/Users/a/f1.png', 1);
        INSERT INTO observations (id, frame_id, type, timestamp, image_path, vlm_description, apps, created_at)
        VALUES ('OBS-1', 'F1', 'visual', 1775037609.0, '/Users/a/.varnholt/frames/2026-04-01/f1.png',
                'Fixing a type error in the fetch handler', '["Xcode","Safari"]', '2026-04-01T10:00:09Z');
        INSERT INTO observation_entities (entity_id, observation_id, entity_kind, entity_value, confidence, created_at)
        VALUES ('E1', 'OBS-1', 'app', 'Xcode', 0.9, 1775037610.0),
               ('E2', 'OBS-1', 'programming_language', 'Swift', 0.8, 1775037610.0);
    )SQL");

    TimelineObservation expected;
    expected.id = "OBS-1";
    expected.timestamp = 1775037605.25;
    expected.vlmDescription = "Fixing a type error in the fetch handler";
    expected.apps = {"Xcode", "Safari"};
    expected.imagePath = "/Users/a/.varnholt/frames/2026-04-01/f1.png";
    expected.entitiesJson =
        R"([{"kind":"app","value":"Xcode"},{"kind":"programming_language","value":"Swift"}])";
    EXPECT_EQ(fetch(kTen, kTen + 3600), std::vector<TimelineObservation>{expected});
}

TEST_P(SQLiteObservationTimelineTest, ObservationWithoutEntitiesGivesAnEmptyArrayTextAndNoImage) {
    build(R"SQL(
        INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at)
        VALUES ('OBS-1', 'visual', 1775037600.0, 'Reading mail', '["Mail"]', '2026-04-01T10:00:00Z');
    )SQL");
    const auto rows = fetch(kTen, kTen + 3600);
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].entitiesJson, std::optional<std::string>("[]"));
    EXPECT_EQ(rows[0].imagePath, std::nullopt);
    EXPECT_EQ(rows[0].apps, std::vector<std::string>{"Mail"});
}

TEST_P(SQLiteObservationTimelineTest, NullEmptyAndBlankDescriptionsAreLeftOut) {
    build(R"SQL(
        INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at) VALUES
            ('null',   'visual', 1775037601.0, NULL,           '[]', '2026-04-01T10:00:01Z'),
            ('empty',  'visual', 1775037602.0, '',             '[]', '2026-04-01T10:00:02Z'),
            ('blank',  'visual', 1775037603.0, '     ',        '[]', '2026-04-01T10:00:03Z'),
            ('padded', 'visual', 1775037604.0, '  Editing  ',  '[]', '2026-04-01T10:00:04Z');
    )SQL");
    const auto rows = fetch(kTen, kTen + 3600);
    EXPECT_EQ(idsOf(rows), std::vector<std::string>{"padded"});
    // The description is returned as stored, not trimmed.
    EXPECT_EQ(rows.at(0).vlmDescription, "  Editing  ");
}

TEST_P(SQLiteObservationTimelineTest, OnlyRowsOfNoSeparateRecordingAreReturned) {
    build(R"SQL(
        INSERT INTO observations (id, recording_id, type, timestamp, vlm_description, apps, created_at) VALUES
            ('no-recording',    NULL,    'visual', 1775037601.0, 'One',   '[]', '2026-04-01T10:00:01Z'),
            ('empty-recording', '',      'visual', 1775037602.0, 'Two',   '[]', '2026-04-01T10:00:02Z'),
            ('imported',        'rec-7', 'visual', 1775037603.0, 'Three', '[]', '2026-04-01T10:00:03Z');
    )SQL");
    EXPECT_EQ(idsOf(fetch(kTen, kTen + 3600)),
              (std::vector<std::string>{"no-recording", "empty-recording"}));
}

TEST_P(SQLiteObservationTimelineTest, TheFrameTimeWinsAndTheOwnTimeStandsInWithoutAFrame) {
    build(R"SQL(
        INSERT INTO frames (id, display_id, captured_at, timestamp, image_path)
        VALUES ('F-in', 'main', '2026-04-01T10:10:00Z', 1775038200.0, '/f/in.png'),
               ('F-out', 'main', '2026-04-01T12:00:00Z', 1775044800.0, '/f/out.png');
        INSERT INTO observations (id, frame_id, type, timestamp, vlm_description, apps, created_at) VALUES
            -- frame time inside the range, own time outside: included at the frame time
            ('frame-in',    'F-in',    'visual', 1775030000.0, 'A', '[]', 'x'),
            -- frame time outside, own time inside: left out
            ('frame-out',   'F-out',   'visual', 1775037700.0, 'B', '[]', 'x'),
            -- the frame was pruned: the own time counts
            ('frame-gone',  'F-gone',  'visual', 1775037800.0, 'C', '[]', 'x'),
            -- no frame at all
            ('no-frame',    NULL,      'visual', 1775037900.0, 'D', '[]', 'x');
    )SQL");
    const auto rows = fetch(kTen, kTen + 3600);
    ASSERT_EQ(idsOf(rows), (std::vector<std::string>{"frame-gone", "no-frame", "frame-in"}));
    EXPECT_EQ(rows[0].timestamp, 1775037800.0);
    EXPECT_EQ(rows[1].timestamp, 1775037900.0);
    EXPECT_EQ(rows[2].timestamp, 1775038200.0);
}

TEST_P(SQLiteObservationTimelineTest, AFrameWithoutTimeFallsBackToTheObservationTime) {
    // The recorder declares frames.timestamp NOT NULL, but older or damaged
    // databases need not hold to it, and the query must not lose such an
    // observation. This fixture alone rebuilds the frames table without the
    // constraint so that a NULL frame time can be stored at all.
    const std::string nullableFrames = R"SQL(
        DROP TABLE frames;
        CREATE TABLE frames (
            id TEXT PRIMARY KEY,
            display_id TEXT NOT NULL,
            captured_at TEXT NOT NULL,
            timestamp REAL,
            image_path TEXT NOT NULL,
            analyzed INTEGER DEFAULT 0
        );
    )SQL";
    build(R"SQL(
        INSERT INTO frames (id, display_id, captured_at, timestamp, image_path)
        VALUES ('F-null', 'main', '2026-04-01T10:00:00Z', NULL, '/f/null.png');
        INSERT INTO observations (id, frame_id, type, timestamp, vlm_description, apps, created_at)
        VALUES ('timeless-frame', 'F-null', 'visual', 1775037650.5, 'Planning', '[]', 'x');
    )SQL",
          nullableFrames);
    const auto rows = fetch(kTen, kTen + 3600);
    ASSERT_EQ(idsOf(rows), std::vector<std::string>{"timeless-frame"});
    EXPECT_EQ(rows[0].timestamp, 1775037650.5);
}

TEST_P(SQLiteObservationTimelineTest, AFrameTimeOfTextOrBlobIsNoTimeAndNeitherIsSuchAnOwnTime) {
    build(R"SQL(
        INSERT INTO frames (id, display_id, captured_at, timestamp, image_path) VALUES
            ('F-text', 'main', 'x', 'pending', '/f/text.png'),
            ('F-blob', 'main', 'x', x'00', '/f/blob.png');
        INSERT INTO observations (id, frame_id, type, timestamp, vlm_description, apps, created_at) VALUES
            ('text-frame', 'F-text', 'visual', 1775037650.5, 'Planning', '[]', 'x'),
            ('blob-frame', 'F-blob', 'visual', 1775037660.0, 'Planning', '[]', 'x'),
            ('text-own', NULL, 'visual', '2026-04-01T10:00:00Z', 'Planning', '[]', 'x'),
            ('text-both', 'F-text', 'visual', 'later', 'Planning', '[]', 'x'),
            ('blob-own', NULL, 'visual', x'01', 'Planning', '[]', 'x');
    )SQL");
    const auto rows = fetch(kTen, kTen + 3600);
    ASSERT_EQ(idsOf(rows), (std::vector<std::string>{"text-frame", "blob-frame"}));
    EXPECT_EQ(rows[0].timestamp, 1775037650.5);
    EXPECT_EQ(rows[1].timestamp, 1775037660.0);
}

TEST_P(SQLiteObservationTimelineTest, EntitiesWithoutTextKindOrValueAreLeftOut) {
    build(R"SQL(
        INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at)
        VALUES ('OBS-1', 'visual', 1775037600.0, 'Reading mail', '[]', 'x');
        INSERT INTO observation_entities (entity_id, observation_id, entity_kind, entity_value) VALUES
            ('E1', 'OBS-1', 'app', 'Mail'), ('E2', 'OBS-1', 'app', x'4D61696C'),
            ('E3', 'OBS-1', x'617070', 'Mail'), ('E4', 'OBS-1', NULL, 'Mail'),
            ('E5', 'OBS-1', 'app', NULL), ('E6', 'OBS-1', 'count', 42);
    )SQL",
          VarnholtTestSupport::kEntitiesWithoutConstraints);
    const auto rows = fetch(kTen, kTen + 3600);
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].entitiesJson,
              std::optional<std::string>(R"([{"kind":"app","value":"Mail"},{"kind":"count","value":"42"}])"));
}

TEST_P(SQLiteObservationTimelineTest, BothBoundsAreInclusive) {
    build(R"SQL(
        INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at) VALUES
            ('before',   'visual', 1775037599.999, 'A', '[]', 'x'),
            ('at-from',  'visual', 1775037600.0,   'B', '[]', 'x'),
            ('at-to',    'visual', 1775041200.0,   'C', '[]', 'x'),
            ('after',    'visual', 1775041200.001, 'D', '[]', 'x');
    )SQL");
    EXPECT_EQ(idsOf(fetch(kTen, kTen + 3600)), (std::vector<std::string>{"at-from", "at-to"}));
}

TEST_P(SQLiteObservationTimelineTest, RowsComeOldestFirstWhateverTheInsertOrder) {
    build(R"SQL(
        INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at) VALUES
            ('late',   'visual', 1775039000.0, 'A', '[]', 'x'),
            ('early',  'visual', 1775037700.0, 'B', '[]', 'x'),
            ('middle', 'visual', 1775038000.0, 'C', '[]', 'x');
    )SQL");
    EXPECT_EQ(idsOf(fetch(kTen, kTen + 3600)),
              (std::vector<std::string>{"early", "middle", "late"}));
}

TEST_P(SQLiteObservationTimelineTest, BeyondTheLimitTheNewestAreKeptInAscendingOrder) {
    // 6000 eligible observations one second apart, starting at 10:00:00.
    build(R"SQL(
        WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < 5999)
        INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at)
        SELECT 'obs-' || i, 'visual', 1775037600.0 + i, 'Step ' || i, '[]', 'x' FROM n;
    )SQL");
    const auto rows = fetch(kTen, kTen + 7200, 5000);
    ASSERT_EQ(rows.size(), 5000u);
    EXPECT_EQ(rows.front().id, "obs-1000");
    EXPECT_EQ(rows.front().timestamp, kTen + 1000);
    EXPECT_EQ(rows.back().id, "obs-5999");
    EXPECT_EQ(rows.back().timestamp, kTen + 5999);
    for (size_t i = 1; i < rows.size(); ++i) {
        ASSERT_LT(rows[i - 1].timestamp, rows[i].timestamp) << i;
    }
}

TEST_P(SQLiteObservationTimelineTest, TheLimitIsBound) {
    build(R"SQL(
        INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at) VALUES
            ('one',   'visual', 1775037700.0, 'A', '[]', 'x'),
            ('two',   'visual', 1775037800.0, 'B', '[]', 'x'),
            ('three', 'visual', 1775037900.0, 'C', '[]', 'x');
    )SQL");
    EXPECT_EQ(idsOf(fetch(kTen, kTen + 3600, 2)), (std::vector<std::string>{"two", "three"}));
    EXPECT_TRUE(fetch(kTen, kTen + 3600, 0).empty());
}

TEST_P(SQLiteObservationTimelineTest, UnreadableAppsGiveAnEmptyList) {
    build(R"SQL(
        INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at) VALUES
            ('null',     'visual', 1775037601.0, 'A', NULL,               'x'),
            ('object',   'visual', 1775037602.0, 'B', '{"app":"Mail"}',   'x'),
            ('numbers',  'visual', 1775037603.0, 'C', '[1,2]',            'x'),
            ('mixed',    'visual', 1775037604.0, 'D', '["Mail",2]',       'x'),
            ('not-json', 'visual', 1775037605.0, 'E', 'Mail, Safari',     'x'),
            ('empty',    'visual', 1775037606.0, 'F', '',                 'x'),
            ('good',     'visual', 1775037607.0, 'G', '["Mail","Safari"]', 'x');
    )SQL");
    const auto rows = fetch(kTen, kTen + 3600);
    ASSERT_EQ(rows.size(), 7u);
    for (size_t i = 0; i < 6; ++i) EXPECT_TRUE(rows[i].apps.empty()) << rows[i].id;
    EXPECT_EQ(rows[6].apps, (std::vector<std::string>{"Mail", "Safari"}));
}

TEST_P(SQLiteObservationTimelineTest, ANullIdReadsAsEmptyTextAndTextEndsAtItsNul) {
    build(R"SQL(
        INSERT INTO observations (id, type, timestamp, image_path, vlm_description, apps, created_at) VALUES
            (NULL, 'visual', 1775037601.0, NULL, 'Reading mail', '["Mail"]', 'x'),
            ('o2' || char(0) || 'x', 'visual', 1775037602.0, '/a.png' || char(0) || 'b',
             'Writing' || char(0) || ' more', '["Pages"]' || char(0) || ']', 'x');
    )SQL");
    const auto rows = fetch(kTen, kTen + 3600);
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0].id, "");
    EXPECT_EQ(rows[1].id, "o2");
    EXPECT_EQ(rows[1].vlmDescription, "Writing");
    EXPECT_EQ(rows[1].imagePath, "/a.png");
    EXPECT_EQ(rows[1].apps, std::vector<std::string>{"Pages"});
}

TEST_P(SQLiteObservationTimelineTest, AMissingTableIsAQueryFailureWithSQLitesMessage) {
    build("DROP TABLE observation_entities;");
    try {
        fetch(kTen, kTen + 3600);
        FAIL() << "expected a DatabaseError";
    } catch (const DatabaseError& error) {
        EXPECT_EQ(error.errorCase(), DatabaseError::Case::queryFailed);
        EXPECT_EQ(error.message(), "no such table: observation_entities");
    }
}

// Four observations of one frame share its time; they differ in recording
// group (NULL or ''), type and own time, and were inserted a, b, c, d.
constexpr const char* kOneFrameFourObservations = R"SQL(
    INSERT INTO frames (id, display_id, captured_at, timestamp, image_path)
    VALUES ('F1', 'main', '2026-04-01T10:00:10Z', 1775037610.0, '/f/1.png');
    INSERT INTO observations (id, recording_id, frame_id, type, timestamp, vlm_description, apps, created_at) VALUES
        ('a', NULL, 'F1', 'visual', 1775037605.0, 'A', '[]', 'x'),
        ('b', '',   'F1', 'audio',  1775037601.0, 'B', '[]', 'x'),
        ('c', NULL, 'F1', 'audio',  1775037609.0, 'C', '[]', 'x'),
        ('d', NULL, 'F1', 'visual', 1775037601.0, 'D', '[]', 'x');
)SQL";

TEST_P(SQLiteObservationTimelineTest, EqualTimesFollowTheRecordingIndexTheLiteralPlanWalks) {
    // With the recorder's index order SQLite walks observations through
    // (recording_id, timestamp): the NULL group first, each by own time,
    // then rowid. The limit keeps the first of them.
    build(kOneFrameFourObservations);
    EXPECT_EQ(idsOf(fetch(kTen, kTen + 3600)), (std::vector<std::string>{"d", "a", "c", "b"}));
    EXPECT_EQ(idsOf(fetch(kTen, kTen + 3600, 2)), (std::vector<std::string>{"d", "a"}));
}

TEST_P(SQLiteObservationTimelineTest, EqualTimesFollowTheOtherRecordingIndexWhenItWasCreatedLast) {
    // SQLite prefers the index created last among equals; a recorder that
    // created (recording_id, type) after (recording_id, timestamp) gets its
    // ties in type order.
    build(kOneFrameFourObservations, R"SQL(
        DROP INDEX idx_observations_recording_type;
        CREATE INDEX idx_observations_recording_type ON observations(recording_id, type);
    )SQL");
    EXPECT_EQ(idsOf(fetch(kTen, kTen + 3600)), (std::vector<std::string>{"c", "a", "d", "b"}));
    EXPECT_EQ(idsOf(fetch(kTen, kTen + 3600, 3)), (std::vector<std::string>{"c", "a", "d"}));
}

TEST_P(SQLiteObservationTimelineTest, EqualTimesFollowRowidOrderOnceAnalyzeMadeSQLiteScan) {
    // With statistics SQLite scans the table instead: rowid order.
    build(std::string(kOneFrameFourObservations) + "ANALYZE;");
    EXPECT_EQ(idsOf(fetch(kTen, kTen + 3600)), (std::vector<std::string>{"a", "b", "c", "d"}));
    EXPECT_EQ(idsOf(fetch(kTen, kTen + 3600, 1)), (std::vector<std::string>{"a"}));
}

TEST_P(SQLiteObservationTimelineTest, TheRecordersSchemaGetsTheIndexedStatement) {
    build(kOneFrameFourObservations);
    fetch(kTen, kTen + 3600);
    EXPECT_EQ(ranLiteral(), GetParam() == StatementChoice::literal);
}

// Without an index the indexed statement walks, the literal statement
// answers, with whatever order its own plan gives.
TEST_P(SQLiteObservationTimelineTest, WithoutTheFrameTimeIndexTheLiteralStatementAnswers) {
    build(kOneFrameFourObservations, "DROP INDEX idx_frames_timestamp;");
    EXPECT_EQ(idsOf(fetch(kTen, kTen + 3600)), (std::vector<std::string>{"d", "a", "c", "b"}));
    EXPECT_TRUE(ranLiteral());
}

TEST_P(SQLiteObservationTimelineTest, WithoutTheFrameIdIndexTheLiteralStatementAnswers) {
    build(kOneFrameFourObservations, "DROP INDEX idx_observations_frame;");
    EXPECT_EQ(idsOf(fetch(kTen, kTen + 3600)), (std::vector<std::string>{"d", "a", "c", "b"}));
    EXPECT_TRUE(ranLiteral());
}

TEST_P(SQLiteObservationTimelineTest, WithoutTheRecordingTimeIndexTheLiteralStatementAnswers) {
    build(kOneFrameFourObservations, "DROP INDEX idx_observations_recording_timestamp;");
    EXPECT_EQ(idsOf(fetch(kTen, kTen + 3600)), (std::vector<std::string>{"c", "a", "d", "b"}));
    EXPECT_TRUE(ranLiteral());
}

TEST(SQLiteObservationTimelineStatementTest, TheStatementTextIsKeptExactly) {
    // Benchmarks and query-plan checks run this text; a reformatting is a
    // change of contract, not a cosmetic one.
    EXPECT_STREQ(SQLiteObservationTimeline::kStatement,
                 "    WITH eligible AS (\n"
                 "        SELECT o.id, o.vlm_description, o.apps, o.image_path,\n"
                 "               COALESCE(CASE WHEN f.timestamp < '' THEN f.timestamp END,\n"
                 "                        CASE WHEN o.timestamp < '' THEN o.timestamp END) AS frame_timestamp,\n"
                 "               (SELECT json_group_array(json_object('kind', entity_kind, 'value', entity_value))\n"
                 "                FROM observation_entities WHERE observation_id = o.id\n"
                 "                  AND typeof(entity_kind) NOT IN ('null', 'blob')\n"
                 "                  AND typeof(entity_value) NOT IN ('null', 'blob')) AS entities_json\n"
                 "        FROM observations o\n"
                 "        LEFT JOIN frames f ON o.frame_id = f.id\n"
                 "        WHERE COALESCE(CASE WHEN f.timestamp < '' THEN f.timestamp END,\n"
                 "                       CASE WHEN o.timestamp < '' THEN o.timestamp END) >= ?\n"
                 "          AND COALESCE(CASE WHEN f.timestamp < '' THEN f.timestamp END,\n"
                 "                       CASE WHEN o.timestamp < '' THEN o.timestamp END) <= ?\n"
                 "          AND o.vlm_description IS NOT NULL\n"
                 "          AND length(trim(o.vlm_description)) > 0\n"
                 "          AND (o.recording_id IS NULL OR o.recording_id = '')\n"
                 "        ORDER BY frame_timestamp DESC\n"
                 "        LIMIT ?\n"
                 "    )\n"
                 "    SELECT id, vlm_description, apps, image_path, frame_timestamp, entities_json\n"
                 "    FROM eligible\n"
                 "    ORDER BY frame_timestamp ASC");
}


INSTANTIATE_TEST_SUITE_P(BothStatements, SQLiteObservationTimelineTest,
                         ::testing::Values(StatementChoice::literal, StatementChoice::indexed),
                         [](const auto& info) { return VarnholtTestSupport::nameOf(info.param); });

TEST(SQLiteObservationTimelineDeathTest, ALimitBeyond32BitsStopsTheProcess) {
    VarnholtTestSupport::TemporaryDirectory directory;
    sqlite3* handle = VarnholtSampleData::openWritableDatabase(directory.file("varnholt.db"));
    VarnholtSampleData::createRecorderSchema(handle);
    sqlite3_close(handle);
    SQLiteReadConnection connection(directory.file("varnholt.db"));
    SQLiteObservationTimeline timeline(connection,
                                       VarnholtSQLiteSupport::IndexCatalogue::read(connection.handle()));
    EXPECT_DEATH(timeline.fetchTimeline(0, 1, std::int64_t{1} << 31), "32 bits");
}
