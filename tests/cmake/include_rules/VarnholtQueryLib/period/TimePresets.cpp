#include "cli/CLIError.h"        // allowed: this one header
#include "cli/CommandBuilders.h" // but no other of the command layer
