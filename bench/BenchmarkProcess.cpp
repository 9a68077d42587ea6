#include "BenchmarkProcess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <stdexcept>

namespace VarnholtBench {

namespace {

std::vector<char*> pointers(std::vector<std::string>& strings) {
    std::vector<char*> result;
    for (auto& text : strings) result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

}  // namespace

TimedRun runTimed(const std::string& program, const std::vector<std::string>& arguments,
                  const std::vector<std::string>& environment) {
    int outPipe[2];
    if (pipe2(outPipe, O_CLOEXEC) != 0) throw std::runtime_error("pipe failed");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, outPipe[1], STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);

    std::vector<std::string> argv = {program};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    std::vector<std::string> envp = environment;
    auto argvPointers = pointers(argv);
    auto envPointers = pointers(envp);

    TimedRun run;
    const auto start = std::chrono::steady_clock::now();
    pid_t child = 0;
    const int spawned =
        posix_spawn(&child, program.c_str(), &actions, nullptr, argvPointers.data(), envPointers.data());
    posix_spawn_file_actions_destroy(&actions);
    close(outPipe[1]);
    if (spawned != 0) {
        close(outPipe[0]);
        throw std::runtime_error("Cannot start " + program);
    }
    char buffer[65536];
    for (;;) {
        const ssize_t count = read(outPipe[0], buffer, sizeof buffer);
        if (count > 0) {
            run.standardOutput.append(buffer, static_cast<std::size_t>(count));
        } else if (count < 0 && errno == EINTR) {
            continue;
        } else {
            break;
        }
    }
    close(outPipe[0]);
    int status = 0;
    struct rusage usage {};
    while (wait4(child, &status, 0, &usage) < 0 && errno == EINTR) {
    }
    run.milliseconds =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    const auto milliseconds = [](const timeval& time) { return time.tv_sec * 1000.0 + time.tv_usec / 1000.0; };
    run.cpuMilliseconds = milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime);
    run.peakResidentKilobytes = usage.ru_maxrss;
    run.bytesRead = static_cast<long long>(usage.ru_inblock) * 512;
    if (WIFEXITED(status)) run.exitStatus = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) run.exitStatus = 128 + WTERMSIG(status);
    return run;
}

void evictFromPageCache(const std::string& path) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        if (errno == ENOENT) return;
        throw std::runtime_error("Cannot open " + path);
    }
    const int result = posix_fadvise(file, 0, 0, POSIX_FADV_DONTNEED);
    close(file);
    if (result != 0) throw std::runtime_error("Cannot evict " + path + " from the page cache");
}

}  // namespace VarnholtBench
