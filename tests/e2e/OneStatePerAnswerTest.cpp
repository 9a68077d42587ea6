// Every answer reads one committed state of the database, however many
// statements it takes, while the recorder keeps writing beside it. A writer
// in another process commits transaction after transaction, each keeping an
// invariant across tables that only a reader of one state can see whole:
//  - every step adds a pending frame and names its number in both
//    descriptions of the last two hours, so the descriptions of a
//    support-context answer and the pending count of its status block agree;
//  - every step moves the newest observation, with its frame, between today
//    and tomorrow, so the day last-active-day names holds that observation,
//    and a summary of the last two days counts it on even steps only, beside
//    as many pending frames as the step's number and highlights naming it;
//  - every step says in the other observation's description whether the
//    step is even or odd, so a summary of the rows that say "even" (looked
//    up in the full-text index) picks it on even steps only, and a timesheet
//    whose categories look for "even" and "odd" puts it in the category of
//    the step its coverage counts, its categories adding up to the rows it
//    counts.
// An answer that mixed two states breaks one of them; so must every answer
// with helpers warming the page cache beside it.

#include <sqlite3.h>

#include <chrono>
#include <map>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "ChildProcess.h"
#include "FixtureDatabase.h"
#include "MCPClientSession.h"
#include "SQLiteReadConnection.h"
#include "TalliedWarming.h"
#include "TemporaryHome.h"
#include "TestClock.h"
#include "TestPrograms.h"
#include "cli/CommandArguments.h"
#include "cli/CommandParser.h"
#include "cli/CommandRunners.h"
#include "platform/LocalCalendar.h"
#include "platform/SystemPlatform.h"

namespace one_state_per_answer_test {

using namespace VarnholtTestSupport;
using nlohmann::json;

namespace {

// Today, 2026-04-01, at 12:00 and 11:30 UTC, and tomorrow at 12:00.
constexpr const char* kFixture = R"SQL(
INSERT INTO frames (id, display_id, captured_at, timestamp, image_path, analyzed) VALUES
  ('F-ANCHOR', '1', '2026-04-01T11:30:00Z', 1775043000.0, '/anchor.png', 1),
  ('F-WANDER', '1', '2026-04-01T12:00:00Z', 1775044800.0, '/wander.png', 1);
INSERT INTO observations (id, frame_id, type, timestamp, vlm_description, apps, created_at) VALUES
  ('O-ANCHOR', 'F-ANCHOR', 'visual', 1775043000.0, 'Step 0: staying, even', '["Mail"]', 'x'),
  ('O-WANDER', 'F-WANDER', 'visual', 1775044800.0, 'Step 0: moving on', '["Mail"]', 'x');
)SQL";

// One transaction of the writer; :step is 1, 2, 3, ...
constexpr const char* kStep = R"SQL(
INSERT INTO frames (id, display_id, captured_at, timestamp, image_path, analyzed)
  VALUES ('P-' || :step, '1', '2026-03-31T00:00:00Z', 1774915200.0, '/pending.png', 0);
UPDATE frames SET timestamp = CASE WHEN :step % 2 = 0 THEN 1775044800.0 ELSE 1775131200.0 END
  WHERE id = 'F-WANDER';
UPDATE observations SET timestamp = (SELECT timestamp FROM frames WHERE id = 'F-WANDER'),
  vlm_description = 'Step ' || :step || ': moving on' WHERE id = 'O-WANDER';
UPDATE observations SET vlm_description = 'Step ' || :step || ': staying, ' ||
  CASE WHEN :step % 2 = 0 THEN 'even' ELSE 'odd' END WHERE id = 'O-ANCHOR';
)SQL";

// How long the tool answers beside the writer: long enough for hundreds of
// answers, short enough for the everyday test run.
constexpr auto kAnsweringTime = std::chrono::milliseconds(2500);

InvocationOptions frozen() {
    InvocationOptions options;
    options.frozenTime = "2026-04-01 12:30:00";
    return options;
}

// What breaks the invariant in a support-context answer; empty when it holds.
std::string supportContextMismatch(const json& document) {
    if (document["ok"] != true) return "failed: " + document.dump();
    const json& operational = document["data"]["status"]["operational"];
    if (!operational.is_object()) return "no metrics: " + document.dump();
    const std::string step = "Step " + std::to_string(operational["pending_frames"].get<long long>()) + ":";
    const json& recent = document["data"]["recent_observations"];
    if (recent.size() != 2) return "not both descriptions: " + recent.dump();
    for (const json& observation : recent) {
        if (observation["vlm_description"].get<std::string>().rfind(step, 0) != 0) {
            return "pending " + operational["pending_frames"].dump() + " beside " + recent.dump();
        }
    }
    return "";
}

// What breaks the invariant in a last-active-day answer; empty when it holds.
std::string lastActiveDayMismatch(const json& document) {
    if (document["ok"] != true) return "failed: " + document.dump();
    for (const json& moment : document["data"]["moments"]) {
        if (moment["representative"]["observation_id"] == "O-WANDER") return "";
    }
    return "the day " + document["meta"]["query"].dump() + " without the newest observation, " +
           std::to_string(document["data"]["moments"].size()) + " moments";
}

// What breaks the invariant in a summary of the last two days: its coverage,
// its rows and its highlights come from three kinds of statement.
std::string summaryMismatch(const json& document) {
    if (document["ok"] != true) return "failed: " + document.dump();
    const long long pending = document["data"]["coverage"]["pending_frames"].get<long long>();
    const long long rows = document["data"]["observation_count"].get<long long>();
    // On even steps the wandering observation is today's, on odd ones tomorrow's.
    if (rows != (pending % 2 == 0 ? 2 : 1)) {
        return "pending " + std::to_string(pending) + " beside " + std::to_string(rows) + " observations";
    }
    const std::string step = "Step " + std::to_string(pending) + ":";
    for (const json& session : document["data"]["sessions"]) {
        for (const json& highlight : session["highlights"]) {
            if (highlight.get<std::string>().rfind(step, 0) != 0) {
                return "pending " + std::to_string(pending) + " beside " + session["highlights"].dump();
            }
        }
    }
    return "";
}

// What breaks the invariant in a timesheet of the last two days whose
// categories are Even (text:even) and Odd (text:odd): its coverage, its
// rows, its text rules' look-ups and its spans come from four kinds of
// statement.
std::string timesheetMismatch(const json& document) {
    if (document["ok"] != true) return "failed: " + document.dump();
    const json& data = document["data"];
    const long long pending = data["coverage"]["pending_frames"].get<long long>();
    const bool even = pending % 2 == 0;
    const long long rows = data["observation_count"].get<long long>();
    const long long evenRows = data["categories"][0]["observation_count"].get<long long>();
    const long long oddRows = data["categories"][1]["observation_count"].get<long long>();
    const long long otherRows = data["uncategorized"]["observation_count"].get<long long>();
    const std::string counts = "pending " + std::to_string(pending) + " beside " + std::to_string(rows) + " rows, " +
                               std::to_string(evenRows) + " even, " + std::to_string(oddRows) + " odd, " +
                               std::to_string(otherRows) + " other";
    if (rows != (even ? 2 : 1) || evenRows != (even ? 1 : 0) || oddRows != (even ? 0 : 1) ||
        evenRows + oddRows + otherRows != data["coverage"]["observations"].get<long long>()) {
        return counts;
    }
    const long long seconds = data["categories"][0]["seconds"].get<long long>() +
                              data["categories"][1]["seconds"].get<long long>() +
                              data["uncategorized"]["seconds"].get<long long>();
    if (seconds != data["active_seconds"].get<long long>()) return counts + ", seconds that do not add up";
    const std::string step = "Step " + std::to_string(pending) + ":";
    for (const json& part : {data["categories"][0], data["categories"][1], data["uncategorized"]}) {
        for (const json& span : part["spans"]) {
            if (span["description"].get<std::string>().rfind(step, 0) != 0) {
                return "pending " + std::to_string(pending) + " beside " + span.dump();
            }
        }
    }
    return "";
}

// What breaks the invariant in a summary of the last two days' rows whose
// description says "even": the full-text look-up, the rows, the coverage and
// the highlights must all be of one step.
std::string selectedSummaryMismatch(const json& document) {
    if (document["ok"] != true) return "failed: " + document.dump();
    const json& coverage = document["data"]["coverage"];
    const long long pending = coverage["pending_frames"].get<long long>();
    const bool even = pending % 2 == 0;
    const std::string counts = "pending " + std::to_string(pending) + " beside " + coverage.dump();
    if (coverage["observations"] != (even ? 2 : 1)) return counts;
    if (coverage["selected_observations"] != (even ? 1 : 0)) return counts;
    if (document["data"]["observation_count"] != coverage["selected_observations"]) return counts;
    const std::string step = "Step " + std::to_string(pending) + ":";
    for (const json& session : document["data"]["sessions"]) {
        for (const json& highlight : session["highlights"]) {
            if (highlight.get<std::string>().rfind(step, 0) != 0) {
                return "pending " + std::to_string(pending) + " beside " + session["highlights"].dump();
            }
        }
    }
    return "";
}

const json kTimesheetCategories = json::parse(R"([{"name": "Even", "rules": ["text:even"]},
                                                  {"name": "Odd", "rules": ["text:odd"]}])");

// The writer's committed steps, one pending frame each.
long long committedSteps(const std::string& path) {
    sqlite3* handle = nullptr;
    long long count = -1;
    if (sqlite3_open_v2(path.c_str(), &handle, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK) {
        sqlite3_stmt* statement = nullptr;
        if (sqlite3_prepare_v2(handle, "SELECT count(*) FROM frames WHERE analyzed = 0", -1, &statement,
                               nullptr) == SQLITE_OK &&
            sqlite3_step(statement) == SQLITE_ROW) {
            count = sqlite3_column_int64(statement, 0);
        }
        sqlite3_finalize(statement);
    }
    sqlite3_close(handle);
    return count;
}

}  // namespace

TEST(OneStatePerAnswerTest, AnswersBesideAWriterEachReadOneCommittedState) {
    TemporaryHome home;
    home.varnholtDirectory();
    createFixtureDatabase(home.databasePath(), kFixture);
    ReadyChildProcess writer(kTransactionLoopBinary,
                             {kTransactionLoopBinary, home.databasePath(), "60", kStep}, "", "ready");

    // The first mismatch of each kind of answer, and how many there were.
    std::map<std::string, std::pair<int, std::string>> mismatches;
    int answers = 0;
    const auto check = [&](const std::string& mismatch, const std::string& what) {
        ++answers;
        if (mismatch.empty()) return;
        auto& [count, first] = mismatches[what];
        if (count++ == 0) first = mismatch;
    };
    // The MCP server answers many calls in little time; the command line
    // answers the same way, one process per answer.
    {
        MCPClientSession server(home, frozen());
        const auto end = std::chrono::steady_clock::now() + kAnsweringTime;
        while (std::chrono::steady_clock::now() < end) {
            check(supportContextMismatch(server.call("support_context")["structuredContent"]), "support_context");
            check(lastActiveDayMismatch(
                      server.call("timeline", {{"preset", "last-active-day"}})["structuredContent"]),
                  "timeline last-active-day");
            check(summaryMismatch(server.call("summary", {{"since", "2d"}})["structuredContent"]), "summary");
            check(timesheetMismatch(server.call("timesheet", {{"since", "2d"}, {"categories", kTimesheetCategories}})
                                        ["structuredContent"]),
                  "timesheet");
            check(selectedSummaryMismatch(
                      server.call("summary", {{"since", "2d"}, {"match", json::array({"even"})}})["structuredContent"]),
                  "summary match");
        }
    }
    for (int run = 0; run < 10; ++run) {
        check(supportContextMismatch(json::parse(home.run({"support-context"}, frozen()).standardOutput)),
              "support-context");
        check(lastActiveDayMismatch(json::parse(home.run({"last-active-day"}, frozen()).standardOutput)),
              "last-active-day");
        check(summaryMismatch(json::parse(home.run({"summary", "--since", "2d"}, frozen()).standardOutput)),
              "summary --since 2d");
        check(timesheetMismatch(json::parse(home.run({"timesheet", "--since", "2d", "--category", "Even=text:even",
                                                      "--category", "Odd=text:odd"},
                                                     frozen())
                                                .standardOutput)),
              "timesheet --since 2d");
        check(selectedSummaryMismatch(json::parse(
                  home.run({"summary", "--since", "2d", "--match", "even"}, frozen()).standardOutput)),
              "summary --since 2d --match even");
    }
    writer.kill();

    // The writer kept writing throughout, so the answers had states to mix.
    EXPECT_GE(committedSteps(home.databasePath()), 100);
    EXPECT_GE(answers, 50);
    for (const auto& [what, mismatch] : mismatches) {
        ADD_FAILURE() << mismatch.first << " " << what << " answers of " << answers
                      << " mixed two states, the first: " << mismatch.second;
    }
}

namespace {

// The frozen clock of frozen(), 2026-04-01 12:30:00 UTC.
constexpr double kFrozenNow = 1775046600.0;

// What a test needs to answer commands in this process as the programs
// answer them: the platform, the calendar and the command line's parser.
class InProcessAnswers {
public:
    explicit InProcessAnswers(const TemporaryHome& home)
        : platform_{clock_, files_, processes_, sleeper_, home.path(), false} {}

    VarnholtQueryLib::Command command(std::vector<std::string> words) const {
        words.insert(words.begin(), "varnholt-query");
        return VarnholtQueryLib::parseCommand(VarnholtQueryLib::CommandArguments::fromProcessArguments(words),
                                              calendar_, clock_.now(), files_);
    }
    VarnholtQueryLib::CommandEnvironment environment() const { return {platform_, calendar_}; }

private:
    TestClock clock_{kFrozenNow};
    VarnholtQueryLib::SystemFileSystem files_;
    VarnholtQueryLib::SystemProcess processes_;
    VarnholtQueryLib::SystemSleep sleeper_;
    const VarnholtQueryLib::LocalCalendar calendar_{"UTC", "en_US"};
    const VarnholtQueryLib::Platform platform_;
};

}  // namespace

// The same answers with helpers warming the page cache beside them. The
// programs start helpers only for an answer that proves cold, reading from
// disk, which answers over these few rows never do; so these answers run in
// this process, on a connection opened as an answer's is (AnswerSnapshot:
// one read transaction from the schema check on), with helpers that start
// at once or from the answer's own progress checks (TalliedWarming). They
// read on connections of their own, beside a writer that commits all the
// while: the answer must still be of one state.
TEST(OneStatePerAnswerTest, AnswersWithWarmingHelpersEachReadOneCommittedState) {
    namespace Query = VarnholtQueryLib;
    using VarnholtSQLiteSupport::SQLiteReadConnection;
    TemporaryHome home;
    home.varnholtDirectory();
    createFixtureDatabase(home.databasePath(), kFixture);
    ReadyChildProcess writer(kTransactionLoopBinary,
                             {kTransactionLoopBinary, home.databasePath(), "60", kStep}, "", "ready");

    const InProcessAnswers answers(home);
    const Query::CommandEnvironment environment = answers.environment();
    const auto timeline = std::get<Query::Command::Recent>(answers.command({"last-active-day"}).value);
    const auto summary = std::get<Query::Command::Summary>(answers.command({"summary", "--since", "2d"}).value);
    const auto timesheet = std::get<Query::Command::Timesheet>(
        answers.command({"timesheet", "--since", "2d", "--category", "Even=text:even", "--category", "Odd=text:odd"})
            .value);
    const auto selected =
        std::get<Query::Command::Summary>(answers.command({"summary", "--since", "2d", "--match", "even"}).value);

    TalliedWarming warming(home.databasePath(), TalliedWarming::bothWays());
    // One answer: its own connection in one read transaction, warmed.
    const auto answer = [&](const auto& run) {
        SQLiteReadConnection connection(home.databasePath(), SQLiteReadConnection::States::oneForTheConnection);
        const WarmedConnection warmed(connection, warming);
        return run(connection);
    };

    std::map<std::string, std::pair<int, std::string>> mismatches;
    int count = 0;
    const auto check = [&](const std::string& mismatch, const std::string& what) {
        ++count;
        if (mismatch.empty()) return;
        auto& [times, first] = mismatches[what];
        if (times++ == 0) first = mismatch;
    };
    const long long stepsBefore = committedSteps(home.databasePath());
    for (int round = 0; round < 60; ++round) {
        check(supportContextMismatch(answer([&](SQLiteReadConnection& connection) {
                  return Query::answerSupportContextCommand(connection, environment);
              })),
              "support-context");
        check(lastActiveDayMismatch(answer([&](SQLiteReadConnection& connection) {
                  return Query::answerTimelineCommand(timeline, connection, environment);
              })),
              "last-active-day");
        check(summaryMismatch(answer([&](SQLiteReadConnection& connection) {
                  return Query::answerSummaryCommand(summary, connection, environment);
              })),
              "summary --since 2d");
        check(timesheetMismatch(answer([&](SQLiteReadConnection& connection) {
                  return Query::answerTimesheetCommand(timesheet, connection, environment);
              })),
              "timesheet --since 2d");
        check(selectedSummaryMismatch(answer([&](SQLiteReadConnection& connection) {
                  return Query::answerSummaryCommand(selected, connection, environment);
              })),
              "summary --since 2d --match even");
    }
    const long long stepsAfter = committedSteps(home.databasePath());
    writer.kill();

    // The writer committed while the answers read, and helpers read beside
    // them: at once for every answer whose range has room for them.
    EXPECT_GT(stepsAfter, stepsBefore);
    const VarnholtTestSupport::WarmingTally& tally = warming.tally();
    EXPECT_GT(tally.started, 0) << tally.warmings << " warmings";
    RecordProperty("answers", count);
    RecordProperty("warmings", tally.warmings);
    RecordProperty("warmings_started", tally.started);
    RecordProperty("helper_failures", tally.failures);
    for (const auto& [what, mismatch] : mismatches) {
        ADD_FAILURE() << mismatch.first << " " << what << " answers of " << count
                      << " mixed two states, the first: " << mismatch.second;
    }
}

}  // namespace one_state_per_answer_test
