#include <gtest/gtest.h>

#include <sqlite3.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>
#include <vector>

#include "ErrorEnvelope.h"
#include "FixtureDatabase.h"
#include "RecorderSchema.h"
#include "TemporaryHome.h"
#include "FileBytes.h"

namespace timeline_command_test {

using namespace VarnholtTestSupport;

namespace {

// The frozen wall clock of every run: Wednesday 2026-04-01, 10:00:00 UTC
// (06:00 in New York, on summer time since March).
constexpr const char* kFrozenNow = "2026-04-01 10:00:00";

// A working week around the frozen now. Times are UTC seconds since 1970:
//   B  Mon 2026-03-30 12:00:00  importer review
//   C  Tue 2026-03-31 15:00:00  mail with an address (redacted on output)
//   D  Wed 2026-04-01 03:30:00  release notes: "today" in UTC, but still
//                               31 March (23:30) in New York
//   E  Wed 08:00:02, its frame captured 08:00:01.5; image, entities
//   E' Wed 08:02:00  the same description again: collapsed
//   F  Wed 08:04:00  unit tests; same five-minute moment as E
//   G  Wed 09:15:00  changelog, no apps
//   H  Wed 09:30:00  part of an imported recording: never shown
//   I  Wed 12:00:00  after now: in today's range, not in recent or this-week
//   A  Sat 2026-03-28 12:00:00  before this week (weeks start on Sunday in en_US)
constexpr const char* kWorkWeek = R"SQL(
    INSERT INTO frames (id, display_id, captured_at, timestamp, image_path, analyzed) VALUES
        ('F-E', 'main', '2026-04-01T08:00:01Z', 1775030401.5, '/Users/dev/.varnholt/frames/2026-04-01/e.png', 1);
    INSERT INTO observations (id, recording_id, frame_id, type, timestamp, image_path, vlm_description, apps, created_at) VALUES
        ('A', NULL, NULL, 'visual', 1774699200.0, NULL, 'Sketching the sync design', '["Freeform"]', 'x'),
        ('B', NULL, NULL, 'visual', 1774872000.0, NULL, 'Reviewing the pull request for the importer', '["GitHub Desktop"]', 'x'),
        ('C', NULL, NULL, 'visual', 1774969200.0, NULL, 'Answering mail from jane.doe@example.com about the invoice', '["Mail"]', 'x'),
        ('D', NULL, NULL, 'visual', 1775014200.0, NULL, 'Reading the release notes', '["Safari"]', 'x'),
        ('E', NULL, 'F-E', 'visual', 1775030402.0, '/Users/dev/.varnholt/frames/2026-04-01/e.png',
              'Fixing a type error in the fetch handler', '["Xcode","Safari","xcode"]', 'x'),
        ('E2', NULL, NULL, 'visual', 1775030520.0, '/Users/dev/.varnholt/frames/2026-04-01/e2.png',
              'Fixing a type error in the fetch handler', '["Xcode"]', 'x'),
        ('F', NULL, NULL, 'visual', 1775030640.0, NULL, 'Running the unit tests', '["Terminal"]', 'x'),
        ('G', '', NULL, 'visual', 1775034900.0, NULL, 'Writing the changelog', '[]', 'x'),
        ('H', 'rec-1', NULL, 'visual', 1775035800.0, NULL, 'Watching an imported recording', '[]', 'x'),
        ('I', NULL, NULL, 'visual', 1775044800.0, NULL, 'Planning tomorrow', NULL, 'x');
    INSERT INTO observation_entities (entity_id, observation_id, entity_kind, entity_value, confidence, created_at) VALUES
        ('e1', 'E', 'app', 'Xcode', 0.9, 0),
        ('e2', 'E', 'programming_language', 'Swift', 0.9, 0),
        ('e3', 'E2', 'app', 'Xcode', 0.9, 0),
        ('f1', 'F', 'programming_language', 'Swift', 0.9, 0),
        ('f2', 'F', 'software_tool', 'swift-test', 0.9, 0);
)SQL";

// A recorder that last saw work a week ago, Wednesday 2026-03-25 18:30 UTC
// (14:30 in New York).
constexpr const char* kQuietWeek = R"SQL(
    INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at) VALUES
        ('Q1', 'visual', 1774463400.0, 'Drafting the quarterly report', '["Pages"]', 'x'),
        ('Q2', 'visual', 1774464300.0, 'Exporting the report as PDF', '["Pages","Preview"]', 'x');
)SQL";

void createDatabase(const TemporaryHome& home, const std::string& rows) {
    home.varnholtDirectory();
    sqlite3* handle = VarnholtSampleData::openWritableDatabase(home.databasePath());
    try {
        VarnholtSampleData::createRecorderSchema(handle);
        VarnholtSampleData::execWritable(handle, rows);
    } catch (...) {
        sqlite3_close(handle);
        throw;
    }
    sqlite3_close(handle);
}

using VarnholtTestSupport::fileBytes;

InvocationOptions in(const std::string& zone) {
    InvocationOptions options;
    options.timeZone = zone;
    options.language = "en_US.UTF-8";
    options.frozenTime = kFrozenNow;
    return options;
}

// Replaces the value of `"key" : "..."` after checking it against `format`;
// the rest of the document is then compared exactly.
std::string replaceChecked(const std::string& document, const std::string& key,
                           const std::string& format) {
    const std::regex field("\"" + key + "\" : \"([^\"]*)\"");
    std::smatch match;
    if (!std::regex_search(document, match, field)) {
        ADD_FAILURE() << "no \"" << key << "\" in\n" << document;
        return document;
    }
    EXPECT_TRUE(std::regex_match(match[1].str(), std::regex(format)))
        << key << " = " << match[1].str();
    return std::regex_replace(document, field, "\"" + key + "\" : \"<" + key + ">\"",
                              std::regex_constants::format_first_only);
}

// The moments of the work week as every zone shows them (moment texts do
// not depend on the zone: every instant in them is UTC).
constexpr const char* kMomentD = R"(      {
        "bucket_end_iso" : "2026-04-01T03:35:00Z",
        "bucket_start_iso" : "2026-04-01T03:30:00Z",
        "entities" : [

        ],
        "observation_count" : 1,
        "representative" : {
          "applications" : [
            "Safari"
          ],
          "observation_id" : "D",
          "timestamp" : 1775014200,
          "timestamp_iso" : "2026-04-01T03:30:00Z",
          "vlm_description" : "Reading the release notes"
        }
      })";

// E and F share a moment; E's repeat E' is collapsed away. E is placed by
// its frame's capture time; its applications lose the second "xcode".
constexpr const char* kMomentEF = R"(      {
        "bucket_end_iso" : "2026-04-01T08:05:00Z",
        "bucket_start_iso" : "2026-04-01T08:00:00Z",
        "entities" : [
          {
            "count" : 2,
            "kind" : "programming_language",
            "value" : "Swift"
          },
          {
            "count" : 1,
            "kind" : "app",
            "value" : "Xcode"
          },
          {
            "count" : 1,
            "kind" : "software_tool",
            "value" : "swift-test"
          }
        ],
        "observation_count" : 2,
        "representative" : {
          "applications" : [
            "Xcode",
            "Safari"
          ],
          "observation_id" : "E",
          "timestamp" : 1775030401.5,
          "timestamp_iso" : "2026-04-01T08:00:01Z",
          "vlm_description" : "Fixing a type error in the fetch handler"
        }
      })";

constexpr const char* kMomentG = R"(      {
        "bucket_end_iso" : "2026-04-01T09:20:00Z",
        "bucket_start_iso" : "2026-04-01T09:15:00Z",
        "entities" : [

        ],
        "observation_count" : 1,
        "representative" : {
          "applications" : [

          ],
          "observation_id" : "G",
          "timestamp" : 1775034900,
          "timestamp_iso" : "2026-04-01T09:15:00Z",
          "vlm_description" : "Writing the changelog"
        }
      })";

constexpr const char* kMomentI = R"(      {
        "bucket_end_iso" : "2026-04-01T12:05:00Z",
        "bucket_start_iso" : "2026-04-01T12:00:00Z",
        "entities" : [

        ],
        "observation_count" : 1,
        "representative" : {
          "applications" : [

          ],
          "observation_id" : "I",
          "timestamp" : 1775044800,
          "timestamp_iso" : "2026-04-01T12:00:00Z",
          "vlm_description" : "Planning tomorrow"
        }
      })";

constexpr const char* kMomentB = R"(      {
        "bucket_end_iso" : "2026-03-30T12:05:00Z",
        "bucket_start_iso" : "2026-03-30T12:00:00Z",
        "entities" : [

        ],
        "observation_count" : 1,
        "representative" : {
          "applications" : [
            "GitHub Desktop"
          ],
          "observation_id" : "B",
          "timestamp" : 1774872000,
          "timestamp_iso" : "2026-03-30T12:00:00Z",
          "vlm_description" : "Reviewing the pull request for the importer"
        }
      })";

// The address in C's description never leaves the process.
constexpr const char* kMomentC = R"(      {
        "bucket_end_iso" : "2026-03-31T15:05:00Z",
        "bucket_start_iso" : "2026-03-31T15:00:00Z",
        "entities" : [

        ],
        "observation_count" : 1,
        "representative" : {
          "applications" : [
            "Mail"
          ],
          "observation_id" : "C",
          "timestamp" : 1774969200,
          "timestamp_iso" : "2026-03-31T15:00:00Z",
          "vlm_description" : "Answering mail from [EMAIL] about the invoice"
        }
      })";

// --images: E's own image path; G has none and says so with null.
constexpr const char* kMomentEFWithImage = R"(      {
        "bucket_end_iso" : "2026-04-01T08:05:00Z",
        "bucket_start_iso" : "2026-04-01T08:00:00Z",
        "entities" : [
          {
            "count" : 2,
            "kind" : "programming_language",
            "value" : "Swift"
          },
          {
            "count" : 1,
            "kind" : "app",
            "value" : "Xcode"
          },
          {
            "count" : 1,
            "kind" : "software_tool",
            "value" : "swift-test"
          }
        ],
        "observation_count" : 2,
        "representative" : {
          "applications" : [
            "Xcode",
            "Safari"
          ],
          "image_path" : "\/Users\/dev\/.varnholt\/frames\/2026-04-01\/e.png",
          "observation_id" : "E",
          "timestamp" : 1775030401.5,
          "timestamp_iso" : "2026-04-01T08:00:01Z",
          "vlm_description" : "Fixing a type error in the fetch handler"
        }
      })";

constexpr const char* kMomentGWithImage = R"(      {
        "bucket_end_iso" : "2026-04-01T09:20:00Z",
        "bucket_start_iso" : "2026-04-01T09:15:00Z",
        "entities" : [

        ],
        "observation_count" : 1,
        "representative" : {
          "applications" : [

          ],
          "image_path" : null,
          "observation_id" : "G",
          "timestamp" : 1775034900,
          "timestamp_iso" : "2026-04-01T09:15:00Z",
          "vlm_description" : "Writing the changelog"
        }
      })";

// --compact: the same moments without descriptions.
constexpr const char* kMomentEFCompact = R"(      {
        "bucket_end_iso" : "2026-04-01T08:05:00Z",
        "bucket_start_iso" : "2026-04-01T08:00:00Z",
        "entities" : [
          {
            "count" : 2,
            "kind" : "programming_language",
            "value" : "Swift"
          },
          {
            "count" : 1,
            "kind" : "app",
            "value" : "Xcode"
          },
          {
            "count" : 1,
            "kind" : "software_tool",
            "value" : "swift-test"
          }
        ],
        "observation_count" : 2,
        "representative" : {
          "applications" : [
            "Xcode",
            "Safari"
          ],
          "observation_id" : "E",
          "timestamp" : 1775030401.5,
          "timestamp_iso" : "2026-04-01T08:00:01Z"
        }
      })";

constexpr const char* kMomentGCompact = R"(      {
        "bucket_end_iso" : "2026-04-01T09:20:00Z",
        "bucket_start_iso" : "2026-04-01T09:15:00Z",
        "entities" : [

        ],
        "observation_count" : 1,
        "representative" : {
          "applications" : [

          ],
          "observation_id" : "G",
          "timestamp" : 1775034900,
          "timestamp_iso" : "2026-04-01T09:15:00Z"
        }
      })";

constexpr const char* kMomentICompact = R"(      {
        "bucket_end_iso" : "2026-04-01T12:05:00Z",
        "bucket_start_iso" : "2026-04-01T12:00:00Z",
        "entities" : [

        ],
        "observation_count" : 1,
        "representative" : {
          "applications" : [

          ],
          "observation_id" : "I",
          "timestamp" : 1775044800,
          "timestamp_iso" : "2026-04-01T12:00:00Z"
        }
      })";

constexpr const char* kMomentQ1 = R"(      {
        "bucket_end_iso" : "2026-03-25T18:35:00Z",
        "bucket_start_iso" : "2026-03-25T18:30:00Z",
        "entities" : [

        ],
        "observation_count" : 1,
        "representative" : {
          "applications" : [
            "Pages"
          ],
          "observation_id" : "Q1",
          "timestamp" : 1774463400,
          "timestamp_iso" : "2026-03-25T18:30:00Z",
          "vlm_description" : "Drafting the quarterly report"
        }
      })";

constexpr const char* kMomentQ2 = R"(      {
        "bucket_end_iso" : "2026-03-25T18:50:00Z",
        "bucket_start_iso" : "2026-03-25T18:45:00Z",
        "entities" : [

        ],
        "observation_count" : 1,
        "representative" : {
          "applications" : [
            "Pages",
            "Preview"
          ],
          "observation_id" : "Q2",
          "timestamp" : 1774464300,
          "timestamp_iso" : "2026-03-25T18:45:00Z",
          "vlm_description" : "Exporting the report as PDF"
        }
      })";

// What a run echoes about its query and its clock.
struct Meta {
    std::string preset;
    std::string from;
    std::string to;
    std::int64_t returned;
    std::int64_t total;
};

struct Zone {
    std::string identifier;  // as given in TZ
    std::string written;     // as written in JSON ("/" escaped)
    std::string nowPattern;  // the frozen now as a local internet date-time
};

const Zone kUTC{"UTC", "UTC", R"(2026-04-01T10:00:00Z)"};
const Zone kNewYork{"America/New_York", "America\\/New_York", R"(2026-04-01T06:00:00-04:00)"};

// A whole timeline document: the moments in order and the meta block, with
// "current_datetime" as replaced by answer().
std::string document(const std::vector<std::string>& moments, const Zone& zone, const Meta& meta) {
    std::string text = "{\n"
                       "  \"api_version\" : 2,\n"
                       "  \"data\" : {\n"
                       "    \"moments\" : [\n";
    if (moments.empty()) text += "\n";
    for (size_t i = 0; i < moments.size(); ++i) {
        text += moments[i] + (i + 1 < moments.size() ? ",\n" : "\n");
    }
    text += "    ]\n"
            "  },\n"
            "  \"error\" : null,\n"
            "  \"meta\" : {\n"
            "    \"current_date\" : \"2026-04-01\",\n"
            "    \"current_datetime\" : \"<current_datetime>\",\n"
            "    \"has_more\" : " + std::string(meta.returned < meta.total ? "true" : "false") + ",\n"
            "    \"query\" : {\n"
            "      \"from\" : \"" + meta.from + "\",\n"
            "      \"preset\" : \"" + meta.preset + "\",\n"
            "      \"to\" : \"" + meta.to + "\"\n"
            "    },\n"
            "    \"returned_moments\" : " + std::to_string(meta.returned) + ",\n"
            "    \"timezone\" : \"" + zone.written + "\",\n"
            "    \"total_moments\" : " + std::to_string(meta.total) + "\n"
            "  },\n"
            "  \"ok\" : true\n"
            "}\n";
    return text;
}

class TimelineCommandTest : public ::testing::Test {
protected:
    // Runs a timeline command that must succeed and returns its document
    // with "current_datetime" checked by format and replaced.
    std::string answer(const TemporaryHome& home, const std::vector<std::string>& arguments,
                       const Zone& zone) {
        const ProcessResult result = home.run(arguments, in(zone.identifier));
        EXPECT_EQ(result.exitStatus, 0) << result.standardOutput << result.standardError;
        EXPECT_EQ(result.standardError, "");
        return replaceChecked(result.standardOutput, "current_datetime", zone.nowPattern);
    }

    std::string answer(const std::vector<std::string>& arguments, const Zone& zone) {
        return answer(workWeek, arguments, zone);
    }

    void SetUp() override { createDatabase(workWeek, kWorkWeek); }

    TemporaryHome workWeek;
};

}  // namespace

TEST_F(TimelineCommandTest, NoCommandAndTodayShowTheLocalDayInUTC) {
    const std::string expected =
        document({kMomentD, kMomentEF, kMomentG, kMomentI}, kUTC,
                 {"today", "2026-04-01T00:00:00Z", "2026-04-02T00:00:00Z", 4, 4});
    EXPECT_EQ(answer({"today"}, kUTC), expected);
    EXPECT_EQ(answer({}, kUTC), expected);
    // --json changes nothing: the timeline always answers in JSON.
    EXPECT_EQ(answer({"today", "--json"}, kUTC), expected);
}

TEST_F(TimelineCommandTest, TodayInNewYorkStartsAtLocalMidnight) {
    // 03:30 UTC is still 31 March in New York, so D belongs to yesterday.
    EXPECT_EQ(answer({"today"}, kNewYork),
              document({kMomentEF, kMomentG, kMomentI}, kNewYork,
                       {"today", "2026-04-01T04:00:00Z", "2026-04-02T04:00:00Z", 3, 3}));
}

TEST_F(TimelineCommandTest, Yesterday) {
    EXPECT_EQ(answer({"yesterday"}, kUTC),
              document({kMomentC}, kUTC,
                       {"yesterday", "2026-03-31T00:00:00Z", "2026-04-01T00:00:00Z", 1, 1}));
    EXPECT_EQ(answer({"yesterday"}, kNewYork),
              document({kMomentC, kMomentD}, kNewYork,
                       {"yesterday", "2026-03-31T04:00:00Z", "2026-04-01T04:00:00Z", 2, 2}));
}

TEST_F(TimelineCommandTest, ThisWeekRunsFromSundayToNowAndALimitKeepsTheEarliestMoments) {
    // Saturday's A is last week; I lies after now. Five moments qualify.
    EXPECT_EQ(answer({"this-week", "--limit", "2"}, kUTC),
              document({kMomentB, kMomentC}, kUTC,
                       {"this-week", "2026-03-29T00:00:00Z", "2026-04-01T10:00:00Z", 2, 5}));
    EXPECT_EQ(answer({"this-week", "--limit", "2"}, kNewYork),
              document({kMomentB, kMomentC}, kNewYork,
                       {"this-week", "2026-03-29T04:00:00Z", "2026-04-01T10:00:00Z", 2, 5}));
}

// With a week start given, this week begins on that day whatever the
// locale says: from Tuesday, Monday's B is last week.
TEST_F(TimelineCommandTest, ThisWeekBeginsOnTheWeekStartGiven) {
    EXPECT_EQ(answer({"this-week", "--week-start", "tuesday", "--limit", "2"}, kUTC),
              document({kMomentC, kMomentD}, kUTC,
                       {"this-week", "2026-03-31T00:00:00Z", "2026-04-01T10:00:00Z", 2, 4}));
    EXPECT_EQ(answer({"this-week", "--week-start", "sunday", "--limit", "2"}, kUTC),
              answer({"this-week", "--limit", "2"}, kUTC));
}

TEST_F(TimelineCommandTest, ALimitOfTodayCountsWhatWasLeftOut) {
    EXPECT_EQ(answer({"today", "--limit", "1"}, kUTC),
              document({kMomentD}, kUTC,
                       {"today", "2026-04-01T00:00:00Z", "2026-04-02T00:00:00Z", 1, 4}));
    // A negative limit shows nothing but still counts the moments.
    EXPECT_EQ(answer({"today", "--limit", "-3"}, kUTC),
              document({}, kUTC, {"today", "2026-04-01T00:00:00Z", "2026-04-02T00:00:00Z", 0, 4}));
}

TEST_F(TimelineCommandTest, RecentWithImagesCoversTheLastTwoHours) {
    // From 08:00:00: E counts by its frame's time, 08:00:01.5.
    for (const Zone& zone : {kUTC, kNewYork}) {
        EXPECT_EQ(answer({"recent", "--since", "2h", "--images"}, zone),
                  document({kMomentEFWithImage, kMomentGWithImage}, zone,
                           {"recent", "2026-04-01T08:00:00Z", "2026-04-01T10:00:00Z", 2, 2}))
            << zone.identifier;
    }
}

TEST_F(TimelineCommandTest, CompactLeavesDescriptionsOutAndFullWins) {
    EXPECT_EQ(answer({"today", "--compact"}, kNewYork),
              document({kMomentEFCompact, kMomentGCompact, kMomentICompact}, kNewYork,
                       {"today", "2026-04-01T04:00:00Z", "2026-04-02T04:00:00Z", 3, 3}));
    EXPECT_EQ(answer({"today", "--compact", "--full"}, kNewYork),
              document({kMomentEF, kMomentG, kMomentI}, kNewYork,
                       {"today", "2026-04-01T04:00:00Z", "2026-04-02T04:00:00Z", 3, 3}));
}

TEST_F(TimelineCommandTest, RangeWithADateOnlyEndIncludesThatWholeDay) {
    EXPECT_EQ(answer({"range", "--from", "2026-03-30", "--to", "2026-03-31"}, kUTC),
              document({kMomentB, kMomentC}, kUTC,
                       {"range", "2026-03-30T00:00:00Z", "2026-04-01T00:00:00Z", 2, 2}));
    EXPECT_EQ(answer({"range", "--from", "2026-03-30", "--to", "2026-03-31"}, kNewYork),
              document({kMomentB, kMomentC, kMomentD}, kNewYork,
                       {"range", "2026-03-30T04:00:00Z", "2026-04-01T04:00:00Z", 3, 3}));
}

TEST_F(TimelineCommandTest, RangeWithTimesIsTakenAsGiven) {
    EXPECT_EQ(answer({"range", "--from", "2026-04-01T08:00:00Z", "--to", "2026-04-01T09:00:00Z"}, kNewYork),
              document({kMomentEF}, kNewYork,
                       {"range", "2026-04-01T08:00:00Z", "2026-04-01T09:00:00Z", 1, 1}));
}

TEST_F(TimelineCommandTest, LastActiveDayFollowsTheNewestObservation) {
    // The newest observation is I, today at 12:00 UTC.
    EXPECT_EQ(answer({"last-active-day"}, kUTC),
              document({kMomentD, kMomentEF, kMomentG, kMomentI}, kUTC,
                       {"last-active-day", "2026-04-01T00:00:00Z", "2026-04-02T00:00:00Z", 4, 4}));

    TemporaryHome quiet;
    createDatabase(quiet, kQuietWeek);
    EXPECT_EQ(answer(quiet, {"last-active-day"}, kUTC),
              document({kMomentQ1, kMomentQ2}, kUTC,
                       {"last-active-day", "2026-03-25T00:00:00Z", "2026-03-26T00:00:00Z", 2, 2}));
    EXPECT_EQ(answer(quiet, {"last-active-day"}, kNewYork),
              document({kMomentQ1, kMomentQ2}, kNewYork,
                       {"last-active-day", "2026-03-25T04:00:00Z", "2026-03-26T04:00:00Z", 2, 2}));
}

TEST_F(TimelineCommandTest, LastActiveDayWithoutObservationsShowsToday) {
    TemporaryHome empty;
    createDatabase(empty, "");
    EXPECT_EQ(answer(empty, {"last-active-day"}, kUTC),
              document({}, kUTC, {"today", "2026-04-01T00:00:00Z", "2026-04-02T00:00:00Z", 0, 0}));
    EXPECT_EQ(answer(empty, {"last-active-day"}, kNewYork),
              document({}, kNewYork, {"today", "2026-04-01T04:00:00Z", "2026-04-02T04:00:00Z", 0, 0}));
}

// The quiet week with rows a damaged database may hold: T's frame has text
// for a time, so T's own time (19:00) dates it; U's own time is text and it
// has no frame, so it has no time at all and belongs to no day (it would be
// the newest, dated 1970, if text counted). Q2 and T name entities by BLOBs,
// or NULL, which are left out; T's number 42 became text in its TEXT column.
constexpr const char* kDamagedRows = R"SQL(
    INSERT INTO frames (id, display_id, captured_at, timestamp, image_path, analyzed) VALUES
        ('F-T', 'main', 'x', 'pending', '/f/t.png', 1);
    INSERT INTO observations (id, frame_id, type, timestamp, vlm_description, apps, created_at) VALUES
        ('T', 'F-T', 'visual', 1774465200.0, 'Checking the figures', '["Numbers"]', 'x'),
        ('U', NULL, 'visual', '2026-03-26T10:00:00Z', 'Undated work', '[]', 'x');
    INSERT INTO observation_entities (entity_id, observation_id, entity_kind, entity_value, confidence, created_at) VALUES
        ('q1', 'Q2', 'app', x'5061676573', 0.9, 0),
        ('t1', 'T', 'app', 'Numbers', 0.9, 0),
        ('t2', 'T', x'617070', 'Numbers', 0.9, 0),
        ('t3', 'T', 'count', 42, 0.9, 0),
        ('t4', 'T', NULL, 'Numbers', 0.9, 0),
        ('t5', 'T', 'app', NULL, 0.9, 0);
)SQL";

constexpr const char* kMomentT = R"(      {
        "bucket_end_iso" : "2026-03-25T19:05:00Z",
        "bucket_start_iso" : "2026-03-25T19:00:00Z",
        "entities" : [
          {
            "count" : 1,
            "kind" : "app",
            "value" : "Numbers"
          },
          {
            "count" : 1,
            "kind" : "count",
            "value" : "42"
          }
        ],
        "observation_count" : 1,
        "representative" : {
          "applications" : [
            "Numbers"
          ],
          "observation_id" : "T",
          "timestamp" : 1774465200,
          "timestamp_iso" : "2026-03-25T19:00:00Z",
          "vlm_description" : "Checking the figures"
        }
      })";

TEST_F(TimelineCommandTest, TimesOfTextAreNoTimesAndEntitiesWithoutTextAreLeftOut) {
    TemporaryHome damaged;
    createDatabase(damaged, std::string(kEntitiesWithoutConstraints) + kQuietWeek + kDamagedRows);
    const Meta day{"last-active-day", "2026-03-25T00:00:00Z", "2026-03-26T00:00:00Z", 3, 3};
    EXPECT_EQ(answer(damaged, {"last-active-day"}, kUTC), document({kMomentQ1, kMomentQ2, kMomentT}, kUTC, day));
    EXPECT_EQ(answer(damaged, {"range", "--from", "2026-03-25", "--to", "2026-03-26"}, kUTC),
              document({kMomentQ1, kMomentQ2, kMomentT}, kUTC,
                       {"range", "2026-03-25T00:00:00Z", "2026-03-27T00:00:00Z", 3, 3}));
    EXPECT_EQ(answer(damaged, {"today"}, kUTC),
              document({}, kUTC, {"today", "2026-04-01T00:00:00Z", "2026-04-02T00:00:00Z", 0, 0}));
}

TEST_F(TimelineCommandTest, LastActiveDayOfANewestTimeBeyondTheCalendarIsAnErrorEnvelope) {
    TemporaryHome farFuture;
    createDatabase(farFuture, std::string(kQuietWeek) +
                                  "INSERT INTO observations (id, type, timestamp, vlm_description, apps, "
                                  "created_at) VALUES ('Z', 'visual', 1e300, 'Damaged', '[]', 'x');");
    const ProcessResult result = farFuture.run({"last-active-day"}, in("UTC"));
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardError, "");
    EXPECT_EQ(replaceChecked(result.standardOutput, "timestamp", R"(2026-04-01T10:00:00Z)"),
              errorEnvelope("INVALID_TIME_RANGE",
                            "The newest observation's time, 292277026596-12-04T15:30:07Z, lies outside the "
                            "calendar, so it has no day to show. Use range --from and --to for the days you want.",
                            "<timestamp>"));
}

TEST_F(TimelineCommandTest, AnUnknownDurationUnitIsAnErrorEnvelope) {
    for (const Zone& zone : {kUTC, kNewYork}) {
        const ProcessResult result = workWeek.run({"recent", "--since", "5x"}, in(zone.identifier));
        EXPECT_EQ(result.exitStatus, 1);
        EXPECT_EQ(result.standardError, "");
        EXPECT_EQ(replaceChecked(result.standardOutput, "timestamp", R"(2026-04-01T10:00:00Z)"),
                  "{\n"
                  "  \"api_version\" : 2,\n"
                  "  \"data\" : null,\n"
                  "  \"error\" : {\n"
                  "    \"code\" : \"INVALID_TIME_RANGE\",\n"
                  "    \"message\" : \"Unknown duration unit 'x'. Use m, h, d, or w.\",\n"
                  "    \"timestamp\" : \"<timestamp>\"\n"
                  "  },\n"
                  "  \"meta\" : null,\n"
                  "  \"ok\" : false\n"
                  "}\n")
            << zone.identifier;
    }
}

TEST_F(TimelineCommandTest, WithoutADatabaseNothingIsCreated) {
    TemporaryHome bare;
    const ProcessResult result = bare.run({"today"}, in("UTC"));
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(replaceChecked(result.standardOutput, "timestamp", R"(2026-04-01T10:00:00Z)"),
              "{\n"
              "  \"api_version\" : 2,\n"
              "  \"data\" : null,\n"
              "  \"error\" : {\n"
              "    \"code\" : \"DB_NOT_FOUND\",\n"
              "    \"message\" : \"Database not found at " + escapedSlashes(bare.databasePath()) + "\",\n"
              "    \"timestamp\" : \"<timestamp>\"\n"
              "  },\n"
              "  \"meta\" : null,\n"
              "  \"ok\" : false\n"
              "}\n");
    EXPECT_FALSE(std::filesystem::exists(bare.databasePath()));
}

TEST_F(TimelineCommandTest, TheDatabaseFileIsLeftAsItWas) {
    const std::string before = fileBytes(workWeek.databasePath());
    for (const std::string command : {"today", "yesterday", "this-week", "last-active-day"}) {
        EXPECT_EQ(workWeek.run({command}, in("UTC")).exitStatus, 0) << command;
    }
    EXPECT_EQ(workWeek.run({"recent", "--since", "1w"}, in("UTC")).exitStatus, 0);
    EXPECT_EQ(fileBytes(workWeek.databasePath()), before);
}

// A whole number of seconds is written in plain digits, whatever its
// trailing zeros: 1791000000, not 1.791e+09.
TEST(TimelineNumbersTest, WholeSecondsAreWrittenInPlainDigits) {
    TemporaryHome home;
    createDatabase(home, R"SQL(
        INSERT INTO observations (id, type, timestamp, vlm_description, apps, created_at) VALUES
            ('ROUND', 'visual', 1791000000.0, 'Shipping the release', '[]', 'x');
    )SQL");
    const ProcessResult result = home.run({"range", "--from", "2026-10-03", "--to", "2026-10-03"}, in("UTC"));
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_NE(result.standardOutput.find("          \"timestamp\" : 1791000000,\n"
                                         "          \"timestamp_iso\" : \"2026-10-03T04:00:00Z\",\n"),
              std::string::npos)
        << result.standardOutput;
}

}  // namespace timeline_command_test
