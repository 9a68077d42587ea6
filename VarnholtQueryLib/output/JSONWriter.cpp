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

bool writeString(const std::string& text, std::string& out) {
    if (!VarnholtSQLiteSupport::isValidUTF8(text)) return false;
    out += '"';
    for (const char c : text) {
        switch (c) {
            case '"': out += "\\\""; break;
            case '\\': out += "\\\\"; break;
            case '/': out += "\\/"; break;
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

bool writeValue(const JSON& value, int depth, std::string& out) {
    const std::string indent(static_cast<size_t>(depth) * 2, ' ');
    const std::string innerIndent(static_cast<size_t>(depth + 1) * 2, ' ');
    switch (value.type()) {
        case JSON::value_t::null: out += "null"; return true;
        case JSON::value_t::boolean: out += value.get<bool>() ? "true" : "false"; return true;
        case JSON::value_t::number_integer: out += std::to_string(value.get<std::int64_t>()); return true;
        case JSON::value_t::number_unsigned: out += std::to_string(value.get<std::uint64_t>()); return true;
        case JSON::value_t::number_float: writeDouble(value.get<double>(), out); return true;
        case JSON::value_t::string: return writeString(value.get_ref<const std::string&>(), out);
        case JSON::value_t::array: {
            out += "[\n";
            if (value.empty()) {
                out += "\n" + indent + "]";
                return true;
            }
            bool first = true;
            for (const auto& element : value) {
                if (!first) out += ",\n";
                first = false;
                out += innerIndent;
                if (!writeValue(element, depth + 1, out)) return false;
            }
            out += "\n" + indent + "]";
            return true;
        }
        case JSON::value_t::object: {
            out += "{\n";
            if (value.empty()) {
                out += "\n" + indent + "}";
                return true;
            }
            // nlohmann::json keeps object members in a std::map, so iteration
            // is already in ascending key order.
            bool first = true;
            for (const auto& [key, member] : value.items()) {
                if (!first) out += ",\n";
                first = false;
                out += innerIndent;
                if (!writeString(key, out)) return false;
                out += " : ";
                if (!writeValue(member, depth + 1, out)) return false;
            }
            out += "\n" + indent + "}";
            return true;
        }
        case JSON::value_t::binary:
        case JSON::value_t::discarded:
            return false;
    }
    return false;
}

void repairText(JSON& value) {
    if (value.is_string()) {
        std::string& text = value.get_ref<std::string&>();
        if (!VarnholtSQLiteSupport::isValidUTF8(text)) text = VarnholtSQLiteSupport::repairedUTF8(text);
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
        if (!VarnholtSQLiteSupport::isValidUTF8(key)) damagedKeys.push_back(key);
    }
    for (const std::string& key : damagedKeys) {
        JSON member = std::move(value[key]);
        value.erase(key);
        value[VarnholtSQLiteSupport::repairedUTF8(key)] = std::move(member);
    }
}

}  // namespace

JSON withRepairedText(JSON document) {
    repairText(document);
    return document;
}

std::optional<std::string> serializeJSON(const JSON& document) {
    std::string out;
    if (!writeValue(document, 0, out)) return std::nullopt;
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
