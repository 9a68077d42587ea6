#include "CLI.h"

#include <iostream>

#include "BuildMetadata.h"

namespace VarnholtQueryLib {

void runCLI(const std::vector<std::string>&) { std::cout << BuildMetadata::versionLine() << "\n"; }

}  // namespace VarnholtQueryLib
