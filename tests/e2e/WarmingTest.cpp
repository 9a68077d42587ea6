// A cold answer, as the first question after a pause meets the database:
// helpers warm the page cache beside it on threads of their own, and the
// answer is byte for byte the one a warm run prints; a process killed while
// its helpers read leaves every byte of the recorder's files and no file
// behind.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "FileBytes.h"
#include "SampleDatabase.h"
#include "TemporaryHome.h"

namespace warming_test {

using namespace VarnholtTestSupport;

namespace {

// Wednesday 2026-04-01 16:00:00 UTC: the activity ends here, the clock
// stands still here.
constexpr double kEnd = 1775059200;
constexpr const char* kNow = "2026-04-01 16:00:00";

// Ten days of activity: a summary of them reads thousands of scattered
// pages, enough for the helpers to start and to be seen.
void writeDatabase(const TemporaryHome& home) {
    home.varnholtDirectory();
    VarnholtSampleData::SampleDatabaseOptions options;
    options.days = 10;
    options.seed = 7;
    options.endTime = kEnd;
    options.homeForImagePaths = home.path();
    VarnholtSampleData::writeSampleDatabase(home.databasePath(), options);
}

const std::vector<std::string> kLongAnswer = {"summary", "--since", "10d"};

// Drops the file's pages from the operating system's cache, as after a
// reboot (POSIX_FADV_DONTNEED: no privileges needed). False when they are
// still there afterwards, as on a file system that keeps files in memory
// only: there is no cold answer to be had on it.
bool evict(const std::string& path) {
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) return true;  // nothing there, nothing cached
    struct stat status {};
    bool gone = false;
    if (fstat(descriptor, &status) == 0 && posix_fadvise(descriptor, 0, 0, POSIX_FADV_DONTNEED) == 0) {
        gone = true;
        const std::size_t length = static_cast<std::size_t>(status.st_size);
        if (length > 0) {
            void* mapped = mmap(nullptr, length, PROT_READ, MAP_SHARED, descriptor, 0);
            if (mapped != MAP_FAILED) {
                const long page = sysconf(_SC_PAGESIZE);
                std::vector<unsigned char> resident((length + static_cast<std::size_t>(page) - 1) /
                                                    static_cast<std::size_t>(page));
                if (mincore(mapped, length, resident.data()) == 0) {
                    std::size_t kept = 0;
                    for (const unsigned char flags : resident) kept += flags & 1;
                    gone = kept * 2 < resident.size();
                }
                munmap(mapped, length);
            }
        }
    }
    close(descriptor);
    return gone;
}

bool evictDatabase(const TemporaryHome& home) {
    return evict(home.databasePath()) && evict(home.databasePath() + "-wal");
}

// The threads of process `pid`; 0 once it is gone.
int threadsOf(int pid) {
    std::error_code error;
    int threads = 0;
    for (std::filesystem::directory_iterator task("/proc/" + std::to_string(pid) + "/task", error), end;
         !error && task != end; task.increment(error)) {
        ++threads;
    }
    return threads;
}

std::set<std::string> namesIn(const std::string& directory) {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        names.insert(entry.path().filename().string());
    }
    return names;
}

}  // namespace

TEST(WarmingTest, AColdAnswerIsTheWarmAnswer) {
    TemporaryHome home;
    writeDatabase(home);
    const ProcessResult warm = home.run(kLongAnswer, frozenAt(kNow));
    ASSERT_EQ(warm.exitStatus, 0) << warm.standardError;
    if (!evictDatabase(home)) GTEST_SKIP() << "the file system keeps the database in memory";
    const ProcessResult cold = home.run(kLongAnswer, frozenAt(kNow));
    EXPECT_EQ(cold.exitStatus, 0) << cold.standardError;
    EXPECT_EQ(cold.standardOutput, warm.standardOutput);
    EXPECT_EQ(cold.standardError, "");
}

TEST(WarmingTest, AProcessKilledWhileItsHelpersReadLeavesEveryByte) {
    TemporaryHome home;
    writeDatabase(home);
    // A warm run first: whatever a reader may leave beside the database
    // (the log's shared-memory index) is there before the bytes are taken.
    ASSERT_EQ(home.run(kLongAnswer, frozenAt(kNow)).exitStatus, 0);
    const std::string database = home.databasePath();
    const std::string databaseBytes = fileBytes(database);
    const std::string logBytes = fileBytes(database + "-wal");
    const std::set<std::string> files = namesIn(home.varnholtDirectory());
    ASSERT_FALSE(databaseBytes.empty());

    // Cold answers until one is seen with its helpers running, then killed
    // there; an answer that ends before a look finds them is tried again.
    bool killedWithHelpers = false;
    for (int attempt = 0; attempt < 5 && !killedWithHelpers; ++attempt) {
        if (!evictDatabase(home)) GTEST_SKIP() << "the file system keeps the database in memory";
        PseudoTerminalProcess answer(home, kLongAnswer, frozenAt(kNow));
        for (int threads = threadsOf(answer.pid()); threads > 0; threads = threadsOf(answer.pid())) {
            if (threads > 1) {
                answer.sendSignal(SIGKILL);
                killedWithHelpers = answer.waitForExit(std::chrono::seconds(30)) == 128 + SIGKILL;
                break;
            }
            // A zombie keeps its /proc entry with one thread until reaped.
            if (answer.waitForExit(std::chrono::milliseconds(1)) >= 0) break;
        }
    }
    EXPECT_TRUE(killedWithHelpers) << "no cold answer was seen with helpers running";
    EXPECT_EQ(fileBytes(database), databaseBytes);
    EXPECT_EQ(fileBytes(database + "-wal"), logBytes);
    EXPECT_EQ(namesIn(home.varnholtDirectory()), files);
}

}  // namespace warming_test
