#include "platform/StandardStreams.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <iostream>

namespace VarnholtQueryLib {

namespace {

constexpr std::size_t kBufferSize = 64 * 1024;

// Writes all `size` bytes, resuming after interruptions and short writes.
// Returns 0 or the errno of the failure.
int writeAll(int descriptor, const char* data, std::size_t size) {
    while (size > 0) {
        const ssize_t written = ::write(descriptor, data, size);
        if (written > 0) {
            data += written;
            size -= static_cast<std::size_t>(written);
        } else if (written < 0 && errno == EINTR) {
            continue;
        } else {
            // A write of nothing would repeat forever; call it an I/O error.
            return written < 0 ? errno : EIO;
        }
    }
    return 0;
}

void reserveIfClosed(int descriptor) {
    if (::fcntl(descriptor, F_GETFD) != -1 || errno != EBADF) return;
    // The lower standard descriptors are open by now, so open() returns
    // exactly this one; dup2 covers any surprise.
    const int opened = ::open("/dev/null", O_RDONLY | O_NOCTTY);
    if (opened >= 0 && opened != descriptor) {
        ::dup2(opened, descriptor);
        ::close(opened);
    }
}

}  // namespace

DescriptorOutputBuffer::DescriptorOutputBuffer(int descriptor)
    : descriptor_(descriptor), buffer_(kBufferSize) {
    setp(buffer_.data(), buffer_.data() + buffer_.size());
}

DescriptorOutputBuffer::~DescriptorOutputBuffer() { drain(); }

bool DescriptorOutputBuffer::drain() {
    const std::size_t pending = static_cast<std::size_t>(pptr() - pbase());
    setp(buffer_.data(), buffer_.data() + buffer_.size());
    if (firstError_ != 0) return false;
    firstError_ = writeAll(descriptor_, buffer_.data(), pending);
    return firstError_ == 0;
}

DescriptorOutputBuffer::int_type DescriptorOutputBuffer::overflow(int_type character) {
    if (!drain()) return traits_type::eof();
    if (traits_type::eq_int_type(character, traits_type::eof())) return traits_type::not_eof(character);
    *pptr() = traits_type::to_char_type(character);
    pbump(1);
    return character;
}

int DescriptorOutputBuffer::sync() { return drain() ? 0 : -1; }

void prepareStandardStreams() {
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        reserveIfClosed(descriptor);
    }
    // Never destroyed: std::cout is flushed once more when the process
    // exits, after every destructor of ours has run.
    static DescriptorOutputBuffer* const standardOutput = new DescriptorOutputBuffer(STDOUT_FILENO);
    std::cout.rdbuf(standardOutput);
}

std::optional<std::string> standardOutputFailure() {
    std::cout.flush();
    if (const auto* buffer = dynamic_cast<const DescriptorOutputBuffer*>(std::cout.rdbuf())) {
        if (buffer->firstError() != 0) return std::string(std::strerror(buffer->firstError()));
    }
    if (!std::cout) return std::string(std::strerror(EIO));
    return std::nullopt;
}

void ignoreBrokenPipeSignal() { std::signal(SIGPIPE, SIG_IGN); }

}  // namespace VarnholtQueryLib
