#pragma once

#include <string>

namespace VarnholtTestSupport {

// `text` with every "/" written as the JSON writer writes it, "\/".
inline std::string escapedSlashes(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        if (c == '/') escaped += '\\';
        escaped += c;
    }
    return escaped;
}

// The error envelope the binary prints for `code` and `message`, byte for
// byte, with the frozen clock of the end-to-end tests as its timestamp
// unless another is given. `message` is written as it appears in JSON.
inline std::string errorEnvelope(const std::string& code, const std::string& message,
                                 const std::string& timestamp = "2026-04-01T10:00:00Z") {
    return "{\n"
           "  \"api_version\" : 2,\n"
           "  \"data\" : null,\n"
           "  \"error\" : {\n"
           "    \"code\" : \"" + code + "\",\n"
           "    \"message\" : \"" + message + "\",\n"
           "    \"timestamp\" : \"" + timestamp + "\"\n"
           "  },\n"
           "  \"meta\" : null,\n"
           "  \"ok\" : false\n"
           "}\n";
}

}  // namespace VarnholtTestSupport
