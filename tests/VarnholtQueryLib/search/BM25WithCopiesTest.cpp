#include "search/BM25WithCopies.h"

#include <sqlite3.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "search/RepeatedAlternatives.h"

namespace VarnholtQueryLib {
namespace {

// Scores by rowid, with the bits of each double.
using Scores = std::vector<std::pair<std::int64_t, std::uint64_t>>;

class BM25WithCopiesTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(sqlite3_open(":memory:", &handle_), SQLITE_OK);
        exec("CREATE VIRTUAL TABLE docs USING fts5(body, tokenize = \"porter unicode61 tokenchars '_-.'\");");
        // Rows of different lengths and mixes, so that frequencies, lengths
        // and document counts all vary.
        std::mt19937 random(7);
        const std::vector<std::string> words = {"error", "errors",  "deploy", "budget", "working", "on",
                                                "node.js", "invoice", "Größe",  "café",   "kubernetes"};
        for (int row = 0; row < 300; ++row) {
            std::string body;
            const int length = 1 + static_cast<int>(random() % 40);
            for (int i = 0; i < length; ++i) body += (i ? " " : "") + words[random() % words.size()];
            exec("INSERT INTO docs(body) VALUES ('" + body + "');");
        }
        ASSERT_TRUE(registerBM25WithCopies(handle_));
    }

    void TearDown() override { sqlite3_close(handle_); }

    void exec(const std::string& sql) {
        char* error = nullptr;
        ASSERT_EQ(sqlite3_exec(handle_, sql.c_str(), nullptr, nullptr, &error), SQLITE_OK) << error;
    }

    // The scores `sql` gives, bound to `match` and, when given, `copies`;
    // the error message when it fails.
    std::pair<Scores, std::string> scores(const std::string& sql, const std::string& match,
                                          const std::string* copies = nullptr) {
        sqlite3_stmt* statement = nullptr;
        EXPECT_EQ(sqlite3_prepare_v2(handle_, sql.c_str(), -1, &statement, nullptr), SQLITE_OK)
            << sqlite3_errmsg(handle_);
        sqlite3_bind_text(statement, 1, match.c_str(), -1, SQLITE_TRANSIENT);
        if (copies != nullptr) sqlite3_bind_text(statement, 2, copies->c_str(), -1, SQLITE_TRANSIENT);
        Scores rows;
        int rc = SQLITE_ROW;
        while ((rc = sqlite3_step(statement)) == SQLITE_ROW) {
            const double score = sqlite3_column_double(statement, 1);
            std::uint64_t bits = 0;
            std::memcpy(&bits, &score, sizeof bits);
            rows.emplace_back(sqlite3_column_int64(statement, 0), bits);
        }
        std::string error = rc == SQLITE_DONE ? "" : sqlite3_errmsg(handle_);
        sqlite3_finalize(statement);
        return {rows, error};
    }

    Scores bm25Of(const std::string& match) {
        return scores("SELECT rowid, bm25(docs) FROM docs WHERE docs MATCH ?1 ORDER BY rowid", match).first;
    }

    std::pair<Scores, std::string> withCopies(const std::string& match, const std::string& copies) {
        return scores("SELECT rowid, bm25_with_copies(docs, ?2) FROM docs WHERE docs MATCH ?1 ORDER BY rowid", match,
                      &copies);
    }

    sqlite3* handle_ = nullptr;
};

TEST_F(BM25WithCopiesTest, ScoresAreBitForBitThoseOfEveryCopy) {
    for (const std::string match : {
             "error OR error",
             "error OR deploy OR error OR budget OR deploy OR error",
             "Error OR error OR errors OR error",
             "\"working on\" OR budget OR \"working on\" OR \"node.js\" OR budget",
             "Größe OR café OR Größe OR café OR café",
             "kubernetes OR nothing OR nothing OR kubernetes",
             "\"on error\" OR invoice OR \"on error\" OR \"on error\"",
         }) {
        const auto repeats = repeatedAlternatives(match);
        ASSERT_TRUE(repeats) << match;
        const Scores expected = bm25Of(match);
        ASSERT_FALSE(expected.empty()) << match;
        const auto [actual, error] = withCopies(repeats->distinctMatchText, copiesArgument(repeats->copyOf));
        EXPECT_EQ(error, "") << match;
        EXPECT_EQ(actual, expected) << match;
    }
}

TEST_F(BM25WithCopiesTest, APastedTextOfThousandsOfCopiesScoresAsBM25Does) {
    const std::vector<std::string> words = {"error", "deploy", "budget", "on", "invoice", "\"working on\"", "café"};
    std::mt19937 random(11);
    std::string match;
    for (int i = 0; i < 1000; ++i) match += (i ? " OR " : "") + words[random() % words.size()];
    const auto repeats = repeatedAlternatives(match);
    ASSERT_TRUE(repeats);
    const auto [actual, error] = withCopies(repeats->distinctMatchText, copiesArgument(repeats->copyOf));
    EXPECT_EQ(error, "");
    EXPECT_EQ(actual, bm25Of(match));
}

TEST_F(BM25WithCopiesTest, CopiesThatDoNotFitThePhrasesFailTheStatement) {
    // Three phrases; position 3 names none of them.
    EXPECT_NE(withCopies("error OR deploy OR budget", "0 1 3").second, "");
    EXPECT_NE(withCopies("error OR deploy OR budget", "0 x 1").second, "");
    EXPECT_NE(withCopies("error OR deploy OR budget", "").second, "");
    EXPECT_NE(withCopies("error OR deploy OR budget", "-1 0").second, "");
    EXPECT_EQ(withCopies("error OR deploy OR budget", "0 1 2 0").second, "");
}

}  // namespace
}  // namespace VarnholtQueryLib
