#include "SampleRandom.h"

namespace VarnholtSampleData {

namespace {

std::uint64_t splitmix64(std::uint64_t& state) {
    std::uint64_t z = (state += 0x9E3779B97F4A7C15ULL);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    return z ^ (z >> 31);
}

std::uint64_t rotateLeft(std::uint64_t value, int bits) {
    return (value << bits) | (value >> (64 - bits));
}

constexpr char kHexDigits[] = "0123456789abcdef";
constexpr char kUpperHexDigits[] = "0123456789ABCDEF";

}  // namespace

SampleRandom::SampleRandom(std::uint64_t seed) {
    std::uint64_t mixer = seed;
    for (auto& word : state_) word = splitmix64(mixer);
}

SampleRandom SampleRandom::forStream(std::uint64_t seed, std::uint64_t stream) {
    std::uint64_t mixer = stream;
    return SampleRandom(seed ^ splitmix64(mixer));
}

std::uint64_t SampleRandom::next() {
    const std::uint64_t result = rotateLeft(state_[1] * 5, 7) * 9;
    const std::uint64_t shifted = state_[1] << 17;
    state_[2] ^= state_[0];
    state_[3] ^= state_[1];
    state_[1] ^= state_[2];
    state_[0] ^= state_[3];
    state_[2] ^= shifted;
    state_[3] = rotateLeft(state_[3], 45);
    return result;
}

double SampleRandom::uniform() {
    return static_cast<double>(next() >> 11) * 0x1.0p-53;
}

double SampleRandom::between(double low, double high) {
    return low + (high - low) * uniform();
}

int SampleRandom::integer(int low, int high) {
    const std::uint64_t span = static_cast<std::uint64_t>(high - low) + 1;
    return low + static_cast<int>(next() % span);
}

bool SampleRandom::chance(double probability) {
    return uniform() < probability;
}

std::string SampleRandom::uuid() {
    std::uint64_t high = next();
    std::uint64_t low = next();
    high = (high & ~0xF000ULL) | 0x4000ULL;                       // version 4
    low = (low & 0x3FFFFFFFFFFFFFFFULL) | 0x8000000000000000ULL;  // RFC 4122 variant
    std::string text(36, '-');
    int position = 0;
    auto put = [&](std::uint64_t word, int nibbles) {
        for (int i = nibbles - 1; i >= 0; --i) {
            if (position == 8 || position == 13 || position == 18 || position == 23) ++position;
            text[static_cast<std::size_t>(position++)] = kUpperHexDigits[(word >> (4 * i)) & 0xF];
        }
    };
    put(high, 16);
    put(low, 16);
    return text;
}

std::string SampleRandom::hex(int digits) {
    std::string text;
    text.reserve(static_cast<std::size_t>(digits));
    std::uint64_t word = 0;
    for (int i = 0; i < digits; ++i) {
        if (i % 16 == 0) word = next();
        text.push_back(kHexDigits[word & 0xF]);
        word >>= 4;
    }
    return text;
}

}  // namespace VarnholtSampleData
