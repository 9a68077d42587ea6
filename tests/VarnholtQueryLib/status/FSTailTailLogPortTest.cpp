#include "status/FSTailTailLogPort.h"

#include <gtest/gtest.h>

#include <fstream>
#include <vector>

#include "platform/SystemPlatform.h"
#include "TemporaryDirectory.h"

using namespace VarnholtQueryLib;

namespace {

// Answers with a canned outcome and records what it was asked to run.
class FakeProcess final : public ProcessPort {
public:
    explicit FakeProcess(ProcessOutput output) : output_(std::move(output)) {}
    ProcessOutput run(const std::string& program,
                      const std::vector<std::string>& arguments) const override {
        programs.push_back(program);
        argumentLists.push_back(arguments);
        return output_;
    }
    mutable std::vector<std::string> programs;
    mutable std::vector<std::vector<std::string>> argumentLists;

private:
    ProcessOutput output_;
};

ProcessOutput printed(const std::string& text) { return ProcessOutput{true, "", text}; }

}  // namespace

TEST(FSTailTailLogPortTest, RunsTailWithTheLineCountAndPath) {
    const FakeProcess processes(printed("last line\n"));
    const FSTailTailLogPort port(processes);
    EXPECT_EQ(port.tailLog("/home/ada/.varnholt/logs/recorder.log", 20), "last line\n");
    EXPECT_EQ(processes.programs, std::vector<std::string>{"/usr/bin/tail"});
    const std::vector<std::vector<std::string>> expected = {
        {"-n", "20", "/home/ada/.varnholt/logs/recorder.log"}};
    EXPECT_EQ(processes.argumentLists, expected);
}

TEST(FSTailTailLogPortTest, LaunchFailureIsReportedAsText) {
    const FakeProcess processes(ProcessOutput{false, "No such file or directory", ""});
    const FSTailTailLogPort port(processes);
    EXPECT_EQ(port.tailLog("/x.log", 20),
              "Error: Unable to read log file - No such file or directory");
}

TEST(FSTailTailLogPortTest, OutputThatIsNotUTF8IsReportedAsText) {
    for (const std::string& bytes :
         {std::string("ok\xff\n"), std::string("\xc3"), std::string("\xc0\xaf"),  // overlong "/"
          std::string("\xed\xa0\x80")}) {                                         // a surrogate
        const FakeProcess processes(printed(bytes));
        EXPECT_EQ(FSTailTailLogPort(processes).tailLog("/x.log", 20),
                  "Error: Unable to decode log output.");
    }
}

TEST(FSTailTailLogPortTest, NonASCIIAndEmptyOutputPassThrough) {
    const FakeProcess umlauts(printed("Grüße — 完成 ✓\n"));
    EXPECT_EQ(FSTailTailLogPort(umlauts).tailLog("/x.log", 20), "Grüße — 完成 ✓\n");
    const FakeProcess nothing(printed(""));
    EXPECT_EQ(FSTailTailLogPort(nothing).tailLog("/x.log", 20), "");
}

TEST(FSTailTailLogPortTest, RealTailReturnsTheLastLines) {
    VarnholtTestSupport::TemporaryDirectory directory;
    const std::string path = directory.file("recorder.log");
    {
        std::ofstream log(path);
        for (int line = 1; line <= 30; ++line) log << "line " << line << "\n";
    }
    const SystemProcess processes;
    const FSTailTailLogPort port(processes);
    std::string expected;
    for (int line = 11; line <= 30; ++line) expected += "line " + std::to_string(line) + "\n";
    EXPECT_EQ(port.tailLog(path, 20), expected);
    EXPECT_EQ(port.tailLog(path, 2), "line 29\nline 30\n");
}

TEST(FSTailTailLogPortTest, RealTailOfAMissingFileIsEmpty) {
    VarnholtTestSupport::TemporaryDirectory directory;
    const SystemProcess processes;
    // tail complains on the inherited standard error; the text is empty.
    EXPECT_EQ(FSTailTailLogPort(processes).tailLog(directory.file("absent.log"), 20), "");
}

TEST(FSTailTailLogPortTest, RealTailOfBinaryContentIsADecodeError) {
    VarnholtTestSupport::TemporaryDirectory directory;
    const std::string path = directory.file("binary.log");
    std::ofstream(path, std::ios::binary) << "start\n\xff\xfe binary\n";
    const SystemProcess processes;
    EXPECT_EQ(FSTailTailLogPort(processes).tailLog(path, 20), "Error: Unable to decode log output.");
}
