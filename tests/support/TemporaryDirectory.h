#pragma once

#include <string>

namespace VarnholtTestSupport {

// A fresh directory below $TMPDIR (or /tmp), removed with everything in it
// when the object goes away. Tests never touch a real home directory.
class TemporaryDirectory {
public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::string& path() const { return path_; }
    // path() + "/" + relative.
    std::string file(const std::string& relative) const { return path_ + "/" + relative; }

private:
    std::string path_;
};

}  // namespace VarnholtTestSupport
