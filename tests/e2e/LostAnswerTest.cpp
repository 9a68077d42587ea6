// An answer that cannot be written (standard output closed, on a full disk,
// or read by a process that went away while SIGPIPE is ignored, as agent
// runtimes often run us) is a failure: one line on standard error says so
// and the exit status is 1, for every kind of output the tool writes.

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <chrono>
#include <string>
#include <vector>

#include "RecorderSchema.h"
#include "TemporaryHome.h"

namespace lost_answer_test {

using namespace VarnholtTestSupport;

namespace {

struct Situation {
    StreamTarget target;
    const char* reason;  // as the system words it
};

const std::vector<Situation> kSituations = {
    {StreamTarget::closed, "Bad file descriptor"},
    {StreamTarget::fullDevice, "No space left on device"},
    {StreamTarget::brokenPipe, "Broken pipe"},
};

// No frozen clock here: libfaketime opens a file of its own before main runs,
// and with standard output closed that file would take descriptor 1.
InvocationOptions writingTo(StreamTarget target) {
    InvocationOptions options;
    options.standardOutput = target;
    // The monitor used to draw into the void forever.
    options.timeout = std::chrono::seconds(20);
    return options;
}

void createDatabase(const TemporaryHome& home) {
    home.varnholtDirectory();
    sqlite3* handle = VarnholtSampleData::openWritableDatabase(home.databasePath());
    VarnholtSampleData::createRecorderSchema(handle);
    sqlite3_close(handle);
}

const char* const kStatusFile = R"({
  "updatedAt": "2026-04-01T09:59:58Z",
  "capture": {"state": "recording"},
  "analysis": {"phase": "describing"},
  "queue": {"depth": 3, "realtime": 1, "normal": 2, "critical": 0, "currentJobLabel": "",
            "isProcessing": false, "circuitOpen": false, "energyMode": "balanced"},
  "bridge": {"state": "ready", "method": "xpc", "pid": 4242},
  "gliner": {"active": false},
  "backfill": {"active": false, "attempted": 0, "enriched": 0},
  "cpu": {"recorderRSS_GB": 1.25, "bridgeRSS_GB": 6.5, "bridgeCPU_pct": 12.34}
})";

void expectLostAnswer(const TemporaryHome& home, const std::vector<std::string>& arguments) {
    for (const Situation& situation : kSituations) {
        const ProcessResult result = home.run(arguments, writingTo(situation.target));
        EXPECT_EQ(result.exitStatus, 1) << arguments.at(0) << ", " << situation.reason;
        EXPECT_EQ(result.standardError,
                  std::string("Failed to write to standard output: ") + situation.reason + "\n")
            << arguments.at(0);
    }
}

}  // namespace

TEST(LostAnswerTest, JSONDocuments) {
    TemporaryHome home;
    createDatabase(home);
    expectLostAnswer(home, {"today"});
    expectLostAnswer(home, {"search", "invoice"});
    expectLostAnswer(home, {"entities"});
    expectLostAnswer(home, {"support-context"});
    home.writeFile(".varnholt/logs/recorder.log", "");
    home.writeFile(".varnholt/logs/mlx-bridge-recorder-vlm.log", "");
    home.writeFile(".varnholt/logs/mlx-bridge-recorder-vlm-stdout.log", "");
    expectLostAnswer(home, {"status"});  // not a terminal: the JSON form
}

TEST(LostAnswerTest, ErrorEnvelopes) {
    TemporaryHome home;
    expectLostAnswer(home, {"frobnicate"});
    expectLostAnswer(home, {"today"});  // no database
    expectLostAnswer(home, {"search", "invoice", "--bogus"});
}

TEST(LostAnswerTest, VersionAndCommandList) {
    TemporaryHome home;
    expectLostAnswer(home, {"--version"});
    expectLostAnswer(home, {"version"});
    expectLostAnswer(home, {"--help", "--json"});
}

TEST(LostAnswerTest, TheMonitorStopsWhenItsScreenCannotBeWritten) {
    TemporaryHome home;
    expectLostAnswer(home, {"top"});  // the two lines about a missing file
    home.writeFile(".varnholt/pipeline-status.json", kStatusFile);
    expectLostAnswer(home, {"top"});
}

// Help goes to standard error; when that fails too, no one is left to tell,
// but the exit status still says it.
TEST(LostAnswerTest, HelpOnStandardError) {
    TemporaryHome home;
    for (const StreamTarget target :
         {StreamTarget::closed, StreamTarget::fullDevice, StreamTarget::brokenPipe}) {
        InvocationOptions options;
        options.standardError = target;
        const ProcessResult result = home.run({"--help"}, options);
        EXPECT_EQ(result.exitStatus, 1);
        EXPECT_EQ(result.standardOutput, "");
    }
}

TEST(LostAnswerTest, AnAnswerThatArrivesStillExitsZeroWithoutANote) {
    TemporaryHome home;
    createDatabase(home);
    const ProcessResult result = home.run({"today"}, writingTo(StreamTarget::pipe));
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardError, "");
    EXPECT_NE(result.standardOutput.find("\"ok\" : true"), std::string::npos);
}

}  // namespace lost_answer_test
