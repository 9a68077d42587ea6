// varnholt-random-db: writes the small, awkward recorder database of one seed
// (see RandomRecorderDatabase.h) and prints what it holds.

#include <charconv>
#include <cstdint>
#include <iostream>
#include <string>

#include "RandomRecorderDatabase.h"

int main(int argc, char** argv) {
    std::uint64_t seed = 0;
    const std::string seedText = argc == 3 ? argv[1] : "";
    const auto [end, error] = std::from_chars(seedText.data(), seedText.data() + seedText.size(), seed);
    if (argc != 3 || error != std::errc() || end != seedText.data() + seedText.size() || seedText.empty()) {
        std::cerr << "Usage: varnholt-random-db SEED PATH\n"
                     "Writes the random recorder database of SEED to PATH, which must not exist.\n";
        return 2;
    }
    try {
        const auto shape = VarnholtRandomData::writeRandomDatabase(argv[2], seed);
        std::cout << shape.summary() << "\n";
    } catch (const std::exception& failure) {
        std::cerr << "varnholt-random-db: " << failure.what() << "\n";
        return 1;
    }
    return 0;
}
