#pragma once

#include <string_view>

namespace VarnholtQueryLib {

// The time view: one self-contained HTML page (view/TimeView.html in the
// source tree, built into the programs at build time) that draws a summary
// or a timesheet answer for a person: a strip per day with the sessions or
// the categories' spans as bars, the applications or the day-by-category
// table, the coverage verdict and what a budget left out. It needs no
// network, fonts or libraries. Without an answer embedded it waits for an
// MCP host to hand it a tool result (MCP Apps).

// The page exactly as it ships, without an answer: what MCP hosts are
// served. Lives as long as the program.
std::string_view timeViewHTML();

// Sixteen lower-case hexadecimal digits of the page's SHA-256: a new value
// for every change of the page, for hosts that cache the page by name.
std::string_view timeViewDigest();

}  // namespace VarnholtQueryLib
