#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/PlatformPorts.h"

namespace VarnholtTestSupport {

// Files held in memory by path, for the code that reads a file a person
// names; records the paths it was asked to read.
class MemoryFileSystem final : public VarnholtQueryLib::FileSystemPort {
public:
    std::optional<VarnholtQueryLib::FileAttributes> attributes(const std::string& path) const override {
        const auto found = files.find(path);
        if (found == files.end()) return std::nullopt;
        VarnholtQueryLib::FileAttributes attributes;
        attributes.sizeBytes = static_cast<std::int64_t>(found->second.size());
        return attributes;
    }

    std::optional<std::string> readFile(const std::string& path) const override {
        read.push_back(path);
        const auto found = files.find(path);
        if (found == files.end()) return std::nullopt;
        return found->second;
    }

    std::map<std::string, std::string> files;
    mutable std::vector<std::string> read;
};

}  // namespace VarnholtTestSupport
