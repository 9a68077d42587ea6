#include "output/JSONWriter.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <vector>

#include "platform/LocalCalendar.h"
#include "platform/StandardStreams.h"
#include "platform/SystemPlatform.h"
#include "UTF8Text.h"

namespace VarnholtQueryLib {

namespace {

// The two layouts of one writer: the printed document and its one-line form.
struct Layout {
    bool spread;        // objects and arrays over lines, indented, " : " after keys
    bool escapeSlash;   // "/" as "\/"
};

constexpr Layout kPrinted{true, true};
constexpr Layout kCompact{false, false};

bool writeString(const std::string& text, const Layout& layout, std::string& out) {
    if (!VarnholtText::isValidUTF8(text)) return false;
    out += '"';
    for (const char c : text) {
        switch (c) {
            case '"': out += "\\\""; break;
            case '\\': out += "\\\\"; break;
            case '/': out += layout.escapeSlash ? "\\/" : "/"; break;
            case '\b': out += "\\b"; break;
            case '\f': out += "\\f"; break;
            case '\n': out += "\\n"; break;
            case '\r': out += "\\r"; break;
            case '\t': out += "\\t"; break;
            default:
                if (static_cast<unsigned char>(c) < 0x20) {
                    char escape[8];
                    std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
                    out += escape;
                } else {
                    out += c;
                }
        }
    }
    out += '"';
    return true;
}

// Whole numbers up to this magnitude are exact in a double, and every
// reader takes their plain digits back as the same number.
constexpr double kLargestExactWholeNumber = 9007199254740992.0;  // 2^53

void writeDouble(double value, std::string& out) {
    // JSON has no infinity or NaN, and one odd value must not cost the
    // caller the whole answer: null says "no number here".
    if (!std::isfinite(value)) {
        out += "null";
        return;
    }
    // Timestamps and counts come as doubles: 1791000000 must not read
    // "1.791e+09", which is shorter but not what a person or a strict
    // integer parser expects. The sign of -0 is kept, as before.
    if (std::trunc(value) == value && std::fabs(value) < kLargestExactWholeNumber) {
        if (value == 0 && std::signbit(value)) {
            out += "-0";
        } else {
            out += std::to_string(static_cast<std::int64_t>(value));
        }
        return;
    }
    // Otherwise the shortest text that reads back as the same double.
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    out.append(buffer, result.ptr);
}

bool writeValue(const JSON& value, int depth, const Layout& layout, std::string& out);

// The members of an object or the elements of an array, between `open` and
// `close`; `writeMember` writes one of them.
template <typename Members, typename WriteMember>
bool writeContainer(const Members& members, bool empty, char open, char close, int depth,
                    const Layout& layout, std::string& out, const WriteMember& writeMember) {
    out += open;
    if (!layout.spread) {
        bool first = true;
        for (const auto& member : members) {
            if (!first) out += ',';
            first = false;
            if (!writeMember(member)) return false;
        }
        out += close;
        return true;
    }
    const std::string indent(static_cast<size_t>(depth) * 2, ' ');
    const std::string innerIndent(static_cast<size_t>(depth + 1) * 2, ' ');
    out += '\n';
    if (empty) {
        out += "\n" + indent + close;
        return true;
    }
    bool first = true;
    for (const auto& member : members) {
        if (!first) out += ",\n";
        first = false;
        out += innerIndent;
        if (!writeMember(member)) return false;
    }
    out += "\n" + indent + close;
    return true;
}

bool writeValue(const JSON& value, int depth, const Layout& layout, std::string& out) {
    switch (value.type()) {
        case JSON::value_t::null: out += "null"; return true;
        case JSON::value_t::boolean: out += value.get<bool>() ? "true" : "false"; return true;
        case JSON::value_t::number_integer: out += std::to_string(value.get<std::int64_t>()); return true;
        case JSON::value_t::number_unsigned: out += std::to_string(value.get<std::uint64_t>()); return true;
        case JSON::value_t::number_float: writeDouble(value.get<double>(), out); return true;
        case JSON::value_t::string: return writeString(value.get_ref<const std::string&>(), layout, out);
        case JSON::value_t::array:
            return writeContainer(value, value.empty(), '[', ']', depth, layout, out, [&](const JSON& element) {
                return writeValue(element, depth + 1, layout, out);
            });
        case JSON::value_t::object:
            // nlohmann::json keeps object members in a std::map, so iteration
            // is already in ascending key order.
            return writeContainer(value.items(), value.empty(), '{', '}', depth, layout, out, [&](const auto& member) {
                if (!writeString(member.key(), layout, out)) return false;
                out += layout.spread ? " : " : ":";
                return writeValue(member.value(), depth + 1, layout, out);
            });
        case JSON::value_t::binary:
        case JSON::value_t::discarded:
            return false;
    }
    return false;
}

void repairText(JSON& value) {
    if (value.is_string()) {
        std::string& text = value.get_ref<std::string&>();
        if (!VarnholtText::isValidUTF8(text)) text = VarnholtText::repairedUTF8(text);
        return;
    }
    if (value.is_array()) {
        for (JSON& element : value) repairText(element);
        return;
    }
    if (!value.is_object()) return;
    std::vector<std::string> damagedKeys;
    for (auto& [key, member] : value.items()) {
        repairText(member);
        if (!VarnholtText::isValidUTF8(key)) damagedKeys.push_back(key);
    }
    for (const std::string& key : damagedKeys) {
        JSON member = std::move(value[key]);
        value.erase(key);
        value[VarnholtText::repairedUTF8(key)] = std::move(member);
    }
}

}  // namespace

JSON withRepairedText(JSON document) {
    repairText(document);
    return document;
}

std::optional<std::string> serializeJSON(const JSON& document) {
    std::string out;
    if (!writeValue(document, 0, kPrinted, out)) return std::nullopt;
    return out;
}

std::optional<std::string> serializeCompactJSON(const JSON& document) {
    std::string out;
    if (!writeValue(document, 0, kCompact, out)) return std::nullopt;
    return out;
}

bool writeJSON(const JSON& document, std::ostream& out, std::ostream& err) {
    const auto text = serializeJSON(document);
    if (!text) {
        err << "Failed to serialize JSON\n";
        err.flush();
        return false;
    }
    out << *text << '\n';
    out.flush();
    return static_cast<bool>(out);
}

bool writeJSON(const JSON& document) { return writeJSON(document, std::cout, std::cerr); }

bool confirmOutputWritten() {
    const std::optional<std::string> failure = standardOutputFailure();
    if (failure) std::cerr << "Failed to write to standard output: " << *failure << '\n';
    std::cerr.flush();
    return !failure && static_cast<bool>(std::cerr);
}

JSON makeErrorEnvelope(const std::string& code, const std::string& message, double timestamp) {
    return withRepairedText(JSON{
        {"ok", false},
        {"api_version", 2},
        {"data", nullptr},
        {"meta", nullptr},
        {"error",
         {{"code", code}, {"message", message}, {"timestamp", formatUTCInternetDateTime(timestamp)}}},
    });
}

void outputErrorJSON(const std::string& code, const std::string& message) {
    writeJSON(makeErrorEnvelope(code, message, SystemClock().now()));
}

void outputError(const std::string& code, const std::string& message) {
    outputErrorJSON(code, message);
    confirmOutputWritten();
    std::exit(1);
}

}  // namespace VarnholtQueryLib
