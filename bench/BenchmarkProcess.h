#pragma once

#include <string>
#include <vector>

namespace VarnholtBench {

// One timed run of a child process.
struct TimedRun {
    int exitStatus = -1;      // the exit code, or 128 + signal number
    double milliseconds = 0;  // wall time from spawn to reaped exit
    double cpuMilliseconds = 0;  // user and system time of the child
    // The child's peak resident set (ru_maxrss). It counts every page the
    // child had mapped at once, the database pages it touched through
    // SQLite's memory map included: those belong to the operating system's
    // file cache, shared and dropped under pressure, not to the process.
    long peakResidentKilobytes = 0;
    std::string standardOutput;
};

// Starts `program` with `arguments` and exactly `environment`, standard input
// from /dev/null and standard error discarded, waits for it and returns its
// output and the wall time it took. Throws std::runtime_error when the
// program cannot be started.
TimedRun runTimed(const std::string& program, const std::vector<std::string>& arguments,
                  const std::vector<std::string>& environment);

}  // namespace VarnholtBench
