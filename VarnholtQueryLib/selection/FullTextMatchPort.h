#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "selection/SelectionRules.h"

namespace VarnholtQueryLib {

// What the recorder's full-text index says about text rules. The SQLite
// adapter (SQLiteFullTextMatch) is the one implementation; tests use fakes.
// Every operation throws the database layer's error unchanged: a database
// without the index fails as a search does there.
class FullTextMatchPort {
public:
    virtual ~FullTextMatchPort() = default;

    // Whether the index's tokenizer finds at least one word with a letter or
    // a digit in `text`: "*", "!?" and a lone "-" hold none, and with the
    // recorder's tokenizer "node.js" is one word and "C++" the word "c".
    virtual bool holdsWord(const std::string& text) = 0;

    // The rowids of the observations whose description, as the index holds
    // it, contains every word term anywhere and every phrase term as a
    // phrase (its words next to each other, in order), ascending, without
    // repeats. Only the observations whose effective time lies in [from,
    // to] are asked about afterwards, so others may be left out.
    // REQUIRES: `terms` is not empty and each holds a word (holdsWord).
    virtual std::vector<std::int64_t> rowidsMatching(const std::vector<MatchTerm>& terms, double from,
                                                     double to) = 0;

protected:
    FullTextMatchPort() = default;
    FullTextMatchPort(const FullTextMatchPort&) = delete;
    FullTextMatchPort& operator=(const FullTextMatchPort&) = delete;
};

}  // namespace VarnholtQueryLib
