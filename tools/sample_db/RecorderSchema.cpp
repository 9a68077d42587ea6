#include "RecorderSchema.h"

#include <sqlite3.h>

#include <stdexcept>
#include <vector>

namespace VarnholtSampleData {

namespace {

// The tables, the full-text table among them, with only the indexes SQLite
// itself keeps for their keys.
constexpr const char* kTables = R"SQL(
CREATE TABLE frames (
    id TEXT PRIMARY KEY,
    display_id TEXT NOT NULL,
    captured_at TEXT NOT NULL,
    timestamp REAL NOT NULL,
    image_path TEXT NOT NULL,
    phash TEXT,
    width INTEGER,
    height INTEGER,
    analyzed INTEGER DEFAULT 0,
    processing_lock_id TEXT,
    processing_started_at TEXT,
    retry_count INTEGER DEFAULT 0,
    failed_at TEXT,
    created_at TEXT DEFAULT (datetime('now'))
);

CREATE TABLE observations (
    id TEXT PRIMARY KEY,
    recording_id TEXT,
    frame_id TEXT,
    type TEXT NOT NULL,
    timestamp REAL NOT NULL,
    end_timestamp REAL,
    image_path TEXT,
    ocr_text TEXT,
    vlm_description TEXT,
    vlm_raw_response TEXT,
    activity_type TEXT,
    apps TEXT,
    topics TEXT,
    text TEXT,
    audio_source TEXT,
    audio_type TEXT,
    embedding BLOB,
    created_at TEXT NOT NULL,
    vlm_stats TEXT,
    tb_id TEXT
);

CREATE TABLE observation_entities (
    entity_id TEXT PRIMARY KEY,
    observation_id TEXT NOT NULL,
    entity_kind TEXT NOT NULL,
    entity_value TEXT NOT NULL,
    confidence REAL NOT NULL,
    created_at REAL NOT NULL,
    UNIQUE(observation_id, entity_kind, entity_value)
);

CREATE VIRTUAL TABLE observations_fts USING fts5(
    vlm_description,
    content='observations',
    content_rowid='rowid',
    tokenize="porter unicode61 tokenchars '_-.'"
);
)SQL";

// In the order the recorder creates them: SQLite's planner prefers the index
// created last among equally good ones, so the order is part of the shape.
const std::vector<std::string> kIndexes = {
    "CREATE INDEX idx_frames_analyzed ON frames(analyzed)",
    "CREATE INDEX idx_frames_timestamp ON frames(timestamp)",
    "CREATE INDEX idx_frames_processing_lock ON frames(processing_lock_id)",
    "CREATE INDEX idx_frames_analyzed_timestamp ON frames(analyzed, timestamp)",
    "CREATE INDEX idx_observations_recording_type ON observations(recording_id, type)",
    "CREATE INDEX idx_observations_recording_timestamp ON observations(recording_id, timestamp)",
    "CREATE INDEX idx_observations_frame ON observations(frame_id)",
    "CREATE INDEX idx_observations_tb ON observations(tb_id)",
    "CREATE INDEX idx_observation_entities_observation ON observation_entities(observation_id)",
    "CREATE INDEX idx_observation_entities_kind ON observation_entities(entity_kind)",
};

// Fills the index from whatever observations exist, then keeps it in sync.
constexpr const char* kFullTextSync = R"SQL(
INSERT INTO observations_fts(observations_fts) VALUES ('rebuild');
)SQL";

constexpr const char* kFullTextTriggers = R"SQL(
CREATE TRIGGER observations_fts_insert AFTER INSERT ON observations BEGIN
    INSERT INTO observations_fts(rowid, vlm_description) VALUES (new.rowid, new.vlm_description);
END;
CREATE TRIGGER observations_fts_delete AFTER DELETE ON observations BEGIN
    INSERT INTO observations_fts(observations_fts, rowid, vlm_description)
        VALUES ('delete', old.rowid, old.vlm_description);
END;
CREATE TRIGGER observations_fts_update AFTER UPDATE OF vlm_description ON observations BEGIN
    INSERT INTO observations_fts(observations_fts, rowid, vlm_description)
        VALUES ('delete', old.rowid, old.vlm_description);
    INSERT INTO observations_fts(rowid, vlm_description) VALUES (new.rowid, new.vlm_description);
END;
)SQL";

}  // namespace

void execWritable(sqlite3* handle, const std::string& sql) {
    char* error = nullptr;
    if (sqlite3_exec(handle, sql.c_str(), nullptr, nullptr, &error) != SQLITE_OK) {
        std::string message = error != nullptr ? error : sqlite3_errmsg(handle);
        sqlite3_free(error);
        throw std::runtime_error(message);
    }
}

void createRecorderSchema(sqlite3* handle, std::int32_t userVersion) {
    execWritable(handle, "PRAGMA journal_mode = WAL");
    createRecorderTables(handle);
    completeRecorderSchema(handle, userVersion);
}

void createRecorderTables(sqlite3* handle) {
    execWritable(handle, kTables);
}

const std::vector<std::string>& recorderIndexStatements() { return kIndexes; }

const char* recorderFullTextTriggers() { return kFullTextTriggers; }

void completeRecorderSchema(sqlite3* handle, std::int32_t userVersion) {
    for (const std::string& index : kIndexes) execWritable(handle, index);
    execWritable(handle, kFullTextSync);
    execWritable(handle, kFullTextTriggers);
    execWritable(handle, "PRAGMA user_version = " + std::to_string(userVersion));
}

sqlite3* openWritableDatabase(const std::string& path) {
    sqlite3* handle = nullptr;
    if (sqlite3_open_v2(path.c_str(), &handle, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr) !=
        SQLITE_OK) {
        std::string message = handle != nullptr ? sqlite3_errmsg(handle) : "out of memory";
        sqlite3_close(handle);
        throw std::runtime_error("Cannot create " + path + ": " + message);
    }
    return handle;
}

}  // namespace VarnholtSampleData
