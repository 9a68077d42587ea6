#include "RandomRecorderDatabase.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <variant>

#include "RecorderSchema.h"
#include "SampleRandom.h"

namespace VarnholtRandomData {

using VarnholtSampleData::execWritable;
using VarnholtSampleData::SampleRandom;

namespace {

// The recorder's tables without their NOT NULL constraints, and entities
// without their uniqueness, for rows a real recorder would refuse: frames
// without time, entities without kind or value, a pair mentioned twice.
constexpr const char* kLooseTables = R"SQL(
CREATE TABLE frames (
    id TEXT PRIMARY KEY, display_id TEXT, captured_at TEXT, timestamp REAL, image_path TEXT,
    phash TEXT, width INTEGER, height INTEGER, analyzed INTEGER DEFAULT 0, processing_lock_id TEXT,
    processing_started_at TEXT, retry_count INTEGER DEFAULT 0, failed_at TEXT, created_at TEXT);
CREATE TABLE observations (
    id TEXT PRIMARY KEY, recording_id TEXT, frame_id TEXT, type TEXT, timestamp REAL,
    end_timestamp REAL, image_path TEXT, ocr_text TEXT, vlm_description TEXT, vlm_raw_response TEXT,
    activity_type TEXT, apps TEXT, topics TEXT, text TEXT, audio_source TEXT, audio_type TEXT,
    embedding BLOB, created_at TEXT, vlm_stats TEXT, tb_id TEXT);
CREATE TABLE observation_entities (
    entity_id TEXT PRIMARY KEY, observation_id TEXT NOT NULL, entity_kind TEXT,
    entity_value TEXT, confidence REAL, created_at REAL);
CREATE VIRTUAL TABLE observations_fts USING fts5(
    vlm_description, content='observations', content_rowid='rowid',
    tokenize="porter unicode61 tokenchars '_-.'");
)SQL";

// Bytes stored as a BLOB.
struct Blob {
    std::string bytes;
};

// A value for one column: NULL, a real, an integer, text or a BLOB.
using Value = std::variant<std::monostate, double, std::int64_t, std::string, Blob>;

class Inserter {
public:
    Inserter(sqlite3* handle, const std::string& sql) : handle_(handle) {
        if (sqlite3_prepare_v2(handle, sql.c_str(), -1, &statement_, nullptr) != SQLITE_OK) {
            throw std::runtime_error(sqlite3_errmsg(handle));
        }
    }
    ~Inserter() { sqlite3_finalize(statement_); }
    Inserter(const Inserter&) = delete;
    Inserter& operator=(const Inserter&) = delete;

    void insert(const std::vector<Value>& values) {
        sqlite3_reset(statement_);
        for (std::size_t i = 0; i < values.size(); ++i) {
            const int position = static_cast<int>(i) + 1;
            const Value& value = values[i];
            if (std::holds_alternative<double>(value)) {
                sqlite3_bind_double(statement_, position, std::get<double>(value));
            } else if (std::holds_alternative<std::int64_t>(value)) {
                sqlite3_bind_int64(statement_, position, std::get<std::int64_t>(value));
            } else if (std::holds_alternative<Blob>(value)) {
                const std::string& bytes = std::get<Blob>(value).bytes;
                sqlite3_bind_blob(statement_, position, bytes.data(), static_cast<int>(bytes.size()),
                                  SQLITE_TRANSIENT);
            } else if (std::holds_alternative<std::string>(value)) {
                const std::string& text = std::get<std::string>(value);
                sqlite3_bind_text(statement_, position, text.c_str(), static_cast<int>(text.size()),
                                  SQLITE_TRANSIENT);
            } else {
                sqlite3_bind_null(statement_, position);
            }
        }
        if (sqlite3_step(statement_) != SQLITE_DONE) throw std::runtime_error(sqlite3_errmsg(handle_));
    }

private:
    sqlite3* handle_;
    sqlite3_stmt* statement_ = nullptr;
};

class Generator {
public:
    Generator(std::uint64_t seed, const RandomDatabaseOptions& options, RandomDatabaseShape& shape)
        : random_(seed), options_(options), shape_(shape) {
        shape_.seed = seed;
        shape_.words = {"error", "invoice", "kubernetes", "deploy", "budget", "parser",
                        "review", "meeting", "Error", "caf\xC3\xA9", "build_42", "v1.2"};
        shape_.applications = {"Xcode", "Safari", "Slack", "slack", "VS Code", "Mail", "Terminal"};
        shape_.kinds = {"app", "programming_language", "software_tool", "App"};
    }

    void decideShape() {
        shape_.looseSchema = random_.chance(0.4);
        shape_.analyzed = random_.chance(0.3);
        // Mostly small databases; some hold more than the timeline's 5000
        // rows in one range, so that the limit cuts among them. About a
        // third of the observations are no timeline row (no description,
        // a blank one, another recording, no time), so a large database
        // has 8000 or more.
        // Every 16th seed is large too, so that any 16 seeds in a row hold
        // one; a caller may take those only. The draw is made either way, so
        // that every other seed writes the same database. (A database
        // missing a chosen index stays small: see createIndexes.)
        const bool drawn = random_.chance(0.12) && options_.large == LargeDatabases::drawnAndEvery16th;
        const bool drawnLarge = drawn || shape_.seed % 16 == 0;
        large_ = drawnLarge && options_.missingIndex.empty();
        const bool large = large_;
        observationCount_ = large ? random_.integer(8000, 11000) : random_.integer(0, 1200);
        frameCount_ = std::max(0, static_cast<int>(observationCount_ * random_.between(0.6, 1.2)));
        static const std::vector<double> spans = {7200.0, 86400.0, 10 * 86400.0, 400 * 86400.0};
        const double span = large ? random_.pick(std::vector<double>{7200.0, 86400.0}) : random_.pick(spans);
        shape_.start = 1775000000.0 + 3600.0 * random_.integer(0, 2000) - span;
        shape_.end = shape_.start + span;
        const int shared = random_.integer(1, 40);
        for (int i = 0; i < shared; ++i) shape_.sharedTimes.push_back(quarterSeconds(randomTime()));
    }

    void createTables(sqlite3* handle) {
        execWritable(handle, "PRAGMA journal_mode = WAL");
        // A scratch database: no need to wait for the disk.
        execWritable(handle, "PRAGMA synchronous = OFF");
        if (shape_.looseSchema) {
            execWritable(handle, kLooseTables);
        } else {
            VarnholtSampleData::createRecorderTables(handle);
        }
        execWritable(handle, VarnholtSampleData::recorderFullTextTriggers());
    }

    void fillRows(sqlite3* handle) {
        execWritable(handle, "BEGIN");
        insertFrames(handle);
        insertObservations(handle);
        execWritable(handle, "COMMIT");
    }

    void createIndexes(sqlite3* handle) {
        std::vector<std::string> indexes = VarnholtSampleData::recorderIndexStatements();
        // Half the databases create the recorder's indexes in another order:
        // the planner's choice among equal indexes follows creation order.
        if (random_.chance(0.5)) {
            for (std::size_t i = indexes.size(); i > 1; --i) {
                std::swap(indexes[i - 1], indexes[static_cast<std::size_t>(random_.integer(0, static_cast<int>(i) - 1))]);
            }
        }
        // A quarter of the small databases lack one of the recorder's
        // indexes. (Large ones keep them all: without an index the literal
        // statements take quadratic time there, and what a missing index
        // changes is shown as well on small ones.)
        int missing = !large_ && random_.chance(0.25) ? random_.integer(0, static_cast<int>(indexes.size()) - 1)
                                                      : -1;
        if (!options_.missingIndex.empty()) missing = -1;
        for (int i = 0; i < static_cast<int>(indexes.size()); ++i) {
            const std::string& index = indexes[static_cast<std::size_t>(i)];
            const bool named = !options_.missingIndex.empty() &&
                               index.find(" " + options_.missingIndex + " ") != std::string::npos;
            if (i == missing || named) {
                shape_.missingIndexes.push_back(index);
                continue;
            }
            execWritable(handle, index);
            shape_.indexes.push_back(index);
        }
        if (shape_.analyzed) execWritable(handle, "ANALYZE");
        execWritable(handle, "PRAGMA user_version = 24");
    }

private:
    double randomTime() { return random_.between(shape_.start, shape_.end); }

    // Times on quarter seconds are exact in binary, like many real ones, and
    // round-trip through any text form.
    static double quarterSeconds(double time) { return std::floor(time * 4.0) / 4.0; }

    // A time as a recorder (or a damaged database) might store it. NOT NULL
    // keeps out only NULL: text and BLOBs get into the recorder's schema too.
    Value timeValue(bool allowOdd) {
        const double draw = random_.uniform();
        if (draw < 0.35) return random_.pick(shape_.sharedTimes);
        if (draw < 0.85) return std::floor(randomTime() * 1000.0) / 1000.0;
        if (draw < 0.89) return shape_.start - random_.between(1e6, 1e9);
        if (draw < 0.93) return shape_.end + random_.between(1e6, 1e9);
        if (draw < 0.95) return static_cast<double>(static_cast<std::int64_t>(randomTime()));
        if (!allowOdd) return random_.pick(shape_.sharedTimes);
        if (draw < 0.97 && shape_.looseSchema) return Value();
        if (draw < 0.985) return std::string(random_.chance(0.5) ? "pending" : "2026-04-01T10:00:00Z");
        return Blob{random_.chance(0.5) ? std::string("\x01") : std::string("1775000000")};
    }

    // An entity's kind or value as stored: mostly `text`; now and then a
    // BLOB, a number (which a TEXT column turns into text) or, where the
    // schema allows it, NULL.
    Value entityText(const std::string& text) {
        const double draw = random_.uniform();
        if (draw < 0.03) return Blob{text};
        if (draw < 0.04) return std::int64_t{42};
        if (draw < 0.06 && shape_.looseSchema) return Value();
        return text;
    }

    std::string words(int low, int high) {
        std::string text;
        const int count = random_.integer(low, high);
        for (int i = 0; i < count; ++i) text += (i > 0 ? " " : "") + random_.pick(shape_.words);
        return text;
    }

    Value description() {
        const double draw = random_.uniform();
        if (draw < 0.07) return Value();
        if (draw < 0.10) return std::string();
        if (draw < 0.13) return std::string("   ");
        if (draw < 0.15) return std::string("\t\n");
        // Repeats are common: consecutive frames often look the same.
        if (draw < 0.40 && !recentDescriptions_.empty()) return random_.pick(recentDescriptions_);
        std::string text = "Working on " + words(1, 5);
        if (random_.chance(0.1)) text = "  " + text + "  ";
        recentDescriptions_.push_back(text);
        if (recentDescriptions_.size() > 6) recentDescriptions_.erase(recentDescriptions_.begin());
        return text;
    }

    Value apps() {
        const double draw = random_.uniform();
        if (draw < 0.10) return Value();
        if (draw < 0.25) return std::string("[]");
        if (draw < 0.30) return std::string("{\"app\":\"Mail\"}");
        if (draw < 0.33) return std::string("[\"Slack\",2]");
        // Text that is not JSON at all: damaged rows, a list typed by hand,
        // nesting deeper than SQLite's JSON functions accept.
        if (draw < 0.34) return std::string();
        if (draw < 0.35) return std::string("Slack, Zoom");
        if (draw < 0.355) return std::string("[\"Slack\"");
        if (draw < 0.36) return std::string(3000, '[') + "\"Slack\"" + std::string(3000, ']');
        std::string list = "[";
        const int count = random_.integer(1, 3);
        for (int i = 0; i < count; ++i) list += (i > 0 ? "," : "") + ("\"" + random_.pick(shape_.applications) + "\"");
        return list + "]";
    }

    Value recordingId() {
        const double draw = random_.uniform();
        if (draw < 0.68) return Value();
        if (draw < 0.80) return std::string();
        static const std::vector<std::string> recordings = {"R1", "R2", "rec-3", "R1 "};
        return random_.pick(recordings);
    }

    void insertFrames(sqlite3* handle) {
        Inserter frames(handle,
                        "INSERT INTO frames (id, display_id, captured_at, timestamp, image_path, analyzed) "
                        "VALUES (?, 'main', '2026-04-01T00:00:00Z', ?, ?, ?)");
        for (int i = 0; i < frameCount_; ++i) {
            const std::string id = "F" + std::to_string(i);
            Value time = timeValue(true);
            frameTimes_.push_back(time);
            const double draw = random_.uniform();
            const std::int64_t analyzed = draw < 0.1 ? 0 : (draw < 0.95 ? 1 : 2);
            frames.insert({id, time, "/home/u/.varnholt/frames/" + id + ".jpg", analyzed});
        }
        shape_.frames = frameCount_;
    }

    // A frame id for an observation: mostly an existing frame, sometimes a
    // pruned one, sometimes none; a few frames get several observations.
    Value frameIdFor(int& frameIndex) {
        frameIndex = -1;
        const double draw = random_.uniform();
        if (frameCount_ > 0 && draw < 0.70) {
            frameIndex = random_.chance(0.15) ? random_.integer(0, std::min(frameCount_, 20) - 1)
                                              : random_.integer(0, frameCount_ - 1);
            return "F" + std::to_string(frameIndex);
        }
        if (draw < 0.85) return "F-PRUNED-" + std::to_string(random_.integer(0, 1000));
        return Value();
    }

    void insertObservations(sqlite3* handle) {
        Inserter observations(handle,
                              "INSERT INTO observations (id, recording_id, frame_id, type, timestamp, "
                              "image_path, vlm_description, apps, created_at) "
                              "VALUES (?, ?, ?, ?, ?, ?, ?, ?, '2026-04-01T00:00:00Z')");
        Inserter entities(handle,
                          "INSERT OR IGNORE INTO observation_entities (entity_id, observation_id, "
                          "entity_kind, entity_value, confidence, created_at) VALUES (?, ?, ?, ?, 0.9, 0)");
        static const std::vector<std::string> values = {"Swift", "swift", "Xcode", "Docker",
                                                        "kubectl", "Python", "C++", "Slack"};
        std::int64_t entityCount = 0;
        for (int i = 0; i < observationCount_; ++i) {
            const std::string id = "O" + std::to_string(i);
            int frameIndex = -1;
            Value frameId = frameIdFor(frameIndex);
            // Mostly the frame's own time, as the recorder copies it.
            Value time = (frameIndex >= 0 && random_.chance(0.5) &&
                          std::holds_alternative<double>(frameTimes_[static_cast<std::size_t>(frameIndex)]))
                             ? frameTimes_[static_cast<std::size_t>(frameIndex)]
                             : timeValue(true);
            const Value imagePath = random_.chance(0.7) ? Value("/home/u/shots/" + id + ".jpg") : Value();
            observations.insert({id, recordingId(), frameId, std::string(random_.chance(0.8) ? "visual" : "audio"),
                                 time, imagePath, description(), apps()});
            const int mentions = random_.chance(0.2) ? 0 : random_.integer(1, 4);
            for (int m = 0; m < mentions; ++m) {
                // A few mentions belong to no observation at all.
                const std::string owner = random_.chance(0.03) ? "O-GONE-" + std::to_string(i) : id;
                const std::string entityId = "E" + std::to_string(entityCount++);
                const std::string value = random_.pick(values);
                entities.insert({entityId, owner, entityText(random_.pick(shape_.kinds)), entityText(value)});
                // Loose databases may repeat a pair within one observation.
                if (shape_.looseSchema && random_.chance(0.05)) {
                    entities.insert({"E" + std::to_string(entityCount++), owner, std::string("app"), value});
                }
            }
        }
        shape_.observations = observationCount_;
        shape_.entities = entityCount;
    }

    SampleRandom random_;
    const RandomDatabaseOptions& options_;
    RandomDatabaseShape& shape_;
    bool large_ = false;
    int observationCount_ = 0;
    int frameCount_ = 0;
    std::vector<Value> frameTimes_;
    std::vector<std::string> recentDescriptions_;
};

}  // namespace

std::string RandomDatabaseShape::summary() const {
    std::string text = "seed " + std::to_string(seed) + (looseSchema ? ", loose schema" : ", recorder schema") +
                       (analyzed ? ", analyzed" : "") + ", " + std::to_string(frames) + " frames, " +
                       std::to_string(observations) + " observations, " + std::to_string(entities) +
                       " entities, activity from " + std::to_string(static_cast<std::int64_t>(start)) + " to " +
                       std::to_string(static_cast<std::int64_t>(end));
    for (const std::string& index : missingIndexes) text += "; without: " + index;
    return text;
}

RandomDatabaseShape writeRandomDatabase(const std::string& path, std::uint64_t seed,
                                        const RandomDatabaseOptions& options) {
    struct stat existing {};
    if (lstat(path.c_str(), &existing) == 0) throw std::runtime_error(path + " exists already");
    RandomDatabaseShape shape;
    Generator generator(seed, options, shape);
    generator.decideShape();
    sqlite3* handle = nullptr;
    if (sqlite3_open_v2(path.c_str(), &handle, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr) != SQLITE_OK) {
        const std::string message = handle != nullptr ? sqlite3_errmsg(handle) : "out of memory";
        sqlite3_close(handle);
        throw std::runtime_error("Cannot create " + path + ": " + message);
    }
    try {
        generator.createTables(handle);
        generator.fillRows(handle);
        generator.createIndexes(handle);
    } catch (...) {
        sqlite3_close(handle);
        throw;
    }
    sqlite3_close(handle);
    return shape;
}

}  // namespace VarnholtRandomData
