#pragma once

#include <fstream>
#include <iterator>
#include <string>

namespace VarnholtTestSupport {

// Every byte of the file at `path`; empty when it cannot be read.
inline std::string fileBytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace VarnholtTestSupport
