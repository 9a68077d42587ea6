#pragma once

#include <exception>
#include <string>

namespace VarnholtSQLiteSupport {
class DatabaseError;
}

namespace VarnholtQueryLib {

// A failure as the caller sees it: a stable machine code and a message. The
// front end throws it; the dispatcher's one error exit prints it as the error
// envelope and exits 1.
class CLIError : public std::exception {
public:
    enum class Case { dbNotFound, dbLocked, schemaMismatch, invalidTimeRange, unknownError };

    static CLIError dbNotFound(std::string message) { return {Case::dbNotFound, std::move(message)}; }
    static CLIError dbLocked(std::string message) { return {Case::dbLocked, std::move(message)}; }
    static CLIError schemaMismatch(std::string message) {
        return {Case::schemaMismatch, std::move(message)};
    }
    static CLIError invalidTimeRange(std::string message) {
        return {Case::invalidTimeRange, std::move(message)};
    }
    static CLIError unknownError(std::string message) {
        return {Case::unknownError, std::move(message)};
    }

    Case errorCase() const { return case_; }
    // "DB_NOT_FOUND", "DB_LOCKED", "SCHEMA_MISMATCH", "INVALID_TIME_RANGE",
    // "UNKNOWN_ERROR".
    std::string code() const;
    const std::string& message() const { return message_; }
    const char* what() const noexcept override { return message_.c_str(); }

private:
    CLIError(Case errorCase, std::string message) : case_(errorCase), message_(std::move(message)) {}

    Case case_;
    std::string message_;
};

// The one translation of the database layer's errors into caller-facing ones.
// An opening failure is reported as not found, on purpose: to the caller both
// mean "there is no usable database".
CLIError mapDatabaseError(const VarnholtSQLiteSupport::DatabaseError& error);

// The caller-facing form of any failure, for the one error exit of each front
// end: a CLIError as it is, a DatabaseError through mapDatabaseError, any
// other exception as unknownError with its description, and "Unknown error"
// for anything that is not an exception at all.
// REQUIRES: `failure` is not null.
CLIError describeFailure(std::exception_ptr failure);

}  // namespace VarnholtQueryLib
