#pragma once

#include <string>
#include <string_view>

namespace VarnholtQueryLib {

// Text from the recorder's status file made safe to draw on a terminal.
//
// The monitor writes the file's labels to the user's terminal, and a label
// is whatever the file says: a control character or an escape sequence in
// it would be obeyed by the terminal (clear the screen, move the cursor,
// set the window title, recolour everything after it). So every control
// character goes, and so does the rest of any sequence it introduces, which
// would otherwise be left behind as visible debris ("[31m"):
//  - CSI, ESC "[" or U+009B: the parameter and intermediate bytes up to and
//    including the final byte (0x40 to 0x7E);
//  - the string sequences OSC (ESC "]", U+009D), DCS (ESC "P", U+0090),
//    SOS (ESC "X", U+0098), PM (ESC "^", U+009E) and APC (ESC "_", U+009F):
//    everything up to and including the terminator, BEL or ST (ESC "\",
//    U+009C), or to the end of the text when there is none;
//  - any other escape sequence: ESC, its intermediate bytes (0x20 to 0x2F)
//    and one final byte (0x30 to 0x7E); an ESC followed by anything else
//    goes alone;
//  - every other C0 control (U+0000 to U+001F, tab and newline included,
//    which would break the screen's layout), DEL (U+007F) and C1 control
//    (U+0080 to U+009F).
// A sequence cut short by the end of the text is dropped as far as it
// goes. Everything else, all printable Unicode, is kept byte for byte.
// REQUIRES: `text` is valid UTF-8 (the status file's decoder checks it).
std::string terminalSafeText(std::string_view text);

}  // namespace VarnholtQueryLib
