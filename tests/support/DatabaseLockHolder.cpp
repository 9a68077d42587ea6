#include "DatabaseLockHolder.h"

namespace VarnholtTestSupport {

namespace {

// Takes the lock the way a recorder in exclusive locking mode holds it, then
// confirms; the shell then waits for more input until it is killed.
constexpr const char* kLockScript =
    "PRAGMA locking_mode = EXCLUSIVE;\n"
    "BEGIN EXCLUSIVE;\n"
    "SELECT 'locked';\n";

}  // namespace

DatabaseLockHolder::DatabaseLockHolder(const std::string& databasePath)
    : shell_(databasePath, kLockScript, "locked") {}

}  // namespace VarnholtTestSupport
