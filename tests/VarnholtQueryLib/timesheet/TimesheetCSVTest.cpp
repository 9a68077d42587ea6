#include "timesheet/TimesheetCSV.h"

#include <gtest/gtest.h>

namespace VarnholtQueryLib {
namespace {

TEST(TimesheetCSVTest, HoursAreRoundedHalfUpToTwoDecimals) {
    EXPECT_EQ(hoursText(0), "0.00");
    EXPECT_EQ(hoursText(17), "0.00");
    EXPECT_EQ(hoursText(18), "0.01");
    EXPECT_EQ(hoursText(5400), "1.50");
    EXPECT_EQ(hoursText(3599), "1.00");
    EXPECT_EQ(hoursText(360000), "100.00");
}

TEST(TimesheetCSVTest, FieldsAreQuotedOnlyWhereNeeded) {
    EXPECT_EQ(csvField("Invoicing"), "Invoicing");
    EXPECT_EQ(csvField("Acme, Inc."), "\"Acme, Inc.\"");
    EXPECT_EQ(csvField("The \"big\" one"), "\"The \"\"big\"\" one\"");
    EXPECT_EQ(csvField("two\nlines"), "\"two\nlines\"");
    EXPECT_EQ(csvField("Müller-Lüdenscheidt"), "Müller-Lüdenscheidt");
    EXPECT_EQ(csvField(" spaced "), " spaced ");
}

TEST(TimesheetCSVTest, DaysThenTotalsFromThePrintedNumbers) {
    const JSON document = JSON::parse(R"({"data": {
        "categories": [{"name": "Acme, \"Inc\"", "seconds": 5400}, {"name": "Idle", "seconds": 0}],
        "uncategorized": {"seconds": 18},
        "days": [
          {"date": "2026-04-01", "categories": [{"name": "Acme, \"Inc\"", "seconds": 5400}, {"name": "Idle", "seconds": 0}],
           "uncategorized_seconds": 0},
          {"date": "2026-04-02", "categories": [{"name": "Acme, \"Inc\"", "seconds": 0}, {"name": "Idle", "seconds": 0}],
           "uncategorized_seconds": 18}
        ]}})");
    EXPECT_EQ(timesheetCSV(document),
              "date,category,seconds,hours\r\n"
              "2026-04-01,\"Acme, \"\"Inc\"\"\",5400,1.50\r\n"
              "2026-04-02,(uncategorized),18,0.01\r\n"
              "total,\"Acme, \"\"Inc\"\"\",5400,1.50\r\n"
              "total,Idle,0,0.00\r\n"
              "total,(uncategorized),18,0.01\r\n");
}

}  // namespace
}  // namespace VarnholtQueryLib
