#include "redaction/DeduplicationService.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "search/ObservationSearchRecords.h"

namespace VarnholtQueryLib {
namespace {

using Names = std::vector<std::string>;

ObservationSearchResult observation(const std::string& id, const std::string& description) {
    ObservationSearchResult result;
    result.observationId = id;
    result.frameTimestamp = 1775037600;
    result.vlmDescription = description;
    result.apps = {"Xcode"};
    return result;
}

std::vector<std::string> idsOf(const std::vector<ObservationSearchResult>& results) {
    std::vector<std::string> ids;
    for (const ObservationSearchResult& result : results) ids.push_back(result.observationId);
    return ids;
}

TEST(DeduplicationServiceTest, CaseRepeatsKeepFirstSpelling) {
    EXPECT_EQ(DeduplicationService::deduplicate({"Safari", "safari", "SAFARI", "Mail"}, 10),
              (DeduplicatedList{{"Safari", "Mail"}, false}));
}

TEST(DeduplicationServiceTest, LimitCutsAndReportsTruncation) {
    EXPECT_EQ(DeduplicationService::deduplicate({"Safari", "safari", "SAFARI", "Mail"}, 1),
              (DeduplicatedList{{"Safari"}, true}));
}

TEST(DeduplicationServiceTest, ExactlyLimitIsNotTruncated) {
    EXPECT_EQ(DeduplicationService::deduplicate({"A", "B", "a"}, 2),
              (DeduplicatedList{{"A", "B"}, false}));
}

TEST(DeduplicationServiceTest, RepeatsDoNotCountTowardTheLimit) {
    EXPECT_EQ(DeduplicationService::deduplicate({"Mail", "MAIL", "mail", "Notes"}, 2),
              (DeduplicatedList{{"Mail", "Notes"}, false}));
}

TEST(DeduplicationServiceTest, LimitZeroKeepsNothing) {
    EXPECT_EQ(DeduplicationService::deduplicate({"Mail"}, 0), (DeduplicatedList{{}, true}));
    EXPECT_EQ(DeduplicationService::deduplicate({}, 0), (DeduplicatedList{{}, false}));
}

TEST(DeduplicationServiceTest, EmptyListIsEmptyAndNotTruncated) {
    EXPECT_EQ(DeduplicationService::deduplicate({}, 10), (DeduplicatedList{{}, false}));
    EXPECT_EQ(DeduplicationService::deduplicateApps({}), (DeduplicatedList{{}, false}));
}

TEST(DeduplicationServiceTest, NonAsciiLettersAreLowerCased) {
    EXPECT_EQ(DeduplicationService::deduplicate({"ÄPFEL", "äpfel", "Äpfel"}, 10),
              (DeduplicatedList{{"ÄPFEL"}, false}));
    // A capital sigma at the end of a word lowers to the final form ς.
    EXPECT_EQ(DeduplicationService::deduplicate({"ΟΔΟΣ", "οδο\u03C2", "οδο\u03C3"}, 10),
              (DeduplicatedList{{"ΟΔΟΣ", "οδο\u03C3"}, false}));
}

TEST(DeduplicationServiceTest, CapitalSharpSLowersToSharpS) {
    // Lower-casing, not case folding: "STRASSE" stays a different name.
    EXPECT_EQ(DeduplicationService::deduplicate({"Straße", "STRAẞE", "straße", "STRASSE"}, 10),
              (DeduplicatedList{{"Straße", "STRASSE"}, false}));
}

TEST(DeduplicationServiceTest, WhiteSpaceIsNotTrimmedForNames) {
    EXPECT_EQ(DeduplicationService::deduplicate({"Mail", " Mail", "Mail ", " mail"}, 10),
              (DeduplicatedList{{"Mail", " Mail", "Mail "}, false}));
}

TEST(DeduplicationServiceTest, AppsAreLimitedToTen) {
    Names names;
    for (int i = 0; i < 12; ++i) names.push_back("App" + std::to_string(i));
    const DeduplicatedList apps = DeduplicationService::deduplicateApps(names);
    EXPECT_EQ(apps, (DeduplicatedList{Names(names.begin(), names.begin() + 10), true}));

    names.resize(10);
    names.push_back("app0");
    EXPECT_EQ(DeduplicationService::deduplicateApps(names),
              (DeduplicatedList{Names(names.begin(), names.begin() + 10), false}));
}

TEST(DeduplicationServiceTest, CollapseTreatsCaseAndOuterBlankLinesAsSame) {
    const std::vector<ObservationSearchResult> results = {
        observation("1", "Editing README in Vim"),
        observation("2", "\n\n  editing readme in vim\t\n"),
        observation("3", "EDITING README IN VIM"),
        observation("4", "\u00A0Editing README in Vim\u2028"),  // no-break space, line separator
    };
    EXPECT_EQ(DeduplicationService::collapseObservations(results),
              (std::vector<ObservationSearchResult>{results[0]}));
}

TEST(DeduplicationServiceTest, CollapseKeepsInnerSpacingAndPunctuation) {
    const std::vector<ObservationSearchResult> results = {
        observation("1", "Editing README in Vim"),
        observation("2", "Editing  README in Vim"),
        observation("3", "Editing README in Vim."),
        observation("4", "Editing\tREADME in Vim"),
    };
    EXPECT_EQ(idsOf(DeduplicationService::collapseObservations(results)),
              (std::vector<std::string>{"1", "2", "3", "4"}));
}

TEST(DeduplicationServiceTest, CollapseKeepsFirstOfEachGroupInOrder) {
    std::vector<ObservationSearchResult> results = {
        observation("a", "Reading mail"),
        observation("b", "Writing code"),
        observation("c", "reading mail "),
        observation("d", "Reviewing a PR"),
        observation("e", "WRITING CODE"),
    };
    results[2].apps = {"Mail"};  // the dropped duplicate differs elsewhere too
    const std::vector<ObservationSearchResult> collapsed =
        DeduplicationService::collapseObservations(results);
    EXPECT_EQ(collapsed,
              (std::vector<ObservationSearchResult>{results[0], results[1], results[3]}));
}

TEST(DeduplicationServiceTest, CollapseGroupsEmptyAndBlankDescriptions) {
    const std::vector<ObservationSearchResult> results = {
        observation("1", ""),
        observation("2", " \n "),
        observation("3", "Something"),
    };
    EXPECT_EQ(idsOf(DeduplicationService::collapseObservations(results)),
              (std::vector<std::string>{"1", "3"}));
}

TEST(DeduplicationServiceTest, CollapseUsesUnicodeLowerCasing) {
    const std::vector<ObservationSearchResult> results = {
        observation("1", "ÜBERSICHT IN FINDER"),
        observation("2", "übersicht in finder"),
    };
    EXPECT_EQ(idsOf(DeduplicationService::collapseObservations(results)),
              (std::vector<std::string>{"1"}));
}

TEST(DeduplicationServiceTest, CollapseOfEmptyListIsEmpty) {
    EXPECT_TRUE(DeduplicationService::collapseObservations(std::vector<ObservationSearchResult>{}).empty());
}

}  // namespace
}  // namespace VarnholtQueryLib
