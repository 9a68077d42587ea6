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

// posix_spawn with standard output on a pipe.
class SystemProcess final : public ProcessPort {
public:
    ProcessOutput run(const std::string& program,
                      const std::vector<std::string>& arguments) const override;
};

class SystemSleep final : public SleepPort {
public:
    void sleepSeconds(unsigned seconds) const override;
};

// True when file descriptor 1 is a terminal.
bool standardOutputIsTerminal();

}  // namespace VarnholtQueryLib
