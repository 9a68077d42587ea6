#pragma once

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>

#include "monitor/PipelineSnapshot.h"
#include "platform/PlatformPorts.h"

namespace VarnholtQueryLib {

class LocalCalendar;

// The live pipeline monitor (`top`): a full-screen text view of the
// recorder's pipeline status file, redrawn every two seconds until the user
// interrupts the process. It keeps no state but the screen: it installs no
// signal handler, and Ctrl+C ends the process by the signal's default action,
// leaving the last screen as drawn.

// Seconds between two reads of the status file.
inline constexpr std::uint32_t kPipelineRefreshSeconds = 2;

// <home>/.varnholt/pipeline-status.json
std::string pipelineStatusPath(const std::string& homeDirectory);

// The exact bytes of one screen for `snapshot`: the erase-screen and
// cursor-home control sequence (no newline after it), then the lines of the
// view, each ending in "\n". Every text taken from the file is drawn through
// terminalSafeText, so nothing in the file can steer the terminal; the job
// label and the bridge method count as empty when nothing is left of them.
// `now` (seconds since 1970 UTC) gives the clock in
// the title, in `calendar`'s zone and locale, and the elapsed times, which
// are `now` minus the snapshot's dates in seconds with one decimal, negative
// when the recorder's clock is ahead. Pure: no I/O.
std::string renderPipelineScreen(const PipelineSnapshot& snapshot, std::uint32_t intervalSeconds,
                                 double now, const LocalCalendar& calendar);

// Asked before every wait between two refreshes; false ends the monitor.
using MonitorContinuation = std::function<bool()>;

// The monitor's loop, with its output stream and its end made explicit so
// that tests can run a bounded number of refreshes over fake ports (the test
// seam of `top`; runTopCommand runs it on standard output and never stops).
//
// Reads the status file through `platform.fileSystem`. When it cannot be read
// or decoded at start, writes "No pipeline status found. Is the recorder
// running?" and "Expected: <path>" as two lines to `out` and returns.
// Otherwise draws the first screen, then, while `keepRefreshing()` is true,
// sleeps kPipelineRefreshSeconds through `platform.sleeper`, reads again and
// draws a new screen (with `platform.clock`'s now) when the file decodes; a
// file that is missing, half-written or malformed leaves the previous screen
// as it is. Flushes `out` after every screen, and returns as soon as `out`
// has failed (its reader is gone): the caller reports the lost output.
// Writes nothing else anywhere.
void runPipelineMonitor(const Platform& platform, const LocalCalendar& calendar, std::ostream& out,
                        const MonitorContinuation& keepRefreshing);

}  // namespace VarnholtQueryLib
