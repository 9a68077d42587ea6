#include "FSTailTailLogPort.h"

#include <unicode/ustring.h>

namespace VarnholtQueryLib {

namespace {

// Well-formed UTF-8 only: ICU refuses overlong forms, surrogates and
// truncated sequences, as a strict decoder should.
bool isValidUTF8(const std::string& bytes) {
    if (bytes.empty()) return true;
    UErrorCode status = U_ZERO_ERROR;
    int32_t length = 0;
    u_strFromUTF8(nullptr, 0, &length, bytes.data(), static_cast<int32_t>(bytes.size()), &status);
    // Preflighting reports a buffer overflow when everything decoded.
    return status == U_BUFFER_OVERFLOW_ERROR || U_SUCCESS(status);
}

}  // namespace

FSTailTailLogPort::FSTailTailLogPort(const ProcessPort& processes) : processes_(processes) {}

std::string FSTailTailLogPort::tailLog(const std::string& filePath, std::int64_t lineCount) const {
    const ProcessOutput output =
        processes_.run(kTailProgram, {"-n", std::to_string(lineCount), filePath});
    if (!output.launched) return "Error: Unable to read log file - " + output.launchError;
    if (!isValidUTF8(output.standardOutput)) return "Error: Unable to decode log output.";
    return output.standardOutput;
}

}  // namespace VarnholtQueryLib
