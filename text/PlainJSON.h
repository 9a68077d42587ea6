#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace VarnholtText {

// Reads JSON whose strings need no decoding: the texts the database holds
// for lists of names (the recorder's arrays of applications, the entity
// lists SQLite writes), which are read for every row of an answer, where a
// JSON document per row cost more than the rest of the row's work. A reader
// built on it gives up (false, nullopt) on anything else, and its caller
// then parses the text as JSON, so that both ways give the same result.
class PlainJSON {
public:
    explicit PlainJSON(std::string_view text) : text_(text) {}

    // Skips JSON whitespace, then takes `token` when it comes next.
    bool take(std::string_view token);
    // Skips JSON whitespace, then reads the string that comes next when it
    // holds no escape, no control character and only well-formed UTF-8 (its
    // value is then its bytes).
    std::optional<std::string> plainString();
    // Skips JSON whitespace; whether the text ends there.
    bool atEnd();

private:
    void skipSpace();

    std::string_view text_;
    std::size_t at_ = 0;
};

}  // namespace VarnholtText
