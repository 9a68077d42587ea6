#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace VarnholtSampleData {

// What to generate. The same options give the same database, byte for byte
// in every row, on every machine.
struct SampleDatabaseOptions {
    // Local days of activity, ending with the day that contains endTime.
    int days = 14;
    std::uint64_t seed = 1;
    // Seconds since 1970 (UTC): nothing is captured after this instant, the
    // user is at work in the hour or two before it (the recorder has just
    // been running), and the frames of the last two and a half minutes
    // before the newest frame still wait for analysis.
    double endTime = 0;
    // The home directory that image paths lie below
    // (<home>/.varnholt/frames/<local day>/<FRAME-ID>.jpg).
    std::string homeForImagePaths;
    // Offset of the user's local time from UTC, which places working hours and
    // the per-day image folders. A fixed offset, so that the output never
    // depends on the time zone of the machine that generates it.
    int utcOffsetSeconds = 0;
};

// Counts of what was written.
struct SampleDatabaseSummary {
    std::int64_t frames = 0;                // rows in frames
    std::int64_t observations = 0;          // rows in observations
    std::int64_t entities = 0;              // rows in observation_entities
    std::int64_t pendingFrames = 0;         // analyzed = 0
    std::int64_t failedFrames = 0;          // analyzed = 2
    std::int64_t prunedFrames = 0;          // observations whose frame row is gone
    std::int64_t importedObservations = 0;  // observations with a recording_id
};

// Thrown when the target (or a leftover write-ahead log beside it) exists.
class ExistingFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Writes a recorder database (schema version 24, WAL mode, full-text index
// filled) with `options.days` days of synthetic screen activity to `path`.
//
// Never overwrites anything: it refuses when `path` exists, builds the
// database in a new file beside it, and moves it into place only if `path`
// still does not exist, so a file that appears meanwhile is left alone and a
// failed run leaves nothing behind.
//
// Throws ExistingFileError when `path` exists, std::invalid_argument for
// unusable options (days < 1, no home, an end time that is not finite) and
// std::runtime_error for file-system and SQLite failures.
SampleDatabaseSummary writeSampleDatabase(const std::string& path, const SampleDatabaseOptions& options);

}  // namespace VarnholtSampleData
