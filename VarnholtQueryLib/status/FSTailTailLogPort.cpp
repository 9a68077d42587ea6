#include "status/FSTailTailLogPort.h"

#include "UTF8Text.h"

namespace VarnholtQueryLib {

FSTailTailLogPort::FSTailTailLogPort(const ProcessPort& processes) : processes_(processes) {}

std::string FSTailTailLogPort::tailLog(const std::string& filePath, std::int64_t lineCount) const {
    const ProcessOutput output =
        processes_.run(kTailProgram, {"-n", std::to_string(lineCount), filePath});
    if (!output.launched) return "Error: Unable to read log file - " + output.launchError;
    // Strict: a tail that is not UTF-8 is reported, not repaired.
    if (!VarnholtText::isValidUTF8(output.standardOutput)) return "Error: Unable to decode log output.";
    return output.standardOutput;
}

}  // namespace VarnholtQueryLib
