#include "SQLiteShellProcess.h"

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>

#include "ChildProcess.h"

extern char** environ;

namespace VarnholtTestSupport {

namespace {

constexpr const char* kSQLiteShell = "/usr/bin/sqlite3";

}  // namespace

SQLiteShellProcess::SQLiteShellProcess(const std::string& databasePath, const std::string& script,
                                       const std::string& readyLine) {
    // A separate program rather than a forked copy of the test: SQLite's
    // process-wide lock bookkeeping must not cross a fork.
    int input[2], output[2];
    openPipe(input);
    openPipe(output);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    std::string program = kSQLiteShell, path = databasePath;
    char* argv[] = {program.data(), path.data(), nullptr};
    pid_t pid = 0;
    const int spawned = posix_spawn(&pid, kSQLiteShell, &actions, nullptr, argv, environ);
    posix_spawn_file_actions_destroy(&actions);
    close(input[0]);
    close(output[1]);
    if (spawned != 0) {
        close(input[1]);
        close(output[0]);
        throw std::runtime_error("cannot start " + std::string(kSQLiteShell));
    }
    childPid_ = pid;
    inputFd_ = input[1];
    if (write(inputFd_, script.data(), script.size()) != static_cast<ssize_t>(script.size())) {
        close(output[0]);
        throw std::runtime_error("cannot talk to the sqlite3 shell");
    }
    const std::string expected = readyLine + "\n";
    std::string answer;
    char c = 0;
    // The shell echoes what the script's statements print before the line.
    while (answer.find(expected) == std::string::npos) {
        const ssize_t count = read(output[0], &c, 1);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        answer += c;
    }
    close(output[0]);
    if (answer.find(expected) == std::string::npos) {
        throw std::runtime_error("the sqlite3 shell on " + databasePath + " did not get ready: " +
                                 answer);
    }
}

SQLiteShellProcess::~SQLiteShellProcess() { kill(); }

void SQLiteShellProcess::kill() {
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
