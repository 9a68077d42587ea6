#pragma once

#include <string>
#include <vector>

namespace VarnholtQueryLib {

// The command-line front end: one invocation, one command, one answer.
//
// runCLI takes the full process argument list (program name first), runs the
// one command it names and writes its answer. It returns normally when the
// command succeeded (the process then exits 0) and calls exit(1) itself after
// writing the error envelope for any failure, and after a line on standard
// error when the answer could not be written to standard output.
//
// An answer is built on one thread. Helpers that warm the page cache for a
// cold answer (PageWarming.h) run beside it on threads of their own, only
// read, and end before the answer does. Nothing below the front end prints.
void runCLI(const std::vector<std::string>& arguments);

}  // namespace VarnholtQueryLib
