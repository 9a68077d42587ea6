#include <iostream>

#include "cli/CommandRunners.h"
#include "monitor/PipelineMonitor.h"

namespace VarnholtQueryLib {

// Runs until the user interrupts the process (Ctrl+C ends it by the signal's
// default action); returns only when there is no usable status file at start.
void runTopCommand(const CommandEnvironment& environment) {
    runPipelineMonitor(environment.platform, environment.calendar, std::cout, [] { return true; });
}

}  // namespace VarnholtQueryLib
