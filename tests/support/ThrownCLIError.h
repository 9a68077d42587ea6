#pragma once

#include <string>

#include "cli/CLIError.h"

namespace VarnholtTestSupport {

// "CODE: message" of the CLIError that `action` throws, or "<no error>", so
// that a test compares what the caller would see in one string. Only for
// tests that link VarnholtQueryLib.
template <typename Action>
std::string thrownCLIError(Action&& action) {
    try {
        action();
    } catch (const VarnholtQueryLib::CLIError& error) {
        return error.code() + ": " + error.message();
    }
    return "<no error>";
}

}  // namespace VarnholtTestSupport
