#include "platform/StandardStreams.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <ostream>
#include <string>
#include <thread>

using namespace VarnholtQueryLib;

namespace {

// SIGPIPE ignored for the test's duration, as agent runtimes often run us.
class IgnoredBrokenPipeSignal {
public:
    IgnoredBrokenPipeSignal() { previous_ = signal(SIGPIPE, SIG_IGN); }
    ~IgnoredBrokenPipeSignal() { signal(SIGPIPE, previous_); }

private:
    sighandler_t previous_;
};

// Everything the read end of a pipe receives until the write end closes.
std::string drain(int descriptor) {
    std::string text;
    char buffer[4096];
    ssize_t count = 0;
    while ((count = read(descriptor, buffer, sizeof buffer)) > 0) {
        text.append(buffer, static_cast<size_t>(count));
    }
    return text;
}

}  // namespace

TEST(StandardStreamsTest, BytesArriveInOrderAcrossManyBufferfuls) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    std::string received;
    std::thread reader([&] { received = drain(ends[0]); });
    std::string expected;
    {
        DescriptorOutputBuffer buffer(ends[1]);
        std::ostream out(&buffer);
        for (int i = 0; i < 20000; ++i) {
            const std::string line = "line " + std::to_string(i) + "\n";
            out << line;
            expected += line;
        }
        out << std::string(200000, 'z');
        expected += std::string(200000, 'z');
        out.flush();
        EXPECT_TRUE(out.good());
        EXPECT_EQ(buffer.firstError(), 0);
    }
    close(ends[1]);
    reader.join();
    close(ends[0]);
    EXPECT_EQ(received, expected);
}

TEST(StandardStreamsTest, AFullDeviceIsRememberedAsTheReason) {
    const int full = open("/dev/full", O_WRONLY);
    if (full < 0) GTEST_SKIP() << "no /dev/full here (Linux has one)";
    DescriptorOutputBuffer buffer(full);
    std::ostream out(&buffer);
    out << "{\"ok\" : true}\n";
    EXPECT_TRUE(out.good());  // still buffered
    out.flush();
    EXPECT_FALSE(out.good());
    EXPECT_EQ(buffer.firstError(), ENOSPC);
    close(full);
}

TEST(StandardStreamsTest, AReaderThatWentAwayIsABrokenPipe) {
    const IgnoredBrokenPipeSignal ignored;
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    close(ends[0]);
    DescriptorOutputBuffer buffer(ends[1]);
    std::ostream out(&buffer);
    out << std::string(100000, 'a');  // more than a buffer: written at once
    EXPECT_FALSE(out.good());
    EXPECT_EQ(buffer.firstError(), EPIPE);
    close(ends[1]);
}

TEST(StandardStreamsTest, AfterTheFirstFailureNothingMoreIsWritten) {
    const int unwritable = open("/dev/null", O_RDONLY);  // like a closed standard output
    ASSERT_GE(unwritable, 0);
    DescriptorOutputBuffer buffer(unwritable);
    std::ostream out(&buffer);
    out << "first" << std::flush;
    EXPECT_EQ(buffer.firstError(), EBADF);
    out.clear();
    out << "second" << std::flush;
    EXPECT_FALSE(out.good());
    EXPECT_EQ(buffer.firstError(), EBADF);
    close(unwritable);
}
