#include "search/SQLiteObservationSearch.h"

#include <sqlite3.h>

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "DatabaseError.h"
#include "RecorderSchema.h"
#include "SQLiteReadConnection.h"
#include "StatementLog.h"
#include "TemporaryDirectory.h"

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
    "        COALESCE(f.timestamp, o.timestamp) AS frame_timestamp,\n"
    "        (SELECT json_group_array(json_object('kind', entity_kind, 'value', entity_value))\n"
    "         FROM observation_entities WHERE observation_id = o.id) AS entities_json\n"
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

TEST(SQLiteObservationSearchTest, HeadIsFourHundredNinetyCharacters) {
    EXPECT_EQ(kHead.size(), 490u);
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
                  "  AND EXISTS (SELECT 1 FROM json_each(o.apps) WHERE lower(value) = lower(?))\n"
                  "  AND COALESCE(f.timestamp, o.timestamp) >= ?\n"
                  "  AND COALESCE(f.timestamp, o.timestamp) <= ?\n"
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
                  "  AND EXISTS (SELECT 1 FROM json_each(o.apps) WHERE lower(value) = lower(?))\n"
                  "  AND COALESCE(f.timestamp, o.timestamp) <= ?\n"
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
                  "  AND COALESCE(f.timestamp, o.timestamp) >= ?\n"
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

TEST_P(SQLiteObservationSearchDatabaseTest, FTS5SyntaxErrorIsAFailedQuery) {
    createDatabase(kRankingFixture);
    try {
        search(paramsFor("invoice \"unbalanced"));
        FAIL() << "an unterminated phrase among several terms must fail";
    } catch (const DatabaseError& error) {
        EXPECT_EQ(error.errorCase(), DatabaseError::Case::queryFailed);
        EXPECT_EQ(error.message(), "unterminated string");
    }
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
