#include "DatabaseError.h"

#include <utility>

namespace VarnholtSQLiteSupport {

DatabaseError::DatabaseError(Case errorCase, std::string message, std::int32_t current,
                             std::int32_t expected)
    : case_(errorCase), message_(std::move(message)), current_(current), expected_(expected) {}

DatabaseError DatabaseError::notFound(const std::string& path) {
    return DatabaseError(Case::notFound, "Database not found at " + path);
}

DatabaseError DatabaseError::notFound(const std::string& path, const std::string& reason) {
    return DatabaseError(Case::notFound, "Database not found at " + path + ": " + reason);
}

DatabaseError DatabaseError::connectionFailed(std::string sqliteMessage) {
    return DatabaseError(Case::connectionFailed, std::move(sqliteMessage));
}

DatabaseError DatabaseError::schemaMismatch(std::int32_t current, std::int32_t expected) {
    return DatabaseError(Case::schemaMismatch,
                         "Database schema version " + std::to_string(current) + ", expected >= " +
                             std::to_string(expected),
                         current, expected);
}

DatabaseError DatabaseError::queryFailed(std::string message) {
    return DatabaseError(Case::queryFailed, std::move(message));
}

DatabaseError DatabaseError::locked() {
    return DatabaseError(Case::locked, kLockedMessage);
}

}  // namespace VarnholtSQLiteSupport
