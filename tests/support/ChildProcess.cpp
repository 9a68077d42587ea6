#include "ChildProcess.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

namespace VarnholtTestSupport {

std::vector<char*> nullTerminated(std::vector<std::string>& strings) {
    std::vector<char*> result;
    for (auto& text : strings) result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

void openPipe(int ends[2]) {
    if (pipe(ends) != 0) throw std::runtime_error("pipe failed");
    if (fcntl(ends[0], F_SETFD, FD_CLOEXEC) != 0 || fcntl(ends[1], F_SETFD, FD_CLOEXEC) != 0) {
        close(ends[0]);
        close(ends[1]);
        throw std::runtime_error("cannot mark a pipe close-on-exec");
    }
}

int decodeWaitStatus(int status) {
    if (WIFEXITED(status)) return WEXITSTATUS(status);
    if (WIFSIGNALED(status)) return 128 + WTERMSIG(status);
    return -1;
}

}  // namespace VarnholtTestSupport
