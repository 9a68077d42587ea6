#include "TemporaryHome.h"

#include "ChildProcess.h"
#include "TestPrograms.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace VarnholtTestSupport {

namespace {

constexpr const char* kNssWrapper = "libnss_wrapper.so";
constexpr const char* kFakeTime = "/usr/lib/x86_64-linux-gnu/faketime/libfaketime.so.1";
constexpr const char* kSetpriv = "/usr/bin/setpriv";
constexpr const char* kEnv = "/usr/bin/env";

void writeText(const std::string& path, const std::string& content) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << content;
    if (!file) throw std::runtime_error("Cannot write " + path);
}

// "YYYY-MM-DD hh:mm:ss" read in UTC, as seconds since 1970.
std::string utcEpochSeconds(const std::string& utcText) {
    std::tm fields{};
    const char* end = strptime(utcText.c_str(), "%Y-%m-%d %H:%M:%S", &fields);
    if (end == nullptr || *end != '\0') {
        throw std::runtime_error("frozenTime must be \"YYYY-MM-DD hh:mm:ss\": " + utcText);
    }
    return std::to_string(static_cast<long long>(timegm(&fields)));
}

}  // namespace

TemporaryHome::TemporaryHome() {
    passwdFile_ = directory_.file(".nss/passwd");
    groupFile_ = directory_.file(".nss/group");
    setPasswordDatabaseHome(directory_.path());
    const std::string unprivileged = std::to_string(kUnprivilegedUserId);
    writeText(groupFile_, "tester:x:" + std::to_string(getgid()) + ":\n" + "unprivileged:x:" +
                              unprivileged + ":\n");
}

void TemporaryHome::setPasswordDatabaseHome(const std::string& home) const {
    const std::string unprivileged = std::to_string(kUnprivilegedUserId);
    writeText(passwdFile_, "tester:x:" + std::to_string(getuid()) + ":" + std::to_string(getgid()) +
                               ":Test User:" + home + ":/bin/sh\n" + "unprivileged:x:" + unprivileged +
                               ":" + unprivileged + ":Unprivileged Test User:" + home + ":/bin/sh\n");
}

std::string TemporaryHome::varnholtDirectory() const {
    const std::string directory = directory_.file(".varnholt");
    std::filesystem::create_directories(directory);
    return directory;
}

std::string TemporaryHome::databasePath() const { return directory_.file(".varnholt/varnholt.db"); }

void TemporaryHome::writeFile(const std::string& relative, const std::string& content) const {
    writeText(directory_.file(relative), content);
}

std::vector<std::string> TemporaryHome::environment(const InvocationOptions& options) const {
    std::string preload = kNssWrapper;
    std::vector<std::string> environment = {
        "NSS_WRAPPER_PASSWD=" + passwdFile_,
        "NSS_WRAPPER_GROUP=" + groupFile_,
        "HOME=/nonexistent-home-do-not-use",
        "PATH=/usr/bin:/bin",
        "TZ=" + options.timeZone,
        "LANG=" + options.language,
    };
    if (options.clockFile) {
        preload += std::string(" ") + kFakeTime;
        environment.push_back("FAKETIME_TIMESTAMP_FILE=" + *options.clockFile);
        environment.push_back("FAKETIME_FMT=%s");
        environment.push_back("FAKETIME_NO_CACHE=1");
        environment.push_back("NO_FAKE_STAT=1");
    } else if (options.frozenTime) {
        preload += std::string(" ") + kFakeTime;
        // libfaketime reads an absolute "YYYY-MM-DD hh:mm:ss" in the child's
        // own TZ, so the frozen instant would move with the zone under test.
        // Seconds since 1970 read with "%s" name one instant in every zone.
        environment.push_back("FAKETIME=" + utcEpochSeconds(*options.frozenTime));
        environment.push_back("FAKETIME_FMT=%s");
        environment.push_back("FAKETIME_NO_CACHE=1");
        // Only the clock is frozen: file times stay what the file system says,
        // so tests can date the database file with utimensat.
        environment.push_back("NO_FAKE_STAT=1");
    }
    environment.push_back("LD_PRELOAD=" + preload);
    // For the binary built with the sanitizers (ignored otherwise): their
    // runtime cannot live with nss_wrapper's RTLD_DEEPBIND, and its allocator
    // asks for the time while it holds its lock, which deadlocks with
    // libfaketime's first lookups, unless it never releases memory by time.
    environment.push_back("NSS_WRAPPER_DISABLE_DEEPBIND=1");
    environment.push_back("ASAN_OPTIONS=allocator_release_to_os_interval_ms=-1");
    for (const auto& extra : options.extraEnvironment) environment.push_back(extra);
    return environment;
}

ProcessResult TemporaryHome::run(const std::vector<std::string>& arguments,
                                 const InvocationOptions& options) const {
    return runProgram(kQueryBinary, arguments, options);
}

namespace {

// Gives the child's descriptor `target` what `kind` asks for. For a pipe,
// returns the read end the parent keeps; otherwise -1.
int arrangeStream(posix_spawn_file_actions_t& actions, int target, StreamTarget kind,
                  std::vector<int>& closeAfterSpawn) {
    switch (kind) {
        case StreamTarget::pipe: {
            int ends[2];
            openPipe(ends);
            posix_spawn_file_actions_adddup2(&actions, ends[1], target);
            closeAfterSpawn.push_back(ends[1]);
            return ends[0];
        }
        case StreamTarget::closed:
            posix_spawn_file_actions_addclose(&actions, target);
            return -1;
        case StreamTarget::fullDevice:
            posix_spawn_file_actions_addopen(&actions, target, "/dev/full", O_WRONLY, 0);
            return -1;
        case StreamTarget::brokenPipe: {
            int ends[2];
            openPipe(ends);
            close(ends[0]);  // no reader, ever
            posix_spawn_file_actions_adddup2(&actions, ends[1], target);
            closeAfterSpawn.push_back(ends[1]);
            return -1;
        }
    }
    return -1;
}

// Reads the given descriptors (-1 = none) to their ends. With a deadline,
// kills the child's process group once it passes and reads on to the end.
void readOutputs(int outFd, int errFd, pid_t group, std::string& out, std::string& err,
                 std::optional<std::chrono::steady_clock::time_point> deadline) {
    bool killed = false;
    std::vector<std::pair<int, std::string*>> open;
    if (outFd >= 0) open.emplace_back(outFd, &out);
    if (errFd >= 0) open.emplace_back(errFd, &err);
    while (!open.empty()) {
        std::vector<pollfd> descriptors;
        for (const auto& [fd, text] : open) descriptors.push_back({fd, POLLIN, 0});
        int waitMillis = -1;
        if (deadline && !killed) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                *deadline - std::chrono::steady_clock::now());
            waitMillis = static_cast<int>(std::max<long long>(0, left.count()));
        }
        const int ready = poll(descriptors.data(), descriptors.size(), waitMillis);
        if (ready < 0 && errno == EINTR) continue;
        if (ready == 0) {
            kill(-group, SIGKILL);
            killed = true;
            continue;
        }
        for (std::size_t i = descriptors.size(); i-- > 0;) {
            if (descriptors[i].revents == 0) continue;
            char buffer[8192];
            const ssize_t count = read(descriptors[i].fd, buffer, sizeof buffer);
            if (count > 0) {
                open[i].second->append(buffer, static_cast<size_t>(count));
            } else if (count == 0 || errno != EINTR) {
                close(descriptors[i].fd);
                open.erase(open.begin() + static_cast<std::ptrdiff_t>(i));
            }
        }
    }
}

}  // namespace

ProcessResult TemporaryHome::runProgram(const std::string& program,
                                        const std::vector<std::string>& arguments,
                                        const InvocationOptions& options) const {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    std::vector<int> closeAfterSpawn;
    const int outFd = arrangeStream(actions, STDOUT_FILENO, options.standardOutput, closeAfterSpawn);
    const int errFd = arrangeStream(actions, STDERR_FILENO, options.standardError, closeAfterSpawn);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);

    // Its own process group, so that a timeout ends whatever it started too.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setpgroup(&attributes, 0);
    short flags = POSIX_SPAWN_SETPGROUP;
    // SIGPIPE: ignored when the test asks for a broken pipe (an ignored
    // signal stays ignored across exec), the default otherwise.
    const bool ignoreBrokenPipe = options.standardOutput == StreamTarget::brokenPipe ||
                                  options.standardError == StreamTarget::brokenPipe;
    sigset_t defaults;
    sigemptyset(&defaults);
    if (!ignoreBrokenPipe) {
        sigaddset(&defaults, SIGPIPE);
        posix_spawnattr_setsigdefault(&attributes, &defaults);
        flags |= POSIX_SPAWN_SETSIGDEF;
    }
    posix_spawnattr_setflags(&attributes, flags);

    std::vector<std::string> argv = {program};
    std::vector<std::string> envp = environment(options);
    if (options.unprivileged) {
        // setpriv itself runs without the preloads (libfaketime would share
        // its clock with the child through a semaphore the unprivileged child
        // may not open); env sets them for the program alone.
        const auto preload = std::find_if(envp.begin(), envp.end(), [](const std::string& entry) {
            return entry.rfind("LD_PRELOAD=", 0) == 0;
        });
        const std::string user = std::to_string(kUnprivilegedUserId);
        argv = {kSetpriv, "--reuid=" + user, "--regid=" + user, "--clear-groups", "--", kEnv,
                *preload, program};
        envp.erase(preload);
    }
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    auto argvPointers = nullTerminated(argv);
    auto envPointers = nullTerminated(envp);

    pid_t child = 0;
    const sighandler_t previousBrokenPipe = ignoreBrokenPipe ? signal(SIGPIPE, SIG_IGN) : SIG_DFL;
    const int spawned = posix_spawn(&child, argv.front().c_str(), &actions, &attributes,
                                    argvPointers.data(), envPointers.data());
    if (ignoreBrokenPipe) signal(SIGPIPE, previousBrokenPipe);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    for (const int fd : closeAfterSpawn) close(fd);
    if (spawned != 0) {
        if (outFd >= 0) close(outFd);
        if (errFd >= 0) close(errFd);
        throw std::runtime_error("Cannot start " + program);
    }
    ProcessResult result;
    std::optional<std::chrono::steady_clock::time_point> deadline;
    if (options.timeout) deadline = std::chrono::steady_clock::now() + *options.timeout;
    readOutputs(outFd, errFd, child, result.standardOutput, result.standardError, deadline);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    result.exitStatus = decodeWaitStatus(status);
    return result;
}

PseudoTerminalProcess::PseudoTerminalProcess(const TemporaryHome& home,
                                             const std::vector<std::string>& arguments,
                                             const InvocationOptions& options) {
    std::vector<std::string> argv = {kQueryBinary};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    std::vector<std::string> envp = home.environment(options);
    envp.push_back("TERM=xterm");
    auto argvPointers = nullTerminated(argv);
    auto envPointers = nullTerminated(envp);

    struct winsize size {};
    size.ws_row = 40;
    size.ws_col = 120;
    const pid_t pid = forkpty(&masterFd_, nullptr, nullptr, &size);
    if (pid < 0) throw std::runtime_error("forkpty failed");
    if (pid == 0) {
        // The default disposition of SIGINT, whatever the test runner set.
        signal(SIGINT, SIG_DFL);
        execve(kQueryBinary, argvPointers.data(), envPointers.data());
        _exit(127);
    }
    childPid_ = pid;
}

PseudoTerminalProcess::~PseudoTerminalProcess() {
    if (childPid_ > 0 && exitStatus_ < 0) {
        kill(childPid_, SIGKILL);
        int status = 0;
        waitpid(childPid_, &status, 0);
    }
    if (masterFd_ >= 0) close(masterFd_);
}

void PseudoTerminalProcess::readAvailable(std::chrono::milliseconds timeout) {
    struct pollfd descriptor {masterFd_, POLLIN, 0};
    if (poll(&descriptor, 1, static_cast<int>(timeout.count())) <= 0) return;
    char buffer[8192];
    const ssize_t count = read(masterFd_, buffer, sizeof buffer);
    if (count > 0) output_.append(buffer, static_cast<size_t>(count));
}

bool PseudoTerminalProcess::waitForOutput(const std::string& text,
                                          std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (output_.find(text) == std::string::npos) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) return false;
        readAvailable(std::min(left, std::chrono::milliseconds(100)));
    }
    return true;
}

void PseudoTerminalProcess::readFor(std::chrono::milliseconds duration) {
    const auto deadline = std::chrono::steady_clock::now() + duration;
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) return;
        readAvailable(std::min(left, std::chrono::milliseconds(100)));
    }
}

void PseudoTerminalProcess::sendSignal(int signal) { kill(childPid_, signal); }

int PseudoTerminalProcess::waitForExit(std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (exitStatus_ < 0) {
        int status = 0;
        const pid_t done = waitpid(childPid_, &status, WNOHANG);
        if (done == childPid_) {
            exitStatus_ = decodeWaitStatus(status);
            break;
        }
        if (std::chrono::steady_clock::now() >= deadline) return -1;
        // Keep draining so the child never blocks on a full terminal.
        readAvailable(std::chrono::milliseconds(20));
    }
    // Collect what the child wrote before it ended.
    readFor(std::chrono::milliseconds(50));
    return exitStatus_;
}

}  // namespace VarnholtTestSupport
