#pragma once

#include <string>
#include <vector>

#include "SampleRandom.h"

namespace VarnholtSampleData {

// One entity the extractor files under an observation.
struct SampleEntity {
    std::string kind;
    std::string value;
    double confidence = 0;
};

// A stretch of consecutive frames that the model describes identically:
// the screen barely changes, so the description, the visible applications and
// the extracted entities repeat for every frame of the run.
struct DescriptionRun {
    std::string description;             // one sentence, 60 to 200 characters
    std::string activityType;            // "coding", "meeting", ...
    std::string appsJson;                // compact JSON array of display names, "[]" when none
    std::string topicsJson;              // compact JSON array
    std::string ocrText;                 // empty when the model returned no text
    std::string rawResponse;             // the model's JSON answer the description came from
    std::vector<SampleEntity> entities;  // 2 to 5, distinct (kind, value) pairs
    int frames = 1;                      // how many consecutive frames share the run
};

// One piece of work lasting minutes: a kind of activity (coding, a meeting,
// reading documentation, ...) on one project, with the applications that are
// open meanwhile. Tasks and runs are drawn from fixed vocabularies, so their
// texts read like a vision model's descriptions of a developer's screen.
struct WorkTask {
    int activity = 0;  // index into the catalogue of activities
    int project = 0;   // index into the catalogue of projects
    std::string component;
    std::vector<std::string> apps;  // primary application first
    int display = 0;                // index into sampleDisplays()
};

// A display the frames are captured from.
struct SampleDisplay {
    const char* id;
    int width;
    int height;
};
const std::vector<SampleDisplay>& sampleDisplays();

// Draws the next task; `previous` (may be null) is avoided as a repeat.
WorkTask startTask(SampleRandom& random, const WorkTask* previous);

// Draws the next run of identical descriptions within `task`.
DescriptionRun nextRun(const WorkTask& task, SampleRandom& random);

// A description in the same style for a frame of an imported screen recording.
DescriptionRun importedRecordingRun(SampleRandom& random);

// `text` as a JSON string literal, quotes included.
std::string jsonString(const std::string& text);

}  // namespace VarnholtSampleData
