#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "summary/ActivityRecords.h"
#include "summary/SummaryQueryPort.h"

namespace VarnholtQueryLib {

class LocalCalendar;

// The summary's rule of time accounting, applied to rows as they arrive
// (oldest first), so that a range of any length costs memory for what it
// reports, not for its rows:
//
//  - the rows are taken in order of effective time; rows of equal time in
//    order of id (byte order), then of sequence, so that the account never
//    depends on the order the database returned them in;
//  - each row covers the time until the next row, at most the idle gap; the
//    last row covers until `coverEnd` (the end of the range or now, whichever
//    is earlier), at most the idle gap and never less than nothing;
//  - the active time is the sum of the covers; a session is a longest run of
//    rows in which each row is at most the idle gap before the next; it
//    starts at its first row's time and ends at its last row's time plus
//    that row's cover;
//  - an application (a row's apps, repeats within the row dropped by
//    DeduplicationService::nameKey) is visible for the covers of the rows
//    that list it, and is named as its earliest row spells it; an entity
//    (a row's distinct kind and value pairs, of `kind` only when given)
//    likewise; both count the rows that list them;
//  - a row's cover counts for the local calendar day (in `calendar`) of its
//    time; a session counts for the day it starts on;
//  - a session's highlights are the distinct descriptions of the first rows
//    of its busiest five-minute moments (most rows, then the earlier): up
//    to three, shown in time order.
//
// Holds `calendar` by reference; it must outlive the accountant.
// Single-threaded.
class ActivityAccountant final : public ActivityRowSink {
public:
    static constexpr std::int64_t kMomentSeconds = 300;
    static constexpr std::size_t kHighlightsPerSession = 3;

    // REQUIRES: idleSeconds > 0.
    ActivityAccountant(const LocalCalendar& calendar, double idleSeconds, double coverEnd,
                       std::optional<std::string> kind);

    void restart() override;
    // REQUIRES: rows arrive in non-decreasing time; throws std::logic_error
    // for a row earlier than the one before.
    void add(ActivityRow row) override;

    // The account of every row added. Descriptions the rows did not carry
    // are asked of `descriptions` for the highlights only. Rethrows its
    // errors. The accountant is spent afterwards (restart() to reuse it).
    ActivityAccount close(DescriptionSource& descriptions);

private:
    struct Moment {
        std::int64_t start = 0;
        std::int64_t rows = 0;
        std::int64_t firstSequence = 0;
        std::optional<std::string> firstDescription;
    };
    // Seconds and rows per application, by its place in applications_.
    struct Visibility {
        double seconds = 0;
        std::int64_t rows = 0;
    };
    using ApplicationSeconds = std::unordered_map<std::size_t, Visibility>;
    struct SessionTally {
        double start = 0;
        double lastTime = 0;
        double lastCover = 0;
        double activeSeconds = 0;
        std::int64_t rows = 0;
        ApplicationSeconds applications;
        std::vector<Moment> moments;
    };
    struct DayTally {
        std::string date;
        double activeSeconds = 0;
        std::int64_t rows = 0;
        double firstActivity = 0;
        double lastActivity = 0;
        std::int64_t sessionCount = 0;
        ApplicationSeconds applications;
    };

    // Counts the rows of equal time waiting in ties_, now that the time of
    // the next row (absent after the last) is known.
    void settleTies(std::optional<double> nextTime);
    void count(ActivityRow& row, double cover);
    DayTally& dayOf(double time);
    void countApplications(const ActivityRow& row, double cover, SessionTally& session, DayTally& day);
    void countEntities(const ActivityRow& row, double cover);
    const std::string& keyOf(const std::string& name);
    std::vector<ApplicationTime> ranked(const ApplicationSeconds& seconds) const;
    std::vector<Highlight> highlightsOf(const SessionTally& session, DescriptionSource& descriptions) const;

    const LocalCalendar& calendar_;
    const double idleSeconds_;
    const double coverEnd_;
    const std::optional<std::string> kind_;

    std::vector<ActivityRow> ties_;
    std::optional<double> previousTime_;
    double activeSeconds_ = 0;
    std::int64_t rows_ = 0;
    std::optional<double> firstActivity_;
    std::optional<double> lastActivity_;
    std::vector<ApplicationTime> applications_;
    std::unordered_map<std::string, std::size_t> applicationByKey_;
    std::unordered_map<std::string, std::string> keyByName_;
    std::vector<EntityTime> entities_;
    std::unordered_map<std::string, std::size_t> entityByPair_;
    std::vector<SessionTally> sessions_;
    std::vector<DayTally> days_;
    // The local day of days_.back(): [dayStart_, dayEnd_), or empty.
    double dayStart_ = 0;
    double dayEnd_ = 0;
};

}  // namespace VarnholtQueryLib
