#include <sqlite3.h>                   // allowed: an adapter

#include "IndexedTimelineStatement.h"  // another library's adapter
#include "SQLiteReadConnection.h"      // allowed: an adapter
