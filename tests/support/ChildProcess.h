#pragma once

#include <string>
#include <vector>

namespace VarnholtTestSupport {

// Helpers for starting child programs in tests.

// The argv or envp form of `strings`: pointers into them, then a null. The
// strings must outlive the result.
std::vector<char*> nullTerminated(std::vector<std::string>& strings);

// Opens a pipe whose ends a started program does not inherit (pipe2 with
// O_CLOEXEC, which macOS lacks). Throws std::runtime_error when it cannot.
void openPipe(int ends[2]);

// The exit code of a wait status, 128 + the signal for a child that a signal
// ended, -1 otherwise.
int decodeWaitStatus(int status);

}  // namespace VarnholtTestSupport
