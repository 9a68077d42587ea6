#pragma once

#include "platform/PlatformPorts.h"
#include "status/TailLogPort.h"

namespace VarnholtQueryLib {

// Log tails by running the system's /usr/bin/tail through the process port.
// Where the child's standard error goes is the process port's choice
// (ChildErrors): the command line lets it through, so for a missing file
// tail's own complaint reaches the user's terminal; the MCP server discards
// it. Either way the text is then empty. Holds only a reference to the
// process port, which must outlive it.
class FSTailTailLogPort final : public TailLogPort {
public:
    explicit FSTailTailLogPort(const ProcessPort& processes);

    // The child's standard output as text; its exit status is not examined.
    // "Error: Unable to read log file - <reason>" when tail cannot be
    // started, "Error: Unable to decode log output." when its output is not
    // UTF-8.
    std::string tailLog(const std::string& filePath, std::int64_t lineCount) const override;

    static constexpr const char* kTailProgram = "/usr/bin/tail";

private:
    const ProcessPort& processes_;
};

}  // namespace VarnholtQueryLib
