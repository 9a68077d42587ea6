#pragma once

#include <string>

#include "ChildProcess.h"

namespace VarnholtTestSupport {

// Another process, the sqlite3 shell, with a connection of its own to a
// database, the way the recorder has one: it runs a script, and once the
// script has printed its ready line it keeps the connection open, idle,
// until it is killed. Killing it (SIGKILL) never lets it close, like a
// recorder that crashes: a write-ahead log stays as it was.
class SQLiteShellProcess {
public:
    // Starts the shell on `databasePath`, feeds it `script` and returns once
    // `readyLine` (without its newline) has come back on its standard output.
    // Throws std::runtime_error when the shell cannot start or the line
    // never comes.
    SQLiteShellProcess(const std::string& databasePath, const std::string& script,
                       const std::string& readyLine);
    // Going away kills it, unless kill() already did.

    // Kills the shell with SIGKILL and waits for it.
    void kill();

private:
    ReadyChildProcess shell_;
};

}  // namespace VarnholtTestSupport
