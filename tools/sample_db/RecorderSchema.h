#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct sqlite3;

namespace VarnholtSampleData {

// The recorder's tables as a recent recorder (schema version 24) writes them:
// frames, observations, observation_entities and the external-content FTS5
// index over descriptions with its sync triggers, plus the recorder's own
// indexes. Fixtures, the sample database and benchmarks all start from this,
// so our queries are measured against the shape real databases have.
//
// The database runs in WAL mode, as the recorder's does.

// Creates every table, index and trigger on `handle` and stamps
// PRAGMA user_version = userVersion. Throws std::runtime_error with SQLite's
// message on failure.
void createRecorderSchema(sqlite3* handle, std::int32_t userVersion = 24);

// The same schema in two steps, for bulk loading: createRecorderTables makes
// the tables (and the empty full-text table) without secondary indexes or
// triggers, so rows go in without maintaining them; completeRecorderSchema
// then adds the indexes, fills the full-text index once with 'rebuild', adds
// its sync triggers and stamps the version. The result has the same tables,
// indexes and triggers as createRecorderSchema; the journal mode is left to
// the caller. Both throw std::runtime_error with SQLite's message.
void createRecorderTables(sqlite3* handle);
void completeRecorderSchema(sqlite3* handle, std::int32_t userVersion = 24);

// The recorder's own indexes, one CREATE INDEX statement each, in the order
// the recorder creates them, for generators that vary the set or the order.
const std::vector<std::string>& recorderIndexStatements();

// The triggers that keep the full-text index in step with observations.
const char* recorderFullTextTriggers();

// Runs `sql` (one or more statements) on a writable handle; throws
// std::runtime_error with SQLite's message. For fixtures and generators only:
// the query tool itself never writes.
void execWritable(sqlite3* handle, const std::string& sql);

// Opens (creating) a writable database at `path` for building fixtures.
// REQUIRES: the caller closes the handle with sqlite3_close.
sqlite3* openWritableDatabase(const std::string& path);

}  // namespace VarnholtSampleData
