#include "cli/ActiveDays.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "DatabaseError.h"
#include "FixtureDatabase.h"
#include "TemporaryDirectory.h"
#include "ThrownCLIError.h"
#include "platform/LocalCalendar.h"
#include "platform/SystemPlatform.h"

using namespace VarnholtQueryLib;

namespace {

// Observations on 1 April (frame-dated), 30 March (self-dated, frame gone),
// and one exactly at midnight between 27 and 28 March, which the timeline of
// 27 March includes (its end is inclusive) as well as that of 28 March; 31
// March has only a blank description and a separate recording, which no
// timeline shows.
constexpr const char* kRows = R"SQL(
    INSERT INTO frames (id, display_id, captured_at, timestamp, image_path, analyzed) VALUES
        ('F1', 'd', 'x', 1775037600.0, '/i', 1);
    INSERT INTO observations (id, frame_id, type, timestamp, vlm_description, apps, created_at, recording_id) VALUES
        ('a', 'F1', 'visual', 1.0, 'On the first of April', '[]', 'x', NULL),
        ('b', 'gone', 'visual', 1774864800.0, 'On the thirtieth', '[]', 'x', NULL),
        ('c', NULL, 'visual', 1774656000.0, 'At midnight', '[]', 'x', ''),
        ('d', NULL, 'visual', 1774951200.0, '   ', '[]', 'x', NULL),
        ('e', NULL, 'visual', 1774951200.0, 'A recording', '[]', 'x', 'R1');
)SQL";

const std::vector<std::string> kFortnight = {
    "2026-04-01", "2026-03-31", "2026-03-30", "2026-03-29", "2026-03-28",
    "2026-03-27", "2026-03-26", "2026-03-25"};

class ActiveDaysTest : public ::testing::Test {
protected:
    std::vector<std::string> daysWithActivity(const std::vector<std::string>& days, std::size_t count) {
        const Platform platform{clock_, files_, processes_, sleeper_, home_.path(), false};
        return VarnholtQueryLib::daysWithActivity(days, count, {platform, calendar_});
    }
    void createDatabase(const std::string& rows) {
        std::filesystem::create_directories(home_.file(".varnholt"));
        VarnholtTestSupport::createFixtureDatabase(home_.file(".varnholt/varnholt.db"), rows);
    }

    VarnholtTestSupport::TemporaryDirectory home_;
    SystemClock clock_;
    SystemFileSystem files_;
    SystemProcess processes_;
    SystemSleep sleeper_;
    const LocalCalendar calendar_{"UTC", "en_US"};
};

}  // namespace

TEST_F(ActiveDaysTest, DaysWhoseTimelineHasMomentsInTheOrderAsked) {
    createDatabase(kRows);
    EXPECT_EQ(daysWithActivity(kFortnight, 10),
              (std::vector<std::string>{"2026-04-01", "2026-03-30", "2026-03-28", "2026-03-27"}));
}

TEST_F(ActiveDaysTest, StopsAtTheCount) {
    createDatabase(kRows);
    EXPECT_EQ(daysWithActivity(kFortnight, 2), (std::vector<std::string>{"2026-04-01", "2026-03-30"}));
    EXPECT_TRUE(daysWithActivity(kFortnight, 0).empty());
}

TEST_F(ActiveDaysTest, AnEmptyDatabaseHasNone) {
    createDatabase("");
    EXPECT_TRUE(daysWithActivity(kFortnight, 10).empty());
}

TEST_F(ActiveDaysTest, NoDatabaseIsNotFound) {
    EXPECT_THROW(daysWithActivity(kFortnight, 10), VarnholtSQLiteSupport::DatabaseError);
}

TEST_F(ActiveDaysTest, ADayThatIsNoDateIsTheRangeError) {
    createDatabase(kRows);
    EXPECT_EQ(VarnholtTestSupport::thrownCLIError([&] { daysWithActivity({"April"}, 1); }),
              "INVALID_TIME_RANGE: Cannot parse --from date 'April'. Use ISO 8601 or yyyy-MM-dd format.");
}
