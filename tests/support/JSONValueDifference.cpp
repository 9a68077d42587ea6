#include "JSONValueDifference.h"

namespace VarnholtTestSupport {

namespace {

using nlohmann::json;

// Integers, signed or not, are one kind; numbers with a fraction another.
int kindOf(const json& value) {
    if (value.is_number_unsigned()) return static_cast<int>(json::value_t::number_integer);
    return static_cast<int>(value.type());
}

std::string shown(const json& value) { return value.dump(); }

std::string differenceAt(const std::string& path, const json& actual, const json& expected) {
    const std::string here = path.empty() ? "<document>" : path;
    if (kindOf(actual) != kindOf(expected)) {
        return here + ": " + shown(actual) + " against " + shown(expected);
    }
    if (actual.is_object()) {
        for (const auto& [key, member] : expected.items()) {
            const std::string at = path.empty() ? key : path + "." + key;
            if (!actual.contains(key)) return at + ": missing";
            if (auto difference = differenceAt(at, actual[key], member); !difference.empty()) return difference;
        }
        for (const auto& [key, member] : actual.items()) {
            if (!expected.contains(key)) return (path.empty() ? key : path + "." + key) + ": not expected";
        }
        return "";
    }
    if (actual.is_array()) {
        for (std::size_t index = 0; index < actual.size() && index < expected.size(); ++index) {
            const std::string at = path + "[" + std::to_string(index) + "]";
            if (auto difference = differenceAt(at, actual[index], expected[index]); !difference.empty()) {
                return difference;
            }
        }
        if (actual.size() != expected.size()) {
            return here + ": " + std::to_string(actual.size()) + " elements against " +
                   std::to_string(expected.size());
        }
        return "";
    }
    return actual == expected ? "" : here + ": " + shown(actual) + " against " + shown(expected);
}

}  // namespace

std::string jsonValueDifference(const json& actual, const json& expected) {
    return differenceAt("", actual, expected);
}

}  // namespace VarnholtTestSupport
