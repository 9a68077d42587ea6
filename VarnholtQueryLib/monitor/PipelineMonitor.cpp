#include "monitor/PipelineMonitor.h"

#include <charconv>
#include <optional>
#include <ostream>

#include "monitor/TerminalText.h"
#include "platform/LocalCalendar.h"

namespace VarnholtQueryLib {

namespace {

// Erase the whole screen, then move the cursor to the top-left corner.
constexpr char kClearScreen[] = "\x1b[2J\x1b[0;0H";

// printf's "%.1f" as the C locale writes it. std::to_chars rounds the same
// way but never consults the locale, so a decimal comma can never slip in,
// whatever LANG says and whoever calls setlocale.
std::string oneDecimal(double value) {
    char buffer[400];  // enough for any double in fixed notation
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, 1);
    if (result.ec != std::errc()) return "?";
    return std::string(buffer, result.ptr);
}

std::string elapsedSeconds(double now, double since) { return oneDecimal(now - since) + "s"; }

std::optional<PipelineSnapshot> readSnapshot(const FileSystemPort& fileSystem, const std::string& path) {
    const std::optional<std::string> bytes = fileSystem.readFile(path);
    if (!bytes) return std::nullopt;
    return decodePipelineSnapshot(*bytes);
}

}  // namespace

std::string pipelineStatusPath(const std::string& homeDirectory) {
    return homeDirectory + "/.varnholt/pipeline-status.json";
}

std::string renderPipelineScreen(const PipelineSnapshot& snapshot, std::uint32_t intervalSeconds,
                                 double now, const LocalCalendar& calendar) {
    // The labels are padded so that every value starts in the fourteenth
    // column; the blanks are part of the layout. Every text from the file is
    // drawn without its control characters; an empty job label or method
    // is judged after that, so a label of controls alone reads as none.
    std::string screen = kClearScreen;
    const auto line = [&screen](const std::string& text) { screen += text + "\n"; };

    line("Varnholt Pipeline Monitor \u2022 refresh " + std::to_string(intervalSeconds) + "s \u2022 " +
         calendar.shortLocalTime(now));
    line("");
    line("  CPU  Bridge: " + oneDecimal(snapshot.cpu.bridgeCPU_pct) + "%   " +
         "RAM  Bridge: " + oneDecimal(snapshot.cpu.bridgeRSS_GB) + " GB   " +
         "Recorder: " + oneDecimal(snapshot.cpu.recorderRSS_GB) + " GB");
    line("");

    std::string capture = "  Capture:   " + terminalSafeText(snapshot.capture.state);
    if (snapshot.capture.reason) capture += " (" + terminalSafeText(*snapshot.capture.reason) + ")";
    line(capture);
    line("  Analysis:  " + terminalSafeText(snapshot.analysis.phase));
    const std::string job = terminalSafeText(snapshot.queue.currentJobLabel);
    line("  Job:       " + (job.empty() ? std::string("idle") : job));
    line("  Queue:     " + std::to_string(snapshot.queue.depth) + " pending (" +
         std::to_string(snapshot.queue.realtime) + " realtime, " + std::to_string(snapshot.queue.normal) +
         " normal)");

    std::string bridge = "  Bridge:    " + terminalSafeText(snapshot.bridge.state);
    const std::string method = terminalSafeText(snapshot.bridge.method);
    if (!method.empty()) bridge += " \u2014 " + method;
    line(bridge);
    if (snapshot.bridge.since) line("             for " + elapsedSeconds(now, *snapshot.bridge.since));

    line("  Energy:    " + terminalSafeText(snapshot.queue.energyMode));
    if (snapshot.gliner.active) {
        std::string gliner = "  GLiNER:    active";
        if (snapshot.gliner.since) gliner += " for " + elapsedSeconds(now, *snapshot.gliner.since);
        line(gliner);
    }
    if (snapshot.backfill.active) {
        line("  Backfill:  " + std::to_string(snapshot.backfill.attempted) + " attempted, " +
             std::to_string(snapshot.backfill.enriched) + " enriched");
    }
    line("");
    line("  Press Ctrl+C to exit");
    return screen;
}

void runPipelineMonitor(const Platform& platform, const LocalCalendar& calendar, std::ostream& out,
                        const MonitorContinuation& keepRefreshing) {
    const std::string path = pipelineStatusPath(platform.homeDirectory);
    // True while the screens still reach `out`.
    const auto draw = [&](const PipelineSnapshot& snapshot) {
        out << renderPipelineScreen(snapshot, kPipelineRefreshSeconds, platform.clock.now(), calendar);
        out.flush();
        return static_cast<bool>(out);
    };

    const std::optional<PipelineSnapshot> first = readSnapshot(platform.fileSystem, path);
    if (!first) {
        out << "No pipeline status found. Is the recorder running?\n"
            << "Expected: " << path << "\n";
        out.flush();
        return;
    }
    // A monitor nobody can see any more (the terminal or the pipe is gone)
    // stops instead of redrawing into the void forever.
    if (!draw(*first)) return;

    while (keepRefreshing()) {
        platform.sleeper.sleepSeconds(kPipelineRefreshSeconds);
        // The recorder rewrites the file in place every few seconds, so a read
        // may catch it missing or half-written: skip this refresh silently and
        // keep the last screen.
        if (const std::optional<PipelineSnapshot> snapshot = readSnapshot(platform.fileSystem, path)) {
            if (!draw(*snapshot)) return;
        }
    }
}

}  // namespace VarnholtQueryLib
