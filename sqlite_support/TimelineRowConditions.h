#pragma once

namespace VarnholtSQLiteSupport {

// The conditions on an observation o that make it one of the timeline's
// rows, as the timeline's literal statement writes them, for every
// index-driven statement that selects those rows: the timeline's own and
// summary's, whose rows are the timeline's.

// A description that is not blank (NULL, empty or spaces only).
extern const char* const kUsableDescription;
// No separate recording: recording_id NULL or ''.
extern const char* const kNoSeparateRecording;

}  // namespace VarnholtSQLiteSupport
