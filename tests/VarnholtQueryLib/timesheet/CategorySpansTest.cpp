#include "timesheet/CategorySpans.h"

#include <gtest/gtest.h>

#include <vector>

namespace VarnholtQueryLib {
namespace {

TimesheetSpan span(double start, double end, double seconds, std::int64_t rows, const std::string& description) {
    return {start, end, seconds, rows, description};
}

TEST(CategorySpansTest, RowsWithinTheIdleGapMakeOneSpan) {
    CategorySpans spans(300);
    spans.add(1000, 60, "Fixing the parser");
    spans.add(1060, 240, "Fixing the parser");
    // Exactly the idle gap after the row before: still the same span.
    spans.add(1360, 30, "Running the tests");
    EXPECT_EQ(spans.close(), (std::vector<TimesheetSpan>{span(1000, 1390, 330, 3, "Fixing the parser")}));
}

TEST(CategorySpansTest, AGapBeyondTheIdleGapStartsANewSpan) {
    CategorySpans spans(300);
    spans.add(1000, 10, "A");
    spans.add(1300.5, 20, "B");
    spans.add(1600, 0, "C");
    EXPECT_EQ(spans.close(),
              (std::vector<TimesheetSpan>{span(1000, 1010, 10, 1, "A"), span(1300.5, 1600, 20, 2, "B")}));
}

TEST(CategorySpansTest, TheDescriptionOfMostRowsWinsTheEarliestAmongEquals) {
    CategorySpans spans(300);
    spans.add(1000, 1, "B");
    spans.add(1001, 1, "A");
    spans.add(1002, 1, "A");
    spans.add(1003, 1, "B");
    spans.add(1004, 1, "C");
    spans.add(1005, 1, "C");
    spans.add(1006, 1, "C");
    spans.add(5000, 1, "Y");
    spans.add(5001, 1, "X");
    const auto made = spans.close();
    ASSERT_EQ(made.size(), 2u);
    EXPECT_EQ(made[0].description, "C");
    // One row each: Y came first.
    EXPECT_EQ(made[1].description, "Y");
}

TEST(CategorySpansTest, TheCollapsingKeyIsTheTextAsStored) {
    CategorySpans spans(300);
    spans.add(1000, 1, "fixing");
    spans.add(1001, 1, "Fixing");
    spans.add(1002, 1, "Fixing");
    EXPECT_EQ(spans.close().at(0).description, "Fixing");
}

TEST(CategorySpansTest, TheDescriptionIsMasked) {
    CategorySpans spans(300);
    spans.add(1000, 1, "Mail to jane@example.com");
    EXPECT_EQ(spans.close().at(0).description, "Mail to [EMAIL]");
}

TEST(CategorySpansTest, NoRowsNoSpans) {
    CategorySpans spans(300);
    EXPECT_TRUE(spans.close().empty());
}

}  // namespace
}  // namespace VarnholtQueryLib
