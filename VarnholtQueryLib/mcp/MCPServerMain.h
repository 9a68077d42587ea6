#pragma once

#include <string>
#include <vector>

namespace VarnholtQueryLib::MCP {

// The varnholt-mcp program: with no arguments, an MCP server on standard
// input and output until the input ends; `--help`/`-h` prints its usage and
// `--version`/`-v` its version line on standard output. `arguments` is the
// full process argument list, program first.
//
// Returns the exit status: 0 at the end of the input and after help or
// version, 1 when standard output is closed under the server, 2 for an
// argument it does not know (with the usage on standard error).
int runMCPServer(const std::vector<std::string>& arguments);

// "varnholt-mcp 0.6.6-beta (<commit>)".
std::string mcpVersionLine();

}  // namespace VarnholtQueryLib::MCP
