// varnholt-redaction-bench: how long PII redaction takes on descriptions of
// 100 KB, 1 MB and 20 MB, for texts of different shapes: the ones a
// backtracking engine needs quadratic time for (long runs of word
// characters, with or without an "@"), long token runs, and ordinary prose.
// Redaction must stay linear: the MB/s column should not fall with size.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "redaction/PIIFilter.h"

namespace {

struct Shape {
    const char* name;
    // A text of at least `size` bytes.
    std::function<std::string(std::size_t size)> make;
};

std::string repeated(const std::string& block, std::size_t size) {
    std::string text;
    text.reserve(size + block.size());
    while (text.size() < size) text += block;
    return text;
}

const std::vector<Shape>& shapes() {
    static const std::vector<Shape> all = {
        {"one word, no @", [](std::size_t size) { return std::string(size, 'x') + " done"; }},
        {"one word, then @ and a domain",
         [](std::size_t size) { return std::string(size, 'x') + "@example.com"; }},
        {"one word, then @ and no domain",
         [](std::size_t size) { return std::string(size, 'x') + "@" + std::string(size / 2, 'y'); }},
        {"dots and @ (a.b@ repeated)", [](std::size_t size) { return repeated("a.b@", size); }},
        {"one hex run", [](std::size_t size) { return std::string(size, 'f'); }},
        {"label, blanks, value", [](std::size_t size) {
             return "password" + std::string(size / 2, ' ') + "=" + std::string(size / 2, 'v');
         }},
        {"prose with addresses and keys", [](std::size_t size) {
             return repeated("Replying to jane.doe@example.com about api_key=abc123 and the "
                             "0123456789abcdef0123456789abcdef build \xE6\x9D\xB1\xE4\xBA\xAC ",
                             size);
         }},
        {"non-ASCII letters", [](std::size_t size) {
             return repeated("\xE6\x9D\xB1\xE4\xBA\xAC \xC3\xBC\xC3\x9F ", size);
         }},
    };
    return all;
}

}  // namespace

int main() {
    const std::size_t sizes[] = {100u << 10, 1u << 20, 20u << 20};
    std::printf("%-34s %10s %12s %10s\n", "text", "size", "best ms", "MB/s");
    for (const Shape& shape : shapes()) {
        for (const std::size_t size : sizes) {
            const std::string text = shape.make(size);
            // The best of three: the machine is shared, and the minimum is the
            // least disturbed figure.
            double best = 1e300;
            std::size_t redactedSize = 0;
            for (int run = 0; run < 3; ++run) {
                const auto start = std::chrono::steady_clock::now();
                redactedSize = VarnholtQueryLib::PIIFilter::redact(text).size();
                const auto end = std::chrono::steady_clock::now();
                best = std::min(best, std::chrono::duration<double, std::milli>(end - start).count());
            }
            std::printf("%-34s %8zu K %12.1f %10.1f   (%zu bytes out)\n", shape.name, text.size() >> 10, best,
                        static_cast<double>(text.size()) / 1e3 / best, redactedSize);
            std::fflush(stdout);
        }
    }
    return 0;
}
