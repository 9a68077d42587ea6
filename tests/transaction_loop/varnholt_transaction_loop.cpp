// varnholt-transaction-loop: a writer beside the tool, the way the recorder
// is one: another process with a connection of its own that commits one
// transaction after another while the tool reads.
//
//   varnholt-transaction-loop DATABASE SECONDS STEP
//
// STEP is one or more SQL statements separated by ";", run as one
// transaction (BEGIN IMMEDIATE ... COMMIT) for step = 1, 2, 3, ..., each
// statement with the parameter :step bound to the step's number, so that a
// test can write rows that keep an invariant across tables in every
// committed state. After the first commit the program prints "ready" and a
// newline; it stops after SECONDS seconds (so that a crashed test leaves no
// writer behind) or when killed. A failure prints SQLite's message on
// standard error and exits with status 1.

#include <sqlite3.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

[[noreturn]] void fail(sqlite3* handle, const std::string& what) {
    std::fprintf(stderr, "varnholt-transaction-loop: %s: %s\n", what.c_str(),
                 handle != nullptr ? sqlite3_errmsg(handle) : "no connection");
    std::exit(1);
}

void exec(sqlite3* handle, const char* sql) {
    if (sqlite3_exec(handle, sql, nullptr, nullptr, nullptr) != SQLITE_OK) fail(handle, sql);
}

// The statements of `sql`, prepared once.
std::vector<sqlite3_stmt*> prepareAll(sqlite3* handle, const std::string& sql) {
    std::vector<sqlite3_stmt*> statements;
    const char* rest = sql.c_str();
    while (*rest != '\0') {
        sqlite3_stmt* statement = nullptr;
        const char* tail = nullptr;
        if (sqlite3_prepare_v2(handle, rest, -1, &statement, &tail) != SQLITE_OK) fail(handle, "prepare");
        if (statement != nullptr) statements.push_back(statement);
        rest = tail;
    }
    return statements;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "Usage: varnholt-transaction-loop DATABASE SECONDS STEP\n");
        return 2;
    }
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(std::atoi(argv[2]));
    sqlite3* handle = nullptr;
    if (sqlite3_open_v2(argv[1], &handle, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK) fail(handle, "open");
    // As the recorder: a generous busy timeout, write-ahead log, no sync per
    // commit.
    sqlite3_busy_timeout(handle, 5000);
    exec(handle, "PRAGMA journal_mode = WAL");
    exec(handle, "PRAGMA synchronous = NORMAL");
    const std::vector<sqlite3_stmt*> statements = prepareAll(handle, argv[3]);

    for (long long step = 1; std::chrono::steady_clock::now() < end; ++step) {
        exec(handle, "BEGIN IMMEDIATE");
        for (sqlite3_stmt* statement : statements) {
            const int parameter = sqlite3_bind_parameter_index(statement, ":step");
            if (parameter > 0) sqlite3_bind_int64(statement, parameter, step);
            if (sqlite3_step(statement) != SQLITE_DONE) fail(handle, sqlite3_sql(statement));
            sqlite3_reset(statement);
        }
        exec(handle, "COMMIT");
        if (step == 1) {
            std::printf("ready\n");
            std::fflush(stdout);
        }
    }
    for (sqlite3_stmt* statement : statements) sqlite3_finalize(statement);
    sqlite3_close(handle);
    return 0;
}
