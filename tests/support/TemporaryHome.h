#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "TemporaryDirectory.h"

namespace VarnholtTestSupport {

// What one run of the binary printed and how it ended.
struct ProcessResult {
    int exitStatus = -1;  // the exit code, or 128 + signal number
    std::string standardOutput;
    std::string standardError;
};

// Where one of the child's output streams goes.
enum class StreamTarget {
    pipe,         // read by the test and returned in ProcessResult
    closed,       // the descriptor is closed when the child starts
    fullDevice,   // /dev/full: every write fails with ENOSPC
    brokenPipe,   // a pipe whose reader is gone, with SIGPIPE ignored (EPIPE)
};

// The environment of one run. The child gets only these variables (plus the
// nss_wrapper and faketime ones), so the developer's environment never leaks
// into a test.
struct InvocationOptions {
    std::string timeZone = "UTC";          // TZ
    std::string language = "en_US.UTF-8";  // LANG
    // A frozen wall clock, "YYYY-MM-DD hh:mm:ss" read in UTC, through
    // libfaketime; absent means the real clock. File times are not faked.
    std::optional<std::string> frozenTime;
    // Instead of frozenTime: a file holding seconds since 1970 as text, read
    // by libfaketime at every reading of the clock, so a test can move the
    // clock of a program that keeps running.
    std::optional<std::string> clockFile;
    // Extra "NAME=value" entries.
    std::vector<std::string> extraEnvironment;
    StreamTarget standardOutput = StreamTarget::pipe;
    StreamTarget standardError = StreamTarget::pipe;
    // When set, a run still going after this long is killed with everything
    // it started (exit status 128 + SIGKILL), so that a hang fails the test
    // instead of blocking it.
    std::optional<std::chrono::milliseconds> timeout;
    // Runs the program as TemporaryHome::kUnprivilegedUserId rather than as
    // ourselves (through setpriv, so the test must run as root), for checks
    // that file permissions would otherwise not stop.
    bool unprivileged = false;
};

// A run in `zone` (TZ) under en_US.UTF-8 with the wall clock frozen at
// `frozenTime`, "YYYY-MM-DD hh:mm:ss" in UTC.
inline InvocationOptions frozenAt(const std::string& frozenTime, const std::string& zone = "UTC") {
    InvocationOptions options;
    options.timeZone = zone;
    options.frozenTime = frozenTime;
    return options;
}

// A temporary directory registered as the current user's home through
// nss_wrapper (LD_PRELOAD=libnss_wrapper.so with a passwd file of our own), so
// the binary's password-database look-up lands here and never in a real home.
// $HOME is set to a path that does not exist, to catch code that reads it.
class TemporaryHome {
public:
    // The user an unprivileged run runs as; the password database lists it
    // with this home too.
    static constexpr unsigned kUnprivilegedUserId = 65534;

    TemporaryHome();

    const std::string& path() const { return directory_.path(); }
    // <home>/.varnholt, created on first call.
    std::string varnholtDirectory() const;
    // <home>/.varnholt/varnholt.db (not created).
    std::string databasePath() const;
    // Writes `content` to <home>/relative, creating parent directories.
    void writeFile(const std::string& relative, const std::string& content) const;
    // Makes the password database report `home` as the user's home instead
    // of path(), e.g. path() + "/" or "/".
    void setPasswordDatabaseHome(const std::string& home) const;

    // Runs the built varnholt-query with `arguments` under this home, waits
    // for it, and returns what it printed.
    ProcessResult run(const std::vector<std::string>& arguments,
                      const InvocationOptions& options = {}) const;

    // The same for another program (by absolute path), such as the sample
    // database generator.
    ProcessResult runProgram(const std::string& program, const std::vector<std::string>& arguments,
                             const InvocationOptions& options = {}) const;

    // The environment run() gives the child, for callers that start it
    // themselves (see PseudoTerminalProcess).
    std::vector<std::string> environment(const InvocationOptions& options) const;

private:
    TemporaryDirectory directory_;
    std::string passwdFile_;
    std::string groupFile_;
};

// The binary running on a pseudo-terminal, for output that differs on a
// terminal (the human status report) and for the live monitor.
class PseudoTerminalProcess {
public:
    PseudoTerminalProcess(const TemporaryHome& home, const std::vector<std::string>& arguments,
                          const InvocationOptions& options = {});
    ~PseudoTerminalProcess();  // kills the child if it still runs
    PseudoTerminalProcess(const PseudoTerminalProcess&) = delete;
    PseudoTerminalProcess& operator=(const PseudoTerminalProcess&) = delete;

    // Reads until the output so far contains `text` (true) or the timeout
    // passes (false). The terminal turns "\n" into "\r\n".
    bool waitForOutput(const std::string& text, std::chrono::milliseconds timeout);
    // Reads whatever arrives within `duration`.
    void readFor(std::chrono::milliseconds duration);
    // Everything read so far.
    const std::string& output() const { return output_; }
    // Sends a signal (SIGINT for Ctrl+C) to the child.
    void sendSignal(int signal);
    // Waits for the child to end; the exit code, or 128 + signal; -1 when it
    // did not end within the timeout.
    int waitForExit(std::chrono::milliseconds timeout);

private:
    void readAvailable(std::chrono::milliseconds timeout);

    int masterFd_ = -1;
    int childPid_ = -1;
    int exitStatus_ = -1;
    std::string output_;
};

}  // namespace VarnholtTestSupport
