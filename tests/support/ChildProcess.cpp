#include "ChildProcess.h"

#include <sys/wait.h>

namespace VarnholtTestSupport {

std::vector<char*> nullTerminated(std::vector<std::string>& strings) {
    std::vector<char*> result;
    for (auto& text : strings) result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

int decodeWaitStatus(int status) {
    if (WIFEXITED(status)) return WEXITSTATUS(status);
    if (WIFSIGNALED(status)) return 128 + WTERMSIG(status);
    return -1;
}

}  // namespace VarnholtTestSupport
