#pragma once

#include <optional>
#include <streambuf>
#include <string>
#include <vector>

namespace VarnholtQueryLib {

// Standard output is where the answer goes, and an answer that did not
// arrive (standard output closed, a full disk, a reader that went away while
// SIGPIPE is ignored, as agent runtimes often do) must not pass for one that
// did. These pieces let the front end find out, with the system's reason.

// An output stream buffer over a file descriptor that remembers why its
// first write failed. After a failure it refuses every further byte, so a
// stream on it turns bad and stays bad; nothing is retried. Buffers up to
// 64 KiB between flushes. Does not own the descriptor.
class DescriptorOutputBuffer final : public std::streambuf {
public:
    explicit DescriptorOutputBuffer(int descriptor);
    ~DescriptorOutputBuffer() override;
    DescriptorOutputBuffer(const DescriptorOutputBuffer&) = delete;
    DescriptorOutputBuffer& operator=(const DescriptorOutputBuffer&) = delete;

    // The errno of the first write that failed; 0 while none has.
    int firstError() const { return firstError_; }

protected:
    int_type overflow(int_type character) override;
    int sync() override;

private:
    // Writes the buffered bytes out; false once any write has failed.
    bool drain();

    const int descriptor_;
    int firstError_ = 0;
    std::vector<char> buffer_;
};

// Call once, first thing in main, before anything opens a file or writes:
//  - a standard descriptor (0, 1 or 2) that the caller left closed is
//    opened read-only on /dev/null, so that no file of this run (the
//    database, a side file, the pipe from tail) can take its number and
//    receive the answer; a write to it still fails, as on the closed one;
//  - std::cout is put on a DescriptorOutputBuffer over descriptor 1, which
//    lives until the process ends.
void prepareStandardStreams();

// Flushes std::cout. Absent when everything written to it so far reached
// descriptor 1; otherwise the reason in the system's words ("Broken pipe",
// "No space left on device", "Bad file descriptor"), or "Input/output
// error" when prepareStandardStreams did not run and the reason is unknown.
std::optional<std::string> standardOutputFailure();

// From now on, a write to a pipe whose reader has gone fails with EPIPE
// instead of ending the process with SIGPIPE, so that a program that keeps
// serving (the MCP server) can report it.
void ignoreBrokenPipeSignal();

}  // namespace VarnholtQueryLib
