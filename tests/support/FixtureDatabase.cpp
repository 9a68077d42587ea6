#include "FixtureDatabase.h"

#include <sqlite3.h>

#include "RecorderSchema.h"

namespace VarnholtTestSupport {

namespace {

template <typename Write>
void withWritableDatabase(const std::string& path, Write write) {
    sqlite3* handle = VarnholtSampleData::openWritableDatabase(path);
    try {
        write(handle);
    } catch (...) {
        sqlite3_close(handle);
        throw;
    }
    sqlite3_close(handle);
}

}  // namespace

void createFixtureDatabase(const std::string& path, const std::string& sql) {
    withWritableDatabase(path, [&](sqlite3* handle) {
        VarnholtSampleData::createRecorderSchema(handle);
        VarnholtSampleData::execWritable(handle, sql);
    });
}

void writeToDatabase(const std::string& path, const std::string& sql) {
    withWritableDatabase(path, [&](sqlite3* handle) { VarnholtSampleData::execWritable(handle, sql); });
}

const char* const kEntitiesWithoutConstraints = R"SQL(
DROP TABLE observation_entities;
CREATE TABLE observation_entities (
    entity_id TEXT PRIMARY KEY, observation_id TEXT NOT NULL, entity_kind TEXT, entity_value TEXT,
    confidence REAL, created_at REAL);
CREATE INDEX idx_observation_entities_observation ON observation_entities(observation_id);
CREATE INDEX idx_observation_entities_kind ON observation_entities(entity_kind);
)SQL";

}  // namespace VarnholtTestSupport
