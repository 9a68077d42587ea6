#include "platform/SystemPlatform.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <exception>

extern char** environ;

namespace VarnholtQueryLib {

namespace {

// Everything left to read on `descriptor`; absent on a read error.
std::optional<std::string> readToEnd(int descriptor) {
    std::string content;
    char buffer[65536];
    for (;;) {
        const ssize_t count = ::read(descriptor, buffer, sizeof buffer);
        if (count > 0) {
            content.append(buffer, static_cast<size_t>(count));
        } else if (count == 0) {
            return content;
        } else if (errno != EINTR) {
            return std::nullopt;
        }
    }
}

// A pipe whose ends are closed in a started program, so that the child holds
// no copy of the read end and the parent sees the end of its output. pipe2
// would set the flag at once, but macOS has no pipe2; setting it afterwards
// is as good here, where no other thread can start a program in between.
bool openPipe(int ends[2]) {
    if (::pipe(ends) != 0) return false;
    for (int i = 0; i < 2; ++i) {
        if (::fcntl(ends[i], F_SETFD, FD_CLOEXEC) != 0) {
            const int error = errno;
            ::close(ends[0]);
            ::close(ends[1]);
            errno = error;
            return false;
        }
    }
    return true;
}

// The modification time of `info`, to the nanosecond; macOS names the field
// differently.
double modificationTime(const struct stat& info) {
#if defined(__APPLE__)
    const struct timespec& modified = info.st_mtimespec;
#else
    const struct timespec& modified = info.st_mtim;
#endif
    return static_cast<double>(modified.tv_sec) + static_cast<double>(modified.tv_nsec) / 1e9;
}

}  // namespace

double SystemClock::now() const {
    struct timespec now {};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

std::optional<FileAttributes> SystemFileSystem::attributes(const std::string& path) const {
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0) return std::nullopt;
    FileAttributes attributes;
    attributes.sizeBytes = static_cast<std::int64_t>(info.st_size);
    attributes.modifiedAt = modificationTime(info);
    attributes.isRegularFile = S_ISREG(info.st_mode);
    return attributes;
}

std::optional<std::string> SystemFileSystem::readFile(const std::string& path) const {
    // O_NONBLOCK because opening a FIFO for reading waits for a writer, which
    // may never come; the kind of file is judged on the open descriptor, so
    // nothing can be swapped in between the check and the read.
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (descriptor < 0) return std::nullopt;
    std::optional<std::string> content;
    struct stat info {};
    if (::fstat(descriptor, &info) == 0 && S_ISREG(info.st_mode)) {
        try {
            content = readToEnd(descriptor);
        } catch (const std::exception&) {
            // Too large to hold: as unreadable as any other failure.
            content.reset();
        }
    }
    ::close(descriptor);
    return content;
}

ProcessOutput SystemProcess::run(const std::string& program,
                                 const std::vector<std::string>& arguments) const {
    ProcessOutput output;
    int pipeEnds[2];
    if (!openPipe(pipeEnds)) {
        output.launchError = std::strerror(errno);
        return output;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeEnds[1], STDOUT_FILENO);
    if (errors_ == ChildErrors::discard) {
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    }

    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(program.c_str()));
    for (const auto& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);

    pid_t child = 0;
    const int spawnResult =
        posix_spawn(&child, program.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(pipeEnds[1]);
    if (spawnResult != 0) {
        close(pipeEnds[0]);
        output.launchError = std::strerror(spawnResult);
        return output;
    }
    output.launched = true;

    // Read to the end before reaping: twenty very long log lines can exceed
    // the pipe's buffer, and a child blocked on a full pipe never exits.
    char buffer[4096];
    for (;;) {
        const ssize_t count = read(pipeEnds[0], buffer, sizeof buffer);
        if (count > 0) {
            output.standardOutput.append(buffer, static_cast<size_t>(count));
        } else if (count < 0 && errno == EINTR) {
            continue;
        } else {
            break;
        }
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    close(pipeEnds[0]);
    return output;
}

void SystemSleep::sleepSeconds(unsigned seconds) const { ::sleep(seconds); }

bool standardOutputIsTerminal() { return isatty(STDOUT_FILENO) != 0; }

}  // namespace VarnholtQueryLib
