#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace VarnholtQueryLib {

// The records of the summary's time accounting: the rows it counts and the
// account it makes of them. Times are seconds since 1970 UTC, durations
// seconds, both as doubles until they are printed.

// An entity as an observation lists it: kind and value, compared exactly.
using EntityPair = std::pair<std::string, std::string>;

// One observation as the summary counts it: an eligible row of the
// timeline, read without the descriptions it does not need.
struct ActivityRow {
    // The effective time: the frame's, else the observation's own.
    double time = 0;
    // The observation's id: the first key among rows of equal time.
    std::string id;
    // Where the row is stored (its rowid), or its place in the answer when
    // the source has no such number: the last key among equal times and ids,
    // and the key by which a description is looked up later.
    std::int64_t sequence = 0;
    // Where the row is stored, when the source read it: the key by which a
    // text rule's matches (RowSelector) find it.
    std::optional<std::int64_t> rowid;
    // The applications as the recorder listed them (a malformed list is
    // empty), repeats and all.
    std::vector<std::string> apps;
    // The entities whose kind and value are text, repeats and all.
    std::vector<EntityPair> entities;
    // The description, when the source read it anyway; otherwise it is asked
    // for by `sequence` if the row becomes a highlight.
    std::optional<std::string> description;

    bool operator==(const ActivityRow&) const = default;
};

// Seconds as they are printed: rounded to the nearest whole second, halves
// up. Lists are ordered by these, so two entries that print the same
// seconds order by name, whatever their fractions.
std::int64_t wholeSeconds(double seconds);

// An application's visible time: the covers of the rows that list it.
struct ApplicationTime {
    std::string name;  // the spelling of its earliest row
    double seconds = 0;
    std::int64_t observationCount = 0;

    bool operator==(const ApplicationTime&) const = default;
};

// An entity's time: the covers of the rows that list it. An entity is a
// kind and a value compared by the name key, so that "Swift", "swift" and
// "SWIFT" are one.
struct EntityTime {
    std::string kind;
    std::string value;  // the spelling most of its rows use, the earliest among equals
    double seconds = 0;
    std::int64_t count = 0;  // rows that list it
    double firstSeen = 0;    // the earliest and latest of those rows' times
    double lastSeen = 0;

    bool operator==(const EntityTime&) const = default;
};

// One description chosen to show what a session was about.
struct Highlight {
    double momentStart = 0;  // the five-minute moment it represents
    int rank = 0;            // 0 for the session's busiest moment shown, then 1, 2
    std::string description; // as stored; redacted when printed

    bool operator==(const Highlight&) const = default;
};

// A run of rows without a gap longer than the idle gap.
struct ActivitySession {
    double start = 0;  // the first row's time
    double end = 0;    // the last row's time plus its cover
    double activeSeconds = 0;
    std::int64_t observationCount = 0;
    std::vector<ApplicationTime> applications;  // all of them, most seconds first
    std::vector<Highlight> highlights;          // at most three, in time order

    bool operator==(const ActivitySession&) const = default;
};

// The rows of one local calendar day (of their times, in the user's zone).
struct ActivityDay {
    std::string date;  // yyyy-MM-dd
    double activeSeconds = 0;
    std::int64_t observationCount = 0;
    std::optional<double> firstActivity;  // the day's first and last row times; absent without rows
    std::optional<double> lastActivity;
    std::int64_t sessionCount = 0;              // sessions that start that day
    std::vector<ApplicationTime> applications;  // all of them, most seconds first

    bool operator==(const ActivityDay&) const = default;
};

// What the rows of a range add up to: the rows a selection picked, or all
// of them without one.
struct ActivityAccount {
    double activeSeconds = 0;
    std::int64_t observationCount = 0;
    // The range's rows, picked or not.
    std::int64_t rangeObservationCount = 0;
    std::optional<double> firstActivity;  // the first and last row times; absent without rows
    std::optional<double> lastActivity;
    std::vector<ActivitySession> sessions;      // in time order
    std::vector<ApplicationTime> applications;  // all, most seconds first, then by name
    std::vector<EntityTime> entities;           // all, most seconds first, then kind, value
    // Every day of the range (ActivityAccountant says which), in date order.
    std::vector<ActivityDay> days;

    bool operator==(const ActivityAccount&) const = default;
};

// The frames of a range, which tell whether an empty or thin account is
// the recorder's doing or the model's.
struct FrameCounts {
    std::int64_t frames = 0;
    std::int64_t analyzedFrames = 0;  // analyzed = 1
    std::int64_t pendingFrames = 0;   // analyzed = 0
    std::int64_t failedFrames = 0;    // analyzed = 2

    bool operator==(const FrameCounts&) const = default;
};

// A stretch of at least half an hour without any frame.
struct FrameGap {
    double from = 0;
    double to = 0;

    bool operator==(const FrameGap&) const = default;
};

struct FrameCoverage {
    FrameCounts counts;
    std::vector<FrameGap> gaps;  // in time order
    // Why there are no rows, when there are none (see coverageVerdict).
    std::optional<std::string> verdict;

    bool operator==(const FrameCoverage&) const = default;
};

}  // namespace VarnholtQueryLib
