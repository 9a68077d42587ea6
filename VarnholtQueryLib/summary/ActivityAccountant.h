#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/LocalCalendar.h"
#include "summary/ActivityRecords.h"
#include "summary/ActivityTallies.h"
#include "summary/RangeDays.h"
#include "summary/RowCovers.h"
#include "summary/SummaryQueryPort.h"
#include "summary/SummarySections.h"

namespace VarnholtQueryLib {

class RowSelector;

// What the accountant needs to know of the question besides the rows.
struct AccountingRules {
    double idleSeconds = 300;  // REQUIRES: > 0
    double rangeStart = 0;     // the range's first instant
    // The end of the range or now, whichever is earlier: the last row
    // covers at most until then, and the days listed begin before it.
    double coverEnd = 0;
    std::optional<std::string> kind;  // entities of this kind only
    SummarySections sections;         // what to account for beyond the totals
};

// The summary's rule of time accounting, applied to rows as they arrive
// (oldest first), so that a range of any length costs memory for what it
// reports, not for its rows:
//
//  - the rows are taken in order of effective time; rows of equal time in
//    order of id (byte order), then of sequence, so that the account never
//    depends on the order the database returned them in;
//  - each row covers the time until the next row, at most the idle gap; the
//    last row covers until `coverEnd`, at most the idle gap and never less
//    than nothing. Every row covers, whether a selection picks it or not;
//  - the account is of the rows the selector picks (every row without one):
//    the active time is the sum of their covers, so that time spent between
//    two picked rows on something else is not counted; a session is a
//    longest run of picked rows in which each is at most the idle gap before
//    the next picked row; it starts at its first row's time and ends at its
//    last row's time plus that row's cover;
//  - an application (a row's apps, repeats within the row dropped by
//    DeduplicationService::nameKey) is visible for the covers of the rows
//    that list it, and is named as its earliest row spells it;
//  - an entity is a kind and a value compared by the name key (of `kind`
//    only when given): its seconds are the covers of the rows that list it,
//    its count those rows, and it is spelt as most of them spell it (a row
//    holding several spellings counts for each), among equals as the
//    earliest row does;
//  - a row's cover counts for the local calendar day (in `calendar`) of its
//    time; a session counts for the day it starts on. The days listed are
//    every local day that begins before `coverEnd`, from the day of
//    `rangeStart` on (days without rows too), and any other day a row falls
//    on (a row exactly at the end of a range that ends at midnight);
//  - a session's highlights are the distinct descriptions of the first rows
//    of its busiest five-minute moments (most rows, then the earlier): up
//    to three, shown in time order.
// Sections not asked for are neither counted nor listed; the totals always
// are.
//
// Holds `calendar` and `selector` by reference; they must outlive the
// accountant. Single-threaded.
class ActivityAccountant final : public ActivityRowSink {
public:
    static constexpr std::int64_t kMomentSeconds = 300;
    static constexpr std::size_t kHighlightsPerSession = 3;
    // The most days an account lists: some 270 years.
    static constexpr std::size_t kMostDays = RangeDays::kMostDays;

    // `selector` absent: every row is picked. Throws TooManyDays when the
    // days are asked for and the range has more than kMostDays of them.
    ActivityAccountant(const LocalCalendar& calendar, AccountingRules rules, RowSelector* selector = nullptr);

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
        double activeSeconds = 0;
        std::int64_t rows = 0;
        double firstActivity = 0;
        double lastActivity = 0;
        std::int64_t sessionCount = 0;
        ApplicationSeconds applications;
    };

    bool picks(const ActivityRow& row);
    void count(ActivityRow& row, double cover);
    DayTally& dayOf(double time);
    void countApplications(const ActivityRow& row, double cover, SessionTally* session, DayTally* day);
    const std::string& keyOf(const std::string& name);
    std::vector<ApplicationTime> ranked(const ApplicationSeconds& seconds) const;
    std::vector<Highlight> highlightsOf(const SessionTally& session, DescriptionSource& descriptions) const;

    const LocalCalendar& calendar_;
    const AccountingRules rules_;
    RowSelector* const selector_;
    // Whether any application list is kept: the top list, or those of the
    // sessions or days.
    const bool countsApplications_;

    RowCovers covers_;
    std::optional<double> previousTime_;
    double activeSeconds_ = 0;
    std::int64_t rows_ = 0;
    std::int64_t rangeRows_ = 0;
    std::optional<double> firstActivity_;
    std::optional<double> lastActivity_;
    std::vector<ApplicationTime> applications_;
    std::unordered_map<std::string, std::size_t> applicationByKey_;
    std::unordered_map<std::string, std::string> keyByName_;
    EntityTally entities_;
    std::vector<SessionTally> sessions_;
    // With the days asked for: which days, and a tally per day of them.
    std::optional<RangeDays> days_;
    std::vector<DayTally> dayTallies_;
};

}  // namespace VarnholtQueryLib
