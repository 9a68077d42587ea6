#include "search/SQLiteObservationSearch.h"

#include <sqlite3.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "DatabaseError.h"
#include "FixtureDatabase.h"
#include "RecorderSchema.h"
#include "SQLiteReadConnection.h"
#include "StatementLog.h"
#include "TemporaryDirectory.h"
#include "search/FTS5Keyword.h"

namespace VarnholtQueryLib {
namespace {

using VarnholtSQLiteSupport::DatabaseError;
using VarnholtSQLiteSupport::SQLiteReadConnection;
using VarnholtTestSupport::StatementChoice;
using VarnholtTestSupport::StatementLog;
using VarnholtTestSupport::TemporaryDirectory;

using Ids = std::vector<std::string>;

// 2026-04-01T10:00:00Z
constexpr double kTen = 1775037600.0;

// The head every variant shares, up to the first condition.
const std::string kHead =
    "    SELECT\n"
    "        o.id,\n"
    "        o.vlm_description,\n"
    "        o.apps,\n"
    "        o.image_path,\n"
    "        COALESCE(CASE WHEN f.timestamp < '' THEN f.timestamp END,\n"
    "                 CASE WHEN o.timestamp < '' THEN o.timestamp END) AS frame_timestamp,\n"
    "        (SELECT json_group_array(json_object('kind', entity_kind, 'value', entity_value))\n"
    "         FROM observation_entities WHERE observation_id = o.id\n"
    "           AND typeof(entity_kind) NOT IN ('null', 'blob')\n"
    "           AND typeof(entity_value) NOT IN ('null', 'blob')) AS entities_json\n"
    "    FROM observations o\n"
    "    JOIN observations_fts fts ON fts.rowid = o.rowid\n"
    "    LEFT JOIN frames f ON o.frame_id = f.id\n"
    "    WHERE observations_fts MATCH ?\n"
    "      AND ";

std::string transform(const std::string& keyword) {
    return SQLiteObservationSearch::transformFTS5Keyword(keyword);
}

// ---------------------------------------------------------------------------
// The statement text of each variant.

TEST(SQLiteObservationSearchTest, HeadIsSixHundredNinetyEightCharacters) {
    EXPECT_EQ(kHead.size(), 698u);
}

TEST(SQLiteObservationSearchTest, StatementWithoutFiltersRanksByRelevance) {
    ObservationSearchParams params;
    params.keyword = "invoice";
    EXPECT_EQ(SQLiteObservationSearch::statementFor(params),
              kHead +
                  "o.vlm_description IS NOT NULL\n"
                  "    ORDER BY bm25(observations_fts) ASC, frame_timestamp DESC\n"
                  "    LIMIT ?");
}

TEST(SQLiteObservationSearchTest, StatementWithEveryFilter) {
    ObservationSearchParams params;
    params.keyword = "invoice";
    params.appFilter = "Mail";
    params.fromTs = kTen - 3600;
    params.toTs = kTen;
    EXPECT_EQ(SQLiteObservationSearch::statementFor(params),
              kHead +
                  "o.vlm_description IS NOT NULL\n"
                  "  AND EXISTS (SELECT 1 FROM json_each(CASE WHEN json_valid(o.apps) THEN o.apps END)\n"
                  "          WHERE lower(value) = lower(?))\n"
                  "  AND COALESCE(CASE WHEN f.timestamp < '' THEN f.timestamp END,\n"
                  "           CASE WHEN o.timestamp < '' THEN o.timestamp END) >= ?\n"
                  "  AND COALESCE(CASE WHEN f.timestamp < '' THEN f.timestamp END,\n"
                  "           CASE WHEN o.timestamp < '' THEN o.timestamp END) <= ?\n"
                  "    ORDER BY bm25(observations_fts) ASC, frame_timestamp DESC\n"
                  "    LIMIT ?");
}

TEST(SQLiteObservationSearchTest, StatementWithApplicationAndUpperBound) {
    ObservationSearchParams params;
    params.keyword = "invoice";
    params.appFilter = "Mail";
    params.toTs = kTen;
    EXPECT_EQ(SQLiteObservationSearch::statementFor(params),
              kHead +
                  "o.vlm_description IS NOT NULL\n"
                  "  AND EXISTS (SELECT 1 FROM json_each(CASE WHEN json_valid(o.apps) THEN o.apps END)\n"
                  "          WHERE lower(value) = lower(?))\n"
                  "  AND COALESCE(CASE WHEN f.timestamp < '' THEN f.timestamp END,\n"
                  "           CASE WHEN o.timestamp < '' THEN o.timestamp END) <= ?\n"
                  "    ORDER BY bm25(observations_fts) ASC, frame_timestamp DESC\n"
                  "    LIMIT ?");
}

TEST(SQLiteObservationSearchTest, StatementForLatestOrdersByTimeOnly) {
    ObservationSearchParams params;
    params.keyword = "invoice";
    params.fromTs = kTen;
    params.latestOnly = true;
    EXPECT_EQ(SQLiteObservationSearch::statementFor(params),
              kHead +
                  "o.vlm_description IS NOT NULL\n"
                  "  AND COALESCE(CASE WHEN f.timestamp < '' THEN f.timestamp END,\n"
                  "           CASE WHEN o.timestamp < '' THEN o.timestamp END) >= ?\n"
                  "    ORDER BY frame_timestamp DESC\n"
                  "    LIMIT ?");
}

// ---------------------------------------------------------------------------
// The keyword as FTS5 sees it.

TEST(SQLiteObservationSearchTest, KeywordWithoutTermsBecomesEmpty) {
    EXPECT_EQ(transform(""), "");
    EXPECT_EQ(transform("   "), "");
    EXPECT_EQ(transform(" \t\n "), "");
}

TEST(SQLiteObservationSearchTest, SingleWordIsUnchanged) { EXPECT_EQ(transform("invoice"), "invoice"); }

TEST(SQLiteObservationSearchTest, SingleTermIsReturnedAsTypedWithItsBlanks) {
    EXPECT_EQ(transform("  invoice  "), "  invoice  ");
    EXPECT_EQ(transform("invoice*"), "invoice*");
}

TEST(SQLiteObservationSearchTest, TwoWordsBecomeAlternatives) {
    EXPECT_EQ(transform("invoice budget"), "invoice OR budget");
}

TEST(SQLiteObservationSearchTest, RepeatedBlanksSeparateOnce) {
    EXPECT_EQ(transform("invoice  budget"), "invoice OR budget");
    EXPECT_EQ(transform(" invoice budget "), "invoice OR budget");
}

TEST(SQLiteObservationSearchTest, NewlinesAndTabsSeparateTerms) {
    EXPECT_EQ(transform("invoice\nbudget\tforecast"), "invoice OR budget OR forecast");
    EXPECT_EQ(transform("invoice\r\nbudget"), "invoice OR budget");
}

TEST(SQLiteObservationSearchTest, UnicodeWhitespaceSeparatesTerms) {
    // No-break space and ideographic space.
    EXPECT_EQ(transform("invoice\u00A0budget\u3000forecast"), "invoice OR budget OR forecast");
}

TEST(SQLiteObservationSearchTest, NonASCIIWordsAreKeptWhole) {
    EXPECT_EQ(transform("Rechnung für Müller"), "Rechnung OR für OR Müller");
    EXPECT_EQ(transform("請求書 予算"), "請求書 OR 予算");
}

TEST(SQLiteObservationSearchTest, QuotedPhraseStaysAPhrase) {
    EXPECT_EQ(transform("\"quarterly invoice\" budget"), "\"quarterly invoice\" OR budget");
}

TEST(SQLiteObservationSearchTest, PhraseKeepsItsInnerBlanks) {
    EXPECT_EQ(transform("budget \" quarterly  invoice \""), "budget OR \" quarterly  invoice \"");
}

TEST(SQLiteObservationSearchTest, EmptyPhraseIsStillATerm) {
    EXPECT_EQ(transform("\"\" budget"), "\"\" OR budget");
}

TEST(SQLiteObservationSearchTest, LowerCaseOperatorLeavesKeywordUnchanged) {
    EXPECT_EQ(transform("invoice and budget"), "invoice and budget");
    EXPECT_EQ(transform("invoice or budget"), "invoice or budget");
    EXPECT_EQ(transform("not invoice"), "not invoice");
}

TEST(SQLiteObservationSearchTest, NearOperatorsLeaveKeywordUnchanged) {
    EXPECT_EQ(transform("NEAR"), "NEAR");
    EXPECT_EQ(transform("invoice NEAR budget"), "invoice NEAR budget");
    EXPECT_EQ(transform("invoice NEAR/3 budget"), "invoice NEAR/3 budget");
    EXPECT_EQ(transform("invoice near/2 budget"), "invoice near/2 budget");
}

TEST(SQLiteObservationSearchTest, WordsThatOnlyContainOperatorsAreWords) {
    EXPECT_EQ(transform("android nearby"), "android OR nearby");
    EXPECT_EQ(transform("ORDER NOTE"), "ORDER OR NOTE");
}

TEST(SQLiteObservationSearchTest, QuoteGluedToAWordMakesOneTerm) {
    EXPECT_EQ(transform("invoice\"quarterly budget\""), "invoice\"quarterly budget\"");
}

TEST(SQLiteObservationSearchTest, UnclosedPhraseRunsToTheEnd) {
    EXPECT_EQ(transform("\"budget review"), "\"budget review");
    EXPECT_EQ(transform("invoice \"budget review"), "invoice OR \"budget review");
}

TEST(SQLiteObservationSearchTest, ClosedThenUnclosedPhrase) {
    EXPECT_EQ(transform("\"quarterly invoice\" \"budget review"),
              "\"quarterly invoice\" OR \"budget review");
}

TEST(SQLiteObservationSearchTest, QuoteWithCombiningMarkIsNotAQuote) {
    // The walk is by user-perceived character: a quote carrying an accent is
    // an ordinary character and opens no phrase.
    EXPECT_EQ(transform("\"\u0301invoice budget"), "\"\u0301invoice OR budget");
}

TEST(SQLiteObservationSearchTest, FTS5SyntaxPassesThroughInsideTerms) {
    EXPECT_EQ(transform("invoice* -draft"), "invoice* OR -draft");
    EXPECT_EQ(transform("vlm_description:invoice budget"), "vlm_description:invoice OR budget");
}

// ---------------------------------------------------------------------------
// Searching a database shaped like the recorder's.

class SQLiteObservationSearchDatabaseTest : public ::testing::TestWithParam<StatementChoice> {
protected:
    std::string path() const { return directory_.file("varnholt.db"); }

    // Creates the recorder's schema and runs `sql` on it.
    void createDatabase(const std::string& sql) {
        sqlite3* handle = VarnholtSampleData::openWritableDatabase(path());
        try {
            VarnholtSampleData::createRecorderSchema(handle);
            VarnholtSampleData::execWritable(handle, sql);
        } catch (...) {
            sqlite3_close(handle);
            throw;
        }
        sqlite3_close(handle);
    }

    std::vector<ObservationSearchResult> search(const ObservationSearchParams& params) {
        if (!connection_) connection_ = std::make_unique<SQLiteReadConnection>(path());
        SQLiteObservationSearch adapter(*connection_,
                                        VarnholtTestSupport::indexesFor(GetParam(), connection_->handle()));
        StatementLog log(connection_->handle());
        auto results = adapter.search(params);
        ranLiteral_ = log.ran(SQLiteObservationSearch::statementFor(params));
        if (GetParam() == StatementChoice::literal) {
            EXPECT_TRUE(ranLiteral_);
        }
        return results;
    }

    static ObservationSearchParams paramsFor(const std::string& keyword) {
        ObservationSearchParams params;
        params.keyword = keyword;
        params.limit = 50;
        return params;
    }

    static Ids idsOf(const std::vector<ObservationSearchResult>& results) {
        Ids ids;
        for (const auto& result : results) ids.push_back(result.observationId);
        return ids;
    }

    // Whether the last search ran the literal statement.
    bool ranLiteral() const { return ranLiteral_; }

private:
    TemporaryDirectory directory_;
    std::unique_ptr<SQLiteReadConnection> connection_;
    bool ranLiteral_ = false;
};

// Observations one minute apart from 10:00 on, each with its own frame.
constexpr const char* kRankingFixture = R"SQL(
INSERT INTO frames (id, display_id, captured_at, timestamp, image_path, analyzed) VALUES
  ('F1', '1', '2026-04-01T10:00:00Z', 1775037600.0, '/home/u/shots/f1.png', 1),
  ('F2', '1', '2026-04-01T10:01:00Z', 1775037660.0, '/home/u/shots/f2.png', 1),
  ('F3', '1', '2026-04-01T10:02:00Z', 1775037720.0, '/home/u/shots/f3.png', 1),
  ('F4', '1', '2026-04-01T10:03:00Z', 1775037780.0, '/home/u/shots/f4.png', 1);
INSERT INTO observations (id, frame_id, type, timestamp, image_path, vlm_description, apps, created_at) VALUES
  ('O-STRONG', 'F1', 'visual', 1775037600.0, '/home/u/shots/f1.png',
   'Invoice invoice invoice', '["Mail"]', '2026-04-01T10:00:05Z'),
  ('O-TIE-OLD', 'F2', 'visual', 1775037660.0, '/home/u/shots/f2.png',
   'Reviewing the invoice draft with a long list of other words around it', '["Mail"]', '2026-04-01T10:01:05Z'),
  ('O-TIE-NEW', 'F3', 'visual', 1775037720.0, '/home/u/shots/f3.png',
   'Reviewing the invoice draft with a long list of other words around it', '["Mail"]', '2026-04-01T10:02:05Z'),
  ('O-OTHER', 'F4', 'visual', 1775037780.0, '/home/u/shots/f4.png',
   'Writing unit tests for the parser', '["Xcode"]', '2026-04-01T10:03:05Z');
)SQL";

TEST_P(SQLiteObservationSearchDatabaseTest, BestMatchFirstAndNewerFirstAmongEqualScores) {
    createDatabase(kRankingFixture);
    EXPECT_EQ(idsOf(search(paramsFor("invoice"))), (Ids{"O-STRONG", "O-TIE-NEW", "O-TIE-OLD"}));
}

TEST_P(SQLiteObservationSearchDatabaseTest, LatestOrdersStrictlyByTime) {
    createDatabase(kRankingFixture);
    ObservationSearchParams params = paramsFor("invoice");
    params.latestOnly = true;
    EXPECT_EQ(idsOf(search(params)), (Ids{"O-TIE-NEW", "O-TIE-OLD", "O-STRONG"}));
}

TEST_P(SQLiteObservationSearchDatabaseTest, LimitCutsTheRankedList) {
    createDatabase(kRankingFixture);
    ObservationSearchParams params = paramsFor("invoice");
    params.limit = 2;
    EXPECT_EQ(idsOf(search(params)), (Ids{"O-STRONG", "O-TIE-NEW"}));
}

TEST_P(SQLiteObservationSearchDatabaseTest, SeveralWordsMatchAnyOfThem) {
    createDatabase(kRankingFixture);
    ObservationSearchParams params = paramsFor("parser draft");
    params.latestOnly = true;
    EXPECT_EQ(idsOf(search(params)), (Ids{"O-OTHER", "O-TIE-NEW", "O-TIE-OLD"}));
}

TEST_P(SQLiteObservationSearchDatabaseTest, PorterStemmingMatchesWordForms) {
    createDatabase(kRankingFixture);
    EXPECT_EQ(idsOf(search(paramsFor("invoices"))), (Ids{"O-STRONG", "O-TIE-NEW", "O-TIE-OLD"}));
}

TEST_P(SQLiteObservationSearchDatabaseTest, NoMatchIsAnEmptyList) {
    createDatabase(kRankingFixture);
    EXPECT_TRUE(search(paramsFor("spreadsheet")).empty());
}

TEST_P(SQLiteObservationSearchDatabaseTest, DecodesEveryColumnAndPrefersTheFrameTime) {
    createDatabase(R"SQL(
INSERT INTO frames (id, display_id, captured_at, timestamp, image_path) VALUES
  ('F1', '1', '2026-04-01T10:00:00Z', 1775037600.25, '/home/u/shots/f1.png');
INSERT INTO observations (id, frame_id, type, timestamp, image_path, vlm_description, apps, created_at) VALUES
  ('O1', 'F1', 'visual', 1775037000.0, '/home/u/shots/f1.png',
   'Editing the invoice template', '["Pages","Mail"]', '2026-04-01T10:00:05Z');
INSERT INTO observation_entities VALUES
  ('E1', 'O1', 'app', 'Pages', 0.9, 1775037601.0),
  ('E2', 'O1', 'software_tool', 'Mail', 0.8, 1775037601.0);
)SQL");
    ObservationSearchResult expected;
    expected.observationId = "O1";
    expected.frameTimestamp = 1775037600.25;
    expected.vlmDescription = "Editing the invoice template";
    expected.apps = {"Pages", "Mail"};
    expected.imagePath = "/home/u/shots/f1.png";
    expected.entities = {{"app", "Pages"}, {"software_tool", "Mail"}};
    EXPECT_EQ(search(paramsFor("invoice")), std::vector<ObservationSearchResult>{expected});
}

TEST_P(SQLiteObservationSearchDatabaseTest, PrunedFrameFallsBackToTheObservationTime) {
    createDatabase(R"SQL(
INSERT INTO observations (id, frame_id, type, timestamp, vlm_description, apps, created_at) VALUES
  ('O1', 'GONE', 'visual', 1775037000.5, 'Editing the invoice template', '[]', '2026-04-01T09:50:05Z');
)SQL");
    const auto results = search(paramsFor("invoice"));
    ASSERT_EQ(results.size(), 1u);
    EXPECT_EQ(results[0].frameTimestamp, 1775037000.5);
}

TEST_P(SQLiteObservationSearchDatabaseTest, NullColumnsDecodeToEmptyAndAbsent) {
    createDatabase(R"SQL(
INSERT INTO observations (id, frame_id, type, timestamp, image_path, vlm_description, apps, created_at) VALUES
  ('O1', NULL, 'visual', 1775037600.0, NULL, 'Editing the invoice template', NULL, '2026-04-01T10:00:05Z');
)SQL");
    const auto results = search(paramsFor("invoice"));
    ASSERT_EQ(results.size(), 1u);
    EXPECT_TRUE(results[0].apps.empty());
    EXPECT_EQ(results[0].imagePath, std::nullopt);
    EXPECT_TRUE(results[0].entities.empty());
}

TEST_P(SQLiteObservationSearchDatabaseTest, AppsThatAreNotAListOfNamesDecodeToNoApps) {
    createDatabase(R"SQL(
INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at) VALUES
  ('O1', 'visual', 1775037600.0, 'invoice one', '{"app":"Mail"}', '2026-04-01T10:00:05Z'),
  ('O2', 'visual', 1775037660.0, 'invoice two', 'Mail', '2026-04-01T10:01:05Z');
)SQL");
    ObservationSearchParams params = paramsFor("invoice");
    params.latestOnly = true;
    const auto results = search(params);
    ASSERT_EQ(results.size(), 2u);
    EXPECT_TRUE(results[0].apps.empty());
    EXPECT_TRUE(results[1].apps.empty());
}

TEST_P(SQLiteObservationSearchDatabaseTest, EntityWithoutTextMembersIsSkippedSiblingsKept) {
    // The recorder declares entity columns as TEXT, which turns numbers into
    // text. A table without declared types (an older or hand-edited
    // database) keeps a number a number, and the JSON then carries it as one.
    createDatabase(R"SQL(
DROP TABLE observation_entities;
CREATE TABLE observation_entities (entity_id, observation_id, entity_kind, entity_value, confidence, created_at);
INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at) VALUES
  ('O1', 'visual', 1775037600.0, 'Editing the invoice template', '["Pages"]', '2026-04-01T10:00:05Z');
INSERT INTO observation_entities VALUES
  ('E1', 'O1', 'app', 'Pages', 0.9, 1775037601.0),
  ('E2', 'O1', 'software_tool', 42, 0.8, 1775037601.0),
  ('E3', 'O1', NULL, 'Keynote', 0.8, 1775037601.0),
  ('E4', 'O1', 'programming_language', 'Swift', 0.7, 1775037601.0);
)SQL");
    const auto results = search(paramsFor("invoice"));
    ASSERT_EQ(results.size(), 1u);
    EXPECT_EQ(results[0].entities,
              (std::vector<SearchResultEntity>{{"app", "Pages"}, {"programming_language", "Swift"}}));
}

TEST_P(SQLiteObservationSearchDatabaseTest, EntityWithNullOrBlobKindOrValueIsLeftOut) {
    createDatabase(std::string(VarnholtTestSupport::kEntitiesWithoutConstraints) + R"SQL(
INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at) VALUES
  ('O1', 'visual', 1775037600.0, 'Editing the invoice template', '["Pages"]', '2026-04-01T10:00:05Z');
INSERT INTO observation_entities VALUES
  ('E1', 'O1', 'app', x'5061676573', 0.9, 1775037601.0),
  ('E2', 'O1', x'617070', 'Pages', 0.9, 1775037601.0),
  ('E3', 'O1', NULL, 'Keynote', 0.8, 1775037601.0),
  ('E4', 'O1', 'app', NULL, 0.8, 1775037601.0),
  ('E5', 'O1', 'software_tool', 42, 0.8, 1775037601.0),
  ('E6', 'O1', 'programming_language', 'Swift', 0.7, 1775037601.0);
)SQL");
    ObservationSearchParams params = paramsFor("invoice");
    for (const bool latest : {false, true}) {
        params.latestOnly = latest;
        params.fromTs = latest ? std::optional<double>(kTen - 60) : std::nullopt;
        const auto results = search(params);
        ASSERT_EQ(results.size(), 1u);
        EXPECT_EQ(results[0].entities, (std::vector<SearchResultEntity>{{"software_tool", "42"},
                                                                        {"programming_language", "Swift"}}));
    }
}

TEST_P(SQLiteObservationSearchDatabaseTest, ATimeOfTextOrBlobIsNoTime) {
    // O-TEXT-FRAME is dated by its own time, its frame's being text;
    // O-TEXT-OWN and O-BLOB-OWN have no time at all and stay out of every
    // window, as a NULL time would.
    createDatabase(R"SQL(
INSERT INTO frames (id, display_id, captured_at, timestamp, image_path, analyzed) VALUES
  ('F-TEXT', '1', 'x', 'pending', '/f.png', 1);
INSERT INTO observations (id, frame_id, type, timestamp, vlm_description, apps, created_at) VALUES
  ('O-TEXT-FRAME', 'F-TEXT', 'visual', 1775037630.5, 'invoice one', '[]', 'x'),
  ('O-TEXT-OWN', NULL, 'visual', '2026-04-01T10:00:00Z', 'invoice two', '[]', 'x'),
  ('O-BLOB-OWN', NULL, 'visual', x'00', 'invoice three', '[]', 'x'),
  ('O-NUMBER', NULL, 'visual', 1775037600.0, 'invoice four', '[]', 'x');
)SQL");
    ObservationSearchParams params = paramsFor("invoice");
    params.latestOnly = true;
    params.fromTs = kTen;
    const auto results = search(params);
    ASSERT_EQ(idsOf(results), (Ids{"O-TEXT-FRAME", "O-NUMBER"}));
    EXPECT_EQ(results[0].frameTimestamp, 1775037630.5);
    params.fromTs = kTen - 3600;
    params.toTs = kTen + 3600;
    EXPECT_EQ(idsOf(search(params)), (Ids{"O-TEXT-FRAME", "O-NUMBER"}));
    // Without a window they are found, last and undated, as with NULL.
    params.fromTs.reset();
    params.toTs.reset();
    const auto unbounded = search(params);
    ASSERT_EQ(idsOf(unbounded), (Ids{"O-TEXT-FRAME", "O-NUMBER", "O-TEXT-OWN", "O-BLOB-OWN"}));
    EXPECT_EQ(unbounded[2].frameTimestamp, 0.0);
}

TEST_P(SQLiteObservationSearchDatabaseTest, ObservationsWithoutDescriptionAreNeverFound) {
    // An observation that lost its description (NULL) after indexing: the
    // index still lists the old text, the statement must not return it.
    createDatabase(R"SQL(
INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at) VALUES
  ('O1', 'visual', 1775037600.0, 'Editing the invoice template', '[]', '2026-04-01T10:00:05Z'),
  ('O2', 'visual', 1775037660.0, 'Editing the invoice footer', '[]', '2026-04-01T10:01:05Z');
DROP TRIGGER observations_fts_update;
UPDATE observations SET vlm_description = NULL WHERE id = 'O2';
)SQL");
    EXPECT_EQ(idsOf(search(paramsFor("invoice"))), (Ids{"O1"}));
}

constexpr const char* kApplicationFixture = R"SQL(
INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at) VALUES
  ('O-CODE', 'visual', 1775037600.0, 'invoice export script', '["Code","Terminal"]', '2026-04-01T10:00:05Z'),
  ('O-VSCODE', 'visual', 1775037660.0, 'invoice export script', '["VS Code"]', '2026-04-01T10:01:05Z'),
  ('O-UPPER', 'visual', 1775037720.0, 'invoice export script', '["Terminal","CODE"]', '2026-04-01T10:02:05Z'),
  ('O-NONE', 'visual', 1775037780.0, 'invoice export script', NULL, '2026-04-01T10:03:05Z');
)SQL";

TEST_P(SQLiteObservationSearchDatabaseTest, ApplicationFilterMatchesWholeEntryInAnyCase) {
    createDatabase(kApplicationFixture);
    ObservationSearchParams params = paramsFor("invoice");
    params.appFilter = "code";
    params.latestOnly = true;
    EXPECT_EQ(idsOf(search(params)), (Ids{"O-UPPER", "O-CODE"}));
}

TEST_P(SQLiteObservationSearchDatabaseTest, ApplicationFilterPassesOverAppsThatAreNotJSON) {
    // One damaged row must not fail every search that reaches it: text that
    // is not JSON names no application, as the results decode it.
    createDatabase(R"SQL(
INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at) VALUES
  ('O-EMPTY', 'visual', 1775037600.0, 'invoice one', '', '2026-04-01T10:00:05Z'),
  ('O-COMMAS', 'visual', 1775037660.0, 'invoice two', 'Slack, Zoom', '2026-04-01T10:01:05Z'),
  ('O-DEEP', 'visual', 1775037720.0, 'invoice three',
   printf('%.*c', 3000, '[') || '"Slack"' || printf('%.*c', 3000, ']'), '2026-04-01T10:02:05Z'),
  ('O-CUT', 'visual', 1775037780.0, 'invoice four', '["Slack"', '2026-04-01T10:03:05Z'),
  ('O-SLACK', 'visual', 1775037840.0, 'invoice five', '["Slack"]', '2026-04-01T10:04:05Z');
)SQL");
    ObservationSearchParams params = paramsFor("invoice");
    params.appFilter = "slack";
    params.latestOnly = true;
    EXPECT_EQ(idsOf(search(params)), (Ids{"O-SLACK"}));
    params.fromTs = kTen;
    params.toTs = kTen + 3600;
    EXPECT_EQ(idsOf(search(params)), (Ids{"O-SLACK"}));
    params.appFilter = "Zoom";
    EXPECT_EQ(idsOf(search(params)), Ids{});
}

TEST_P(SQLiteObservationSearchDatabaseTest, ApplicationFilterAndUpperBoundBindInOrder) {
    createDatabase(kApplicationFixture);
    ObservationSearchParams params = paramsFor("invoice");
    params.appFilter = "Terminal";
    params.toTs = 1775037660.0;
    EXPECT_EQ(idsOf(search(params)), (Ids{"O-CODE"}));
}

constexpr const char* kBoundsFixture = R"SQL(
INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at) VALUES
  ('O-0959', 'visual', 1775037599.0, 'invoice one', '[]', '2026-04-01T09:59:59Z'),
  ('O-1000', 'visual', 1775037600.0, 'invoice two', '[]', '2026-04-01T10:00:00Z'),
  ('O-1030', 'visual', 1775039400.0, 'invoice three', '[]', '2026-04-01T10:30:00Z'),
  ('O-1100', 'visual', 1775041200.0, 'invoice four', '[]', '2026-04-01T11:00:00Z'),
  ('O-1101', 'visual', 1775041201.0, 'invoice five', '[]', '2026-04-01T11:00:01Z');
)SQL";

TEST_P(SQLiteObservationSearchDatabaseTest, BothBoundsAreInclusive) {
    createDatabase(kBoundsFixture);
    ObservationSearchParams params = paramsFor("invoice");
    params.fromTs = 1775037600.0;
    params.toTs = 1775041200.0;
    params.latestOnly = true;
    EXPECT_EQ(idsOf(search(params)), (Ids{"O-1100", "O-1030", "O-1000"}));
}

TEST_P(SQLiteObservationSearchDatabaseTest, LowerBoundAlone) {
    createDatabase(kBoundsFixture);
    ObservationSearchParams params = paramsFor("invoice");
    params.fromTs = 1775039400.0;
    params.latestOnly = true;
    EXPECT_EQ(idsOf(search(params)), (Ids{"O-1101", "O-1100", "O-1030"}));
}

TEST_P(SQLiteObservationSearchDatabaseTest, QuotedPhraseMatchesOnlyThePhrase) {
    createDatabase(R"SQL(
INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at) VALUES
  ('O-PHRASE', 'visual', 1775037600.0, 'Sending the quarterly invoice', '[]', '2026-04-01T10:00:00Z'),
  ('O-APART', 'visual', 1775037660.0, 'The invoice for the quarterly report', '[]', '2026-04-01T10:01:00Z');
)SQL");
    EXPECT_EQ(idsOf(search(paramsFor("\"quarterly invoice\""))), (Ids{"O-PHRASE"}));
}

// Descriptions with words that are FTS5 syntax when typed bare.
constexpr const char* kOrdinaryWordsFixture = R"SQL(
INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at) VALUES
  ('O-NODE', 'visual', 1775037600.0, 'Upgrading node.js in the build image', '[]', '2026-04-01T10:00:05Z'),
  ('O-FLAG', 'visual', 1775037660.0, 'Removing the feature-flag for checkout', '[]', '2026-04-01T10:01:05Z'),
  ('O-CPP', 'visual', 1775037720.0, 'Reading C++ templates', '[]', '2026-04-01T10:02:05Z'),
  ('O-ITS', 'visual', 1775037780.0, 'Checking it''s not cached', '[]', '2026-04-01T10:03:05Z'),
  ('O-TYPE', 'visual', 1775037840.0, 'Debugging a TypeError: x is undefined', '[]', '2026-04-01T10:04:05Z'),
  ('O-HOST', 'visual', 1775037900.0, 'Opening localhost:3000 in Safari', '[]', '2026-04-01T10:05:05Z'),
  ('O-HELLO', 'visual', 1775037960.0, 'Printing hello world twice', '[]', '2026-04-01T10:06:05Z');
)SQL";

TEST_P(SQLiteObservationSearchDatabaseTest, OrdinaryWordsThatAreFTS5SyntaxAreSearchedLiterally) {
    createDatabase(kOrdinaryWordsFixture);
    EXPECT_EQ(idsOf(search(paramsFor("node.js"))), (Ids{"O-NODE"}));
    EXPECT_EQ(idsOf(search(paramsFor("feature-flag"))), (Ids{"O-FLAG"}));
    EXPECT_EQ(idsOf(search(paramsFor("C++"))), (Ids{"O-CPP"}));
    EXPECT_EQ(idsOf(search(paramsFor("it's"))), (Ids{"O-ITS"}));
    EXPECT_EQ(idsOf(search(paramsFor("TypeError: x"))), (Ids{"O-TYPE"}));
    EXPECT_EQ(idsOf(search(paramsFor("localhost:3000"))), (Ids{"O-HOST"}));
}

TEST_P(SQLiteObservationSearchDatabaseTest, AnUnbalancedQuoteIsSearchedLiterally) {
    createDatabase(kOrdinaryWordsFixture);
    ObservationSearchParams params = paramsFor("checkout \"hello world");
    params.latestOnly = true;
    EXPECT_EQ(idsOf(search(params)), (Ids{"O-HELLO", "O-FLAG"}));
}

TEST_P(SQLiteObservationSearchDatabaseTest, WithNothingLiteralLeftTheFTS5ErrorIsReported) {
    createDatabase(kRankingFixture);
    for (const char* keyword : {"\"", "\" \t", "\"\"\""}) {
        try {
            search(paramsFor(keyword));
            FAIL() << "an unterminated phrase without words must fail: " << keyword;
        } catch (const DatabaseError& error) {
            EXPECT_EQ(error.errorCase(), DatabaseError::Case::queryFailed);
            EXPECT_EQ(error.message(), "unterminated string");
        }
    }
}

TEST_P(SQLiteObservationSearchDatabaseTest, KeywordsThatWorkKeepTheirFTS5Meaning) {
    // Taken literally, "inv*" would look for the word "inv", and the operator
    // query for any of its three words.
    createDatabase(kRankingFixture);
    EXPECT_EQ(idsOf(search(paramsFor("inv*"))), (Ids{"O-STRONG", "O-TIE-NEW", "O-TIE-OLD"}));
    EXPECT_EQ(idsOf(search(paramsFor("invoice NOT draft"))), (Ids{"O-STRONG"}));
}

// Rows whose ranking tells repeated words apart: "alpha" is rarer than
// "beta", so it weighs more once, and less than "beta" counted twice.
constexpr const char* kRepeatedWordsFixture = R"SQL(
INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at) VALUES
  ('O-ALPHA', 'visual', 1775037600.0, 'alpha filler text', '[]', '2026-04-01T10:00:05Z'),
  ('O-BETA-OLD', 'visual', 1775037660.0, 'beta filler text', '[]', '2026-04-01T10:01:05Z'),
  ('O-BETA-NEW', 'visual', 1775037720.0, 'beta filler text', '[]', '2026-04-01T10:02:05Z'),
  ('O-GAMMA-1', 'visual', 1775037780.0, 'gamma filler text', '[]', '2026-04-01T10:03:05Z'),
  ('O-GAMMA-2', 'visual', 1775037840.0, 'gamma filler text', '[]', '2026-04-01T10:04:05Z'),
  ('O-GAMMA-3', 'visual', 1775037900.0, 'gamma filler text', '[]', '2026-04-01T10:05:05Z'),
  ('O-GAMMA-4', 'visual', 1775037960.0, 'gamma filler text', '[]', '2026-04-01T10:06:05Z'),
  ('O-GAMMA-5', 'visual', 1775038020.0, 'gamma filler text', '[]', '2026-04-01T10:07:05Z'),
  ('O-GAMMA-6', 'visual', 1775038080.0, 'gamma filler text', '[]', '2026-04-01T10:08:05Z'),
  ('O-GAMMA-7', 'visual', 1775038140.0, 'gamma filler text', '[]', '2026-04-01T10:09:05Z');
)SQL";

TEST_P(SQLiteObservationSearchDatabaseTest, RankedSearchesWeighEveryCopyOfARepeatedWord) {
    createDatabase(kRepeatedWordsFixture);
    EXPECT_EQ(idsOf(search(paramsFor("alpha beta"))), (Ids{"O-ALPHA", "O-BETA-NEW", "O-BETA-OLD"}));
    EXPECT_EQ(idsOf(search(paramsFor("alpha beta beta"))), (Ids{"O-BETA-NEW", "O-BETA-OLD", "O-ALPHA"}));
}

// The rows the statement gives for `params` with `matchText` bound as it
// is, without any rewriting of repeats: the reference for the adapter.
Ids referenceIds(const std::string& databasePath, const ObservationSearchParams& params,
                 const std::string& matchText) {
    SQLiteReadConnection connection(databasePath);
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(connection.handle(), SQLiteObservationSearch::statementFor(params).c_str(),
                           -1, &statement, nullptr) != SQLITE_OK) {
        ADD_FAILURE() << sqlite3_errmsg(connection.handle());
        return {};
    }
    int position = 1;
    sqlite3_bind_text(statement, position++, matchText.c_str(), -1, SQLITE_TRANSIENT);
    if (params.fromTs) sqlite3_bind_double(statement, position++, *params.fromTs);
    sqlite3_bind_int(statement, position, static_cast<int>(params.limit));
    Ids ids;
    while (sqlite3_step(statement) == SQLITE_ROW) {
        ids.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(statement, 0)));
    }
    sqlite3_finalize(statement);
    return ids;
}

TEST_P(SQLiteObservationSearchDatabaseTest, NewestFirstRepeatedWordsMatchTheSameRows) {
    // Equal times in pairs, so that ties are part of what must not change.
    createDatabase(R"SQL(
WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < 299)
INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at)
SELECT printf('O-%03d', i), 'visual', 1775037600.0 + (i / 2) * 60,
       (CASE i % 3 WHEN 0 THEN 'alpha ' WHEN 1 THEN 'beta ' ELSE '' END) ||
       (CASE i % 5 WHEN 0 THEN 'gamma ' WHEN 1 THEN 'delta.x ' ELSE 'omega ' END) || 'text',
       '[]', '2026-04-01T10:00:00Z'
FROM n;
)SQL");
    const std::vector<std::string> keywords = {
        "alpha alpha beta", "gamma beta gamma alpha gamma", "\"alpha text\" beta \"alpha text\"",
        "delta.x gamma delta.x", "omega omega omega", "zeta alpha zeta"};
    for (const std::string& keyword : keywords) {
        for (const std::int64_t limit : {1, 7, 200}) {
            ObservationSearchParams params = paramsFor(keyword);
            params.latestOnly = true;
            params.fromTs = 1775037600.0;
            params.limit = limit;
            const std::string asTyped = SQLiteObservationSearch::transformFTS5Keyword(keyword);
            Ids expected = referenceIds(path(), params, asTyped);
            if (keyword.find('.') != std::string::npos) {
                // Not valid FTS5: the literal form, with every repeat, is the reference.
                expected = referenceIds(path(), params, FTS5Keyword::literal(keyword));
            }
            EXPECT_EQ(idsOf(search(params)), expected) << keyword << " limit " << limit;
            EXPECT_FALSE(expected.empty()) << keyword;
        }
    }
}

// Rows where any word and every word give different answers: the newest
// row has one of the words, older ones have them all.
constexpr const char* kAllWordsFixture = R"SQL(
INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at) VALUES
  ('O-SWIFT-OLD', 'visual', 1775037600.0, 'Reading about Swift generics and the error of the compiler', '[]',
   '2026-04-01T10:00:05Z'),
  ('O-SWIFT', 'visual', 1775037660.0, 'Swift compiler error about generics in the parser', '[]',
   '2026-04-01T10:01:05Z'),
  ('O-OPS', 'visual', 1775037720.0, 'Why the query finds nothing: NOT binds tighter than OR', '[]',
   '2026-04-01T10:02:05Z'),
  ('O-RESOLVER', 'visual', 1775037780.0, 'Fixing a type error in the GraphQL resolver', '[]',
   '2026-04-01T10:03:05Z');
)SQL";

TEST_P(SQLiteObservationSearchDatabaseTest, AllWordsFindsTheRowsThatHaveEveryWord) {
    createDatabase(kAllWordsFixture);
    ObservationSearchParams params = paramsFor("Swift compiler error generics");
    EXPECT_EQ(idsOf(search(params)).size(), 3u);  // any of them: the resolver's "error" too
    params.allWords = true;
    const Ids both = idsOf(search(params));
    EXPECT_EQ(std::set<std::string>(both.begin(), both.end()), (std::set<std::string>{"O-SWIFT", "O-SWIFT-OLD"}));
}

TEST_P(SQLiteObservationSearchDatabaseTest, TheLatestOfAllWordsIsTheNewestRowThatHasThemAll) {
    createDatabase(kAllWordsFixture);
    ObservationSearchParams params = paramsFor("Swift compiler error generics");
    params.latestOnly = true;
    params.limit = 1;
    EXPECT_EQ(idsOf(search(params)), (Ids{"O-RESOLVER"}));
    params.allWords = true;
    EXPECT_EQ(idsOf(search(params)), (Ids{"O-SWIFT"}));
}

TEST_P(SQLiteObservationSearchDatabaseTest, AllWordsKeepsPhrasesWhole) {
    createDatabase(kAllWordsFixture);
    ObservationSearchParams params = paramsFor("\"compiler error\" swift");
    params.allWords = true;
    EXPECT_EQ(idsOf(search(params)), (Ids{"O-SWIFT"}));
}

TEST_P(SQLiteObservationSearchDatabaseTest, AllWordsTakesOperatorsAndSyntaxAsWords) {
    createDatabase(kAllWordsFixture);
    ObservationSearchParams params = paramsFor("query NOT OR");
    params.allWords = true;
    EXPECT_EQ(idsOf(search(params)), (Ids{"O-OPS"}));
    // As an operator, NOT would find the resolver's error; as a word, no row
    // has all three.
    params.keyword = "error NOT swift";
    const Ids withNot = idsOf(search(params));
    EXPECT_TRUE(withNot.empty()) << withNot.size();
    // Neither a parenthesis nor a colon is FTS5 syntax here.
    params.keyword = "(graphql resolver:";
    EXPECT_EQ(idsOf(search(params)), (Ids{"O-RESOLVER"}));
}

TEST_P(SQLiteObservationSearchDatabaseTest, AllWordsLeavesOutATermWithoutAWord) {
    // "*" holds nothing the tokenizer keeps; required, it would match no row.
    createDatabase(kAllWordsFixture);
    ObservationSearchParams params = paramsFor("swift * parser");
    params.allWords = true;
    EXPECT_EQ(idsOf(search(params)), (Ids{"O-SWIFT"}));
    params.keyword = "*";
    EXPECT_TRUE(search(params).empty());
}

TEST_P(SQLiteObservationSearchDatabaseTest, AllWordsOfABlankKeywordFailsAsWithoutIt) {
    createDatabase(kAllWordsFixture);
    ObservationSearchParams params = paramsFor("  ");
    std::string without;
    try {
        search(params);
    } catch (const DatabaseError& error) {
        without = error.message();
    }
    params.allWords = true;
    try {
        search(params);
        FAIL() << "a keyword without words must fail as it does without all words";
    } catch (const DatabaseError& error) {
        EXPECT_EQ(error.errorCase(), DatabaseError::Case::queryFailed);
        EXPECT_EQ(error.message(), without);
        EXPECT_FALSE(without.empty());
    }
}

TEST_P(SQLiteObservationSearchDatabaseTest, ANullIdReadsAsEmptyText) {
    createDatabase(R"SQL(
INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at) VALUES
  (NULL, 'visual', 1775037600.0, 'Editing the invoice template', '[]', '2026-04-01T10:00:05Z');
)SQL");
    const auto results = search(paramsFor("invoice"));
    ASSERT_EQ(results.size(), 1u);
    EXPECT_EQ(results[0].observationId, "");
}

TEST_P(SQLiteObservationSearchDatabaseTest, TextEndsAtItsFirstNul) {
    createDatabase(R"SQL(
INSERT INTO observations (id, type, timestamp, image_path, vlm_description, apps, created_at) VALUES
  ('O1' || char(0) || 'hidden', 'visual', 1775037600.0, '/a.png' || char(0) || '/b.png',
   'Editing the invoice' || char(0) || ' and more', '["Pages"]' || char(0) || 'x',
   '2026-04-01T10:00:05Z');
)SQL");
    const auto results = search(paramsFor("invoice"));
    ASSERT_EQ(results.size(), 1u);
    EXPECT_EQ(results[0].observationId, "O1");
    EXPECT_EQ(results[0].vlmDescription, "Editing the invoice");
    EXPECT_EQ(results[0].imagePath, "/a.png");
    EXPECT_EQ(results[0].apps, std::vector<std::string>{"Pages"});
}

TEST_P(SQLiteObservationSearchDatabaseTest, MissingTableIsAFailedQuery) {
    createDatabase("DROP TABLE observations_fts;");
    try {
        search(paramsFor("invoice"));
        FAIL() << "a database without the index must fail";
    } catch (const DatabaseError& error) {
        EXPECT_EQ(error.errorCase(), DatabaseError::Case::queryFailed);
        EXPECT_EQ(error.message(), "no such table: observations_fts");
    }
}

INSTANTIATE_TEST_SUITE_P(BothStatements, SQLiteObservationSearchDatabaseTest,
                         ::testing::Values(StatementChoice::literal, StatementChoice::indexed),
                         [](const auto& info) { return VarnholtTestSupport::nameOf(info.param); });

}  // namespace
}  // namespace VarnholtQueryLib
