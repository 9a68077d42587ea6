#pragma once

#include <cstdint>
#include <string>

namespace VarnholtQueryLib {

// The last lines of a log file, as text.
class TailLogPort {
public:
    virtual ~TailLogPort() = default;
    // The last `lineCount` lines of the file at `filePath`. Never fails:
    // problems come back as text (an error sentence, or "" for a file that
    // does not exist).
    virtual std::string tailLog(const std::string& filePath, std::int64_t lineCount) const = 0;

protected:
    TailLogPort() = default;
    TailLogPort(const TailLogPort&) = delete;
    TailLogPort& operator=(const TailLogPort&) = delete;
};

}  // namespace VarnholtQueryLib
