#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "output/JSONWriter.h"

namespace VarnholtQueryLib {

// The time view with an answer in it, as `--format html` prints it: a page
// that a browser opens from a file and draws without asking anyone for
// anything.

// The element of the page that holds the answer, empty as the page ships.
inline constexpr std::string_view kAnswerElementStart =
    R"(<script type="application/json" id="varnholt-answer">)";
inline constexpr std::string_view kAnswerElementEnd = "</script>";

// `json` (a JSON text) with every "<", ">" and "&" written as its \u escape,
// so that no text in it (a description holding "</script>" or "<!--") can
// end the element it is placed in or open another; outside strings a JSON
// text holds none of them, so the value stays the same.
std::string scriptSafeJSON(std::string_view json);

// The page with `answer` (a document as varnholt-query prints it, answer or
// error envelope) embedded in the answer element: the same value the JSON
// answer has, written by the one JSON writer and made script-safe. Absent
// when the document cannot be written (see serializeJSON).
std::optional<std::string> timeViewPage(const JSON& answer);

}  // namespace VarnholtQueryLib
