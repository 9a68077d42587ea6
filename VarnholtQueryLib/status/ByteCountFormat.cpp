#include "status/ByteCountFormat.h"

#include <array>
#include <cstddef>

namespace VarnholtQueryLib {

namespace {

struct Unit {
    const char* name;
    int decimals;
    // One step of the displayed last digit, in bytes: 1000^unit / 10^decimals.
    std::uint64_t step;
};

constexpr std::array<Unit, 6> kUnits = {{
    {"KB", 0, 1'000ULL},
    {"MB", 1, 100'000ULL},
    {"GB", 2, 10'000'000ULL},
    {"TB", 2, 10'000'000'000ULL},
    {"PB", 2, 10'000'000'000'000ULL},
    {"EB", 2, 10'000'000'000'000'000ULL},
}};

constexpr std::uint64_t powerOfTen(int exponent) {
    std::uint64_t value = 1;
    for (int i = 0; i < exponent; ++i) value *= 10;
    return value;
}

// `steps` units of 10^-decimals as text, trailing zeros of the fraction
// dropped: 1230 with 2 decimals is "12.3".
std::string decimalText(std::uint64_t steps, int decimals) {
    const std::uint64_t scale = powerOfTen(decimals);
    std::string text = std::to_string(steps / scale);
    if (decimals == 0) return text;
    std::string fraction = std::to_string(steps % scale);
    fraction.insert(0, static_cast<std::size_t>(decimals) - fraction.size(), '0');
    while (!fraction.empty() && fraction.back() == '0') fraction.pop_back();
    if (!fraction.empty()) text += "." + fraction;
    return text;
}

}  // namespace

std::string formatByteCount(std::int64_t bytes) {
    if (bytes == 0) return "Zero KB";
    const std::string sign = bytes < 0 ? "-" : "";
    // Magnitude without overflow for the most negative value.
    const std::uint64_t magnitude =
        bytes < 0 ? static_cast<std::uint64_t>(-(bytes + 1)) + 1 : static_cast<std::uint64_t>(bytes);
    if (magnitude == 1) return sign + "1 byte";
    if (magnitude < 1000) return sign + std::to_string(magnitude) + " bytes";

    // Integer arithmetic throughout, so that halves round exactly.
    for (std::size_t index = 0; index < kUnits.size(); ++index) {
        const Unit& unit = kUnits[index];
        const std::uint64_t remainder = magnitude % unit.step;
        const std::uint64_t steps = magnitude / unit.step + (remainder * 2 >= unit.step ? 1 : 0);
        const bool carries = steps >= 1000 * powerOfTen(unit.decimals);
        if (!carries || index + 1 == kUnits.size()) {
            return sign + decimalText(steps, unit.decimals) + " " + unit.name;
        }
    }
    return {};  // not reached: the last unit always returns
}

}  // namespace VarnholtQueryLib
