// varnholt-query-warmers N ARGUMENTS...: varnholt-query with N helpers warming
// the page cache for a cold answer (0: none), so that the benchmark can time
// warming on and off, and its count, in one run on one database. Built only
// with the benchmarks; the tool itself has no switch or variable for this.

#include <charconv>
#include <cstdio>
#include <string>
#include <vector>

#include "WarmingConnections.h"
#include "cli/CLI.h"

int main(int argc, char** argv) {
    int warmers = -1;
    const std::string count = argc > 1 ? argv[1] : "";
    const auto [end, error] = std::from_chars(count.data(), count.data() + count.size(), warmers);
    if (argc < 2 || error != std::errc() || end != count.data() + count.size() || warmers < 0) {
        std::fputs("Usage: varnholt-query-warmers N [ARGUMENTS...]\n", stderr);
        return 2;
    }
    VarnholtSQLiteSupport::WarmingPolicy::useWarmersInThisProcess(warmers);
    std::vector<std::string> arguments = {argv[0]};
    arguments.insert(arguments.end(), argv + 2, argv + argc);
    VarnholtQueryLib::runCLI(arguments);
    return 0;
}
