#include "entities/SQLiteEntityQuery.h"

#include <sqlite3.h>

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "DatabaseError.h"
#include "RecorderSchema.h"
#include "SQLiteReadConnection.h"
#include "StatementLog.h"
#include "TemporaryDirectory.h"
#include "TestInstants.h"
#include "EntityTestParams.h"

namespace VarnholtQueryLib {

// Readable failure messages; internal, so other test files may have their own.
[[maybe_unused]] static void PrintTo(const EntityAggregation& row, std::ostream* out) {
    *out << "{" << row.kind << ", " << row.value << ", " << row.count << ", "
         << std::to_string(row.firstSeen) << ", " << std::to_string(row.lastSeen) << "}";
}

namespace {

using VarnholtSQLiteSupport::DatabaseError;
using VarnholtSQLiteSupport::SQLiteReadConnection;
using VarnholtTestSupport::StatementChoice;
using VarnholtTestSupport::StatementLog;

// 2026-04-01T10:00:00Z.
using VarnholtTestSupport::kT;

std::string frame(const std::string& id, double timestamp) {
    return "INSERT INTO frames (id, display_id, captured_at, timestamp, image_path, analyzed) "
           "VALUES ('" + id + "', 'display-1', '2026-04-01', " + std::to_string(timestamp) +
           ", '/tmp/" + id + ".png', 1);\n";
}

// `frameId` is SQL: a quoted id or NULL.
std::string observation(const std::string& id, const std::string& frameId, double timestamp) {
    return "INSERT INTO observations (id, frame_id, type, timestamp, vlm_description, apps, "
           "created_at) VALUES ('" + id + "', " + frameId + ", 'screen', " +
           std::to_string(timestamp) + ", 'Working', '[]', '2026-04-01');\n";
}

std::string entity(const std::string& observationId, const std::string& kind,
                   const std::string& value) {
    static int next = 0;
    return "INSERT INTO observation_entities (entity_id, observation_id, entity_kind, "
           "entity_value, confidence, created_at) VALUES ('e" + std::to_string(++next) + "', '" +
           observationId + "', '" + kind + "', '" + value + "', 0.9, 0);\n";
}

// A framed observation at `timestamp` (frame and observation a second apart,
// the frame's time being the one that counts) with the given mentions.
std::string mentionsAt(const std::string& id, double timestamp,
                       const std::vector<std::pair<std::string, std::string>>& mentions) {
    std::string sql = frame("f-" + id, timestamp) + observation(id, "'f-" + id + "'", timestamp + 1);
    for (const auto& [kind, value] : mentions) sql += entity(id, kind, value);
    return sql;
}

EntityAggregation row(const std::string& kind, const std::string& value, std::int64_t count,
                      double firstSeen, double lastSeen) {
    return {kind, value, count, firstSeen, lastSeen};
}

class SQLiteEntityQueryTest : public ::testing::TestWithParam<StatementChoice> {
protected:
    // A database with the recorder's real schema and `inserts` on top.
    void createDatabase(const std::string& inserts) {
        sqlite3* handle = VarnholtSampleData::openWritableDatabase(path());
        VarnholtSampleData::createRecorderSchema(handle);
        VarnholtSampleData::execWritable(handle, inserts);
        sqlite3_close(handle);
    }

    // A database with only the columns the query reads and none of the
    // recorder's constraints, for rows the real schema cannot hold (a frame
    // without a time, one observation naming the same entity twice).
    void createLooseDatabase(const std::string& inserts) {
        sqlite3* handle = VarnholtSampleData::openWritableDatabase(path());
        VarnholtSampleData::execWritable(handle,
            "CREATE TABLE frames (id TEXT, timestamp REAL);\n"
            "CREATE TABLE observations (id TEXT, frame_id TEXT, timestamp REAL);\n"
            "CREATE TABLE observation_entities (observation_id TEXT, entity_kind TEXT, "
            "entity_value TEXT);\n"
            "PRAGMA user_version = 24;\n" + inserts);
        sqlite3_close(handle);
    }

    std::vector<EntityAggregation> aggregate(const EntityQueryParams& query) {
        SQLiteReadConnection connection(path());
        SQLiteEntityQuery entityQuery(connection,
                                      VarnholtTestSupport::indexesFor(GetParam(), connection.handle()));
        StatementLog log(connection.handle());
        auto rows = entityQuery.aggregate(query);
        ranLiteral_ = log.ran(SQLiteEntityQuery::composeSQL(query));
        if (GetParam() == StatementChoice::literal) {
            EXPECT_TRUE(ranLiteral_);
        }
        return rows;
    }

    // Whether the last aggregation ran the literal statement.
    bool ranLiteral() const { return ranLiteral_;
    }

    std::string path() const { return directory_.file("varnholt.db"); }

private:
    VarnholtTestSupport::TemporaryDirectory directory_;
    bool ranLiteral_ = false;
};

const std::string kHead =
    "    SELECT oe.entity_kind, oe.entity_value,\n"
    "           COUNT(*) AS occurrence_count,\n"
    "           MIN(COALESCE(CASE WHEN f.timestamp < '' THEN f.timestamp END,\n"
    "                        CASE WHEN o.timestamp < '' THEN o.timestamp END)) AS first_seen,\n"
    "           MAX(COALESCE(CASE WHEN f.timestamp < '' THEN f.timestamp END,\n"
    "                        CASE WHEN o.timestamp < '' THEN o.timestamp END)) AS last_seen\n"
    "    FROM observation_entities oe\n"
    "    JOIN observations o ON oe.observation_id = o.id\n"
    "    LEFT JOIN frames f ON f.id = o.frame_id\n"
    "    WHERE typeof(oe.entity_kind) NOT IN ('null', 'blob')\n"
    "      AND typeof(oe.entity_value) NOT IN ('null', 'blob')";
const std::string kFrom =
    "\n      AND COALESCE(CASE WHEN f.timestamp < '' THEN f.timestamp END,\n"
    "               CASE WHEN o.timestamp < '' THEN o.timestamp END) >= ?";
const std::string kTo =
    "\n      AND COALESCE(CASE WHEN f.timestamp < '' THEN f.timestamp END,\n"
    "               CASE WHEN o.timestamp < '' THEN o.timestamp END) <= ?";
const std::string kKind = "\n      AND oe.entity_kind = ?";
const std::string kTail =
    "\n"
    "    GROUP BY oe.entity_kind, oe.entity_value\n"
    "    ORDER BY occurrence_count DESC, entity_kind ASC, entity_value ASC\n"
    "    LIMIT ?";

TEST_P(SQLiteEntityQueryTest, StatementWithoutConditions) {
    EXPECT_EQ(SQLiteEntityQuery::composeSQL(params({}, {}, {}, 100)),
              "    SELECT oe.entity_kind, oe.entity_value,\n"
              "           COUNT(*) AS occurrence_count,\n"
              "           MIN(COALESCE(CASE WHEN f.timestamp < '' THEN f.timestamp END,\n"
              "                        CASE WHEN o.timestamp < '' THEN o.timestamp END)) AS first_seen,\n"
              "           MAX(COALESCE(CASE WHEN f.timestamp < '' THEN f.timestamp END,\n"
              "                        CASE WHEN o.timestamp < '' THEN o.timestamp END)) AS last_seen\n"
              "    FROM observation_entities oe\n"
              "    JOIN observations o ON oe.observation_id = o.id\n"
              "    LEFT JOIN frames f ON f.id = o.frame_id\n"
              "    WHERE typeof(oe.entity_kind) NOT IN ('null', 'blob')\n"
              "      AND typeof(oe.entity_value) NOT IN ('null', 'blob')\n"
              "    GROUP BY oe.entity_kind, oe.entity_value\n"
              "    ORDER BY occurrence_count DESC, entity_kind ASC, entity_value ASC\n"
              "    LIMIT ?");
}

TEST_P(SQLiteEntityQueryTest, StatementWithEachConditionAlone) {
    EXPECT_EQ(SQLiteEntityQuery::composeSQL(params(kT, {}, {}, 1)), kHead + kFrom + kTail);
    EXPECT_EQ(SQLiteEntityQuery::composeSQL(params({}, kT, {}, 1)), kHead + kTo + kTail);
    EXPECT_EQ(SQLiteEntityQuery::composeSQL(params({}, {}, "app", 1)), kHead + kKind + kTail);
}

TEST_P(SQLiteEntityQueryTest, StatementWithConditionsJoinedInOrder) {
    EXPECT_EQ(SQLiteEntityQuery::composeSQL(params(kT, kT + 1, "app", 1)), kHead + kFrom + kTo + kKind + kTail);
    EXPECT_EQ(SQLiteEntityQuery::composeSQL(params(kT, {}, "app", 1)), kHead + kFrom + kKind + kTail);
    EXPECT_EQ(SQLiteEntityQuery::composeSQL(params({}, kT, "app", 1)), kHead + kTo + kKind + kTail);
}

TEST_P(SQLiteEntityQueryTest, EmptyTablesGiveNoRows) {
    createDatabase("");
    EXPECT_EQ(aggregate(params({}, {}, {}, 100)), std::vector<EntityAggregation>{});
    EXPECT_EQ(aggregate(params(kT, kT + 60, "app", 100)), std::vector<EntityAggregation>{});
}

TEST_P(SQLiteEntityQueryTest, OrdersByCountThenKindThenValue) {
    createDatabase(
        mentionsAt("o1", kT, {{"tool", "git"}, {"app", "Xcode"}, {"language", "Swift"},
                              {"app", "Mail"}}) +
        mentionsAt("o2", kT + 60, {{"app", "Xcode"}, {"app", "Safari"}, {"tool", "git"},
                                   {"language", "C++"}}) +
        mentionsAt("o3", kT + 120, {{"language", "Swift"}, {"app", "Safari"}, {"app", "Xcode"}}));
    EXPECT_EQ(aggregate(params({}, {}, {}, 100)),
              (std::vector<EntityAggregation>{
                  row("app", "Xcode", 3, kT, kT + 120),
                  row("app", "Safari", 2, kT + 60, kT + 120),
                  row("language", "Swift", 2, kT, kT + 120),
                  row("tool", "git", 2, kT, kT + 60),
                  row("app", "Mail", 1, kT, kT),
                  row("language", "C++", 1, kT + 60, kT + 60),
              }));
}

TEST_P(SQLiteEntityQueryTest, TiesCompareBytesSoUpperCaseComesFirst) {
    createDatabase(mentionsAt("o1", kT, {{"app", "safari"}, {"app", "Safari"}, {"App", "zsh"}}));
    EXPECT_EQ(aggregate(params({}, {}, {}, 100)),
              (std::vector<EntityAggregation>{
                  row("App", "zsh", 1, kT, kT),
                  row("app", "Safari", 1, kT, kT),
                  row("app", "safari", 1, kT, kT),
              }));
}

TEST_P(SQLiteEntityQueryTest, LimitKeepsTheTopRows) {
    createDatabase(mentionsAt("o1", kT, {{"app", "Xcode"}, {"app", "Mail"}, {"tool", "git"}}) +
                   mentionsAt("o2", kT + 1, {{"tool", "git"}}));
    EXPECT_EQ(aggregate(params({}, {}, {}, 2)),
              (std::vector<EntityAggregation>{row("tool", "git", 2, kT, kT + 1),
                                              row("app", "Mail", 1, kT, kT)}));
}

TEST_P(SQLiteEntityQueryTest, BoundsAreInclusive) {
    createDatabase(mentionsAt("before", kT - 0.5, {{"app", "Xcode"}}) +
                   mentionsAt("start", kT, {{"app", "Xcode"}}) +
                   mentionsAt("inside", kT + 30, {{"app", "Xcode"}}) +
                   mentionsAt("end", kT + 60, {{"app", "Xcode"}}) +
                   mentionsAt("after", kT + 60.5, {{"app", "Xcode"}}));
    EXPECT_EQ(aggregate(params(kT, kT + 60, {}, 100)),
              (std::vector<EntityAggregation>{row("app", "Xcode", 3, kT, kT + 60)}));
    EXPECT_EQ(aggregate(params(kT, {}, {}, 100)),
              (std::vector<EntityAggregation>{row("app", "Xcode", 4, kT, kT + 60.5)}));
    EXPECT_EQ(aggregate(params({}, kT, {}, 100)),
              (std::vector<EntityAggregation>{row("app", "Xcode", 2, kT - 0.5, kT)}));
}

TEST_P(SQLiteEntityQueryTest, KindFilterIsExact) {
    createDatabase(mentionsAt("o1", kT, {{"app", "Xcode"}, {"App", "Mail"},
                                         {"programming_language", "Swift"}}) +
                   mentionsAt("o2", kT + 5, {{"app", "Xcode"}, {"apps", "Notes"}}));
    EXPECT_EQ(aggregate(params({}, {}, "app", 100)),
              (std::vector<EntityAggregation>{row("app", "Xcode", 2, kT, kT + 5)}));
    EXPECT_EQ(aggregate(params({}, {}, "programming_language", 100)),
              (std::vector<EntityAggregation>{row("programming_language", "Swift", 1, kT, kT)}));
    EXPECT_EQ(aggregate(params({}, {}, "unknown", 100)), std::vector<EntityAggregation>{});
}

TEST_P(SQLiteEntityQueryTest, KindFilterTogetherWithBounds) {
    createDatabase(mentionsAt("o1", kT, {{"app", "Xcode"}, {"tool", "git"}}) +
                   mentionsAt("o2", kT + 10, {{"app", "Xcode"}, {"tool", "git"}}) +
                   mentionsAt("o3", kT + 20, {{"app", "Xcode"}, {"tool", "git"}}));
    EXPECT_EQ(aggregate(params(kT + 10, kT + 20, "tool", 100)),
              (std::vector<EntityAggregation>{row("tool", "git", 2, kT + 10, kT + 20)}));
}

TEST_P(SQLiteEntityQueryTest, TextIsBoundNotSpliced) {
    createDatabase(mentionsAt("o1", kT, {{"ap''p", "Grüße 東京"}, {"app", "Xcode"}}));
    EXPECT_EQ(aggregate(params({}, {}, "ap'p", 100)),
              (std::vector<EntityAggregation>{row("ap'p", "Grüße 東京", 1, kT, kT)}));
    EXPECT_EQ(aggregate(params({}, {}, "app' OR '1'='1", 100)), std::vector<EntityAggregation>{});
}

TEST_P(SQLiteEntityQueryTest, FrameTimeWinsOverObservationTime) {
    createDatabase(frame("f1", kT) + observation("o1", "'f1'", kT + 500) +
                   entity("o1", "app", "Xcode"));
    EXPECT_EQ(aggregate(params({}, {}, {}, 100)),
              (std::vector<EntityAggregation>{row("app", "Xcode", 1, kT, kT)}));
    EXPECT_EQ(aggregate(params(kT + 400, {}, {}, 100)), std::vector<EntityAggregation>{});
}

TEST_P(SQLiteEntityQueryTest, MentionWithoutFrameIsDatedByObservation) {
    createDatabase(observation("no-frame", "NULL", kT + 100) +
                   observation("deleted-frame", "'gone'", kT + 200) +
                   entity("no-frame", "app", "Xcode") + entity("deleted-frame", "app", "Xcode"));
    EXPECT_EQ(aggregate(params({}, {}, {}, 100)),
              (std::vector<EntityAggregation>{row("app", "Xcode", 2, kT + 100, kT + 200)}));
    EXPECT_EQ(aggregate(params(kT + 150, {}, {}, 100)),
              (std::vector<EntityAggregation>{row("app", "Xcode", 1, kT + 200, kT + 200)}));
}

TEST_P(SQLiteEntityQueryTest, FrameWithoutTimeFallsBackToObservationTime) {
    createLooseDatabase(
        "INSERT INTO frames VALUES ('f1', NULL), ('f2', " + std::to_string(kT) + ");\n"
        "INSERT INTO observations VALUES ('o1', 'f1', " + std::to_string(kT + 300) + "), "
        "('o2', 'f2', " + std::to_string(kT + 900) + ");\n"
        "INSERT INTO observation_entities VALUES ('o1', 'app', 'Xcode'), ('o2', 'app', 'Xcode');\n");
    EXPECT_EQ(aggregate(params({}, {}, {}, 100)),
              (std::vector<EntityAggregation>{row("app", "Xcode", 2, kT, kT + 300)}));
}

TEST_P(SQLiteEntityQueryTest, EveryMentionCountsEvenWithinOneObservation) {
    createLooseDatabase(
        "INSERT INTO observations VALUES ('o1', NULL, " + std::to_string(kT) + ");\n"
        "INSERT INTO observation_entities VALUES ('o1', 'tool', 'git'), ('o1', 'tool', 'git');\n");
    EXPECT_EQ(aggregate(params({}, {}, {}, 100)),
              (std::vector<EntityAggregation>{row("tool", "git", 2, kT, kT)}));
}

TEST_P(SQLiteEntityQueryTest, MentionOfMissingObservationIsIgnored) {
    createDatabase(entity("ghost", "app", "Xcode") + mentionsAt("o1", kT, {{"app", "Mail"}}));
    EXPECT_EQ(aggregate(params({}, {}, {}, 100)),
              (std::vector<EntityAggregation>{row("app", "Mail", 1, kT, kT)}));
}

TEST_P(SQLiteEntityQueryTest, KindOrValueNullOrBlobIsNotCountedAndTextEndsAtItsNul) {
    createLooseDatabase(
        "INSERT INTO observations VALUES ('o1', NULL, 1775037600.0);\n"
        "INSERT INTO observation_entities VALUES ('o1', NULL, 'Keynote'), ('o1', 'app', NULL),\n"
        "  ('o1', x'617070', 'Pages'), ('o1', 'app', x'4D61696C'), ('o1', NULL, NULL),\n"
        "  ('o1', 'app', 'Mail' || char(0) || 'er');");
    EXPECT_EQ(aggregate(params({}, {}, {}, 100)), (std::vector<EntityAggregation>{row("app", "Mail", 1, kT, kT)}));
}

TEST_P(SQLiteEntityQueryTest, ABlobValueIsNotCountedInAWindowAndANumberCountsAsItsText) {
    // TEXT affinity stores the number 42 as the text "42".
    createDatabase(mentionsAt("o1", kT, {{"app", "Mail"}}) +
                   "INSERT INTO observation_entities (entity_id, observation_id, entity_kind, entity_value,\n"
                   "  confidence, created_at) VALUES ('b1', 'o1', 'app', x'4D61696C', 0.9, 0),\n"
                   "  ('b2', 'o1', x'617070', 'Mail', 0.9, 0), ('n1', 'o1', 'count', 42, 0.9, 0);\n");
    EXPECT_EQ(aggregate(params(kT - 60, {}, {}, 100)),
              (std::vector<EntityAggregation>{row("app", "Mail", 1, kT, kT), row("count", "42", 1, kT, kT)}));
    EXPECT_EQ(aggregate(params(kT - 60, kT + 60, "app", 100)),
              (std::vector<EntityAggregation>{row("app", "Mail", 1, kT, kT)}));
}

TEST_P(SQLiteEntityQueryTest, ATextTimeIsNoTime) {
    // o1's frame time is text, so o1 is dated by its own time; o2 has only a
    // text time of its own and no time at all then; o3 a BLOB.
    createDatabase(
        "INSERT INTO frames (id, display_id, captured_at, timestamp, image_path, analyzed)\n"
        "  VALUES ('f1', 'd', 'c', 'pending', '/f1.png', 1);\n" +
        observation("o1", "'f1'", kT + 30) +
        "INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at)\n"
        "  VALUES ('o2', 'screen', '2026-04-01T10:00:00Z', 'Working', '[]', 'x'),\n"
        "         ('o3', 'screen', x'00', 'Working', '[]', 'x');\n" +
        entity("o1", "app", "Mail") + entity("o2", "app", "Mail") + entity("o3", "app", "Mail"));
    EXPECT_EQ(aggregate(params(kT, {}, {}, 100)),
              (std::vector<EntityAggregation>{row("app", "Mail", 1, kT + 30, kT + 30)}));
    EXPECT_EQ(aggregate(params({}, {}, {}, 100)),
              (std::vector<EntityAggregation>{row("app", "Mail", 3, kT + 30, kT + 30)}));
}

TEST_P(SQLiteEntityQueryTest, MissingTableIsQueryFailed) {
    sqlite3* handle = VarnholtSampleData::openWritableDatabase(path());
    VarnholtSampleData::execWritable(handle, "PRAGMA user_version = 24;");
    sqlite3_close(handle);
    try {
        aggregate(params({}, {}, {}, 100));
        FAIL() << "expected DatabaseError";
    } catch (const DatabaseError& error) {
        EXPECT_EQ(error.errorCase(), DatabaseError::Case::queryFailed);
        EXPECT_EQ(error.message(), "no such table: observation_entities");
    }
}

INSTANTIATE_TEST_SUITE_P(BothStatements, SQLiteEntityQueryTest,
                         ::testing::Values(StatementChoice::literal, StatementChoice::indexed),
                         [](const auto& info) { return VarnholtTestSupport::nameOf(info.param); });

}  // namespace
}  // namespace VarnholtQueryLib
