#include <gtest/gtest.h>

#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "TemporaryHome.h"

namespace top_command_test {

using namespace VarnholtTestSupport;
using namespace std::chrono_literals;

namespace {

const char* const kStatusFile = ".varnholt/pipeline-status.json";

// A status file as the recorder writes it; `depth` and `method` vary between
// versions so that each redraw is recognisable.
std::string statusFile(int depth, const std::string& method) {
    return R"({
  "updatedAt": "2026-04-01T09:59:58Z",
  "capture": {"state": "recording", "reason": null},
  "analysis": {"phase": "describing", "since": "2026-04-01T09:59:00Z"},
  "queue": {"depth": )" +
           std::to_string(depth) + R"(, "realtime": 1, "normal": 2, "critical": 0,
            "currentJobLabel": "", "isProcessing": false, "circuitOpen": false,
            "energyMode": "balanced"},
  "bridge": {"state": "ready", "method": ")" +
           method + R"(", "pid": 4242, "since": "2026-04-01T09:58:30Z"},
  "gliner": {"active": false},
  "backfill": {"active": false, "attempted": 0, "enriched": 0},
  "cpu": {"recorderRSS_GB": 1.25, "bridgeRSS_GB": 6.5, "bridgeCPU_pct": 12.34}
})";
}

// The screen for statusFile(depth, method) at the frozen 10:00:00 UTC, in a
// German locale, as it arrives through a terminal ("\n" becomes "\r\n").
std::string expectedScreen(int depth, const std::string& method) {
    std::string screen =
        "\x1b[2J\x1b[0;0H"
        "Varnholt Pipeline Monitor \u2022 refresh 2s \u2022 10:00\n"
        "\n"
        "  CPU  Bridge: 12.3%   RAM  Bridge: 6.5 GB   Recorder: 1.2 GB\n"
        "\n"
        "  Capture:   recording\n"
        "  Analysis:  describing\n"
        "  Job:       idle\n"
        "  Queue:     " +
        std::to_string(depth) +
        " pending (1 realtime, 2 normal)\n"
        "  Bridge:    ready" +
        (method.empty() ? std::string() : " \u2014 " + method) +
        "\n"
        "             for 90.0s\n"
        "  Energy:    balanced\n"
        "\n"
        "  Press Ctrl+C to exit\n";
    std::string terminal;
    for (const char c : screen) {
        if (c == '\n') terminal += '\r';
        terminal += c;
    }
    return terminal;
}

InvocationOptions frozenGermanClock() {
    InvocationOptions options;
    options.language = "de_DE.UTF-8";
    options.frozenTime = "2026-04-01 10:00:00";
    return options;
}

// True when `output` is nothing but a sequence of the given screens.
bool consistsOfScreens(std::string output, const std::vector<std::string>& screens) {
    while (!output.empty()) {
        bool matched = false;
        for (const auto& screen : screens) {
            if (output.compare(0, screen.size(), screen) == 0) {
                output.erase(0, screen.size());
                matched = true;
                break;
            }
        }
        if (!matched) return false;
    }
    return true;
}

TEST(TopCommandTest, MissingStatusFilePrintsTwoLinesAndExits) {
    TemporaryHome home;
    const ProcessResult result = home.run({"top"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardOutput,
              "No pipeline status found. Is the recorder running?\n"
              "Expected: " + home.path() + "/.varnholt/pipeline-status.json\n");
    EXPECT_EQ(result.standardError, "");
}

TEST(TopCommandTest, MalformedStatusFileAtStartIsLikeAMissingOne) {
    TemporaryHome home;
    // A fractional-second date makes the whole file unusable.
    std::string file = statusFile(3, "xpc");
    file.replace(file.find("09:59:58Z"), 9, "09:59:58.5Z");
    home.writeFile(kStatusFile, file);
    const ProcessResult result = home.run({"top"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardOutput,
              "No pipeline status found. Is the recorder running?\n"
              "Expected: " + home.path() + "/.varnholt/pipeline-status.json\n");
    EXPECT_EQ(result.standardError, "");
}

// One run through the monitor's life on a terminal: first screen, a rewritten
// file, a deleted file, the file back, then Ctrl+C.
TEST(TopCommandTest, RedrawsFromTheFileUntilInterrupted) {
    TemporaryHome home;
    home.writeFile(kStatusFile, statusFile(3, "xpc"));
    PseudoTerminalProcess top(home, {"top"}, frozenGermanClock());

    const std::string first = expectedScreen(3, "xpc");
    ASSERT_TRUE(top.waitForOutput(first, 3s)) << top.output();

    home.writeFile(kStatusFile, statusFile(7, ""));
    const std::string rewritten = expectedScreen(7, "");
    ASSERT_TRUE(top.waitForOutput(rewritten, 4500ms)) << top.output();

    // A refresh already under way when the file goes may still finish drawing.
    std::filesystem::remove(home.path() + "/" + kStatusFile);
    top.readFor(300ms);
    const std::size_t drawnBeforeSilence = top.output().size();
    top.readFor(4500ms);  // at least two refreshes without a file
    EXPECT_EQ(top.output().size(), drawnBeforeSilence) << top.output().substr(drawnBeforeSilence);

    // Still refreshing: the file's return is drawn.
    home.writeFile(kStatusFile, statusFile(11, "launchd"));
    const std::string back = expectedScreen(11, "launchd");
    ASSERT_TRUE(top.waitForOutput(back, 4500ms)) << top.output();

    top.sendSignal(SIGINT);
    EXPECT_EQ(top.waitForExit(3s), 128 + SIGINT);
    // Nothing but whole screens reached the terminal: no error text, no
    // half-drawn screen.
    EXPECT_TRUE(consistsOfScreens(top.output(), {first, rewritten, back})) << top.output();
}

std::string noStatusLines(const std::string& path) {
    return "No pipeline status found. Is the recorder running?\n"
           "Expected: " + path + "\n";
}

// A FIFO would block the read until a writer comes; a directory fails it.
TEST(TopCommandTest, AFIFOOrDirectoryAtTheStatusPathIsLikeNoFile) {
    TemporaryHome home;
    const std::string path = home.varnholtDirectory() + "/pipeline-status.json";
    InvocationOptions options;
    options.timeout = 20s;
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const ProcessResult withFIFO = home.run({"top"}, options);
    EXPECT_EQ(withFIFO.exitStatus, 0);
    EXPECT_EQ(withFIFO.standardOutput, noStatusLines(path));
    EXPECT_EQ(withFIFO.standardError, "");

    std::filesystem::remove(path);
    std::filesystem::create_directory(path);
    const ProcessResult withDirectory = home.run({"top"}, options);
    EXPECT_EQ(withDirectory.exitStatus, 0);
    EXPECT_EQ(withDirectory.standardOutput, noStatusLines(path));
    EXPECT_EQ(withDirectory.standardError, "");
}

// A directory replacing the file while the monitor runs skips refreshes, as
// a missing file does, and the file's return is drawn.
TEST(TopCommandTest, ADirectoryAtTheStatusPathLaterSkipsRefreshes) {
    TemporaryHome home;
    home.writeFile(kStatusFile, statusFile(3, "xpc"));
    PseudoTerminalProcess top(home, {"top"}, frozenGermanClock());
    ASSERT_TRUE(top.waitForOutput(expectedScreen(3, "xpc"), 3s)) << top.output();

    const std::string path = home.path() + "/" + kStatusFile;
    std::filesystem::remove(path);
    std::filesystem::create_directory(path);
    top.readFor(300ms);
    const std::size_t drawnBefore = top.output().size();
    top.readFor(4500ms);
    EXPECT_EQ(top.output().size(), drawnBefore) << top.output().substr(drawnBefore);

    std::filesystem::remove(path);
    home.writeFile(kStatusFile, statusFile(11, "launchd"));
    ASSERT_TRUE(top.waitForOutput(expectedScreen(11, "launchd"), 4500ms)) << top.output();
    top.sendSignal(SIGINT);
    EXPECT_EQ(top.waitForExit(3s), 128 + SIGINT);
}

// Labels come from a file anyone could have written: none of them may steer
// the terminal, and no debris of an escape sequence may be left on screen.
TEST(TopCommandTest, ControlCharactersInTheLabelsAreNotDrawn) {
    TemporaryHome home;
    std::string file = statusFile(3, "\\u001b]0;owned\\u0007xpc");
    file.replace(file.find("\"recording\""), 11, "\"\\u001b[2J\\u001b[31mrecording\\u001b[0m\"");
    file.replace(file.find("\"describing\""), 12, "\"describ\\u009b1;1Hing\\r\\n\"");
    file.replace(file.find("\"balanced\""), 10, "\"bal\\u007fanced\\u001bc\"");
    home.writeFile(kStatusFile, file);
    PseudoTerminalProcess top(home, {"top"}, frozenGermanClock());
    const std::string screen = expectedScreen(3, "xpc");
    ASSERT_TRUE(top.waitForOutput(screen, 3s)) << top.output();
    top.sendSignal(SIGINT);
    EXPECT_EQ(top.waitForExit(3s), 128 + SIGINT);
    EXPECT_TRUE(consistsOfScreens(top.output(), {screen})) << top.output();
}

// The password database may give the home with a trailing slash, or "/".
TEST(TopCommandTest, TheExpectedPathHasOneSlashAfterTheHome) {
    TemporaryHome home;
    home.setPasswordDatabaseHome(home.path() + "/");
    EXPECT_EQ(home.run({"top"}).standardOutput,
              noStatusLines(home.path() + "/.varnholt/pipeline-status.json"));
    if (std::filesystem::exists("/.varnholt")) GTEST_SKIP() << "/.varnholt exists on this machine";
    home.setPasswordDatabaseHome("/");
    const ProcessResult root = home.run({"top"});
    EXPECT_EQ(root.exitStatus, 0);
    EXPECT_EQ(root.standardOutput, noStatusLines("/.varnholt/pipeline-status.json"));
}

}  // namespace

}  // namespace top_command_test
