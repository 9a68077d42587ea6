#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "summary/ActivityRecords.h"

namespace VarnholtQueryLib {

// The detail of a summary answer beyond its totals, as it is printed: the
// lists cut to the lengths the answer shows, descriptions redacted. A
// budget drops detail from it in one fixed order (dropOrder), never the
// totals.
struct SummaryDetail {
    // Applications listed per session and per day.
    static constexpr std::size_t kApplicationsPerPart = 3;

    std::vector<ActivitySession> sessions;      // applications cut, highlights redacted
    std::vector<ApplicationTime> applications;  // the first `limit`
    std::vector<EntityTime> entities;           // the first `limit`
    std::vector<ActivityDay> days;              // applications cut
    std::vector<FrameGap> gaps;

    // The printed detail of `account` and `gaps`, with `limit` entries in
    // the application and entity lists. REQUIRES: limit >= 0.
    static SummaryDetail of(const ActivityAccount& account, const std::vector<FrameGap>& gaps,
                            std::int64_t limit);
};

// How many entries of each kind were dropped to fit a budget. A dropped
// session or day counts once, with whatever was left of it.
struct OmittedDetail {
    std::int64_t highlights = 0;
    std::int64_t sessionApplications = 0;
    std::int64_t dayApplications = 0;
    std::int64_t gaps = 0;
    std::int64_t entities = 0;
    std::int64_t applications = 0;
    std::int64_t sessions = 0;
    std::int64_t days = 0;

    bool any() const;
    bool operator==(const OmittedDetail&) const = default;
};

enum class DetailKind {
    highlight,
    sessionApplication,
    dayApplication,
    gap,
    entity,
    application,
    session,
    day,
};

// One entry dropped: of `kind`, in session or day `owner` where it belongs
// to one, and for a highlight the one of rank `rank`.
struct DetailDrop {
    DetailKind kind = DetailKind::highlight;
    std::size_t owner = 0;
    int rank = 0;

    bool operator==(const DetailDrop&) const = default;
};

// Every entry of `detail` that may be dropped, in the order it is dropped:
//  1. highlights: those of every session's third-busiest moment, oldest
//     session first, then of the second-busiest, then of the busiest;
//  2. list tails, each list from its end: the applications of each session
//     but its first (oldest session first), then those of each day but its
//     first, then the gaps (oldest first), then the entities beyond the
//     first three, then the applications beyond the first three;
//  3. sessions, oldest first: their time stays in the days and the totals;
//  4. days, oldest first: their time stays in the totals;
//  5. the last entities, then the last applications.
std::vector<DetailDrop> dropOrder(const SummaryDetail& detail);

// `detail` without the first `count` drops of `order`, and how many of each
// kind were dropped. REQUIRES: order == dropOrder(detail), count <=
// order.size().
SummaryDetail withoutFirstDrops(const SummaryDetail& detail, const std::vector<DetailDrop>& order,
                                std::size_t count, OmittedDetail& omitted);

}  // namespace VarnholtQueryLib
