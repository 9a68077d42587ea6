#include <string>
#include <vector>

#include "mcp/MCPServerMain.h"
#include "platform/StandardStreams.h"

int main(int argc, char** argv) {
    // Before anything opens a file: a closed standard descriptor must not be
    // handed to the database, and a failed write must be seen as one.
    VarnholtQueryLib::prepareStandardStreams();
    return VarnholtQueryLib::MCP::runMCPServer(std::vector<std::string>(argv, argv + argc));
}
