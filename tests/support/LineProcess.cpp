#include "LineProcess.h"

#include "ChildProcess.h"

#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <thread>

namespace VarnholtTestSupport {

namespace {

void closeIfOpen(int& fd) {
    if (fd >= 0) close(fd);
    fd = -1;
}

}  // namespace

LineProcess::LineProcess(const std::string& program, const std::vector<std::string>& arguments,
                         const std::vector<std::string>& environment) {
    int in[2], out[2], err[2];
    openPipe(in);
    openPipe(out);
    openPipe(err);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, err[1], STDERR_FILENO);
    std::vector<std::string> argv = {program};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    std::vector<std::string> envp = environment;
    auto argvPointers = nullTerminated(argv);
    auto envPointers = nullTerminated(envp);
    const int spawned = posix_spawn(&pid_, program.c_str(), &actions, nullptr, argvPointers.data(),
                                    envPointers.data());
    posix_spawn_file_actions_destroy(&actions);
    close(in[0]);
    close(out[1]);
    close(err[1]);
    inputFd_ = in[1];
    outputFd_ = out[0];
    errorFd_ = err[0];
    if (spawned != 0) {
        pid_ = -1;
        throw std::runtime_error("Cannot start " + program);
    }
}

LineProcess::~LineProcess() {
    if (pid_ > 0 && exitStatus_ < 0) {
        kill(pid_, SIGKILL);
        int status = 0;
        waitpid(pid_, &status, 0);
    }
    closeIfOpen(inputFd_);
    closeIfOpen(outputFd_);
    closeIfOpen(errorFd_);
}

bool LineProcess::writeLine(const std::string& line) {
    const std::string bytes = line + "\n";
    // The test runner must not die of SIGPIPE when the program has gone.
    signal(SIGPIPE, SIG_IGN);
    std::size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t count = write(inputFd_, bytes.data() + written, bytes.size() - written);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        written += static_cast<std::size_t>(count);
    }
    return true;
}

std::optional<std::string> LineProcess::readLine(std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
        const auto end = pendingOutput_.find('\n');
        if (end != std::string::npos) {
            std::string line = pendingOutput_.substr(0, end);
            pendingOutput_.erase(0, end + 1);
            return line;
        }
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (outputFd_ < 0 || left.count() <= 0) return std::nullopt;
        struct pollfd descriptor {outputFd_, POLLIN, 0};
        if (poll(&descriptor, 1, static_cast<int>(left.count())) <= 0) continue;
        char buffer[65536];
        const ssize_t count = read(outputFd_, buffer, sizeof buffer);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return std::nullopt;
        pendingOutput_.append(buffer, static_cast<std::size_t>(count));
    }
}

void LineProcess::closeInput() { closeIfOpen(inputFd_); }

void LineProcess::closeOutput() { closeIfOpen(outputFd_); }

int LineProcess::waitForExit(std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (exitStatus_ < 0) {
        int status = 0;
        const pid_t done = waitpid(pid_, &status, WNOHANG);
        if (done == pid_) {
            exitStatus_ = decodeWaitStatus(status);
            break;
        }
        if (std::chrono::steady_clock::now() >= deadline) return -1;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return exitStatus_;
}

std::string LineProcess::standardError() {
    if (errorFd_ >= 0 && exitStatus_ >= 0) {
        char buffer[8192];
        for (;;) {
            const ssize_t count = read(errorFd_, buffer, sizeof buffer);
            if (count < 0 && errno == EINTR) continue;
            if (count <= 0) break;
            error_.append(buffer, static_cast<std::size_t>(count));
        }
        closeIfOpen(errorFd_);
    }
    return error_;
}

}  // namespace VarnholtTestSupport
