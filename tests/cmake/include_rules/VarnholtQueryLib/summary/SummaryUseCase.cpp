#include "summary/SummaryUseCase.h"

#include <sqlite3.h>  // a use case never sees the database

#include <string>

#include "cli/CLIError.h"          // nothing points back at the command layer
#include "SQLiteReadConnection.h"  // only adapters open connections
#include "output/JSONWriter.h"     // allowed
