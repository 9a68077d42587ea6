#pragma once

#include <cstdint>
#include <string>

struct sqlite3;
struct sqlite3_stmt;

namespace VarnholtSampleData {

// One row of `frames`. Empty texts are stored as NULL.
struct FrameRow {
    std::string id;
    std::string displayId;
    std::string capturedAt;
    double timestamp = 0;
    std::string imagePath;
    std::string phash;
    int width = 0;
    int height = 0;
    int analyzed = 0;
    std::string processingLockId;
    std::string processingStartedAt;
    int retryCount = 0;
    std::string failedAt;
    std::string createdAt;
};

// One row of `observations`. Empty texts are stored as NULL, and so is an
// endTimestamp of 0.
struct ObservationRow {
    std::string id;
    std::string recordingId;
    std::string frameId;
    std::string type;
    double timestamp = 0;
    double endTimestamp = 0;
    std::string imagePath;
    std::string ocrText;
    std::string vlmDescription;
    std::string vlmRawResponse;
    std::string activityType;
    std::string apps;
    std::string topics;
    std::string text;
    std::string audioSource;
    std::string audioType;
    std::string createdAt;
    std::string vlmStats;
};

// One row of `observation_entities`.
struct EntityRow {
    std::string entityId;
    std::string observationId;
    std::string entityKind;
    std::string entityValue;
    double confidence = 0;
    double createdAt = 0;
};

// Inserts recorder rows through three statements prepared once and reused,
// which is what makes a year of activity a matter of minutes. Borrows the
// handle; finalises its statements when destroyed. Each insert throws
// std::runtime_error with SQLite's message.
class RecorderRowWriter {
public:
    explicit RecorderRowWriter(sqlite3* handle);
    ~RecorderRowWriter();
    RecorderRowWriter(const RecorderRowWriter&) = delete;
    RecorderRowWriter& operator=(const RecorderRowWriter&) = delete;

    void insert(const FrameRow& row);
    void insert(const ObservationRow& row);
    void insert(const EntityRow& row);

private:
    void step(sqlite3_stmt* statement);

    sqlite3* handle_;
    sqlite3_stmt* frame_ = nullptr;
    sqlite3_stmt* observation_ = nullptr;
    sqlite3_stmt* entity_ = nullptr;
};

}  // namespace VarnholtSampleData
