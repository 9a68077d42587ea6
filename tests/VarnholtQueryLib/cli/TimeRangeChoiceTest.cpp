#include "cli/TimeRangeChoice.h"

#include <gtest/gtest.h>

#include "FixtureDatabase.h"
#include "IndexCatalogue.h"
#include "SQLiteReadConnection.h"
#include "TemporaryDirectory.h"
#include "ThrownCLIError.h"
#include "platform/LocalCalendar.h"
#include "TestInstants.h"

using namespace VarnholtQueryLib;
using VarnholtSQLiteSupport::IndexCatalogue;
using VarnholtSQLiteSupport::SQLiteReadConnection;

namespace {

using VarnholtTestSupport::kNow;        // Wednesday 2026-04-01T10:00:00Z
constexpr double kApril1 = 1775001600;     // midnight UTC
constexpr double kMarch25 = 1774396800;    // Wednesday a week before, midnight UTC

class TimeRangeChoiceTest : public ::testing::Test {
protected:
    void createDatabase(const std::string& rows) {
        VarnholtTestSupport::createFixtureDatabase(directory_.file("varnholt.db"), rows);
    }

    TimeRange choose(const TimeRangeRequest& request) {
        SQLiteReadConnection connection(directory_.file("varnholt.db"));
        return chooseTimeRange(request, connection, IndexCatalogue::read(connection.handle()), calendar_, kNow);
    }

    VarnholtTestSupport::TemporaryDirectory directory_;
    LocalCalendar calendar_{"UTC", "en_US"};
};

void expectRange(const TimeRange& range, double from, double to, const std::string& preset) {
    EXPECT_EQ(range.from, from);
    EXPECT_EQ(range.to, to);
    EXPECT_EQ(range.preset, preset);
}

}  // namespace

TEST_F(TimeRangeChoiceTest, PresetsDurationsAndRanges) {
    createDatabase("");
    expectRange(choose({}), kApril1, kApril1 + 86400, "today");
    expectRange(choose({"today", {}, {}, {}, {}}), kApril1, kApril1 + 86400, "today");
    expectRange(choose({"yesterday", {}, {}, {}, {}}), kApril1 - 86400, kApril1, "yesterday");
    // Weeks start on Sunday in en_US: 29 March.
    expectRange(choose({"this-week", {}, {}, {}, {}}), kApril1 - 3 * 86400, kNow, "this-week");
    expectRange(choose({{}, "2h", {}, {}, {}}), kNow - 7200, kNow, "recent");
    expectRange(choose({"range", {}, "2026-03-30", "2026-03-31", {}}), kApril1 - 2 * 86400, kApril1, "range");
}

TEST_F(TimeRangeChoiceTest, WholeWeeksAndMonthsWithTheWeeksFirstDay) {
    createDatabase("");
    // Now is Wednesday 1 April; en_US weeks start on Sunday.
    expectRange(choose({"last-week", {}, {}, {}, {}}), kApril1 - 10 * 86400, kApril1 - 3 * 86400, "last-week");
    expectRange(choose({"last-week", {}, {}, {}, "monday"}), kApril1 - 9 * 86400, kApril1 - 2 * 86400, "last-week");
    expectRange(choose({"this-week", {}, {}, {}, "Monday"}), kApril1 - 2 * 86400, kNow, "this-week");
    expectRange(choose({"this-week", {}, {}, {}, "wednesday"}), kApril1, kNow, "this-week");
    expectRange(choose({"this-month", {}, {}, {}, {}}), kApril1, kNow, "this-month");
    expectRange(choose({"last-month", {}, {}, {}, "monday"}), kApril1 - 31 * 86400, kApril1, "last-month");
}

TEST_F(TimeRangeChoiceTest, TheLastActiveDayIsTheNewestObservationsDay) {
    createDatabase(R"SQL(
        INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at) VALUES
            ('old', 'visual', 1774400000.0, 'A week ago', '[]', 'x'),
            ('new', 'visual', 1774440000.5, 'The newest', '[]', 'x');
    )SQL");
    expectRange(choose({"last-active-day", {}, {}, {}, {}}), kMarch25, kMarch25 + 86400, "last-active-day");
}

TEST_F(TimeRangeChoiceTest, WithoutObservationsTheLastActiveDayIsToday) {
    createDatabase("");
    expectRange(choose({"last-active-day", {}, {}, {}, {}}), kApril1, kApril1 + 86400, "today");
}

TEST_F(TimeRangeChoiceTest, BadWordsAreTheTimePresetsErrors) {
    createDatabase("");
    EXPECT_EQ(VarnholtTestSupport::thrownCLIError([&] { choose({"tomorrow", {}, {}, {}, {}}); }),
              "INVALID_TIME_RANGE: Unknown preset 'tomorrow'.");
    EXPECT_EQ(VarnholtTestSupport::thrownCLIError([&] { choose({{}, "5x", {}, {}, {}}); }),
              "INVALID_TIME_RANGE: Unknown duration unit 'x'. Use m, h, d, or w.");
    EXPECT_EQ(VarnholtTestSupport::thrownCLIError([&] { choose({"range", {}, "2026-04-02", "2026-04-01", {}}); }),
              "INVALID_TIME_RANGE: --from must be before --to");
}
