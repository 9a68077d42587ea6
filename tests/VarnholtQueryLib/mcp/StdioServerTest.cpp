#include "mcp/StdioServer.h"

#include <gtest/gtest.h>

#include <sstream>
#include <streambuf>

#include "FakeDocumentSource.h"
#include "mcp/MCPSession.h"

using namespace VarnholtQueryLib;
using namespace VarnholtQueryLib::MCP;

namespace {

// An output that refuses every byte, like a pipe whose reader has gone.
class ClosedOutput final : public std::streambuf {
protected:
    int_type overflow(int_type) override { return traits_type::eof(); }
    std::streamsize xsputn(const char*, std::streamsize) override { return 0; }
};

const std::string kInitialize =
    R"({"jsonrpc":"2.0","id":1,"method":"initialize","params":{"protocolVersion":"2025-06-18","capabilities":{},"clientInfo":{"name":"t","version":"1"}}})";
const std::string kPing = R"({"jsonrpc":"2.0","id":2,"method":"ping"})";
const std::string kPingReply = R"({"id":2,"jsonrpc":"2.0","result":{}})";

class StdioServerTest : public ::testing::Test {
protected:
    // The lines written for `input`, and the exit status.
    std::vector<std::string> serve(const std::string& input) {
        std::istringstream in(input);
        std::ostringstream out;
        MCPSession session(documents_);
        status_ = serveStdio(in, out, diagnostics_, session);
        std::vector<std::string> lines;
        std::istringstream written(out.str());
        for (std::string line; std::getline(written, line);) lines.push_back(line);
        EXPECT_TRUE(out.str().empty() || out.str().back() == '\n');
        return lines;
    }

    FakeDocumentSource documents_;
    std::ostringstream diagnostics_;
    int status_ = -1;
};

}  // namespace

TEST_F(StdioServerTest, OneReplyLinePerRequestLine) {
    const auto lines = serve(kInitialize + "\n" + R"({"jsonrpc":"2.0","method":"notifications/initialized"})" + "\n" +
                             kPing + "\n");
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(JSON::parse(lines[0])["result"]["protocolVersion"], "2025-06-18");
    EXPECT_EQ(lines[1], kPingReply);
    EXPECT_EQ(status_, 0);
    EXPECT_EQ(diagnostics_.str(), "");
}

TEST_F(StdioServerTest, CarriageReturnsAndAMissingLastNewlineAreFine) {
    const auto lines = serve(kPing + "\r\n\r\n\n" + kPing);
    EXPECT_EQ(lines, (std::vector<std::string>{kPingReply, kPingReply}));
    EXPECT_EQ(status_, 0);
}

TEST_F(StdioServerTest, NoInputNoOutput) {
    EXPECT_TRUE(serve("").empty());
    EXPECT_EQ(status_, 0);
}

TEST_F(StdioServerTest, AnOversizedLineIsSkippedAndAnswered) {
    std::string huge = R"({"jsonrpc":"2.0","id":3,"method":"ping","params":{"pad":")";
    huge += std::string(MCPSession::kMaxMessageBytes, 'x') + "\"}}";
    const auto lines = serve(huge + "\n" + kPing + "\n");
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(JSON::parse(lines[0])["error"]["code"], -32600);
    EXPECT_EQ(lines[1], kPingReply);
}

TEST_F(StdioServerTest, ALineOfExactlyTheLimitIsRead) {
    std::string line = R"({"jsonrpc":"2.0","id":2,"method":"ping","params":{"pad":")";
    const std::string end = "\"}}";
    line += std::string(MCPSession::kMaxMessageBytes - line.size() - end.size(), 'x') + end;
    ASSERT_EQ(line.size(), MCPSession::kMaxMessageBytes);
    EXPECT_EQ(serve(line + "\n"), std::vector<std::string>{kPingReply});
}

TEST_F(StdioServerTest, TheCarriageReturnOfACRLFEndingDoesNotCount) {
    std::string line = R"({"jsonrpc":"2.0","id":2,"method":"ping","params":{"pad":")";
    const std::string end = "\"}}";
    line += std::string(MCPSession::kMaxMessageBytes - line.size() - end.size(), 'x') + end;
    EXPECT_EQ(serve(line + "\r\n" + line + "\r"), (std::vector<std::string>{kPingReply, kPingReply}));
    // One byte more is too long, with either ending.
    EXPECT_EQ(JSON::parse(serve("x" + line + "\r").at(0))["error"]["code"], -32600);
    for (const std::string ending : {"\r\n", "\n"}) {
        const auto lines = serve("x" + line + ending + kPing + "\n");
        ASSERT_EQ(lines.size(), 2u);
        EXPECT_EQ(JSON::parse(lines[0])["error"]["message"],
                  "Invalid Request: a message may be at most 4194304 bytes");
        EXPECT_EQ(lines[1], kPingReply);
    }
}

TEST_F(StdioServerTest, AToolAnswerStaysOnOneLine) {
    const std::string call =
        R"({"jsonrpc":"2.0","id":5,"method":"tools/call","params":{"name":"search","arguments":{"keyword":"a\nb"}}})";
    const auto lines = serve(kInitialize + "\n" + call + "\n");
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(JSON::parse(lines[1])["result"]["structuredContent"]["command"], "search a\nb");
}

TEST_F(StdioServerTest, AClosedOutputStopsTheServer) {
    std::istringstream in(kPing + "\n" + kPing + "\n");
    ClosedOutput closed;
    std::ostream out(&closed);
    MCPSession session(documents_);
    EXPECT_EQ(serveStdio(in, out, diagnostics_, session), 1);
    EXPECT_EQ(diagnostics_.str(), "varnholt-mcp: cannot write to standard output; stopping.\n");
}
