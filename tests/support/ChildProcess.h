#pragma once

#include <string>
#include <vector>

namespace VarnholtTestSupport {

// Helpers for starting child programs in tests.

// The argv or envp form of `strings`: pointers into them, then a null. The
// strings must outlive the result.
std::vector<char*> nullTerminated(std::vector<std::string>& strings);

// The exit code of a wait status, 128 + the signal for a child that a signal
// ended, -1 otherwise.
int decodeWaitStatus(int status);

// A child that keeps running beside the test until it is killed, such as a
// process holding a database connection the way the recorder does.
class ReadyChildProcess {
public:
    // Starts `program` with `arguments` (program name first), writes `input`
    // to its standard input, which stays open, and returns once `readyLine`
    // (without its newline) has come back on its standard output; the child
    // inherits our environment. Throws std::runtime_error when it cannot
    // start or the line never comes (the output ended first).
    ReadyChildProcess(const std::string& program, std::vector<std::string> arguments,
                      const std::string& input, const std::string& readyLine);
    ~ReadyChildProcess();  // kills it, unless kill() already did
    ReadyChildProcess(const ReadyChildProcess&) = delete;
    ReadyChildProcess& operator=(const ReadyChildProcess&) = delete;

    // Kills the child with SIGKILL, so that it never gets to close anything,
    // and waits for it.
    void kill();

private:
    int childPid_ = -1;
    int inputFd_ = -1;  // the child's standard input, kept open while it runs
};

}  // namespace VarnholtTestSupport
