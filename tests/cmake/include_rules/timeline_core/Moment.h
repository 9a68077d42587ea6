#pragma once

#include <unistd.h>                // the operating system is platform's affair

#include "SQLiteReadConnection.h"  // the core never sees SQLite
