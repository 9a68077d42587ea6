#include "selection/FullTextTokenizer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "FixtureDatabase.h"
#include "SQLiteReadConnection.h"
#include "TemporaryDirectory.h"

namespace VarnholtQueryLib {
namespace {

using Words = std::vector<std::string>;
using VarnholtSQLiteSupport::SQLiteReadConnection;

TEST(FullTextTokenizerDeclarationTest, ReadsTheRecordersDeclaration) {
    EXPECT_EQ(tokenizerDeclaration("CREATE VIRTUAL TABLE observations_fts USING fts5(\n"
                                   "    vlm_description, content='observations', content_rowid='rowid',\n"
                                   "    tokenize=\"porter unicode61 tokenchars '_-.'\")"),
              (Words{"porter", "unicode61", "tokenchars", "_-."}));
}

TEST(FullTextTokenizerDeclarationTest, ReadsEveryWayOfQuotingTheOption) {
    EXPECT_EQ(tokenizerDeclaration("CREATE VIRTUAL TABLE t USING fts5(x, tokenize = 'porter ascii')"),
              (Words{"porter", "ascii"}));
    EXPECT_EQ(tokenizerDeclaration("CREATE VIRTUAL TABLE t USING fts5(x, TOKENIZE=porter)"), (Words{"porter"}));
    EXPECT_EQ(tokenizerDeclaration("CREATE VIRTUAL TABLE t USING fts5(x, \"tokenize\"=[unicode61 "
                                   "remove_diacritics 2])"),
              (Words{"unicode61", "remove_diacritics", "2"}));
    // Quotes doubled inside quotes, twice over.
    EXPECT_EQ(tokenizerDeclaration("CREATE VIRTUAL TABLE t USING fts5(x, tokenize='unicode61 separators "
                                   "''''''''')"),
              (Words{"unicode61", "separators", "'"}));
    // Commas and parentheses inside quotes are no argument's end.
    EXPECT_EQ(tokenizerDeclaration("CREATE VIRTUAL TABLE \"a(b\" USING fts5(x, content='c,d)', "
                                   "tokenize=\"unicode61 tokenchars ',)'\")"),
              (Words{"unicode61", "tokenchars", ",)"}));
}

TEST(FullTextTokenizerDeclarationTest, WithoutTheOptionItIsUnicode61) {
    EXPECT_EQ(tokenizerDeclaration("CREATE VIRTUAL TABLE t USING fts5(x, content='observations')"),
              (Words{"unicode61"}));
    EXPECT_EQ(tokenizerDeclaration("CREATE VIRTUAL TABLE t USING fts5"), (Words{"unicode61"}));
}

TEST(FullTextTokenizerDeclarationTest, AnUnreadableDeclarationIsNone) {
    EXPECT_EQ(tokenizerDeclaration("CREATE VIRTUAL TABLE t USING fts5(x, tokenize='porter"), std::nullopt);
    EXPECT_EQ(tokenizerDeclaration("CREATE VIRTUAL TABLE t USING fts5(x, tokenize=\"porter \"\"x\"\"\")"),
              std::nullopt);
    EXPECT_EQ(tokenizerDeclaration("CREATE VIRTUAL TABLE t USING fts5(x, tokenize=''"), std::nullopt);
}

class FullTextTokenizerTest : public ::testing::Test {
protected:
    std::string databaseWith(const std::string& sql) {
        const std::string path = directory_.file("varnholt-" + std::to_string(++count_) + ".db");
        VarnholtTestSupport::createFixtureDatabase(path, sql);
        return path;
    }

private:
    VarnholtTestSupport::TemporaryDirectory directory_;
    int count_ = 0;
};

TEST_F(FullTextTokenizerTest, CutsAndFoldsAsTheRecordersIndexDoes) {
    SQLiteReadConnection connection(databaseWith(""));
    const auto tokenizer = FullTextTokenizer::forRecorderIndex(connection.handle());
    ASSERT_NE(tokenizer, nullptr);
    using Purpose = FullTextTokenizer::Purpose;
    // Letter case and diacritics folded, word endings stemmed; "_", "-" and
    // "." join letters into one word; other punctuation separates.
    EXPECT_EQ(tokenizer->words("Deploying the CAF\xC3\x89's node.js build_42, C++!", Purpose::query),
              (Words{"deploi", "the", "cafe", "s", "node.j", "build_42", "c"}));
    EXPECT_EQ(tokenizer->words("* ! ?", Purpose::query), Words{});
    EXPECT_EQ(tokenizer->words("-", Purpose::document), Words{"-"});
}

TEST_F(FullTextTokenizerTest, TakesTheTokenizerTheTableDeclares) {
    SQLiteReadConnection connection(databaseWith(
        "DROP TABLE observations_fts;\n"
        "CREATE VIRTUAL TABLE observations_fts USING fts5(vlm_description, content='observations', "
        "content_rowid='rowid', tokenize='ascii');"));
    const auto tokenizer = FullTextTokenizer::forRecorderIndex(connection.handle());
    ASSERT_NE(tokenizer, nullptr);
    // ascii neither stems nor folds beyond ASCII letter case.
    EXPECT_EQ(tokenizer->words("Deploying CAF\xC3\x89", FullTextTokenizer::Purpose::query),
              (Words{"deploying", "caf\xC3\x89"}));
}

TEST_F(FullTextTokenizerTest, NoTableOrAnUnknownTokenizerGivesNone) {
    SQLiteReadConnection without(databaseWith("DROP TABLE observations_fts;"));
    EXPECT_EQ(FullTextTokenizer::forRecorderIndex(without.handle()), nullptr);
    // A tokenizer registered by another program than ours.
    SQLiteReadConnection unknown(databaseWith(
        "PRAGMA writable_schema = ON;\n"
        "UPDATE sqlite_master SET sql = replace(sql, 'porter unicode61', 'recorder_words') "
        "WHERE name = 'observations_fts';"));
    EXPECT_EQ(FullTextTokenizer::forRecorderIndex(unknown.handle()), nullptr);
}

}  // namespace
}  // namespace VarnholtQueryLib
