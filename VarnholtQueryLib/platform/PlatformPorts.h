#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace VarnholtQueryLib {

// Small ports over the operating system, so that use cases can be tested with
// fakes. Each has one System… implementation (SystemPlatform.h), built by the
// dispatcher. Fakes live in tests/.

// The wall clock, in seconds since 1970-01-01 UTC.
class ClockPort {
public:
    virtual ~ClockPort() = default;
    virtual double now() const = 0;

protected:
    ClockPort() = default;
    ClockPort(const ClockPort&) = delete;
    ClockPort& operator=(const ClockPort&) = delete;
};

// Size and modification time of a file; each may be unknown.
struct FileAttributes {
    std::optional<std::int64_t> sizeBytes;
    std::optional<double> modifiedAt;  // seconds since 1970 UTC
    // False for a directory, FIFO, socket or device: something a reader
    // could block on or fail to read, never one of the recorder's files.
    bool isRegularFile = true;
};

// The file system as far as this tool reads it.
class FileSystemPort {
public:
    virtual ~FileSystemPort() = default;
    // Absent when the attributes cannot be read (no file, no permission).
    virtual std::optional<FileAttributes> attributes(const std::string& path) const = 0;
    // The whole file as bytes; absent when it cannot be read for any reason,
    // including when it is not a regular file (a FIFO would block the read
    // forever, a directory fails it). Never throws.
    virtual std::optional<std::string> readFile(const std::string& path) const = 0;

protected:
    FileSystemPort() = default;
    FileSystemPort(const FileSystemPort&) = delete;
    FileSystemPort& operator=(const FileSystemPort&) = delete;
};

// The outcome of running a child process to completion.
struct ProcessOutput {
    bool launched = false;
    std::string launchError;  // when !launched: why the program did not start
    std::string standardOutput;
};

// Starting a child program with its standard output on a pipe; where its
// standard error goes is the implementation's choice.
class ProcessPort {
public:
    virtual ~ProcessPort() = default;
    // Runs `program` with `arguments` (not including the program itself) and
    // waits for it to exit before reading all of its standard output.
    virtual ProcessOutput run(const std::string& program,
                              const std::vector<std::string>& arguments) const = 0;

protected:
    ProcessPort() = default;
    ProcessPort(const ProcessPort&) = delete;
    ProcessPort& operator=(const ProcessPort&) = delete;
};

// Whole-second waits, for the live monitor.
class SleepPort {
public:
    virtual ~SleepPort() = default;
    virtual void sleepSeconds(unsigned seconds) const = 0;

protected:
    SleepPort() = default;
    SleepPort(const SleepPort&) = delete;
    SleepPort& operator=(const SleepPort&) = delete;
};

// Everything a command may ask of the operating system, handed down by the
// dispatcher. The references outlive the command.
struct Platform {
    const ClockPort& clock;
    const FileSystemPort& fileSystem;
    const ProcessPort& processes;
    const SleepPort& sleeper;
    // The user's home directory from the password database (not $HOME).
    std::string homeDirectory;
    // Whether standard output is a terminal (isatty(1)).
    bool standardOutputIsTerminal;
};

}  // namespace VarnholtQueryLib
