#include <string>
#include <vector>

#include "mcp/MCPServerMain.h"

int main(int argc, char** argv) {
    return VarnholtQueryLib::MCP::runMCPServer(std::vector<std::string>(argv, argv + argc));
}
