#include "RecorderRowWriter.h"

#include <sqlite3.h>

#include <stdexcept>

namespace VarnholtSampleData {

namespace {

constexpr const char* kInsertFrame =
    "INSERT INTO frames (id, display_id, captured_at, timestamp, image_path, phash, width, height, "
    "analyzed, processing_lock_id, processing_started_at, retry_count, failed_at, created_at) "
    "VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11, ?12, ?13, ?14)";

constexpr const char* kInsertObservation =
    "INSERT INTO observations (id, recording_id, frame_id, type, timestamp, end_timestamp, image_path, "
    "ocr_text, vlm_description, vlm_raw_response, activity_type, apps, topics, text, audio_source, "
    "audio_type, embedding, created_at, vlm_stats, tb_id) "
    "VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11, ?12, ?13, ?14, ?15, ?16, NULL, ?17, ?18, NULL)";

constexpr const char* kInsertEntity =
    "INSERT INTO observation_entities (entity_id, observation_id, entity_kind, entity_value, confidence, "
    "created_at) VALUES (?1, ?2, ?3, ?4, ?5, ?6)";

sqlite3_stmt* prepare(sqlite3* handle, const char* sql) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v3(handle, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr) != SQLITE_OK) {
        throw std::runtime_error(sqlite3_errmsg(handle));
    }
    return statement;
}

// The row outlives the step, so SQLite need not copy the text.
void bindText(sqlite3_stmt* statement, int index, const std::string& text) {
    if (text.empty()) {
        sqlite3_bind_null(statement, index);
    } else {
        sqlite3_bind_text(statement, index, text.data(), static_cast<int>(text.size()), SQLITE_STATIC);
    }
}

}  // namespace

RecorderRowWriter::RecorderRowWriter(sqlite3* handle) : handle_(handle) {
    try {
        frame_ = prepare(handle, kInsertFrame);
        observation_ = prepare(handle, kInsertObservation);
        entity_ = prepare(handle, kInsertEntity);
    } catch (...) {
        sqlite3_finalize(frame_);
        sqlite3_finalize(observation_);
        throw;
    }
}

RecorderRowWriter::~RecorderRowWriter() {
    sqlite3_finalize(frame_);
    sqlite3_finalize(observation_);
    sqlite3_finalize(entity_);
}

void RecorderRowWriter::step(sqlite3_stmt* statement) {
    const int result = sqlite3_step(statement);
    sqlite3_reset(statement);
    sqlite3_clear_bindings(statement);
    if (result != SQLITE_DONE) throw std::runtime_error(sqlite3_errmsg(handle_));
}

void RecorderRowWriter::insert(const FrameRow& row) {
    bindText(frame_, 1, row.id);
    bindText(frame_, 2, row.displayId);
    bindText(frame_, 3, row.capturedAt);
    sqlite3_bind_double(frame_, 4, row.timestamp);
    bindText(frame_, 5, row.imagePath);
    bindText(frame_, 6, row.phash);
    sqlite3_bind_int(frame_, 7, row.width);
    sqlite3_bind_int(frame_, 8, row.height);
    sqlite3_bind_int(frame_, 9, row.analyzed);
    bindText(frame_, 10, row.processingLockId);
    bindText(frame_, 11, row.processingStartedAt);
    sqlite3_bind_int(frame_, 12, row.retryCount);
    bindText(frame_, 13, row.failedAt);
    bindText(frame_, 14, row.createdAt);
    step(frame_);
}

void RecorderRowWriter::insert(const ObservationRow& row) {
    bindText(observation_, 1, row.id);
    bindText(observation_, 2, row.recordingId);
    bindText(observation_, 3, row.frameId);
    bindText(observation_, 4, row.type);
    sqlite3_bind_double(observation_, 5, row.timestamp);
    if (row.endTimestamp != 0) sqlite3_bind_double(observation_, 6, row.endTimestamp);
    bindText(observation_, 7, row.imagePath);
    bindText(observation_, 8, row.ocrText);
    bindText(observation_, 9, row.vlmDescription);
    bindText(observation_, 10, row.vlmRawResponse);
    bindText(observation_, 11, row.activityType);
    bindText(observation_, 12, row.apps);
    bindText(observation_, 13, row.topics);
    bindText(observation_, 14, row.text);
    bindText(observation_, 15, row.audioSource);
    bindText(observation_, 16, row.audioType);
    bindText(observation_, 17, row.createdAt);
    bindText(observation_, 18, row.vlmStats);
    step(observation_);
}

void RecorderRowWriter::insert(const EntityRow& row) {
    bindText(entity_, 1, row.entityId);
    bindText(entity_, 2, row.observationId);
    bindText(entity_, 3, row.entityKind);
    bindText(entity_, 4, row.entityValue);
    sqlite3_bind_double(entity_, 5, row.confidence);
    sqlite3_bind_double(entity_, 6, row.createdAt);
    step(entity_);
}

}  // namespace VarnholtSampleData
