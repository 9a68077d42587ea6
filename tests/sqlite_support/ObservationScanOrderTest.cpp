#include "ObservationScanOrder.h"

#include <gtest/gtest.h>

using namespace VarnholtSQLiteSupport;

namespace {

IndexDescription index(const std::string& name, std::vector<IndexKeyColumn> columns) {
    return {name, "observations", false, false, std::move(columns)};
}

// The recorder's two recording indexes, and one led by another column.
const IndexCatalogue kCatalogue({
    index("by_recording_time", {{"recording_id", "BINARY", false}, {"timestamp", "BINARY", false}}),
    index("by_recording_type", {{"recording_id", "BINARY", false}, {"type", "NOCASE", true}}),
    index("by_frame", {{"frame_id", "BINARY", false}}),
    index("by_recording_expression", {{"recording_id", "BINARY", false}, {"", "BINARY", false}}),
});

std::vector<std::string> multiIndexOr(const std::string& first, const std::string& second) {
    return {"CO-ROUTINE eligible", "MULTI-INDEX OR", "INDEX 1",
            "SEARCH o USING INDEX " + first + " (recording_id=?)", "INDEX 2",
            "SEARCH o USING INDEX " + second + " (recording_id=?)",
            "SEARCH f USING INDEX sqlite_autoindex_frames_1 (id=?) LEFT-JOIN", "USE TEMP B-TREE FOR ORDER BY"};
}

const std::vector<OrderTerm> kRowid = {{"o.rowid", "BINARY", false}};

}  // namespace

TEST(ObservationScanOrderTest, ATableScanWalksRowidOrder) {
    EXPECT_EQ(observationScanOrder({"SCAN o", "SEARCH f USING INDEX sqlite_autoindex_frames_1 (id=?) LEFT-JOIN",
                                    "USE TEMP B-TREE FOR ORDER BY"},
                                   kCatalogue),
              kRowid);
}

TEST(ObservationScanOrderTest, FullTextMatchesComeInRowidOrder) {
    EXPECT_EQ(observationScanOrder({"SCAN fts VIRTUAL TABLE INDEX 0:M1",
                                    "SEARCH o USING INTEGER PRIMARY KEY (rowid=?)", "USE TEMP B-TREE FOR ORDER BY"},
                                   kCatalogue),
              kRowid);
    // A rowid look-up without the full-text scan before it says nothing.
    EXPECT_EQ(observationScanOrder({"SEARCH o USING INTEGER PRIMARY KEY (rowid=?)"}, kCatalogue), std::nullopt);
}

TEST(ObservationScanOrderTest, TheRecordingBranchesWalkTheirIndexNullFirst) {
    EXPECT_EQ(observationScanOrder(multiIndexOr("by_recording_time", "by_recording_time"), kCatalogue),
              (std::vector<OrderTerm>{{"(o.recording_id IS NOT NULL)", "BINARY", false},
                                      {"o.\"timestamp\"", "BINARY", false},
                                      {"o.rowid", "BINARY", false}}));
    EXPECT_EQ(observationScanOrder(multiIndexOr("by_recording_type", "by_recording_type"), kCatalogue),
              (std::vector<OrderTerm>{{"(o.recording_id IS NOT NULL)", "BINARY", false},
                                      {"o.\"type\"", "NOCASE", true},
                                      {"o.rowid", "BINARY", false}}));
}

TEST(ObservationScanOrderTest, BranchesOnDifferentIndexesOrderEachByItsOwn) {
    EXPECT_EQ(observationScanOrder(multiIndexOr("by_recording_time", "by_recording_type"), kCatalogue),
              (std::vector<OrderTerm>{
                  {"(o.recording_id IS NOT NULL)", "BINARY", false},
                  {"CASE WHEN o.recording_id IS NULL THEN o.\"timestamp\" END", "BINARY", false},
                  {"CASE WHEN o.recording_id IS NOT NULL THEN o.\"type\" END", "NOCASE", true},
                  {"o.rowid", "BINARY", false}}));
}

TEST(ObservationScanOrderTest, AnyOtherWalkIsNotReproduced) {
    EXPECT_EQ(observationScanOrder(multiIndexOr("by_frame", "by_frame"), kCatalogue), std::nullopt);
    EXPECT_EQ(observationScanOrder(multiIndexOr("by_recording_expression", "by_recording_expression"), kCatalogue),
              std::nullopt);
    EXPECT_EQ(observationScanOrder(multiIndexOr("unknown", "unknown"), kCatalogue), std::nullopt);
    EXPECT_EQ(observationScanOrder({"SEARCH o USING INDEX by_frame (frame_id=?)"}, kCatalogue), std::nullopt);
    EXPECT_EQ(observationScanOrder({"SCAN o USING INDEX by_recording_time"}, kCatalogue), std::nullopt);
    EXPECT_EQ(observationScanOrder({"SCAN o", "SCAN o"}, kCatalogue), std::nullopt);
    EXPECT_EQ(observationScanOrder({}, kCatalogue), std::nullopt);
}

TEST(ObservationScanOrderTest, OtherAliasesAreNotObservations) {
    EXPECT_EQ(observationScanOrder({"SCAN oe", "SCAN observations", "SCAN o"}, kCatalogue), kRowid);
}

TEST(ObservationScanOrderTest, TermsBecomeColumnsAndOrderKeys) {
    const std::vector<OrderTerm> terms = {{"o.rowid", "BINARY", false}, {"o.\"type\"", "NOCASE", true}};
    EXPECT_EQ(orderTermColumns(terms), ", o.rowid AS k0, o.\"type\" AS k1");
    EXPECT_EQ(orderTermKeys("n.", terms), ", n.k0 COLLATE BINARY ASC, n.k1 COLLATE NOCASE DESC");
    EXPECT_EQ(quotedIdentifier("odd\"name"), "\"odd\"\"name\"");
}
