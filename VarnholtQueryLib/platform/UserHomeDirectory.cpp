#include "platform/UserHomeDirectory.h"

#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

namespace VarnholtQueryLib {

std::string userHomeDirectory() {
    long suggested = sysconf(_SC_GETPW_R_SIZE_MAX);
    std::vector<char> buffer(suggested > 0 ? static_cast<size_t>(suggested) : 4096);
    struct passwd entry {};
    struct passwd* result = nullptr;
    for (;;) {
        int rc = getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &result);
        if (rc == ERANGE) {
            buffer.resize(buffer.size() * 2);
            continue;
        }
        if (rc != 0 || result == nullptr || result->pw_dir == nullptr) return {};
        std::string home = result->pw_dir;
        // Callers append "/.varnholt/...": without this, a home entered as
        // "/home/ada/" would give "/home/ada//.varnholt/..." in every path
        // the tool prints, and "/" would give "//.varnholt/...".
        while (!home.empty() && home.back() == '/') home.pop_back();
        return home;
    }
}

}  // namespace VarnholtQueryLib
