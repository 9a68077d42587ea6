#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace VarnholtRandomData {

// What one seed made of a database: enough to name the case when an answer
// differs, and the times worth asking about.
struct RandomDatabaseShape {
    std::uint64_t seed = 0;
    // The recorder's NOT NULL constraints dropped, so that frames without
    // time, NULL entity kinds and values and other NULL columns can be stored.
    bool looseSchema = false;
    // ANALYZE ran, so SQLite plans with statistics (sqlite_stat1).
    bool analyzed = false;
    std::vector<std::string> indexes;         // created, in creation order
    std::vector<std::string> missingIndexes;  // of the recorder's, left out
    std::int64_t frames = 0;
    std::int64_t observations = 0;
    std::int64_t entities = 0;
    // Seconds since 1970: the activity lies mostly in [start, end]; a few
    // rows lie far before and after.
    double start = 0;
    double end = 0;
    // Times shared by many frames and observations, to produce ties.
    std::vector<double> sharedTimes;
    // Words that occur in descriptions, applications and entity kinds.
    std::vector<std::string> words;
    std::vector<std::string> applications;
    std::vector<std::string> kinds;

    // One line for test messages: seed, schema, statistics, sizes, missing
    // indexes.
    std::string summary() const;
};

// Which seeds write a large database, with more than the timeline's 5000
// rows in one range.
enum class LargeDatabases {
    // About one seed in eight, drawn, and every 16th seed.
    drawnAndEvery16th,
    // Every 16th seed only: any 16 seeds in a row still hold one, and the
    // differential tests' 400 databases take less than half the time.
    every16thOnly,
};

// Choices a caller may impose instead of leaving them to the seed.
struct RandomDatabaseOptions {
    // Leave out the recorder index of this name (such as
    // "idx_frames_timestamp") and keep all the others; empty: the seed decides.
    std::string missingIndex;
    LargeDatabases large = LargeDatabases::drawnAndEvery16th;
};

// Writes a small recorder database at `path` (which must not exist) whose
// every row is decided by `seed`: the recorder's tables, full-text index and
// a random subset of its indexes in a random creation order, sometimes with
// statistics, filled with the awkward cases a query must get exactly right -
// many observations sharing one time, more than the timeline's 5000 rows in
// a range, frames pruned or without time, observations without frames, NULL,
// empty and other recording ids, blank or missing descriptions, entities on
// frameless observations and on no observation at all, rows far in the past
// and future, text and BLOBs where a time belongs, entities whose kind or
// value is a BLOB, a number or NULL, application lists that are not JSON
// (empty text, "Slack, Zoom", nesting 3,000 deep). The same seed writes the
// same rows on every machine. Throws std::runtime_error on SQLite failures.
RandomDatabaseShape writeRandomDatabase(const std::string& path, std::uint64_t seed,
                                        const RandomDatabaseOptions& options = {});

}  // namespace VarnholtRandomData
