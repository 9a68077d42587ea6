#pragma once

#include <string>
#include <vector>

namespace VarnholtBench {

// One timed run of a child process.
struct TimedRun {
    int exitStatus = -1;      // the exit code, or 128 + signal number
    double milliseconds = 0;  // wall time from spawn to reaped exit
    double cpuMilliseconds = 0;  // user and system time of the child
    // The child's peak resident set (ru_maxrss): every page it had mapped
    // at once, a build that reads the database through a memory map
    // counting the database pages it touched.
    long peakResidentKilobytes = 0;
    // What the child made the kernel read from the disk (ru_inblock, counted
    // in 512-byte blocks on Linux): pages found in the operating system's
    // cache cost nothing here, readahead around a page fault does.
    long long bytesRead = 0;
    std::string standardOutput;
};

// Starts `program` with `arguments` and exactly `environment`, standard input
// from /dev/null and standard error discarded, waits for it and returns its
// output and the wall time it took. Throws std::runtime_error when the
// program cannot be started.
TimedRun runTimed(const std::string& program, const std::vector<std::string>& arguments,
                  const std::vector<std::string>& environment);

// Drops the pages of the file at `path` from the operating system's cache
// (posix_fadvise POSIX_FADV_DONTNEED: clean pages that no process maps go;
// no privileges needed), so that the next reader finds it on disk as after a
// reboot. A file that does not exist is left alone. Throws
// std::runtime_error when the advice fails.
void evictFromPageCache(const std::string& path);

}  // namespace VarnholtBench
