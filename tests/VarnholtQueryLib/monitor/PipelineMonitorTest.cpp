#include <gtest/gtest.h>

#include <clocale>
#include <cstdio>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "platform/LocalCalendar.h"
#include "monitor/PipelineMonitor.h"
#include "monitor/PipelineSnapshot.h"
#include "TestClock.h"

using namespace VarnholtQueryLib;

namespace {

// 2026-04-01T10:04:00Z
constexpr double kNow = 1775037840;
const std::string kClear = "\x1b[2J\x1b[0;0H";
const std::string kHome = "/home/ada";
const std::string kStatusPath = "/home/ada/.varnholt/pipeline-status.json";

// The quietest pipeline: nothing optional shown.
PipelineSnapshot quietSnapshot() {
    PipelineSnapshot snapshot;
    snapshot.updatedAt = kNow - 1;
    snapshot.capture = {"recording", std::nullopt};
    snapshot.analysis = {"waiting", std::nullopt};
    snapshot.queue = {4, 1, 3, 0, "", false, false, "normal"};
    snapshot.bridge = {"ready", "", 123, std::nullopt};
    snapshot.gliner = {false, std::nullopt};
    snapshot.backfill = {false, 0, 0};
    snapshot.cpu = {1.25, 6.5, 143.75};
    return snapshot;
}

// Every optional line and suffix shown.
PipelineSnapshot busySnapshot() {
    PipelineSnapshot snapshot = quietSnapshot();
    snapshot.capture.reason = "screen locked";
    snapshot.analysis.since = kNow - 600;  // decoded, never shown
    snapshot.queue.currentJobLabel = "frame 4711";
    snapshot.bridge.method = "xpc";
    snapshot.bridge.since = kNow - 90;
    snapshot.gliner = {true, kNow - 12};  // the file holds whole seconds
    snapshot.backfill = {true, 120, 97};
    return snapshot;
}

const std::string kQuietBody =
    "\n"
    "  CPU  Bridge: 143.8%   RAM  Bridge: 6.5 GB   Recorder: 1.2 GB\n"
    "\n"
    "  Capture:   recording\n"
    "  Analysis:  waiting\n"
    "  Job:       idle\n"
    "  Queue:     4 pending (1 realtime, 3 normal)\n"
    "  Bridge:    ready\n"
    "  Energy:    normal\n"
    "\n"
    "  Press Ctrl+C to exit\n";

std::string germanTitle(const std::string& time = "10:04") {
    return "Varnholt Pipeline Monitor \u2022 refresh 2s \u2022 " + time + "\n";
}

class PipelineMonitorTest : public ::testing::Test {
protected:
    std::string render(const PipelineSnapshot& snapshot) const {
        return renderPipelineScreen(snapshot, 2, kNow, german_);
    }

    const LocalCalendar german_{"UTC", "de_DE"};
};

TEST_F(PipelineMonitorTest, QuietScreenExactBytes) {
    EXPECT_EQ(render(quietSnapshot()), kClear + germanTitle() + kQuietBody);
}

TEST_F(PipelineMonitorTest, BusyScreenShowsEveryOptionalLine) {
    const std::string expected = kClear + germanTitle() +
                                 "\n"
                                 "  CPU  Bridge: 143.8%   RAM  Bridge: 6.5 GB   Recorder: 1.2 GB\n"
                                 "\n"
                                 "  Capture:   recording (screen locked)\n"
                                 "  Analysis:  waiting\n"
                                 "  Job:       frame 4711\n"
                                 "  Queue:     4 pending (1 realtime, 3 normal)\n"
                                 "  Bridge:    ready \u2014 xpc\n"
                                 "             for 90.0s\n"
                                 "  Energy:    normal\n"
                                 "  GLiNER:    active for 12.0s\n"
                                 "  Backfill:  120 attempted, 97 enriched\n"
                                 "\n"
                                 "  Press Ctrl+C to exit\n";
    EXPECT_EQ(render(busySnapshot()), expected);
}

TEST_F(PipelineMonitorTest, EnglishTitleUsesTheLocaleShortTime) {
    const LocalCalendar english("UTC", "en_US");
    // ICU writes a narrow no-break space (U+202F) before the day period.
    EXPECT_EQ(renderPipelineScreen(quietSnapshot(), 2, kNow, english),
              kClear + "Varnholt Pipeline Monitor \u2022 refresh 2s \u2022 10:04\u202fAM\n" + kQuietBody);
}

TEST_F(PipelineMonitorTest, TitleClockIsInTheCalendarsZone) {
    const LocalCalendar berlin("Europe/Berlin", "de_DE");
    EXPECT_EQ(renderPipelineScreen(quietSnapshot(), 2, kNow, berlin),
              kClear + germanTitle("12:04") + kQuietBody);
}

TEST_F(PipelineMonitorTest, TitleShowsTheInterval) {
    const std::string expected = kClear + "Varnholt Pipeline Monitor \u2022 refresh 5s \u2022 10:04\n";
    EXPECT_EQ(renderPipelineScreen(quietSnapshot(), 5, kNow, german_).substr(0, expected.size()), expected);
}

TEST_F(PipelineMonitorTest, ReasonAloneAddsParenthesis) {
    PipelineSnapshot snapshot = quietSnapshot();
    snapshot.capture.reason = "";
    EXPECT_NE(render(snapshot).find("  Capture:   recording ()\n"), std::string::npos);
}

TEST_F(PipelineMonitorTest, EmptyMethodShowsNoDash) {
    PipelineSnapshot snapshot = busySnapshot();
    snapshot.bridge.method = "";
    const std::string screen = render(snapshot);
    EXPECT_NE(screen.find("  Bridge:    ready\n             for 90.0s\n"), std::string::npos);
    EXPECT_EQ(screen.find("\u2014"), std::string::npos);
}

TEST_F(PipelineMonitorTest, BridgeSinceAloneAddsTheForLine) {
    PipelineSnapshot snapshot = quietSnapshot();
    snapshot.bridge.since = kNow - 3;
    std::string expectedBody = kQuietBody;
    expectedBody.replace(expectedBody.find("  Energy:"), 0, "             for 3.0s\n");
    EXPECT_EQ(render(snapshot), kClear + germanTitle() + expectedBody);
}

TEST_F(PipelineMonitorTest, GLiNERActiveWithoutSince) {
    PipelineSnapshot snapshot = quietSnapshot();
    snapshot.gliner.active = true;
    std::string expectedBody = kQuietBody;
    expectedBody.replace(expectedBody.find("\n\n  Press") + 1, 0, "  GLiNER:    active\n");
    EXPECT_EQ(render(snapshot), kClear + germanTitle() + expectedBody);
}

TEST_F(PipelineMonitorTest, InactiveGLiNERHidesItsLineEvenWithSince) {
    PipelineSnapshot snapshot = quietSnapshot();
    snapshot.gliner = {false, kNow - 5};
    EXPECT_EQ(render(snapshot), render(quietSnapshot()));
}

TEST_F(PipelineMonitorTest, BackfillActiveAlone) {
    PipelineSnapshot snapshot = quietSnapshot();
    snapshot.backfill = {true, 0, 0};
    std::string expectedBody = kQuietBody;
    expectedBody.replace(expectedBody.find("\n\n  Press") + 1, 0, "  Backfill:  0 attempted, 0 enriched\n");
    EXPECT_EQ(render(snapshot), kClear + germanTitle() + expectedBody);
}

TEST_F(PipelineMonitorTest, ElapsedIsNegativeWhenTheRecorderClockIsAhead) {
    PipelineSnapshot snapshot = busySnapshot();
    snapshot.bridge.since = kNow + 3.5;
    snapshot.gliner.since = kNow + 0.04;
    const std::string screen = render(snapshot);
    EXPECT_NE(screen.find("             for -3.5s\n"), std::string::npos);
    EXPECT_NE(screen.find("  GLiNER:    active for -0.0s\n"), std::string::npos);
}

TEST_F(PipelineMonitorTest, LargeElapsedStaysInSeconds) {
    PipelineSnapshot snapshot = busySnapshot();
    snapshot.bridge.since = kNow - 3 * 86400 - 0.25;  // 259200.25 s: ties round to even
    snapshot.gliner.since = kNow - 7261;
    const std::string screen = render(snapshot);
    EXPECT_NE(screen.find("             for 259200.2s\n"), std::string::npos);
    EXPECT_NE(screen.find("  GLiNER:    active for 7261.0s\n"), std::string::npos);
}

TEST_F(PipelineMonitorTest, LargeAndNegativeCounters) {
    PipelineSnapshot snapshot = quietSnapshot();
    snapshot.queue.depth = 9223372036854775807;
    snapshot.queue.realtime = -1;
    EXPECT_NE(render(snapshot).find("  Queue:     9223372036854775807 pending (-1 realtime, 3 normal)\n"),
              std::string::npos);
}

// The resource numbers are what printf's "%.1f" writes in the C locale,
// rounding included.
TEST_F(PipelineMonitorTest, ResourceNumbersMatchPrintfOneDecimal) {
    for (const double value : {0.0, 0.05, 0.15, 0.25, 0.35, 2.675, 99.95, -0.04, -1.25, 1e15 + 0.5,
                               123456789.123, 1e300}) {
        SCOPED_TRACE(value);
        PipelineSnapshot snapshot = quietSnapshot();
        snapshot.cpu = {value, value, value};
        char number[400];
        std::snprintf(number, sizeof number, "%.1f", value);
        const std::string n = number;
        EXPECT_NE(render(snapshot).find("  CPU  Bridge: " + n + "%   RAM  Bridge: " + n + " GB   Recorder: " +
                                        n + " GB\n"),
                  std::string::npos);
    }
}

// A process that switched its numeric locale still writes a period.
TEST_F(PipelineMonitorTest, DecimalSeparatorIsAlwaysAPeriod) {
    const std::string previous = std::setlocale(LC_NUMERIC, nullptr);
    bool switched = false;
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "de_DE"}) {
        if (std::setlocale(LC_NUMERIC, name)) {
            switched = true;
            break;
        }
    }
    if (!switched) GTEST_SKIP() << "no locale with a decimal comma installed";
    const std::string screen = render(quietSnapshot());
    std::setlocale(LC_NUMERIC, previous.c_str());
    EXPECT_NE(screen.find("143.8%   RAM  Bridge: 6.5 GB   Recorder: 1.2 GB\n"), std::string::npos);
}

// Labels come from a file anyone could have written: nothing in them may
// reach the terminal as a command, and no debris of one may be left.
TEST_F(PipelineMonitorTest, ControlCharactersInTheFilesTextsAreNotDrawn) {
    PipelineSnapshot snapshot = busySnapshot();
    snapshot.capture.state = "\x1b[2J\x1b[31mrecording\x1b[0m";
    snapshot.capture.reason = "screen\tlocked\r\n\x07";
    snapshot.analysis.phase = "\x1b]0;pwned\x07" "describing";
    snapshot.queue.currentJobLabel = "\x1b[1;1H\x1b[K";  // nothing left: idle
    snapshot.queue.energyMode = "low\xc2\x9b" "31mpower\x7f";
    snapshot.bridge.state = "re\x1bPq#0;2;0;0;0\x1b\\ady\x1b";
    snapshot.bridge.method = "\x1b(B\x1b" "7";  // nothing left: no dash
    const std::string expected = kClear + germanTitle() +
                                 "\n"
                                 "  CPU  Bridge: 143.8%   RAM  Bridge: 6.5 GB   Recorder: 1.2 GB\n"
                                 "\n"
                                 "  Capture:   recording (screenlocked)\n"
                                 "  Analysis:  describing\n"
                                 "  Job:       idle\n"
                                 "  Queue:     4 pending (1 realtime, 3 normal)\n"
                                 "  Bridge:    ready\n"
                                 "             for 90.0s\n"
                                 "  Energy:    lowpower\n"
                                 "  GLiNER:    active for 12.0s\n"
                                 "  Backfill:  120 attempted, 97 enriched\n"
                                 "\n"
                                 "  Press Ctrl+C to exit\n";
    EXPECT_EQ(render(snapshot), expected);
}

TEST_F(PipelineMonitorTest, StatusPathIsBelowTheHomeDirectory) {
    EXPECT_EQ(pipelineStatusPath(kHome), kStatusPath);
}

// ---------------------------------------------------------------------------
// The refresh loop over fake ports.

// Files in memory; records every read.
class FakeFileSystem final : public FileSystemPort {
public:
    std::optional<FileAttributes> attributes(const std::string& path) const override {
        if (files_.count(path) == 0) return std::nullopt;
        return FileAttributes{static_cast<std::int64_t>(files_.at(path).size()), std::nullopt};
    }
    std::optional<std::string> readFile(const std::string& path) const override {
        reads_.push_back(path);
        const auto file = files_.find(path);
        if (file == files_.end()) return std::nullopt;
        return file->second;
    }

    std::map<std::string, std::string> files_;
    mutable std::vector<std::string> reads_;
};

class FakeProcess final : public ProcessPort {
public:
    ProcessOutput run(const std::string&, const std::vector<std::string>&) const override {
        ADD_FAILURE() << "the monitor starts no process";
        return {};
    }
};

// Records each wait and lets the test change the world while "asleep".
class FakeSleep final : public SleepPort {
public:
    void sleepSeconds(unsigned seconds) const override {
        waits_.push_back(seconds);
        if (onSleep_) onSleep_();
    }
    mutable std::vector<unsigned> waits_;
    std::function<void()> onSleep_;
};

class PipelineMonitorLoopTest : public ::testing::Test {
protected:
    void writeStatus(const PipelineSnapshot& snapshot) {
        fileSystem_.files_[kStatusPath] = encodePipelineSnapshot(snapshot);
    }

    // Runs the monitor for as many refreshes as there are `refreshes`; each
    // one changes the world while the monitor sleeps (and the clock moves two
    // seconds). Returns what the monitor wrote before the first wait and
    // after each wait, one entry each.
    std::vector<std::string> runMonitor(const std::vector<std::function<void()>>& refreshes) {
        std::ostringstream out;
        std::vector<std::string> written;
        std::size_t taken = 0;
        const auto takeOutput = [&] {
            const std::string all = out.str();
            written.push_back(all.substr(taken));
            taken = all.size();
        };
        std::size_t next = 0;
        sleeper_.onSleep_ = [&] {
            takeOutput();
            clock_.instant += 2;
            refreshes.at(next++)();
        };
        runPipelineMonitor(platform_, calendar_, out, [&] { return next < refreshes.size(); });
        takeOutput();
        return written;
    }

    std::string screenOf(const PipelineSnapshot& snapshot, double now) const {
        return renderPipelineScreen(snapshot, 2, now, calendar_);
    }

    VarnholtTestSupport::TestClock clock_{kNow};
    FakeFileSystem fileSystem_;
    FakeProcess processes_;
    FakeSleep sleeper_;
    const Platform platform_{clock_, fileSystem_, processes_, sleeper_, kHome, true};
    const LocalCalendar calendar_{"UTC", "de_DE"};
};

TEST_F(PipelineMonitorLoopTest, MissingFileAtStartPrintsTwoLinesAndReturns) {
    std::ostringstream out;
    bool asked = false;
    runPipelineMonitor(platform_, calendar_, out, [&] { return asked = true; });
    EXPECT_EQ(out.str(),
              "No pipeline status found. Is the recorder running?\n"
              "Expected: /home/ada/.varnholt/pipeline-status.json\n");
    EXPECT_FALSE(asked);
    EXPECT_TRUE(sleeper_.waits_.empty());
    EXPECT_EQ(fileSystem_.reads_, std::vector<std::string>{kStatusPath});
}

TEST_F(PipelineMonitorLoopTest, MalformedFileAtStartIsLikeAMissingOne) {
    fileSystem_.files_[kStatusPath] = R"({"updatedAt": "2026-04-01T10:00:00Z"})";
    std::ostringstream out;
    runPipelineMonitor(platform_, calendar_, out, [] { return true; });
    EXPECT_EQ(out.str(),
              "No pipeline status found. Is the recorder running?\n"
              "Expected: /home/ada/.varnholt/pipeline-status.json\n");
    EXPECT_TRUE(sleeper_.waits_.empty());
}

TEST_F(PipelineMonitorLoopTest, FirstScreenFromTheFile) {
    writeStatus(busySnapshot());
    const std::vector<std::string> written = runMonitor({});
    ASSERT_EQ(written.size(), 1u);
    EXPECT_EQ(written[0], screenOf(busySnapshot(), kNow));
    EXPECT_TRUE(sleeper_.waits_.empty());
}

TEST_F(PipelineMonitorLoopTest, EachRefreshRedrawsWithAFreshClock) {
    writeStatus(quietSnapshot());
    const std::vector<std::string> written = runMonitor({[] {}, [] {}});
    ASSERT_EQ(written.size(), 3u);
    EXPECT_EQ(written[0], screenOf(quietSnapshot(), kNow));
    EXPECT_EQ(written[1], screenOf(quietSnapshot(), kNow + 2));
    EXPECT_EQ(written[2], screenOf(quietSnapshot(), kNow + 4));
    EXPECT_EQ(sleeper_.waits_, (std::vector<unsigned>{2, 2}));
    EXPECT_EQ(fileSystem_.reads_, std::vector<std::string>(3, kStatusPath));
}

TEST_F(PipelineMonitorLoopTest, RewrittenFileGivesANewScreen) {
    writeStatus(quietSnapshot());
    const std::vector<std::string> written = runMonitor({[&] { writeStatus(busySnapshot()); }});
    ASSERT_EQ(written.size(), 2u);
    EXPECT_EQ(written[0], screenOf(quietSnapshot(), kNow));
    EXPECT_EQ(written[1], screenOf(busySnapshot(), kNow + 2));
    EXPECT_NE(written[1].find("  Bridge:    ready \u2014 xpc\n             for 92.0s\n"), std::string::npos);
}

TEST_F(PipelineMonitorLoopTest, DeletedOrBrokenFileSkipsRefreshesUntilItIsBack) {
    writeStatus(quietSnapshot());
    const std::vector<std::string> written = runMonitor({
        [&] { fileSystem_.files_.erase(kStatusPath); },
        [&] { fileSystem_.files_[kStatusPath] = "{\"updatedAt\": \"2026-04-01T10:0"; },
        [&] { fileSystem_.files_[kStatusPath] = "[]"; },
        [&] { writeStatus(busySnapshot()); },
    });
    ASSERT_EQ(written.size(), 5u);
    EXPECT_EQ(written[0], screenOf(quietSnapshot(), kNow));
    EXPECT_EQ(written[1], "");
    EXPECT_EQ(written[2], "");
    EXPECT_EQ(written[3], "");
    EXPECT_EQ(written[4], screenOf(busySnapshot(), kNow + 8));
    EXPECT_EQ(sleeper_.waits_, (std::vector<unsigned>{2, 2, 2, 2}));
    EXPECT_EQ(fileSystem_.reads_.size(), 5u);
}

TEST_F(PipelineMonitorLoopTest, AMonitorWhoseScreenCannotBeWrittenStops) {
    writeStatus(quietSnapshot());
    // Like a terminal that hung up, or a pipe whose reader is gone.
    struct RefusingBuffer : std::streambuf {
        int_type overflow(int_type) override { return traits_type::eof(); }
    } refusing;
    std::ostream out(&refusing);
    int asked = 0;
    runPipelineMonitor(platform_, calendar_, out, [&] { return ++asked < 4; });
    EXPECT_EQ(asked, 0);
    EXPECT_TRUE(sleeper_.waits_.empty());
    EXPECT_FALSE(out.good());
}

TEST_F(PipelineMonitorLoopTest, AMonitorStopsWhenALaterScreenCannotBeWritten) {
    writeStatus(quietSnapshot());
    std::ostringstream out;
    int asked = 0;
    sleeper_.onSleep_ = [&] { out.setstate(std::ios::badbit); };
    runPipelineMonitor(platform_, calendar_, out, [&] { return ++asked < 4; });
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(sleeper_.waits_, std::vector<unsigned>{2});
}

}  // namespace
