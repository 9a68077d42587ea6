#pragma once

#include <string>
#include <vector>

namespace VarnholtBench {

// One timed run of a child process.
struct TimedRun {
    int exitStatus = -1;     // the exit code, or 128 + signal number
    double milliseconds = 0; // wall time from spawn to reaped exit
    std::string standardOutput;
};

// Starts `program` with `arguments` and exactly `environment`, standard input
// from /dev/null and standard error discarded, waits for it and returns its
// output and the wall time it took. Throws std::runtime_error when the
// program cannot be started.
TimedRun runTimed(const std::string& program, const std::vector<std::string>& arguments,
                  const std::vector<std::string>& environment);

}  // namespace VarnholtBench
