#pragma once

#include <iosfwd>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

namespace VarnholtQueryLib {

// Every JSON document the tool prints goes through this writer, so that all
// of them share one layout, the one agents already parse:
//  - objects and arrays spread over lines, two spaces per level, " : "
//    between key and value;
//  - keys of every object in ascending order;
//  - "/" escaped as "\/"; non-ASCII written as UTF-8; control characters
//    escaped (\n, \t, ... and \u00XX in lower-case hex for the rest);
//  - an empty array or object as its bracket, a newline, an empty line, the
//    indentation of the line that opened it and the closing bracket;
//  - integers as integers; doubles that are whole numbers below 2^53 in
//    magnitude as plain digits ("1791000000", "-5", "-0"), other doubles in
//    their shortest round-trip form ("0.33", "1e+16"); a double that is not
//    finite as null, since JSON has no infinity; booleans as true/false.
// Documents are nlohmann::json values; the layout is our own.
using JSON = nlohmann::json;

// `document` with every text in it, keys included, that is not valid UTF-8
// repaired: each ill-formed sequence becomes U+FFFD, as in database text.
// Text from outside the database is not always UTF-8 either: a home
// directory named in Latin-1 puts its bytes into every path and every
// message that quotes one. Repaired, one such byte costs the caller a
// character rather than the whole answer.
JSON withRepairedText(JSON document);

// The document's text without the trailing newline, or absent when it holds
// something that cannot be written (invalid UTF-8, a binary value).
std::optional<std::string> serializeJSON(const JSON& document);

// The same document on one line, for readers that pay per character (a
// model reading a tool's answer, the protocol's messages): no white space
// between tokens, ":" after a key, "/" as it is; keys sorted, strings and
// numbers written exactly as above, so that a whole double is the same
// integer here as in the printed document. Absent in the same cases.
std::optional<std::string> serializeCompactJSON(const JSON& document);

// Writes the document and one "\n" to `out` and flushes it, or writes
// "Failed to serialize JSON\n" to `err` when it cannot be serialised.
// Returns whether the document reached `out` in full. Never changes the
// exit status.
bool writeJSON(const JSON& document, std::ostream& out, std::ostream& err);
// The same on standard output and standard error.
bool writeJSON(const JSON& document);

// The last step of every run, for every front end: flushes standard output
// and standard error and tells whether everything written to them arrived.
// When standard output lost bytes (closed, full, its reader gone), writes
// one line on standard error: "Failed to write to standard output: " and the
// system's reason ("Broken pipe"). A failed standard error (help is written
// there) has no one left to tell. When this returns false the caller exits
// with status 1: a lost answer must not look like a successful one.
bool confirmOutputWritten();

// The error envelope: "ok" false, "api_version" 2, "data" and "meta" null,
// "error" {code, message, timestamp}, where `timestamp` is the instant in UTC.
// A message that is not valid UTF-8 is repaired (see withRepairedText).
JSON makeErrorEnvelope(const std::string& code, const std::string& message, double timestamp);

// Writes the error envelope for now to standard output; deliberately not to
// standard error, so that callers read a single stream.
void outputErrorJSON(const std::string& code, const std::string& message);

// outputErrorJSON, confirmOutputWritten, then exit(1). Never returns.
[[noreturn]] void outputError(const std::string& code, const std::string& message);

}  // namespace VarnholtQueryLib
