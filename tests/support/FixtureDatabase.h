#pragma once

#include <string>

namespace VarnholtTestSupport {

// The recorder databases the tests read: made with the recorder's schema and
// written to the way the recorder writes, from literal SQL.

// Creates a database at `path` with the recorder's schema (WAL, version 24)
// and runs `sql` on it. Throws std::runtime_error with SQLite's message.
void createFixtureDatabase(const std::string& path, const std::string& sql);

// Runs `sql` on the existing database at `path` and closes it again.
// Throws std::runtime_error with SQLite's message.
void writeToDatabase(const std::string& path, const std::string& sql);

// Rebuilds observation_entities, with the recorder's indexes, without its
// NOT NULL and UNIQUE constraints, for databases that hold entities without a
// kind or value (older or hand-edited ones). Run after the schema, before
// the rows.
extern const char* const kEntitiesWithoutConstraints;

}  // namespace VarnholtTestSupport
