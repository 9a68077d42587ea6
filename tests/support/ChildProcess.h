#pragma once

#include <string>
#include <vector>

namespace VarnholtTestSupport {

// Helpers for starting child programs in tests.

// The argv or envp form of `strings`: pointers into them, then a null. The
// strings must outlive the result.
std::vector<char*> nullTerminated(std::vector<std::string>& strings);

// The exit code of a wait status, 128 + the signal for a child that a signal
// ended, -1 otherwise.
int decodeWaitStatus(int status);

}  // namespace VarnholtTestSupport
