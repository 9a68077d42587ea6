#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace VarnholtSampleData {

// The generator's only source of randomness: xoshiro256** seeded through
// splitmix64. Every value is computed here from 64-bit integers, so a seed
// gives the same database with every compiler and standard library (the
// std:: distributions do not promise that).
class SampleRandom {
public:
    explicit SampleRandom(std::uint64_t seed);

    std::uint64_t next();
    // Uniform in [0, 1).
    double uniform();
    // Uniform in [low, high).
    double between(double low, double high);
    // Uniform integer in [low, high]. REQUIRES: low <= high.
    int integer(int low, int high);
    // True with the given probability.
    bool chance(double probability);
    // One element of `items`, uniformly. REQUIRES: !items.empty().
    template <typename T>
    const T& pick(const std::vector<T>& items) {
        return items[static_cast<std::size_t>(integer(0, static_cast<int>(items.size()) - 1))];
    }

    // An upper-case version-4 UUID string, as the recorder uses for ids.
    std::string uuid();
    // `digits` lower-case hexadecimal digits.
    std::string hex(int digits);

    // A generator for an independent stream, e.g. one per day, so that a day's
    // content does not depend on how many days come before it.
    static SampleRandom forStream(std::uint64_t seed, std::uint64_t stream);

private:
    std::uint64_t state_[4];
};

}  // namespace VarnholtSampleData
