#pragma once

#include <string>
#include <string_view>

namespace VarnholtQueryLib {

// How the user's search keyword becomes the text bound to FTS5's MATCH.
//
// Both forms walk the keyword one character (grapheme) at a time into terms:
// runs of non-white-space, with double-quoted phrases kept whole (their inner
// white space included) and an unclosed phrase running to the end. Both take
// time linear in the keyword's length, so a pasted log of thousands of words
// costs no more to translate than to read.
namespace FTS5Keyword {

// Whether a later copy of a term is kept. FTS5 matches the same rows for
// "a OR a" as for "a", but BM25 adds a repeated term's weight once per copy,
// so dropping copies is only right where the order of the answer does not
// come from BM25.
enum class RepeatedTerms { keep, drop };

// The MATCH text for `keyword`: several terms become alternatives ("invoice
// budget" -> "invoice OR budget"), quoted phrases stay phrases, and a keyword
// that is a single term or already uses an FTS5 operator (AND, OR, NOT, NEAR,
// NEAR/n, in any letter case) is returned exactly as given. Nothing is
// escaped: what FTS5 rejects is reported by the query. With
// RepeatedTerms::drop, later copies of a term are left out when every term is
// a bare word or a quoted phrase (then the alternatives form a flat OR whose
// rows cannot change); otherwise every term is kept.
std::string transformed(const std::string& keyword, RepeatedTerms repeated = RepeatedTerms::keep);

// The keyword taken literally, for when FTS5 rejects transformed(): the same
// walk, but every double quote is dropped (a quote still opens and closes a
// phrase, and a closing quote still ends its term); each term is trimmed of
// blanks and tabs, empty terms are left out, and the rest are wrapped in
// double quotes and joined with " OR ". Empty when no term is left.
// "node.js" gives "\"node.js\"", "TypeError: x" gives "\"TypeError:\" OR \"x\"".
std::string literal(const std::string& keyword, RepeatedTerms repeated = RepeatedTerms::keep);

// The MATCH text that requires every term of `keyword`: its terms as
// literal() finds them (bare words, phrases without their quotes), each in
// double quotes, separated by one blank, FTS5's implicit AND. No input is
// read as FTS5 syntax: "NOT", "OR" and "deploying*" are words to find, and
// no keyword fails to parse. A term in which the table's tokenizer finds no
// word ("*", ":") asks for nothing: the implicit AND leaves such an empty
// phrase out, where FTS5's explicit AND would match no row at all. With
// RepeatedTerms::drop, later copies of a term are left out (the rows are the
// same). Empty when no term is left. "deploy "unit tests" OR" gives
// ""deploy" "unit tests" "OR"".
std::string allWords(const std::string& keyword, RepeatedTerms repeated = RepeatedTerms::keep);

// Whether FTS5 reads `word` (UTF-8) as one bare word: it is not empty and
// holds ASCII letters and digits, "_", and characters beyond ASCII only.
// Operators (AND, OR, NOT, NEAR) are bare words too.
bool isBareWord(std::string_view word);

}  // namespace FTS5Keyword

}  // namespace VarnholtQueryLib
