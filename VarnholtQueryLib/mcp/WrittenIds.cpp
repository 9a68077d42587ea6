#include "mcp/WrittenIds.h"

#include "output/JSONWriter.h"

namespace VarnholtQueryLib::MCP {

namespace {

// Walks the parser's events and notes the number texts of "id" members of
// the message objects: the top-level object, or the objects directly inside
// a top-level array.
class IdScanner final : public nlohmann::json_sax<JSON> {
public:
    bool null() override { return value(std::nullopt); }
    bool boolean(bool) override { return value(std::nullopt); }
    bool number_integer(number_integer_t) override { return value(std::nullopt); }
    bool number_unsigned(number_unsigned_t) override { return value(std::nullopt); }
    bool number_float(number_float_t, const string_t& text) override { return value(text); }
    bool string(string_t&) override { return value(std::nullopt); }
    bool binary(binary_t&) override { return value(std::nullopt); }

    bool start_object(std::size_t) override {
        open(Level::object);
        return true;
    }
    bool key(string_t& key) override {
        levels_.back().key = key;
        return true;
    }
    bool end_object() override {
        levels_.pop_back();
        return true;
    }
    bool start_array(std::size_t) override {
        open(Level::array);
        return true;
    }
    bool end_array() override {
        levels_.pop_back();
        return true;
    }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override {
        return false;
    }

    std::vector<std::optional<std::string>> ids;

private:
    enum class Level { object, array };
    struct Open {
        Level kind;
        std::string key;
    };

    // A message object opens at depth 0 on its own, or at depth 1 in a batch.
    bool isMessageLevel() const {
        if (levels_.size() == 1) return levels_[0].kind == Level::object;
        return levels_.size() == 2 && levels_[0].kind == Level::array &&
               levels_[1].kind == Level::object;
    }

    void open(Level kind) {
        // Each message gets its entry when it opens, so that ids line up
        // with the batch's elements even where an element has none.
        const bool message = kind == Level::object &&
                             (levels_.empty() || (levels_.size() == 1 && levels_[0].kind == Level::array));
        if (message) ids.emplace_back();
        if (levels_.size() == 1 && levels_[0].kind == Level::array && kind == Level::array) {
            ids.emplace_back();
        }
        levels_.push_back({kind, {}});
    }

    bool value(const std::optional<std::string>& numberText) {
        // A scalar element of a batch is a message too (an invalid one).
        if (levels_.size() == 1 && levels_[0].kind == Level::array) ids.emplace_back();
        if (isMessageLevel() && levels_.back().key == "id") ids.back() = numberText;
        return true;
    }

    std::vector<Open> levels_;
};

}  // namespace

std::vector<std::optional<std::string>> writtenNumberIds(std::string_view line) {
    IdScanner scanner;
    if (!JSON::sax_parse(line.begin(), line.end(), &scanner)) return {};
    return scanner.ids;
}

}  // namespace VarnholtQueryLib::MCP
