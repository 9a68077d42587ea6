#include <string>
#include <vector>

#include "cli/CLI.h"

int main(int argc, char** argv) {
    VarnholtQueryLib::runCLI(std::vector<std::string>(argv, argv + argc));
    return 0;
}
