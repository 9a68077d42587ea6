#include "SampleDatabase.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <vector>

#include "ActivityCatalog.h"
#include "CivilTime.h"
#include "RecorderRowWriter.h"
#include "RecorderSchema.h"
#include "SampleRandom.h"
#include "WorkSchedule.h"

namespace VarnholtSampleData {

namespace {

// Frames this close to the newest one are still waiting for the model.
constexpr double kPendingWindowSeconds = 150.0;
// The recorder has pruned the oldest frames (their images) while keeping
// their observations; this many of the oldest analysed frames are gone.
constexpr std::int64_t kOldestPrunedFrames = 60;
constexpr std::uint64_t kImportStream = 0xF00D;

bool pathExists(const std::string& path) {
    struct stat info {};
    return lstat(path.c_str(), &info) == 0;
}

std::string systemError(const std::string& what, const std::string& path) {
    return what + " " + path + ": " + std::strerror(errno);
}

// A file that this run created and removes again unless it is kept.
class ScratchFile {
public:
    explicit ScratchFile(std::string path) : path_(std::move(path)) {
        const int descriptor = open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
        if (descriptor < 0) throw std::runtime_error(systemError("Cannot create", path_));
        close(descriptor);
    }
    ~ScratchFile() {
        for (const char* suffix : {"", "-journal", "-wal", "-shm"}) unlink((path_ + suffix).c_str());
    }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

class Connection {
public:
    explicit Connection(const std::string& path) {
        // The file exists already (created exclusively), so no CREATE flag.
        if (sqlite3_open_v2(path.c_str(), &handle_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr) !=
            SQLITE_OK) {
            const std::string message = handle_ != nullptr ? sqlite3_errmsg(handle_) : "out of memory";
            sqlite3_close(handle_);
            throw std::runtime_error("Cannot open " + path + ": " + message);
        }
    }
    ~Connection() { sqlite3_close(handle_); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    sqlite3* handle() const { return handle_; }
    void close() {
        if (sqlite3_close(handle_) != SQLITE_OK) throw std::runtime_error(sqlite3_errmsg(handle_));
        handle_ = nullptr;
    }

private:
    sqlite3* handle_ = nullptr;
};

std::string vlmStats(SampleRandom& random) {
    return "{\"model\":\"qwen2.5-vl-7b-instruct-4bit\",\"prompt_tokens\":" +
           std::to_string(random.integer(700, 1400)) +
           ",\"completion_tokens\":" + std::to_string(random.integer(40, 160)) +
           ",\"latency_ms\":" + std::to_string(random.integer(900, 6500)) + "}";
}

// The random stream of the session that runs until the end time; apart from
// the per-day streams (2 × day and 2 × day + 1).
constexpr std::uint64_t kEndingStream = ~std::uint64_t{0};

class SampleGenerator {
public:
    SampleGenerator(const SampleDatabaseOptions& options, RecorderRowWriter& rows)
        : options_(options), rows_(rows) {}

    SampleDatabaseSummary run() {
        const std::int64_t lastDay = localDayNumber(options_.endTime, options_.utcOffsetSeconds);
        const std::int64_t firstDay = lastDay - options_.days + 1;
        std::vector<std::vector<double>> schedules;
        double newest = -1;
        for (std::int64_t day = firstDay; day <= lastDay; ++day) {
            SampleRandom random = SampleRandom::forStream(options_.seed, static_cast<std::uint64_t>(day) * 2);
            std::vector<double> times = frameTimesOfDay(day, options_.utcOffsetSeconds, random);
            while (!times.empty() && times.back() > options_.endTime) times.pop_back();
            if (day == lastDay) {
                SampleRandom ending = SampleRandom::forStream(options_.seed, kEndingStream);
                extendUntil(times, options_.endTime, ending);
            }
            if (!times.empty()) newest = times.back();
            schedules.push_back(std::move(times));
        }
        pendingFrom_ = newest - kPendingWindowSeconds;
        pendingLockId_.clear();
        for (std::int64_t day = firstDay; day <= lastDay; ++day) {
            SampleRandom random =
                SampleRandom::forStream(options_.seed, static_cast<std::uint64_t>(day) * 2 + 1);
            writeDay(day, schedules[static_cast<std::size_t>(day - firstDay)], random);
        }
        writeImportedRecordings(firstDay, lastDay);
        return summary_;
    }

private:
    void writeDay(std::int64_t day, const std::vector<double>& times, SampleRandom& random) {
        const std::string folder = options_.homeForImagePaths + "/.varnholt/frames/" + formatDay(day) + "/";
        WorkTask task;
        DescriptionRun run;
        double taskEnds = 0;
        int runLeft = 0;
        for (std::size_t i = 0; i < times.size(); ++i) {
            const double t = times[i];
            const bool newSession = i == 0 || t - times[i - 1] > 600.0;
            if (newSession || t >= taskEnds) {
                task = startTask(random, i == 0 ? nullptr : &task);
                taskEnds = t + random.between(5.0, 50.0) * 60.0;
                runLeft = 0;
            }
            if (runLeft == 0) {
                run = nextRun(task, random);
                runLeft = run.frames;
            }
            --runLeft;
            writeFrame(t, folder, task, run, random);
        }
    }

    void writeFrame(double t, const std::string& folder, const WorkTask& task, const DescriptionRun& run,
                    SampleRandom& random) {
        const SampleDisplay& display = sampleDisplays()[static_cast<std::size_t>(task.display)];
        FrameRow frame;
        frame.id = random.uuid();
        frame.displayId = display.id;
        frame.capturedAt = formatIsoUtc(t);
        frame.timestamp = t;
        frame.imagePath = folder + frame.id + ".jpg";
        frame.phash = random.hex(16);
        frame.width = display.width;
        frame.height = display.height;
        frame.createdAt = formatSqlDateTime(t);
        const double analysedAt = t + random.between(5.0, 90.0);

        if (t > pendingFrom_) {
            frame.analyzed = 0;
            // The oldest pending frames are the batch the bridge is working on.
            if (pendingLockId_.empty()) pendingLockId_ = random.uuid();
            if (summary_.pendingFrames < 4) {
                frame.processingLockId = pendingLockId_;
                frame.processingStartedAt = formatIsoUtc(pendingFrom_ + kPendingWindowSeconds);
            }
            ++summary_.pendingFrames;
            insertFrame(frame);
            return;
        }
        if (random.chance(0.002)) {
            frame.analyzed = 2;
            frame.retryCount = 3;
            frame.failedAt = formatIsoUtc(analysedAt + 120.0);
            ++summary_.failedFrames;
            insertFrame(frame);
            return;
        }
        frame.analyzed = 1;
        frame.processingStartedAt = formatIsoUtc(analysedAt - 3.0);
        frame.retryCount = random.chance(0.01) ? 1 : 0;
        const bool pruned = analysedFrames_ < kOldestPrunedFrames || random.chance(0.0005);
        ++analysedFrames_;
        if (pruned) {
            ++summary_.prunedFrames;
        } else {
            insertFrame(frame);
        }

        ObservationRow observation;
        observation.id = random.uuid();
        observation.frameId = frame.id;
        observation.type = "visual";
        observation.timestamp = t;
        observation.imagePath = frame.imagePath;
        fillFromRun(observation, run, analysedAt, random);
        insertObservation(observation, run, analysedAt, random);
    }

    void fillFromRun(ObservationRow& observation, const DescriptionRun& run, double analysedAt,
                     SampleRandom& random) {
        observation.ocrText = run.ocrText;
        observation.vlmDescription = run.description;
        observation.vlmRawResponse = run.rawResponse;
        observation.activityType = run.activityType;
        observation.apps = run.appsJson;
        observation.topics = run.topicsJson;
        observation.createdAt = formatIsoUtc(analysedAt);
        observation.vlmStats = vlmStats(random);
    }

    void insertObservation(const ObservationRow& observation, const DescriptionRun& run, double analysedAt,
                           SampleRandom& random) {
        rows_.insert(observation);
        ++summary_.observations;
        if (!observation.recordingId.empty()) ++summary_.importedObservations;
        EntityRow entity;
        entity.observationId = observation.id;
        entity.createdAt = std::round((analysedAt + 0.4) * 1000.0) / 1000.0;
        for (const SampleEntity& extracted : run.entities) {
            entity.entityId = random.uuid();
            entity.entityKind = extracted.kind;
            entity.entityValue = extracted.value;
            entity.confidence = extracted.confidence;
            rows_.insert(entity);
            ++summary_.entities;
        }
    }

    void insertFrame(const FrameRow& frame) {
        rows_.insert(frame);
        ++summary_.frames;
    }

    // A handful of screen recordings imported separately: their observations
    // carry a recording_id and no frame, so their own timestamp places them.
    void writeImportedRecordings(std::int64_t firstDay, std::int64_t lastDay) {
        SampleRandom random = SampleRandom::forStream(options_.seed, kImportStream);
        const int recordings = options_.days >= 3 ? 3 : 1;
        const double earliest = localDayStart(firstDay, options_.utcOffsetSeconds);
        for (int r = 0; r < recordings; ++r) {
            const std::int64_t day = random.integer(0, static_cast<int>(lastDay - firstDay)) + firstDay;
            double t = localDayStart(day, options_.utcOffsetSeconds) + random.between(10.0, 16.0) * 3600.0;
            const int frames = random.integer(12, 30);
            // Keep the whole recording inside the generated range.
            const double latestStart = options_.endTime - frames * 12.0 - 120.0;
            if (latestStart < earliest) continue;
            t = std::min(t, latestStart);
            t = std::round(t * 1000.0) / 1000.0;
            const std::string recordingId = random.uuid();
            const std::string folder =
                options_.homeForImagePaths + "/.varnholt/recordings/" + recordingId + "/";
            for (int i = 0; i < frames; ++i) {
                const DescriptionRun run = importedRecordingRun(random);
                ObservationRow observation;
                observation.id = random.uuid();
                observation.recordingId = recordingId;
                observation.type = "visual";
                observation.timestamp = t;
                observation.imagePath = folder + "frame-" + std::to_string(10000 + i).substr(1) + ".jpg";
                const double analysedAt = options_.endTime - random.between(600.0, 3600.0);
                fillFromRun(observation, run, std::max(analysedAt, t), random);
                insertObservation(observation, run, std::max(analysedAt, t), random);
                if (i % 10 == 5) {
                    // The recording's audio track, transcribed.
                    ObservationRow audio;
                    audio.id = random.uuid();
                    audio.recordingId = recordingId;
                    audio.type = "audio";
                    audio.timestamp = t;
                    audio.endTimestamp = t + 9.5;
                    audio.text = "so the next step is to ship the " + run.activityType +
                                 " changes before Friday and check the numbers again";
                    audio.audioSource = "microphone";
                    audio.audioType = "speech";
                    audio.createdAt = formatIsoUtc(std::max(analysedAt, t));
                    rows_.insert(audio);
                    ++summary_.observations;
                    ++summary_.importedObservations;
                }
                t = std::round((t + random.between(5.0, 12.0)) * 1000.0) / 1000.0;
            }
        }
    }

    const SampleDatabaseOptions& options_;
    RecorderRowWriter& rows_;
    SampleDatabaseSummary summary_;
    double pendingFrom_ = 0;
    std::string pendingLockId_;
    std::int64_t analysedFrames_ = 0;
};

void checkOptions(const SampleDatabaseOptions& options) {
    if (options.days < 1) throw std::invalid_argument("The number of days must be at least 1");
    if (options.homeForImagePaths.empty())
        throw std::invalid_argument("A home directory for image paths is required");
    if (!std::isfinite(options.endTime)) throw std::invalid_argument("The end time must be a finite number");
}

void refuseExisting(const std::string& path) {
    if (pathExists(path)) throw ExistingFileError("Refusing to overwrite existing file " + path);
    // A write-ahead log left from an earlier database would be replayed into
    // the new one.
    for (const char* suffix : {"-wal", "-journal"}) {
        if (pathExists(path + suffix)) {
            throw ExistingFileError("Refusing to create " + path + ": a leftover " + path + suffix +
                                    " exists");
        }
    }
}

}  // namespace

SampleDatabaseSummary writeSampleDatabase(const std::string& path, const SampleDatabaseOptions& options) {
    checkOptions(options);
    refuseExisting(path);

    ScratchFile scratch(path + ".partial-" + std::to_string(getpid()));
    SampleDatabaseSummary summary;
    {
        Connection connection(scratch.path());
        sqlite3* handle = connection.handle();
        // Nobody else sees this file until it is complete, and a failed run
        // deletes it, so the generation needs neither a journal nor syncs.
        // Ids are random, so their indexes take inserts all over the file: a
        // large cache, and a memory map for pages beyond it (as large as the
        // SQLite build allows), keep a year of activity from turning into
        // millions of small reads.
        execWritable(handle,
                     "PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF; PRAGMA temp_store = MEMORY; "
                     "PRAGMA cache_size = -2097152; PRAGMA mmap_size = 68719476736");
        execWritable(handle, "BEGIN");
        createRecorderTables(handle);
        {
            RecorderRowWriter rows(handle);
            SampleGenerator generator(options, rows);
            summary = generator.run();
        }
        completeRecorderSchema(handle, 24);
        execWritable(handle, "COMMIT");
        execWritable(handle, "PRAGMA journal_mode = WAL");
        connection.close();
    }
    const int descriptor = open(scratch.path().c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0 || fsync(descriptor) != 0) {
        if (descriptor >= 0) close(descriptor);
        throw std::runtime_error(systemError("Cannot sync", scratch.path()));
    }
    close(descriptor);
    // link() never replaces an existing name: if a file appeared at `path`
    // while we generated, it stays as it is and we fail.
    if (link(scratch.path().c_str(), path.c_str()) != 0) {
        if (errno == EEXIST) throw ExistingFileError("Refusing to overwrite existing file " + path);
        throw std::runtime_error(systemError("Cannot create", path));
    }
    return summary;
}

}  // namespace VarnholtSampleData
