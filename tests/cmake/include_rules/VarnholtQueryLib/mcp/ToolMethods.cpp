#include "cli/Command.h"  // allowed
#include "cli/CLI.h"      // the one header of cli the server may not include
