#include "SQLiteShellProcess.h"

namespace VarnholtTestSupport {

namespace {

constexpr const char* kSQLiteShell = "/usr/bin/sqlite3";

}  // namespace

SQLiteShellProcess::SQLiteShellProcess(const std::string& databasePath, const std::string& script,
                                       const std::string& readyLine)
    : shell_(kSQLiteShell, {kSQLiteShell, databasePath}, script, readyLine) {}

void SQLiteShellProcess::kill() { shell_.kill(); }

}  // namespace VarnholtTestSupport
