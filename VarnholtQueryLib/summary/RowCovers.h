#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "summary/ActivityRecords.h"

namespace VarnholtQueryLib {

// The summary's rule of covers, the one every account of rows shares (the
// summary's, a timesheet's), applied to rows as they arrive oldest first:
//
//  - the rows are taken in order of effective time; rows of equal time in
//    order of id (byte order), then of sequence, so that no account ever
//    depends on the order the database returned them in;
//  - each row covers the time until the next row, at most the idle gap; the
//    last row covers until `coverEnd` (the end of the range or now,
//    whichever is earlier), at most the idle gap and never less than
//    nothing. Of rows of equal time only the last covers any time.
//
// Each row is handed to `count` with its cover, in that order, as soon as
// the time of the row after it is known. Single-threaded.
class RowCovers {
public:
    using Count = std::function<void(ActivityRow& row, double cover)>;

    // REQUIRES: idleSeconds > 0.
    RowCovers(double idleSeconds, double coverEnd, Count count);

    // Forgets the rows waiting: the scan starts again.
    void restart();
    // REQUIRES: rows arrive in non-decreasing time; throws std::logic_error
    // for a row earlier than the one before.
    void add(ActivityRow row);
    // Counts the rows still waiting, the last of them until `coverEnd`.
    void close();

private:
    // Counts the rows of equal time waiting in ties_, now that the time of
    // the next row (absent after the last) is known.
    void settleTies(std::optional<double> nextTime);

    const double idleSeconds_;
    const double coverEnd_;
    const Count count_;
    std::vector<ActivityRow> ties_;
};

}  // namespace VarnholtQueryLib
