#include "mcp/MCPServerMain.h"

#include <iostream>

#include "cli/BuildMetadata.h"
#include "mcp/DatabaseDocuments.h"
#include "mcp/MCPSession.h"
#include "mcp/StdioServer.h"
#include "platform/StandardStreams.h"

namespace VarnholtQueryLib::MCP {

namespace {

constexpr const char* kUsage =
    "varnholt-mcp \u2014 the work memory for agents, over the Model Context Protocol\n"
    "\n"
    "USAGE:\n"
    "  varnholt-mcp              Serve MCP on standard input and output\n"
    "  varnholt-mcp --help, -h   Show this help\n"
    "  varnholt-mcp --version, -v\n"
    "                            Show version\n"
    "\n"
    "Tools: timeline, search, entities, summary, status, support_context; each answers\n"
    "with the JSON document varnholt-query prints for the same question.\n"
    "Register it with an MCP host as a stdio server:\n"
    "  {\"mcpServers\": {\"varnholt\": {\"command\": \"varnholt-mcp\"}}}\n";

}  // namespace

std::string mcpVersionLine() {
    return std::string("varnholt-mcp ") + BuildMetadata::version + " (" + BuildMetadata::commitSHA +
           ")";
}

int runMCPServer(const std::vector<std::string>& arguments) {
    if (arguments.size() > 1) {
        const std::string& argument = arguments[1];
        if (arguments.size() == 2 && (argument == "--help" || argument == "-h")) {
            std::cout << kUsage;
            return 0;
        }
        if (arguments.size() == 2 && (argument == "--version" || argument == "-v")) {
            std::cout << mcpVersionLine() << '\n';
            return 0;
        }
        std::cerr << "varnholt-mcp: unexpected argument '" << argument << "'\n\n" << kUsage;
        return 2;
    }
    // A client that goes away closes our standard output; the write must
    // fail with an error we can report, not end the process with SIGPIPE.
    ignoreBrokenPipeSignal();
    const DatabaseDocuments documents;
    MCPSession session(documents);
    return serveStdio(std::cin, std::cout, std::cerr, session);
}

}  // namespace VarnholtQueryLib::MCP
