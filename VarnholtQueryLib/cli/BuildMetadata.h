#pragma once

#include <string>

namespace VarnholtQueryLib {

// What this binary is: the release version and the commit it was built from.
struct BuildMetadata {
    BuildMetadata() = delete;

    static constexpr const char* version = "0.6.6-beta";
    // Seven hexadecimal digits read from git at build time; "0000000" for a
    // build outside a git checkout.
    static const std::string commitSHA;

    // "varnholt-query 0.6.6-beta (<commit>)".
    static std::string versionLine() {
        return std::string("varnholt-query ") + version + " (" + commitSHA + ")";
    }
};

}  // namespace VarnholtQueryLib
