#include "timesheet/LargestRemainders.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace VarnholtQueryLib {

std::vector<std::int64_t> largestRemainders(const std::vector<double>& parts, std::int64_t total) {
    std::vector<std::int64_t> whole(parts.size());
    std::vector<double> fraction(parts.size());
    std::int64_t sum = 0;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const double floor = std::floor(parts[i]);
        whole[i] = static_cast<std::int64_t>(floor);
        fraction[i] = parts[i] - floor;
        sum += whole[i];
    }
    std::vector<std::size_t> order(parts.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    // Largest fraction first, the earlier part among equals.
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return fraction[a] > fraction[b]; });
    for (std::size_t k = 0; sum < total && !order.empty(); k = (k + 1) % order.size()) {
        ++whole[order[k]];
        ++sum;
    }
    // Taken back from the end of the same order: the smallest fractions,
    // the later part among equals.
    for (std::size_t k = order.size(); sum > total && k > 0; --k) {
        const std::size_t part = order[k - 1];
        if (whole[part] == 0) continue;
        --whole[part];
        --sum;
    }
    return whole;
}

}  // namespace VarnholtQueryLib
