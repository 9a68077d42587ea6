# Writes the C++ source that carries the time view (INPUT, an HTML file)
# into the programs, as its bytes and the first 16 hexadecimal digits of
# their SHA-256, which name the view's version for the hosts that cache it.
# The view must stay small enough to be shipped with every answer a host
# shows: a view over 80 KiB fails the build. The source is rewritten only
# when it changes, so an unchanged view does not rebuild anything.
file(READ "${INPUT}" bytes HEX)
string(LENGTH "${bytes}" hex_length)
math(EXPR size "${hex_length} / 2")
set(most_bytes 81920)
if(size GREATER most_bytes)
  message(FATAL_ERROR "${INPUT} is ${size} bytes; the time view may take at most ${most_bytes} (80 KiB).")
endif()
file(SHA256 "${INPUT}" digest)
string(SUBSTRING "${digest}" 0 16 digest)

# Sixteen bytes to a line: a reader of the generated file can still find
# their way, and no compiler meets a line of a hundred thousand characters.
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
set(line_pattern "")
foreach(i RANGE 1 16)
  string(APPEND line_pattern "0x[0-9a-f][0-9a-f],")
endforeach()
string(REGEX REPLACE "(${line_pattern})" "\\1\n" bytes "${bytes}")

set(content "// Generated at build time from view/TimeView.html; do not edit.
#include \"view/TimeView.h\"

namespace VarnholtQueryLib {

namespace {

const unsigned char kTimeViewBytes[] = {
${bytes}
};

}  // namespace

std::string_view timeViewHTML() {
    return {reinterpret_cast<const char*>(kTimeViewBytes), sizeof kTimeViewBytes};
}

std::string_view timeViewDigest() { return \"${digest}\"; }

}  // namespace VarnholtQueryLib
")
set(existing "")
if(EXISTS "${OUTPUT}")
  file(READ "${OUTPUT}" existing)
endif()
if(NOT existing STREQUAL content)
  file(WRITE "${OUTPUT}" "${content}")
endif()
