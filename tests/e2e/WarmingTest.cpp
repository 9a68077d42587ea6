// A cold answer, as the first question after a pause meets the database:
// helpers warm the page cache beside it on threads of their own, and the
// answer is byte for byte the one a warm run prints; a process killed while
// its helpers read leaves every byte of the recorder's files and no file
// behind.
//
// The database is two weeks of sample activity, about 200 MB, with a frame
// in its write-ahead log that no checkpoint has copied yet, as a recorder
// that runs leaves it. Before each cold run the test drops the database and
// its log from the page cache (fdatasync, then POSIX_FADV_DONTNEED: no
// privileges needed); a file system that keeps them resident anyway (tmpfs)
// cannot make an answer cold, and the tests say so and skip.

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sqlite3.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "ChildProcess.h"
#include "FileBytes.h"
#include "RecorderSchema.h"
#include "SampleDatabase.h"
#include "TemporaryDirectory.h"
#include "TemporaryHome.h"
#include "TestPrograms.h"

namespace warming_test {

using namespace VarnholtTestSupport;

namespace {

// Wednesday 2026-04-01 12:00:00 UTC; the activity ends half an hour before.
constexpr const char* kNow = "2026-04-01 12:00:00";
constexpr double kNowSeconds = 1775044800.0;

// Every row of the two weeks, through the index-driven statements that
// warm: the summary's rows, entities and coverage.
const std::vector<std::string> kLongAnswer = {"summary", "--since", "30d"};

// A frame the recorder has committed to the log but not yet to the database.
constexpr const char* kFrameInTheLog = R"SQL(
INSERT INTO frames (id, display_id, captured_at, timestamp, image_path, analyzed)
  VALUES ('F-IN-THE-LOG', '1', '2026-04-01T11:50:00Z', 1775044200.0, '/in-the-log.png', 0);
)SQL";

// Drops `path` from the page cache: its dirty pages written first, since
// only clean pages can be dropped. A file that is not there is left alone.
void evict(const std::string& path) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return;
    fdatasync(fd);
    posix_fadvise(fd, 0, 0, POSIX_FADV_DONTNEED);
    close(fd);
}

// The share of `path`'s pages in the page cache, from 0 to 1 (mincore over
// a mapping of it, which reads nothing).
double residentShare(const std::string& path) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return 0;
    struct stat status {};
    fstat(fd, &status);
    const auto size = static_cast<std::size_t>(status.st_size);
    double share = 0;
    if (size > 0) {
        void* mapping = mmap(nullptr, size, PROT_READ, MAP_SHARED, fd, 0);
        if (mapping != MAP_FAILED) {
            const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
            std::vector<unsigned char> resident((size + page - 1) / page);
            if (mincore(mapping, size, resident.data()) == 0) {
                std::size_t count = 0;
                for (const unsigned char entry : resident) count += entry & 1;
                share = static_cast<double>(count) / static_cast<double>(resident.size());
            }
            munmap(mapping, size);
        }
    }
    close(fd);
    return share;
}

// A digest of every byte of the file at `path` (its size included), read a
// mebibyte at a time; absent when the file is not there.
std::optional<std::string> digestOf(const std::string& path) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) return std::nullopt;
    std::vector<char> buffer(1 << 20);
    std::size_t total = 0;
    std::size_t digest = 0;
    for (std::size_t read; (read = std::fread(buffer.data(), 1, buffer.size(), file)) > 0;) {
        total += read;
        const std::size_t chunk = std::hash<std::string_view>{}(std::string_view(buffer.data(), read));
        digest = (digest ^ chunk) * 0x100000001b3ULL + total;
    }
    std::fclose(file);
    return std::to_string(total) + ":" + std::to_string(digest);
}

// The files below `directory`, by path relative to it.
std::vector<std::string> listing(const std::string& directory) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
        names.push_back(std::filesystem::relative(entry.path(), directory).string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

// The database, its log and the names of everything beside them.
struct RecorderFiles {
    std::optional<std::string> database;
    std::optional<std::string> log;
    std::vector<std::string> names;

    bool operator==(const RecorderFiles&) const = default;
};

// varnholt-query running in the background under `home`, its output going to
// files, so that the test can watch its threads while it answers.
class RunningQuery {
public:
    RunningQuery(const TemporaryHome& home, const std::vector<std::string>& arguments)
        : output_(outputs_.file("stdout")), errors_(outputs_.file("stderr")) {
        std::vector<std::string> argv = {kQueryBinary};
        argv.insert(argv.end(), arguments.begin(), arguments.end());
        std::vector<std::string> envp = home.environment(frozenAt(kNow));
        auto argvPointers = nullTerminated(argv);
        auto envPointers = nullTerminated(envp);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errors_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        const int spawned =
            posix_spawn(&pid_, kQueryBinary, &actions, nullptr, argvPointers.data(), envPointers.data());
        posix_spawn_file_actions_destroy(&actions);
        if (spawned != 0) throw std::runtime_error("Cannot start " + std::string(kQueryBinary));
    }
    ~RunningQuery() {
        if (exitStatus_ < 0) {
            ::kill(pid_, SIGKILL);
            waitFor();
        }
    }
    RunningQuery(const RunningQuery&) = delete;
    RunningQuery& operator=(const RunningQuery&) = delete;

    // Whether it has ended (and been waited for).
    bool ended() {
        if (exitStatus_ >= 0) return true;
        int status = 0;
        if (waitpid(pid_, &status, WNOHANG) != pid_) return false;
        exitStatus_ = decodeWaitStatus(status);
        return true;
    }

    // Whether its helpers are reading: a thread besides its main one, and a
    // connection to the database (by its canonical path) besides the
    // answer's.
    bool helpersReading(const std::filesystem::path& database) const {
        const std::string process = "/proc/" + std::to_string(pid_);
        std::error_code error;
        int threads = 0;
        for (std::filesystem::directory_iterator task(process + "/task", error), end; !error && task != end;
             task.increment(error)) {
            ++threads;
        }
        if (threads < 2) return false;
        int connections = 0;
        for (std::filesystem::directory_iterator fd(process + "/fd", error), end; !error && fd != end;
             fd.increment(error)) {
            if (std::filesystem::read_symlink(fd->path(), error) == database) ++connections;
        }
        return connections > 1;
    }

    // Waits until its helpers read or it ends; whether helpers were seen.
    bool waitForHelpersOrEnd(const std::string& path) {
        const std::filesystem::path database = std::filesystem::canonical(path);
        while (!ended()) {
            if (helpersReading(database)) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return false;
    }

    void kill() {
        ::kill(pid_, SIGKILL);
        waitFor();
    }
    int waitFor() {
        while (exitStatus_ < 0) {
            int status = 0;
            if (waitpid(pid_, &status, 0) == pid_) {
                exitStatus_ = decodeWaitStatus(status);
            } else if (errno != EINTR) {
                break;
            }
        }
        return exitStatus_;
    }

    std::string output() const { return fileBytes(output_); }
    std::string errors() const { return fileBytes(errors_); }

private:
    TemporaryDirectory outputs_;
    std::string output_;
    std::string errors_;
    pid_t pid_ = -1;
    int exitStatus_ = -1;
};

}  // namespace

class WarmingTest : public ::testing::Test {
protected:
    // Generated once for both tests (about five seconds here), then answered
    // once warm: that answer is the one every run must print, and the files
    // as that run leaves them (the log's index created beside the log) are
    // the ones every later run, finished or killed, must leave.
    static void SetUpTestSuite() {
        home_ = std::make_unique<TemporaryHome>();
        home_->varnholtDirectory();
        VarnholtSampleData::SampleDatabaseOptions options;
        options.days = 14;
        options.seed = 5;
        options.endTime = kNowSeconds - 1800;
        options.homeForImagePaths = home_->path();
        VarnholtSampleData::writeSampleDatabase(home_->databasePath(), options);

        sqlite3* handle = VarnholtSampleData::openWritableDatabase(home_->databasePath());
        sqlite3_db_config(handle, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
        try {
            VarnholtSampleData::execWritable(handle, "PRAGMA wal_autocheckpoint = 0;");
            VarnholtSampleData::execWritable(handle, kFrameInTheLog);
        } catch (...) {
            sqlite3_close(handle);
            throw;
        }
        sqlite3_close(handle);

        warmAnswer_ = std::make_unique<ProcessResult>(home_->run(kLongAnswer, frozenAt(kNow)));
        warmFiles_ = std::make_unique<RecorderFiles>(files());
    }

    static void TearDownTestSuite() {
        warmFiles_.reset();
        warmAnswer_.reset();
        home_.reset();
    }

    void SetUp() override {
        ASSERT_EQ(warmAnswer_->exitStatus, 0) << warmAnswer_->standardError;
        ASSERT_GT(std::filesystem::file_size(log()), 0u) << "the frame is not in the log";
        ASSERT_TRUE(warmFiles_->database && warmFiles_->log);
    }

    static std::string database() { return home_->databasePath(); }
    static std::string log() { return home_->databasePath() + "-wal"; }

    static RecorderFiles files() {
        return {digestOf(database()), digestOf(log()), listing(home_->varnholtDirectory())};
    }

    // Drops the database and its log from the page cache; false when the
    // file system keeps most of the database resident all the same.
    // The files are as the warm run left them, whatever ran since.
    static void expectFilesAsWarmRunLeftThem() {
        const RecorderFiles now = files();
        EXPECT_TRUE(now.database == warmFiles_->database) << "the database changed";
        EXPECT_TRUE(now.log == warmFiles_->log) << "the log changed";
        EXPECT_EQ(now.names, warmFiles_->names);
    }

    static bool makeCold() {
        evict(database());
        evict(log());
        const double resident = residentShare(database());
        RecordProperty("resident_after_eviction_percent", static_cast<int>(resident * 100));
        return resident < 0.5;
    }

    static std::unique_ptr<TemporaryHome> home_;
    static std::unique_ptr<ProcessResult> warmAnswer_;
    static std::unique_ptr<RecorderFiles> warmFiles_;
};

std::unique_ptr<TemporaryHome> WarmingTest::home_;
std::unique_ptr<ProcessResult> WarmingTest::warmAnswer_;
std::unique_ptr<RecorderFiles> WarmingTest::warmFiles_;

// A cold answer that ends before a look finds its helpers is tried again,
// up to this many times.
constexpr int kAttempts = 5;

TEST_F(WarmingTest, AColdAnswerIsTheWarmAnswer) {
    bool helpersSeen = false;
    for (int attempt = 0; attempt < kAttempts && !helpersSeen; ++attempt) {
        if (!makeCold()) GTEST_SKIP() << "the page cache keeps the database after POSIX_FADV_DONTNEED";
        RunningQuery query(*home_, kLongAnswer);
        helpersSeen = query.waitForHelpersOrEnd(database());
        EXPECT_EQ(query.waitFor(), 0) << query.errors();
        EXPECT_EQ(query.errors(), "");
        EXPECT_TRUE(query.output() == warmAnswer_->standardOutput)
            << "the cold answer differs from the warm one: " << query.output().size() << " bytes against "
            << warmAnswer_->standardOutput.size();
    }
    EXPECT_TRUE(helpersSeen) << "no cold answer was seen with helpers running";
    expectFilesAsWarmRunLeftThem();
}

TEST_F(WarmingTest, AProcessKilledWhileItsHelpersReadLeavesEveryByte) {
    bool killedWithHelpers = false;
    for (int attempt = 0; attempt < kAttempts && !killedWithHelpers; ++attempt) {
        if (!makeCold()) GTEST_SKIP() << "the page cache keeps the database after POSIX_FADV_DONTNEED";
        RunningQuery query(*home_, kLongAnswer);
        if (!query.waitForHelpersOrEnd(database())) continue;
        query.kill();
        killedWithHelpers = query.waitFor() == 128 + SIGKILL;
    }
    EXPECT_TRUE(killedWithHelpers) << "no cold answer was seen with helpers running";
    expectFilesAsWarmRunLeftThem();
    // And the files answer as before.
    const ProcessResult again = home_->run(kLongAnswer, frozenAt(kNow));
    EXPECT_EQ(again.exitStatus, 0) << again.standardError;
    EXPECT_TRUE(again.standardOutput == warmAnswer_->standardOutput) << "the answer after the kill differs";
}

}  // namespace warming_test
