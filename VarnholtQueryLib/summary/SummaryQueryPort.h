#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "summary/ActivityRecords.h"

namespace VarnholtQueryLib {

// Where the rows of a scan go, one at a time, so that a range of any length
// is counted without being held.
class ActivityRowSink {
public:
    virtual ~ActivityRowSink() = default;
    // Forgets every row added so far: the scan starts again.
    virtual void restart() = 0;
    // REQUIRES: `row.time` is not earlier than the time of the row before.
    virtual void add(ActivityRow row) = 0;

protected:
    ActivityRowSink() = default;
    ActivityRowSink(const ActivityRowSink&) = delete;
    ActivityRowSink& operator=(const ActivityRowSink&) = delete;
};

// The descriptions the summary did not read with the rows, one by one.
class DescriptionSource {
public:
    virtual ~DescriptionSource() = default;
    // The description of the row stored as `sequence` (ActivityRow::sequence);
    // empty when there is none. Throws the database layer's error.
    virtual std::string descriptionOf(std::int64_t sequence) = 0;

protected:
    DescriptionSource() = default;
    DescriptionSource(const DescriptionSource&) = delete;
    DescriptionSource& operator=(const DescriptionSource&) = delete;
};

// What the rows of a scan must carry beyond their time, id, sequence and
// applications.
struct ActivityNeeds {
    bool rowids = false;    // ActivityRow::rowid, for text rules
    bool entities = true;   // ActivityRow::entities; without, a source may leave them out
    // ActivityRow::description, for an account that looks at every row's
    // (a timesheet's spans and terms): read with the row, never one by one.
    bool descriptions = false;
    // With entities: when given, only the rows it accepts need their
    // entities. It is asked about each row as read, without its entities;
    // a source may then look up the entities of those rows alone, which
    // saves a look-up for every other row.
    std::function<bool(const ActivityRow&)> entitiesFor = {};

    // Whether both ask for the same, and both with or both without
    // entitiesFor (functions cannot be compared).
    bool operator==(const ActivityNeeds& other) const {
        return rowids == other.rowids && entities == other.entities && descriptions == other.descriptions &&
               static_cast<bool>(entitiesFor) == static_cast<bool>(other.entitiesFor);
    }
};

// Where the summary reads the recorder's database. The SQLite adapter is the
// one implementation; tests use fakes. Every operation throws the database
// layer's error (locked, query failed) unchanged.
class SummaryQueryPort : public DescriptionSource {
public:
    // The observations the timeline would consider in [from, to] (both
    // inclusive): a usable description, no separate recording, an effective
    // time in the range; all of them, however many. They reach `sink` in
    // non-decreasing effective time; rows of equal time in any order. The
    // sink is restarted before the first row, and again if the scan has to
    // start over. The rows carry their rowid and their description when
    // `needs` asks for them (they may carry them anyway), and may come
    // without entities when it does not ask for those.
    virtual void scanActivity(double from, double to, const ActivityNeeds& needs, ActivityRowSink& sink) = 0;

    // The frames whose time lies in [from, to], by analysis state.
    virtual FrameCounts countFrames(double from, double to) = 0;

    // The time of every frame in [from, to], in non-decreasing order.
    virtual void scanFrameTimes(double from, double to, const std::function<void(double)>& visit) = 0;
};

}  // namespace VarnholtQueryLib
