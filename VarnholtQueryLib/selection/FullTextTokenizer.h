#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct sqlite3;

namespace VarnholtQueryLib {

// The tokenizer of the recorder's full-text index: the one FTS5 builds for
// observations_fts from the table's own declaration (its tokenize option,
// "unicode61" without one), so that text is cut into words and folded
// (letter case, diacritics, word endings) exactly as the index does it.
// Only adapters use it; it asks SQLite's FTS5 for the tokenizer.
//
// Owns the tokenizer instance and deletes it on destruction. Must not
// outlive the connection it was made on. Single-threaded.
class FullTextTokenizer {
public:
    // Absent when the database has no observations_fts table, its
    // declaration cannot be read, or this SQLite's FTS5 does not know the
    // tokenizer it names (the index cannot be queried then either).
    static std::unique_ptr<FullTextTokenizer> forRecorderIndex(sqlite3* handle);
    ~FullTextTokenizer();
    FullTextTokenizer(const FullTextTokenizer&) = delete;
    FullTextTokenizer& operator=(const FullTextTokenizer&) = delete;

    // How the text is used: as a query, or as a description being indexed.
    enum class Purpose { query, document };

    // The words of `text` as the index holds them, in order (a word FTS5
    // adds at the same place as another, a synonym, is left out). Absent
    // when the tokenizer fails.
    std::optional<std::vector<std::string>> words(std::string_view text, Purpose purpose) const;

private:
    struct Instance;
    explicit FullTextTokenizer(std::unique_ptr<Instance> instance);

    std::unique_ptr<Instance> instance_;
};

// The words of the tokenize option in an FTS5 table declaration (`create`,
// as sqlite_master keeps it), read as FTS5 reads them: the tokenizer's name
// first, then its arguments, quotes removed. {"unicode61"} when the
// declaration has no tokenize option; absent when it cannot be read.
std::optional<std::vector<std::string>> tokenizerDeclaration(std::string_view create);

}  // namespace VarnholtQueryLib
