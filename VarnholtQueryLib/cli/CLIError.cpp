#include "cli/CLIError.h"

#include "DatabaseError.h"

namespace VarnholtQueryLib {

using VarnholtSQLiteSupport::DatabaseError;

std::string CLIError::code() const {
    switch (case_) {
        case Case::dbNotFound: return "DB_NOT_FOUND";
        case Case::dbLocked: return "DB_LOCKED";
        case Case::schemaMismatch: return "SCHEMA_MISMATCH";
        case Case::invalidTimeRange: return "INVALID_TIME_RANGE";
        case Case::unknownError: return "UNKNOWN_ERROR";
    }
    return "UNKNOWN_ERROR";
}

CLIError mapDatabaseError(const DatabaseError& error) {
    switch (error.errorCase()) {
        case DatabaseError::Case::notFound:
        case DatabaseError::Case::connectionFailed:
            return CLIError::dbNotFound(error.message());
        case DatabaseError::Case::schemaMismatch:
            return CLIError::schemaMismatch("Database schema version " +
                                            std::to_string(error.currentVersion()) +
                                            ", expected >= " +
                                            std::to_string(error.expectedVersion()));
        case DatabaseError::Case::queryFailed:
            return CLIError::unknownError(error.message());
        case DatabaseError::Case::locked:
            return CLIError::dbLocked(error.message());
    }
    return CLIError::unknownError(error.message());
}

CLIError describeFailure(std::exception_ptr failure) {
    try {
        std::rethrow_exception(failure);
    } catch (const CLIError& error) {
        return error;
    } catch (const DatabaseError& error) {
        return mapDatabaseError(error);
    } catch (const std::exception& error) {
        return CLIError::unknownError(error.what());
    } catch (...) {
        return CLIError::unknownError("Unknown error");
    }
}

}  // namespace VarnholtQueryLib
