#pragma once

namespace VarnholtQueryLib {

// The help text, written to standard error byte for byte, with no newline at
// the end.
extern const char* const kHelpText;

// The machine-readable command list that `--help --json` prints (a newline is
// added when it is written). It deliberately lists no support-context row.
extern const char* const kCommandListJSON;

}  // namespace VarnholtQueryLib
