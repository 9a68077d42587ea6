#include "selection/FullTextTokenizer.h"

#include <sqlite3.h>

#include <climits>

#include "SQLiteStatement.h"

namespace VarnholtQueryLib {

namespace {

using namespace VarnholtSQLiteSupport;

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v'; }

// FTS5's barewords: ASCII letters and digits, "_", and every byte beyond
// ASCII.
bool isBareword(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 0x80 || (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
           (byte >= 'a' && byte <= 'z') || c == '_';
}

bool opensQuote(char c) { return c == '\'' || c == '"' || c == '`' || c == '['; }

void skipBlanks(std::string_view text, std::size_t& at) {
    while (at < text.size() && isBlank(text[at])) ++at;
}

// The quoted text at `at` without its quotes ('' inside '...' is one ';
// [...] has no escape), moving `at` past it. Absent when it never closes.
std::optional<std::string> unquoted(std::string_view text, std::size_t& at) {
    const char close = text[at] == '[' ? ']' : text[at];
    std::string inside;
    for (++at; at < text.size(); ++at) {
        if (text[at] != close) {
            inside += text[at];
        } else if (close != ']' && at + 1 < text.size() && text[at + 1] == close) {
            inside += close;
            ++at;
        } else {
            ++at;
            return inside;
        }
    }
    return std::nullopt;
}

std::optional<std::string> bareword(std::string_view text, std::size_t& at) {
    const std::size_t start = at;
    while (at < text.size() && isBareword(text[at])) ++at;
    if (at == start) return std::nullopt;
    return std::string(text.substr(start, at - start));
}

// One word of an option: quoted in any of SQL's ways, or bare.
std::optional<std::string> optionWord(std::string_view text, std::size_t& at) {
    if (at < text.size() && opensQuote(text[at])) return unquoted(text, at);
    return bareword(text, at);
}

// The module's arguments, as SQLite hands them to FTS5: the texts between
// the top-level commas of the parenthesis after USING fts5.
std::optional<std::vector<std::string_view>> moduleArguments(std::string_view create) {
    std::size_t at = 0;
    while (at < create.size() && create[at] != '(') {
        if (opensQuote(create[at])) {
            if (!unquoted(create, at)) return std::nullopt;
        } else {
            ++at;
        }
    }
    if (at == create.size()) return std::vector<std::string_view>{};
    std::vector<std::string_view> arguments;
    std::size_t start = ++at;
    int depth = 1;
    while (at < create.size()) {
        const char c = create[at];
        if (opensQuote(c)) {
            if (!unquoted(create, at)) return std::nullopt;
            continue;
        }
        ++at;
        if (c == '(') ++depth;
        if (c == ')' && --depth == 0) {
            arguments.push_back(create.substr(start, at - 1 - start));
            return arguments;
        }
        if (c == ',' && depth == 1) {
            arguments.push_back(create.substr(start, at - 1 - start));
            start = at;
        }
    }
    return std::nullopt;
}

bool namesTokenize(const std::string& key) {
    if (key.size() != 8) return false;
    for (std::size_t i = 0; i < key.size(); ++i) {
        if (static_cast<char>(key[i] | 0x20) != "tokenize"[i]) return false;
    }
    return true;
}

// The tokenize option's value split as FTS5 splits it: barewords and
// '...' literals, separated by blanks.
std::optional<std::vector<std::string>> tokenizerWords(std::string_view value) {
    std::vector<std::string> words;
    std::size_t at = 0;
    for (skipBlanks(value, at); at < value.size(); skipBlanks(value, at)) {
        const auto word = value[at] == '\'' ? unquoted(value, at) : bareword(value, at);
        if (!word) return std::nullopt;
        words.push_back(*word);
    }
    if (words.empty()) return std::nullopt;
    return words;
}

fts5_api* fts5Of(sqlite3* handle) {
    fts5_api* api = nullptr;
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(handle, "SELECT fts5(?1)", -1, &statement, nullptr) != SQLITE_OK) return nullptr;
    sqlite3_bind_pointer(statement, 1, static_cast<void*>(&api), "fts5_api_ptr", nullptr);
    sqlite3_step(statement);
    sqlite3_finalize(statement);
    return api;
}

std::optional<std::string> recorderIndexDeclaration(sqlite3* handle) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(handle,
                           "SELECT sql FROM sqlite_master WHERE type = 'table' AND name = 'observations_fts' "
                           "COLLATE NOCASE",
                           -1, &statement, nullptr) != SQLITE_OK) {
        return std::nullopt;
    }
    FinalizeOnExit finalize(statement);
    if (sqlite3_step(statement) != SQLITE_ROW) return std::nullopt;
    return columnOptionalText(statement, 0);
}

int collectWord(void* context, int flags, const char* token, int length, int /*start*/, int /*end*/) {
    if ((flags & FTS5_TOKEN_COLOCATED) != 0) return SQLITE_OK;
    static_cast<std::vector<std::string>*>(context)->emplace_back(token, static_cast<std::size_t>(length));
    return SQLITE_OK;
}

}  // namespace

struct FullTextTokenizer::Instance {
    fts5_tokenizer methods{};
    Fts5Tokenizer* tokenizer = nullptr;

    ~Instance() {
        if (tokenizer != nullptr) methods.xDelete(tokenizer);
    }
};

std::optional<std::vector<std::string>> tokenizerDeclaration(std::string_view create) {
    const auto arguments = moduleArguments(create);
    if (!arguments) return std::nullopt;
    for (const std::string_view argument : *arguments) {
        std::size_t at = 0;
        skipBlanks(argument, at);
        const auto key = optionWord(argument, at);
        if (!key) continue;
        skipBlanks(argument, at);
        if (at == argument.size() || argument[at] != '=') continue;
        ++at;
        skipBlanks(argument, at);
        if (!namesTokenize(*key)) continue;
        const auto value = optionWord(argument, at);
        if (!value) return std::nullopt;
        return tokenizerWords(*value);
    }
    return std::vector<std::string>{"unicode61"};
}

std::unique_ptr<FullTextTokenizer> FullTextTokenizer::forRecorderIndex(sqlite3* handle) {
    const auto declaration = recorderIndexDeclaration(handle);
    if (!declaration) return nullptr;
    const auto words = tokenizerDeclaration(*declaration);
    fts5_api* api = fts5Of(handle);
    if (!words || api == nullptr) return nullptr;

    auto instance = std::make_unique<Instance>();
    void* userData = nullptr;
    if (api->xFindTokenizer(api, words->front().c_str(), &userData, &instance->methods) != SQLITE_OK) {
        return nullptr;
    }
    std::vector<const char*> arguments;
    for (std::size_t i = 1; i < words->size(); ++i) arguments.push_back((*words)[i].c_str());
    if (instance->methods.xCreate(userData, arguments.data(), static_cast<int>(arguments.size()),
                                  &instance->tokenizer) != SQLITE_OK) {
        instance->tokenizer = nullptr;
        return nullptr;
    }
    return std::unique_ptr<FullTextTokenizer>(new FullTextTokenizer(std::move(instance)));
}

FullTextTokenizer::FullTextTokenizer(std::unique_ptr<Instance> instance) : instance_(std::move(instance)) {}

FullTextTokenizer::~FullTextTokenizer() = default;

std::optional<std::vector<std::string>> FullTextTokenizer::words(std::string_view text, Purpose purpose) const {
    if (text.size() > static_cast<std::size_t>(INT_MAX)) return std::nullopt;
    std::vector<std::string> words;
    const int flags = purpose == Purpose::query ? FTS5_TOKENIZE_QUERY : FTS5_TOKENIZE_DOCUMENT;
    const int result = instance_->methods.xTokenize(instance_->tokenizer, &words, flags, text.data(),
                                                    static_cast<int>(text.size()), collectWord);
    if (result != SQLITE_OK) return std::nullopt;
    return words;
}

}  // namespace VarnholtQueryLib
