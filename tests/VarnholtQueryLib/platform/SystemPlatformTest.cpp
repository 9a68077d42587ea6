#include "platform/SystemPlatform.h"

#include <gtest/gtest.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>

#include "TemporaryDirectory.h"

using namespace VarnholtQueryLib;
using VarnholtTestSupport::TemporaryDirectory;

namespace {

class SystemFileSystemTest : public ::testing::Test {
protected:
    std::string makeFile(const std::string& name, const std::string& content) {
        const std::string path = directory.file(name);
        std::ofstream(path, std::ios::binary) << content;
        return path;
    }
    std::string makeFIFO(const std::string& name) {
        const std::string path = directory.file(name);
        EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
        return path;
    }

    TemporaryDirectory directory;
    SystemFileSystem files;
};

}  // namespace

TEST_F(SystemFileSystemTest, ReadsARegularFileWhole) {
    const std::string content = std::string("{\"a\": 1}\n\0tail", 14) + std::string(200000, 'x');
    EXPECT_EQ(files.readFile(makeFile("report.json", content)), content);
    EXPECT_EQ(files.readFile(makeFile("empty.json", "")), "");
}

TEST_F(SystemFileSystemTest, AMissingFileIsUnreadable) {
    EXPECT_FALSE(files.readFile(directory.file("missing.json")).has_value());
}

TEST_F(SystemFileSystemTest, ADirectoryIsUnreadableAndNothingIsThrown) {
    std::filesystem::create_directory(directory.file("report.json"));
    EXPECT_FALSE(files.readFile(directory.file("report.json")).has_value());
}

// Opening a FIFO for reading waits for a writer; none will come here.
TEST_F(SystemFileSystemTest, AFIFOIsUnreadableWithoutWaitingForAWriter) {
    EXPECT_FALSE(files.readFile(makeFIFO("pipeline-status.json")).has_value());
}

TEST_F(SystemFileSystemTest, DevicesAndSocketsAreUnreadable) {
    EXPECT_FALSE(files.readFile("/dev/null").has_value());
    EXPECT_FALSE(files.readFile("/dev/zero").has_value());  // would never end
    const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_GE(listener, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = directory.file("s");
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_FALSE(files.readFile(path).has_value());
    close(listener);
}

TEST_F(SystemFileSystemTest, AttributesSayWhetherItIsARegularFile) {
    const auto file = files.attributes(makeFile("recorder.log", "12345"));
    ASSERT_TRUE(file.has_value());
    EXPECT_TRUE(file->isRegularFile);
    EXPECT_EQ(file->sizeBytes, 5);
    const auto fifo = files.attributes(makeFIFO("bridge.log"));
    ASSERT_TRUE(fifo.has_value());
    EXPECT_FALSE(fifo->isRegularFile);
    std::filesystem::create_directory(directory.file("logs"));
    EXPECT_FALSE(files.attributes(directory.file("logs"))->isRegularFile);
    EXPECT_FALSE(files.attributes(directory.file("missing")).has_value());
}

namespace {

// What a child of `processes` writes to standard error while it runs: our
// descriptor 2 points at a file for the duration, as a host's pipe would.
std::string childErrorsReachingUs(const SystemProcess& processes, ProcessOutput& output) {
    TemporaryDirectory directory;
    const std::string path = directory.file("stderr");
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    const int saved = ::dup(STDERR_FILENO);
    ::dup2(file, STDERR_FILENO);
    output = processes.run("/bin/sh", {"-c", "echo out; echo 'tail: cannot open' >&2"});
    ::dup2(saved, STDERR_FILENO);
    ::close(saved);
    ::close(file);
    std::ifstream written(path);
    return std::string(std::istreambuf_iterator<char>(written), {});
}

}  // namespace

TEST(SystemProcessTest, AChildsErrorsAreInheritedByDefault) {
    ProcessOutput output;
    EXPECT_EQ(childErrorsReachingUs(SystemProcess(), output), "tail: cannot open\n");
    EXPECT_EQ(output.standardOutput, "out\n");
}

TEST(SystemProcessTest, AServerDiscardsItsChildrensErrors) {
    ProcessOutput output;
    EXPECT_EQ(childErrorsReachingUs(SystemProcess(ChildErrors::discard), output), "");
    EXPECT_TRUE(output.launched);
    EXPECT_EQ(output.standardOutput, "out\n");
}
