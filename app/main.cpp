#include <string>
#include <vector>

#include "cli/CLI.h"
#include "platform/StandardStreams.h"

int main(int argc, char** argv) {
    VarnholtQueryLib::prepareStandardStreams();
    VarnholtQueryLib::runCLI(std::vector<std::string>(argv, argv + argc));
    return 0;
}
