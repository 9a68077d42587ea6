#pragma once

#include <string>

#include "IndexCatalogue.h"

namespace VarnholtSQLiteSupport {

// Statement pieces that find observations by effective time through the
// recorder's indexes, for the index-driven statements of every query.
//
// A time is a number. Text or a BLOB in a time column (a damaged row, an
// importer's mistake) is no time at all, exactly like NULL: reading it as a
// number would date it 1970, and SQLite would sort it after every number,
// inside every window without an upper end. A number sorts below every text
// and BLOB and NULL compares to nothing, so "x < ''" holds for numbers only,
// and, unlike typeof(x), it bounds an index range.
//
// An observation's effective time is kEffectiveTime over "LEFT JOIN frames
// f": its frame's time, else its own. No index serves that expression, so
// the literal statements walk all of history. But the rows of that LEFT JOIN
// fall into two parts that indexes do serve:
//  - frame-dated rows, whose frame has a time: the window's frames come from
//    frames(timestamp) in time order, their observations from
//    observations(frame_id);
//  - self-dated rows, without a frame or with a frame without time
//    (kNoFrameTime): found by the observation's own time through
//    observations(recording_id, timestamp), once per recording_id value.
// Each row of the LEFT JOIN is in exactly one part, with the same effective
// time; together they are exactly the rows the literal statements filter.
//
// Every piece binds the window as the named parameters :from and :to.

// The effective time of the row of "observations o LEFT JOIN frames f":
// the frame's time if it is a number, else the observation's if that is one,
// else NULL.
extern const char* const kEffectiveTime;

// The row's frame is missing or has no time (NULL, text or a BLOB).
extern const char* const kNoFrameTime;

// Which ends of the window a statement bounds. Both absent is not a window.
struct WindowBounds {
    bool from = false;  // :from, inclusive
    bool to = false;    // :to, inclusive
};

// How the self-dated part rules out its candidates that have a frame with a
// time (they are frame-dated, in the window or out of it); the frames
// look-up of kNoFrameTime decides for the rest. Both give the same rows.
enum class FramedCandidates {
    // Against a list of the window's frame ids, built once: cheap while the
    // window holds hours of frames.
    windowFrameList,
    // By one seek in frames(timestamp) for the candidate's frame at its own
    // time, where the recorder puts it: with days of frames in the window,
    // building the list costs more than all the seeks.
    frameAtOwnTime,
};

// What one part selects. In `columns`, "{time}" stands for the effective
// time (f.timestamp in the frame-dated part, o.timestamp in the self-dated).
struct WindowSelect {
    std::string columns;
    // The frame join as the query's literal statement writes it: which side
    // comes first decides whose collation the equality uses.
    std::string frameJoin = "o.frame_id = f.id";
    std::string joins;       // further joins after o and f, each with its leading blank
    std::string conditions;  // further conditions, ANDed; may be empty
    WindowBounds bounds;
    FramedCandidates framedCandidates = FramedCandidates::windowFrameList;
};

// Whether the catalogue has every index these pieces walk: frames(timestamp),
// a unique frames(id), observations(frame_id) and
// observations(recording_id, timestamp).
bool servesEffectiveTimeWindows(const IndexCatalogue& catalogue);

// The frame-dated part: "SELECT ... FROM frames f CROSS JOIN observations o
// ..." (frames first, so the walk follows frames(timestamp)).
std::string frameDatedRows(const WindowSelect& select);

// The self-dated part for one recording_id value, chosen by
// `recordingCondition` (such as "o.recording_id IS NULL").
std::string selfDatedRows(const WindowSelect& select, const std::string& recordingCondition);

// The self-dated part for every recording_id value, NULL included, walking
// the recording_groups table of kRecordingGroups (which must precede it in a
// WITH RECURSIVE clause).
std::string selfDatedRowsOfEveryRecording(const WindowSelect& select);

// "WITH RECURSIVE <kRecordingGroups>, <name> AS (<frame-dated part> UNION ALL
// <self-dated part of every recording>)": the window's rows of every
// recording_id value as the table `name`, for a statement to continue with
// its SELECT.
std::string everyRecordingWindow(const std::string& name, const WindowSelect& select);

// Common table expressions, for a WITH RECURSIVE clause: recording_groups
// (recording_id), one row for NULL and one for each distinct non-NULL value,
// found by skipping through observations(recording_id, ...) one seek per
// value. Recorders hold a handful of values, so this costs microseconds.
extern const char* const kRecordingGroups;

// "SELECT min(rid), max(rid) ...": the smallest and largest rowid of the
// observations whose effective time lies in the window (NULL and NULL for
// none): the frame-dated part exactly, the self-dated part by the
// observations' own times, which covers it. Every observation of the window
// has a rowid in that range, so a full-text match confined to it drops only
// rows outside the window. REQUIRES: bounds has from or to.
std::string windowRowidRangeStatement(const WindowBounds& bounds);

// "f.timestamp >= :from AND f.timestamp <= :to" for the bounds present,
// with `column` in place of f.timestamp. Without an upper bound the
// condition ends with "f.timestamp < ''", which keeps the text and BLOB
// values out of the window (a number bound does that at the upper end).
std::string windowCondition(const std::string& column, const WindowBounds& bounds);

}  // namespace VarnholtSQLiteSupport
