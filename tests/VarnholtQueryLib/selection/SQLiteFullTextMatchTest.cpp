#include "selection/SQLiteFullTextMatch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "DatabaseError.h"
#include "EffectiveTimeWindow.h"
#include "FixtureDatabase.h"
#include "QueryPlanDatabases.h"
#include "SQLiteReadConnection.h"
#include "StatementLog.h"
#include "TemporaryDirectory.h"
#include "TestInstants.h"

namespace VarnholtQueryLib {
namespace {

using Rowids = std::vector<std::int64_t>;
using VarnholtSQLiteSupport::DatabaseError;
using VarnholtSQLiteSupport::SQLiteReadConnection;
using VarnholtSQLiteSupport::windowRowidRangeStatement;
using VarnholtTestSupport::StatementChoice;
using VarnholtTestSupport::StatementLog;

// 2026-04-01T10:00:00Z.
using VarnholtTestSupport::kT;

// Rowids 1 to 6 in the window [kT, kT + 3600] (1 dated by its frame, the
// others by their own time); 7 and 8 outside it, 8 through its frame.
constexpr const char* kRows = R"SQL(
    INSERT INTO frames (id, display_id, captured_at, timestamp, image_path, analyzed) VALUES
        ('F1', 'main', 'x', 1775037600.0, '/f1.png', 1),
        ('F8', 'main', 'x', 1775000000.0, '/f8.png', 1);
    INSERT INTO observations (rowid, id, recording_id, frame_id, type, timestamp, vlm_description, apps, created_at) VALUES
        (1, 'A', NULL, 'F1', 'visual', 1775099999.0, 'Deploying the invoice exporter', '[]', 'x'),
        (2, 'B', NULL, NULL, 'visual', 1775037700.0, 'Fixing the exporter of invoices', '[]', 'x'),
        (3, 'C', NULL, NULL, 'visual', 1775037800.0, 'Reading about NEAR OR operators in a CAF' || char(201), '[]', 'x'),
        (4, 'D', NULL, NULL, 'visual', 1775037900.0, 'Exporter invoice swapped - no phrase', '[]', 'x'),
        (5, 'E', NULL, NULL, 'visual', 1775038000.0, 'Cafe deploy of node.js and C++', '[]', 'x'),
        (6, 'F', NULL, NULL, 'visual', 1775038100.0, NULL, '[]', 'x'),
        (7, 'G', NULL, NULL, 'visual', 1775090000.0, 'Deploying the invoice exporter later', '[]', 'x'),
        (8, 'H', NULL, 'F8', 'visual', 1775037650.0, 'Deploying the invoice exporter earlier', '[]', 'x');
)SQL";

class SQLiteFullTextMatchTest : public ::testing::TestWithParam<StatementChoice> {
protected:
    SQLiteFullTextMatchTest() { VarnholtTestSupport::createFixtureDatabase(path(), kRows); }

    std::string path() const { return directory_.file("varnholt.db"); }

    // The rowids of the window that hold `words`, as a text rule's terms.
    Rowids matching(const std::string& words) {
        SQLiteReadConnection connection(path());
        SQLiteFullTextMatch index(connection, VarnholtTestSupport::indexesFor(GetParam(), connection.handle()));
        StatementLog log(connection.handle());
        std::vector<MatchTerm> terms;
        for (MatchTerm& term : matchTermsOf(words)) {
            if (index.holdsWord(term.text)) terms.push_back(std::move(term));
        }
        const Rowids found = index.rowidsMatching(terms, kT, kT + 3600);
        EXPECT_EQ(log.ran(SQLiteFullTextMatch::kMatchStatement), GetParam() == StatementChoice::literal);
        // Outside the window a row may or may not be found; inside, exactly.
        Rowids inWindow;
        for (const std::int64_t rowid : found) {
            if (rowid <= 6) inWindow.push_back(rowid);
        }
        return inWindow;
    }

private:
    VarnholtTestSupport::TemporaryDirectory directory_;
};

TEST(SQLiteFullTextMatchPlanTest, TheConfinedLookUpHandsTheRowidRangeToTheIndex) {
    // Both bounds reach FTS5 (">" and "<" in its plan), which then seeks in
    // each word's rows instead of reading them from the start of history.
    VarnholtTestSupport::QueryPlanDatabases databases;
    EXPECT_EQ(databases.planOnRecorderSchema(SQLiteFullTextMatch::kConfinedMatchStatement),
              (std::vector<std::string>{"SCAN observations_fts VIRTUAL TABLE INDEX 0:M1><"}));
}

TEST(SQLiteFullTextMatchTextTest, EveryTermIsQuotedAndTheyAreAnded) {
    EXPECT_EQ(SQLiteFullTextMatch::matchText({{"invoice", false}, {"the exporter", true}, {"a\"b", false}}),
              "\"invoice\" \"the exporter\" \"a\"\"b\"");
}

TEST_P(SQLiteFullTextMatchTest, EveryWordMustBeThereInAnyOrder) {
    EXPECT_EQ(matching("invoice exporter"), (Rowids{1, 2, 4}));
    EXPECT_EQ(matching("EXPORTER"), (Rowids{1, 2, 4}));
}

TEST_P(SQLiteFullTextMatchTest, APhraseMustBeThereAsAPhrase) {
    EXPECT_EQ(matching("\"invoice exporter\""), (Rowids{1}));
    EXPECT_EQ(matching("\"exporter invoice\" swapped"), (Rowids{4}));
}

TEST_P(SQLiteFullTextMatchTest, CaseDiacriticsAndEndingsFoldAsTheIndexFoldsThem) {
    EXPECT_EQ(matching("caf\xC3\xA9"), (Rowids{3, 5}));
    EXPECT_EQ(matching("Deploy"), (Rowids{1, 5}));
    EXPECT_EQ(matching("invoices"), (Rowids{1, 2, 4}));
}

TEST_P(SQLiteFullTextMatchTest, QueryOperatorsArePlainWords) {
    EXPECT_EQ(matching("NEAR"), (Rowids{3}));
    EXPECT_EQ(matching("near or"), (Rowids{3}));
    EXPECT_EQ(matching("deploying*"), (Rowids{1, 5}));
    EXPECT_EQ(matching("* deploy \"\""), (Rowids{1, 5}));
    EXPECT_EQ(matching("node.js C++"), (Rowids{5}));
    // The dash in row 4 is a word to the index, but no word to look for.
    EXPECT_EQ(matching("- swapped"), (Rowids{4}));
    EXPECT_EQ(matching("\"swapped - no\""), (Rowids{4}));
}

TEST_P(SQLiteFullTextMatchTest, AWordNoRowHoldsMatchesNothing) {
    EXPECT_EQ(matching("invoice kubernetes"), Rowids{});
}

TEST_P(SQLiteFullTextMatchTest, OnlyTheTokenizerSaysWhatHoldsAWord) {
    SQLiteReadConnection connection(path());
    SQLiteFullTextMatch index(connection, VarnholtTestSupport::indexesFor(GetParam(), connection.handle()));
    EXPECT_TRUE(index.holdsWord("deploying*"));
    EXPECT_TRUE(index.holdsWord("C++"));
    EXPECT_TRUE(index.holdsWord("node.js"));
    EXPECT_TRUE(index.holdsWord("caf\xC3\xA9"));
    EXPECT_FALSE(index.holdsWord("-"));
    EXPECT_FALSE(index.holdsWord("-- ... _"));
    EXPECT_FALSE(index.holdsWord("*"));
    EXPECT_FALSE(index.holdsWord("?!"));
}

TEST_P(SQLiteFullTextMatchTest, AnEmptyWindowMatchesNothingThere) {
    SQLiteReadConnection connection(path());
    SQLiteFullTextMatch index(connection, VarnholtTestSupport::indexesFor(GetParam(), connection.handle()));
    const Rowids found = index.rowidsMatching({{"invoice", false}}, kT + 86400, kT + 90000);
    // The literal statement answers for all of history; the window has none.
    if (GetParam() == StatementChoice::indexed) {
        EXPECT_EQ(found, Rowids{});
    }
}

TEST_P(SQLiteFullTextMatchTest, SeveralTextsOverOneWindowFindItsRowsOnceAndAnotherWindowAgain) {
    SQLiteReadConnection connection(path());
    SQLiteFullTextMatch index(connection, VarnholtTestSupport::indexesFor(GetParam(), connection.handle()));
    StatementLog log(connection.handle());
    const std::string windowRange = windowRowidRangeStatement({true, true});
    const auto rangesFound = [&] {
        return std::count(log.statements().begin(), log.statements().end(), windowRange);
    };
    const auto inFirstWindow = [](Rowids rowids) {
        std::erase_if(rowids, [](std::int64_t rowid) { return rowid > 6; });
        return rowids;
    };

    EXPECT_EQ(inFirstWindow(index.rowidsMatching({{"invoice", false}}, kT, kT + 3600)), (Rowids{1, 2, 4}));
    EXPECT_EQ(inFirstWindow(index.rowidsMatching({{"deploy", false}}, kT, kT + 3600)), (Rowids{1, 5}));
    EXPECT_EQ(inFirstWindow(index.rowidsMatching({{"exporter", false}}, kT, kT + 3600)), (Rowids{1, 2, 4}));
    const bool indexed = GetParam() == StatementChoice::indexed;
    EXPECT_EQ(rangesFound(), indexed ? 1 : 0);

    // Row 7 alone lies in this window: the first window's rowids must not
    // confine the look-up.
    const Rowids later = index.rowidsMatching({{"invoice", false}}, kT + 50000, kT + 60000);
    EXPECT_TRUE(std::find(later.begin(), later.end(), 7) != later.end());
    if (indexed) {
        EXPECT_EQ(later, Rowids{7});
    }
    EXPECT_EQ(rangesFound(), indexed ? 2 : 0);
}

TEST_P(SQLiteFullTextMatchTest, WithoutTheFullTextTableItFailsAsASearchDoes) {
    VarnholtTestSupport::writeToDatabase(path(), "DROP TABLE observations_fts;");
    SQLiteReadConnection connection(path());
    SQLiteFullTextMatch index(connection, VarnholtTestSupport::indexesFor(GetParam(), connection.handle()));
    EXPECT_TRUE(index.holdsWord("*"));
    try {
        index.rowidsMatching({{"invoice", false}}, kT, kT + 3600);
        FAIL() << "no full-text table";
    } catch (const DatabaseError& failure) {
        EXPECT_EQ(failure.errorCase(), DatabaseError::Case::queryFailed);
        EXPECT_EQ(failure.message(), "no such table: observations_fts");
    }
}

// The window's rowids or the whole index: both must hold every row of the
// window; which one runs depends on the window's frames and on what earlier
// look-ups of the answer keep.
class SQLiteFullTextMatchWholeIndexTest : public ::testing::Test {
protected:
    SQLiteFullTextMatchWholeIndexTest() { VarnholtTestSupport::createFixtureDatabase(path(), kRows); }

    std::string path() const { return directory_.file("varnholt.db"); }

    struct LookUp {
        Rowids rowids;
        bool wholeIndex = false;
        bool windowRange = false;
    };

    // Each text over the window [kT, kT + 3600] (one frame), in turn, with
    // one adapter: what each found and how.
    std::vector<LookUp> lookUps(const std::vector<std::string>& texts,
                                SQLiteFullTextMatch::WholeIndexLookUps wholeIndex) {
        SQLiteReadConnection connection(path());
        SQLiteFullTextMatch index(connection, VarnholtTestSupport::indexesFor(StatementChoice::indexed,
                                                                             connection.handle()),
                                  wholeIndex);
        std::vector<LookUp> found;
        for (const std::string& text : texts) {
            StatementLog log(connection.handle());
            LookUp lookUp;
            lookUp.rowids = index.rowidsMatching({{text, false}}, kT, kT + 3600);
            lookUp.wholeIndex = log.ran(SQLiteFullTextMatch::kWholeIndexMatchStatement);
            lookUp.windowRange = log.ran(windowRowidRangeStatement({true, true}));
            EXPECT_FALSE(log.ran(SQLiteFullTextMatch::kMatchStatement)) << text;
            found.push_back(lookUp);
        }
        return found;
    }

private:
    VarnholtTestSupport::TemporaryDirectory directory_;
};

TEST_F(SQLiteFullTextMatchWholeIndexTest, AWindowWithEnoughFramesAsksTheWholeIndex) {
    // The window holds one frame. The whole index has rows 7 and 8 as well,
    // which lie outside the window.
    const auto found = lookUps({"invoice"}, {.fromWindowFrames = 1, .heldRowidsLimit = 100});
    EXPECT_EQ(found[0].rowids, (Rowids{1, 2, 4, 7, 8}));
    EXPECT_TRUE(found[0].wholeIndex);
    EXPECT_FALSE(found[0].windowRange);
}

TEST_F(SQLiteFullTextMatchWholeIndexTest, AShorterWindowIsConfinedToItsRowids) {
    // The window's rowids run from 1 to 8 (row 8 is in it by its own time,
    // and only its frame dates it elsewhere), so 7 and 8 are found here too.
    const auto found = lookUps({"invoice"}, {.fromWindowFrames = 2, .heldRowidsLimit = 100});
    EXPECT_EQ(found[0].rowids, (Rowids{1, 2, 4, 7, 8}));
    EXPECT_FALSE(found[0].wholeIndex);
    EXPECT_TRUE(found[0].windowRange);
}

TEST_F(SQLiteFullTextMatchWholeIndexTest, ATextWithMoreRowsThanTheLimitIsConfined) {
    const auto fits = lookUps({"invoice"}, {.fromWindowFrames = 0, .heldRowidsLimit = 5});
    EXPECT_TRUE(fits[0].wholeIndex);
    EXPECT_FALSE(fits[0].windowRange);
    const auto found = lookUps({"invoice"}, {.fromWindowFrames = 0, .heldRowidsLimit = 4});
    EXPECT_EQ(found[0].rowids, (Rowids{1, 2, 4, 7, 8}));
    EXPECT_TRUE(found[0].windowRange);
}

TEST_F(SQLiteFullTextMatchWholeIndexTest, TheLimitHoldsForAllOfAnAnswersLookUps) {
    // "invoice" keeps 5 rowids of 7; "deploy" (rows 1, 5, 7 and 8) no longer
    // fits, and once the window's rowids are known, "cafe" (rows 3 and 5)
    // is confined to them although it would fit.
    const auto found = lookUps({"invoice", "deploy", "cafe"}, {.fromWindowFrames = 0, .heldRowidsLimit = 7});
    EXPECT_TRUE(found[0].wholeIndex);
    // Asked with room for 2 more, the whole index gave 3: put aside.
    EXPECT_EQ(found[1].rowids, (Rowids{1, 5, 7, 8}));
    EXPECT_TRUE(found[1].windowRange);
    EXPECT_EQ(found[2].rowids, (Rowids{3, 5}));
    EXPECT_FALSE(found[2].wholeIndex);
    EXPECT_FALSE(found[2].windowRange);
}

TEST(SQLiteFullTextMatchPlanTest, TheWholeIndexLookUpReadsTheIndexOnly) {
    VarnholtTestSupport::QueryPlanDatabases databases;
    EXPECT_EQ(databases.planOnRecorderSchema(SQLiteFullTextMatch::kWholeIndexMatchStatement),
              (std::vector<std::string>{"SCAN observations_fts VIRTUAL TABLE INDEX 0:M1"}));
}

TEST_F(SQLiteFullTextMatchWholeIndexTest, AWindowsFramesAreCountedOnce) {
    SQLiteReadConnection connection(path());
    SQLiteFullTextMatch index(connection,
                              VarnholtTestSupport::indexesFor(StatementChoice::indexed, connection.handle()),
                              {.fromWindowFrames = 1, .heldRowidsLimit = 100});
    StatementLog log(connection.handle());
    index.rowidsMatching({{"invoice", false}}, kT, kT + 3600);
    index.rowidsMatching({{"deploy", false}}, kT, kT + 3600);
    index.rowidsMatching({{"deploy", false}}, kT + 50000, kT + 60000);
    EXPECT_EQ(std::count(log.statements().begin(), log.statements().end(),
                         std::string(SQLiteFullTextMatch::kLongWindowStatement)),
              2);
}

TEST(SQLiteFullTextMatchPlanTest, AWindowsFramesAreCountedAlongTheirTimeIndex) {
    VarnholtTestSupport::QueryPlanDatabases databases;
    EXPECT_EQ(databases.planOnRecorderSchema(SQLiteFullTextMatch::kLongWindowStatement),
              (std::vector<std::string>{"CO-ROUTINE (subquery-1)",
                                        "SEARCH frames USING COVERING INDEX idx_frames_timestamp (timestamp>? AND timestamp<?)",
                                        "SCAN (subquery-1)"}));
}

INSTANTIATE_TEST_SUITE_P(BothWays, SQLiteFullTextMatchTest,
                         ::testing::Values(StatementChoice::literal, StatementChoice::indexed),
                         [](const auto& info) { return VarnholtTestSupport::nameOf(info.param); });

}  // namespace
}  // namespace VarnholtQueryLib
