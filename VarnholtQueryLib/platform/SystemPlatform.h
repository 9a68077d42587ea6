#pragma once

#include "platform/PlatformPorts.h"

namespace VarnholtQueryLib {

// The real operating system behind the platform ports.

class SystemClock final : public ClockPort {
public:
    double now() const override;
};

class SystemFileSystem final : public FileSystemPort {
public:
    std::optional<FileAttributes> attributes(const std::string& path) const override;
    std::optional<std::string> readFile(const std::string& path) const override;
};

// Where a child's standard error goes.
enum class ChildErrors {
    inherit,  // to ours: the command line lets the user see what a child says
    discard,  // to /dev/null: a server whose host may never read our standard
              // error must not let a child block on it once its pipe is full
};

// posix_spawn with standard output on a pipe.
class SystemProcess final : public ProcessPort {
public:
    explicit SystemProcess(ChildErrors errors = ChildErrors::inherit) : errors_(errors) {}
    ProcessOutput run(const std::string& program,
                      const std::vector<std::string>& arguments) const override;

private:
    const ChildErrors errors_;
};

class SystemSleep final : public SleepPort {
public:
    void sleepSeconds(unsigned seconds) const override;
};

// True when file descriptor 1 is a terminal.
bool standardOutputIsTerminal();

}  // namespace VarnholtQueryLib
