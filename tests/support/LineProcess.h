#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace VarnholtTestSupport {

// A program talked to line by line over pipes, for servers such as
// varnholt-mcp: the test writes a line to its standard input, reads a line of
// its standard output, and decides when each stream closes. Standard error is
// collected and read once the program has ended.
class LineProcess {
public:
    // Starts `program` with `arguments` and exactly `environment`. Throws
    // std::runtime_error when it cannot be started.
    LineProcess(const std::string& program, const std::vector<std::string>& arguments,
                const std::vector<std::string>& environment);
    ~LineProcess();  // kills the program if it still runs
    LineProcess(const LineProcess&) = delete;
    LineProcess& operator=(const LineProcess&) = delete;

    // Writes `line` and "\n". False when the program no longer reads.
    bool writeLine(const std::string& line);
    // The next line of output without its "\n"; absent when none is complete
    // within `timeout` or the output ended.
    std::optional<std::string> readLine(std::chrono::milliseconds timeout = std::chrono::seconds(20));
    // Ends the program's input, as a client that goes away does.
    void closeInput();
    // Stops reading its output, so its next write fails.
    void closeOutput();
    // Waits for the program to end; its exit code, 128 + signal, or -1 when it
    // did not end within `timeout`.
    int waitForExit(std::chrono::milliseconds timeout = std::chrono::seconds(20));
    // Everything it wrote to standard error; complete once it has ended.
    std::string standardError();
    // Its process id.
    int pid() const { return pid_; }

private:
    int pid_ = -1;
    int inputFd_ = -1;
    int outputFd_ = -1;
    int errorFd_ = -1;
    int exitStatus_ = -1;
    std::string pendingOutput_;
    std::string error_;
};

}  // namespace VarnholtTestSupport
