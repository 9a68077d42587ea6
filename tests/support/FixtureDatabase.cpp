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

}  // namespace VarnholtTestSupport
