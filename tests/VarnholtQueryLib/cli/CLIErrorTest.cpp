#include "cli/CLIError.h"

#include <gtest/gtest.h>

#include "DatabaseError.h"

using namespace VarnholtQueryLib;
using VarnholtSQLiteSupport::DatabaseError;

TEST(CLIErrorTest, CodesAreStable) {
    EXPECT_EQ(CLIError::dbNotFound("m").code(), "DB_NOT_FOUND");
    EXPECT_EQ(CLIError::dbLocked("m").code(), "DB_LOCKED");
    EXPECT_EQ(CLIError::schemaMismatch("m").code(), "SCHEMA_MISMATCH");
    EXPECT_EQ(CLIError::invalidTimeRange("m").code(), "INVALID_TIME_RANGE");
    EXPECT_EQ(CLIError::unknownError("m").code(), "UNKNOWN_ERROR");
    EXPECT_EQ(CLIError::unknownError("the text").message(), "the text");
}

TEST(CLIErrorTest, DatabaseErrorsMapToCallerFacingCodes) {
    const auto expectMapping = [](const DatabaseError& error, const char* code, const char* message) {
        const CLIError mapped = mapDatabaseError(error);
        EXPECT_EQ(mapped.code(), code);
        EXPECT_EQ(mapped.message(), message);
    };
    expectMapping(DatabaseError::notFound("/h/.varnholt/varnholt.db"), "DB_NOT_FOUND",
                  "Database not found at /h/.varnholt/varnholt.db");
    // An open that SQLite refuses is reported as not found, on purpose.
    expectMapping(DatabaseError::connectionFailed("unable to open database file"), "DB_NOT_FOUND",
                  "unable to open database file");
    expectMapping(DatabaseError::schemaMismatch(23, 24), "SCHEMA_MISMATCH",
                  "Database schema version 23, expected >= 24");
    expectMapping(DatabaseError::schemaMismatch(-1, 24), "SCHEMA_MISMATCH",
                  "Database schema version -1, expected >= 24");
    expectMapping(DatabaseError::queryFailed("no such table: frames"), "UNKNOWN_ERROR",
                  "no such table: frames");
    expectMapping(DatabaseError::locked(), "DB_LOCKED",
                  "Database is locked by the recorder. Try again in a moment.");
}

TEST(CLIErrorTest, EveryFailureHasACallerFacingForm) {
    const auto describe = [](auto thrown) {
        try {
            throw thrown;
        } catch (...) {
            const CLIError error = describeFailure(std::current_exception());
            return error.code() + ": " + error.message();
        }
    };
    EXPECT_EQ(describe(CLIError::invalidTimeRange("bad range")), "INVALID_TIME_RANGE: bad range");
    EXPECT_EQ(describe(DatabaseError::locked()),
              "DB_LOCKED: Database is locked by the recorder. Try again in a moment.");
    EXPECT_EQ(describe(std::runtime_error("disk on fire")), "UNKNOWN_ERROR: disk on fire");
    EXPECT_EQ(describe(42), "UNKNOWN_ERROR: Unknown error");
}
