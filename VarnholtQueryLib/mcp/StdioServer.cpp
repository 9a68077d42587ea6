#include "mcp/StdioServer.h"

#include <istream>
#include <ostream>
#include <string>

#include "mcp/MCPSession.h"

namespace VarnholtQueryLib::MCP {

namespace {

enum class LineRead { line, oversized, end };

// Reads up to the next "\n" into `line`, without it and without a "\r"
// before it, keeping at most `limit` bytes of the message itself: the "\r"
// of a CRLF ending is no part of the message, so it does not count.
LineRead readLine(std::streambuf& input, std::string& line, std::size_t limit) {
    line.clear();
    bool any = false;
    bool oversized = false;
    for (;;) {
        const auto next = input.sbumpc();
        if (next == std::char_traits<char>::eof()) break;
        any = true;
        const char c = std::char_traits<char>::to_char_type(next);
        if (c == '\n') break;
        // One byte beyond the limit is held back for a possible "\r".
        if (line.size() <= limit) {
            line += c;
        } else {
            oversized = true;
        }
    }
    if (!any) return LineRead::end;
    if (!oversized && !line.empty() && line.back() == '\r') line.pop_back();
    return oversized || line.size() > limit ? LineRead::oversized : LineRead::line;
}

}  // namespace

int serveStdio(std::istream& in, std::ostream& out, std::ostream& diagnostics,
               MCPSession& session) {
    std::streambuf* input = in.rdbuf();
    if (input == nullptr) return 1;
    std::string line;
    for (;;) {
        const LineRead read = readLine(*input, line, MCPSession::kMaxMessageBytes);
        if (read == LineRead::end) return 0;
        const auto reply =
            read == LineRead::oversized ? session.replyToOversizedLine() : session.replyTo(line);
        if (!reply) continue;
        out << *reply << '\n';
        out.flush();
        if (!out) {
            // Nobody reads our answers any more; going on would only do
            // work no one sees.
            diagnostics << "varnholt-mcp: cannot write to standard output; stopping.\n";
            diagnostics.flush();
            return 1;
        }
    }
}

}  // namespace VarnholtQueryLib::MCP
