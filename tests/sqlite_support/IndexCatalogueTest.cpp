#include "IndexCatalogue.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdlib>

#include "RecorderSchema.h"
#include "TemporaryDirectory.h"

using VarnholtSQLiteSupport::IndexCatalogue;

namespace {

class IndexCatalogueTest : public ::testing::Test {
protected:
    // The catalogue of a database made of the recorder's schema, then `sql`.
    IndexCatalogue catalogueAfter(const std::string& sql) {
        sqlite3* handle = VarnholtSampleData::openWritableDatabase(directory_.file("varnholt.db"));
        VarnholtSampleData::createRecorderSchema(handle);
        if (!sql.empty()) VarnholtSampleData::execWritable(handle, sql);
        IndexCatalogue catalogue = IndexCatalogue::read(handle);
        sqlite3_close(handle);
        return catalogue;
    }

    VarnholtTestSupport::TemporaryDirectory directory_;
};

}  // namespace

TEST_F(IndexCatalogueTest, KnowsTheRecordersIndexesByTableAndLeadingColumns) {
    const IndexCatalogue catalogue = catalogueAfter("");
    EXPECT_TRUE(catalogue.hasIndexOn("frames", {"timestamp"}));
    EXPECT_TRUE(catalogue.hasIndexOn("frames", {"analyzed"}));
    EXPECT_TRUE(catalogue.hasIndexOn("frames", {"analyzed", "timestamp"}));
    EXPECT_TRUE(catalogue.hasIndexOn("observations", {"frame_id"}));
    EXPECT_TRUE(catalogue.hasIndexOn("observations", {"recording_id", "timestamp"}));
    EXPECT_TRUE(catalogue.hasIndexOn("observation_entities", {"observation_id"}));
    // The recorder has no index on an observation's time alone.
    EXPECT_FALSE(catalogue.hasIndexOn("observations", {"timestamp"}));
    EXPECT_FALSE(catalogue.hasIndexOn("observations", {"timestamp", "recording_id"}));
}

TEST_F(IndexCatalogueTest, PrimaryKeysAndUniqueConstraintsAreUniqueIndexes) {
    const IndexCatalogue catalogue = catalogueAfter("");
    EXPECT_TRUE(catalogue.hasUniqueIndexOn("frames", {"id"}));
    EXPECT_TRUE(catalogue.hasUniqueIndexOn("observations", {"id"}));
    EXPECT_TRUE(catalogue.hasUniqueIndexOn("observation_entities", {"observation_id"}));
    EXPECT_FALSE(catalogue.hasUniqueIndexOn("frames", {"timestamp"}));
}

TEST_F(IndexCatalogueTest, NamesAreTheRecordersBusinessAndLetterCaseDoesNotCount) {
    const IndexCatalogue catalogue = catalogueAfter(
        "DROP INDEX idx_frames_timestamp;\n"
        "CREATE INDEX Frames_By_Time ON FRAMES(TimeStamp);");
    EXPECT_TRUE(catalogue.hasIndexOn("frames", {"timestamp"}));
    EXPECT_TRUE(catalogue.hasIndexOn("FRAMES", {"TIMESTAMP"}));
    ASSERT_NE(catalogue.find("Frames_By_Time"), nullptr);
    EXPECT_EQ(catalogue.find("Frames_By_Time")->table, "frames");
    EXPECT_EQ(catalogue.find("frames_by_time"), nullptr);  // the name as stored
}

TEST_F(IndexCatalogueTest, PartialIndexesOtherCollationsAndExpressionsDoNotCount) {
    const IndexCatalogue catalogue = catalogueAfter(
        "DROP INDEX idx_frames_timestamp;\n"
        "DROP INDEX idx_observations_frame;\n"
        "DROP INDEX idx_observations_recording_timestamp;\n"
        "CREATE INDEX partial_time ON frames(timestamp) WHERE analyzed = 1;\n"
        "CREATE INDEX folded_frame ON observations(frame_id COLLATE NOCASE);\n"
        "CREATE INDEX expression_first ON observations(lower(recording_id), timestamp);");
    EXPECT_FALSE(catalogue.hasIndexOn("frames", {"timestamp"}));
    EXPECT_FALSE(catalogue.hasIndexOn("observations", {"frame_id"}));
    EXPECT_FALSE(catalogue.hasIndexOn("observations", {"recording_id", "timestamp"}));
    const auto* folded = catalogue.find("folded_frame");
    ASSERT_NE(folded, nullptr);
    EXPECT_EQ(folded->keyColumns.at(0).collation, "NOCASE");
    const auto* expression = catalogue.find("expression_first");
    ASSERT_NE(expression, nullptr);
    EXPECT_EQ(expression->keyColumns.at(0).name, "");
    EXPECT_EQ(expression->keyColumns.at(1).name, "timestamp");
}

TEST_F(IndexCatalogueTest, DescribesKeyColumnsInOrderWithoutTheRowid) {
    const IndexCatalogue catalogue = catalogueAfter("CREATE INDEX backwards ON frames(analyzed DESC, id);");
    const auto* index = catalogue.find("backwards");
    ASSERT_NE(index, nullptr);
    ASSERT_EQ(index->keyColumns.size(), 2u);
    EXPECT_EQ(index->keyColumns[0].name, "analyzed");
    EXPECT_TRUE(index->keyColumns[0].descending);
    EXPECT_EQ(index->keyColumns[1].name, "id");
    EXPECT_FALSE(index->keyColumns[1].descending);
    EXPECT_EQ(index->keyColumns[1].collation, "BINARY");
}

TEST_F(IndexCatalogueTest, AnEmptyCatalogueKnowsNoIndex) {
    const IndexCatalogue catalogue;
    EXPECT_FALSE(catalogue.hasIndexOn("frames", {"timestamp"}));
    EXPECT_TRUE(catalogue.indexes().empty());
    EXPECT_TRUE(IndexCatalogue::read(nullptr).indexes().empty());
}

TEST_F(IndexCatalogueTest, AProcessAskingForLiteralStatementsReadsNoIndex) {
    sqlite3* handle = VarnholtSampleData::openWritableDatabase(directory_.file("varnholt.db"));
    VarnholtSampleData::createRecorderSchema(handle);
    // In a child process: the switch lasts for the process.
    EXPECT_EXIT(
        {
            IndexCatalogue::useLiteralStatementsOnly();
            std::exit(IndexCatalogue::read(handle).indexes().empty() ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
    EXPECT_FALSE(IndexCatalogue::read(handle).indexes().empty());
    sqlite3_close(handle);
}
