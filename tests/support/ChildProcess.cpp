#include "ChildProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>

extern char** environ;

namespace VarnholtTestSupport {

std::vector<char*> nullTerminated(std::vector<std::string>& strings) {
    std::vector<char*> result;
    for (auto& text : strings) result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

int decodeWaitStatus(int status) {
    if (WIFEXITED(status)) return WEXITSTATUS(status);
    if (WIFSIGNALED(status)) return 128 + WTERMSIG(status);
    return -1;
}

ReadyChildProcess::ReadyChildProcess(const std::string& program, std::vector<std::string> arguments,
                                     const std::string& input, const std::string& readyLine) {
    // A separate program rather than a forked copy of the test: SQLite's
    // process-wide lock bookkeeping must not cross a fork.
    int inputPipe[2], outputPipe[2];
    if (pipe2(inputPipe, O_CLOEXEC) != 0) throw std::runtime_error("pipe failed");
    if (pipe2(outputPipe, O_CLOEXEC) != 0) {
        close(inputPipe[0]);
        close(inputPipe[1]);
        throw std::runtime_error("pipe failed");
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, inputPipe[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, outputPipe[1], STDOUT_FILENO);
    std::vector<char*> argv = nullTerminated(arguments);
    pid_t pid = 0;
    const int spawned = posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(inputPipe[0]);
    close(outputPipe[1]);
    if (spawned != 0) {
        close(inputPipe[1]);
        close(outputPipe[0]);
        throw std::runtime_error("cannot start " + program);
    }
    childPid_ = pid;
    inputFd_ = inputPipe[1];
    if (write(inputFd_, input.data(), input.size()) != static_cast<ssize_t>(input.size())) {
        close(outputPipe[0]);
        kill();
        throw std::runtime_error("cannot talk to " + program);
    }
    const std::string expected = readyLine + "\n";
    std::string answer;
    char c = 0;
    // The child may print other lines before the one we wait for.
    while (answer.find(expected) == std::string::npos) {
        const ssize_t count = read(outputPipe[0], &c, 1);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        answer += c;
    }
    close(outputPipe[0]);
    if (answer.find(expected) == std::string::npos) {
        kill();
        throw std::runtime_error(program + " did not get ready: " + answer);
    }
}

ReadyChildProcess::~ReadyChildProcess() { kill(); }

void ReadyChildProcess::kill() {
    if (childPid_ > 0) {
        ::kill(childPid_, SIGKILL);
        int status = 0;
        while (waitpid(childPid_, &status, 0) < 0 && errno == EINTR) {
        }
        childPid_ = -1;
    }
    if (inputFd_ >= 0) {
        close(inputFd_);
        inputFd_ = -1;
    }
}

}  // namespace VarnholtTestSupport
