#include "summary/SummaryDetail.h"

#include <algorithm>

#include "redaction/PIIFilter.h"

namespace VarnholtQueryLib {

namespace {

constexpr std::size_t kListHeadKept = 3;

template <typename Entry>
std::vector<Entry> firstOf(const std::vector<Entry>& list, std::size_t count) {
    return {list.begin(), list.begin() + static_cast<std::ptrdiff_t>(std::min(count, list.size()))};
}

// `count` drops of `kind` from `owner` onto `order`.
void repeat(std::vector<DetailDrop>& order, std::size_t count, DetailKind kind, std::size_t owner = 0) {
    for (std::size_t i = 0; i < count; ++i) order.push_back({kind, owner, 0});
}

std::size_t beyond(std::size_t size, std::size_t kept) { return size > kept ? size - kept : 0; }

}  // namespace

SummaryDetail SummaryDetail::of(const ActivityAccount& account, const std::vector<FrameGap>& gaps,
                                std::int64_t limit) {
    const auto listed = static_cast<std::size_t>(std::max<std::int64_t>(limit, 0));
    SummaryDetail detail;
    detail.sessions = account.sessions;
    for (ActivitySession& session : detail.sessions) {
        session.applications = firstOf(session.applications, kApplicationsPerPart);
        for (Highlight& highlight : session.highlights) {
            highlight.description = PIIFilter::redact(highlight.description);
        }
    }
    detail.applications = firstOf(account.applications, listed);
    detail.entities = firstOf(account.entities, listed);
    detail.days = account.days;
    for (ActivityDay& day : detail.days) day.applications = firstOf(day.applications, kApplicationsPerPart);
    detail.gaps = gaps;
    return detail;
}

bool OmittedDetail::any() const {
    return highlights + sessionApplications + dayApplications + gaps + entities + applications + sessions +
               days >
           0;
}

std::vector<DetailDrop> dropOrder(const SummaryDetail& detail) {
    std::vector<DetailDrop> order;
    for (int rank = 2; rank >= 0; --rank) {
        for (std::size_t session = 0; session < detail.sessions.size(); ++session) {
            for (const Highlight& highlight : detail.sessions[session].highlights) {
                if (highlight.rank == rank) order.push_back({DetailKind::highlight, session, rank});
            }
        }
    }
    for (std::size_t session = 0; session < detail.sessions.size(); ++session) {
        repeat(order, beyond(detail.sessions[session].applications.size(), 1), DetailKind::sessionApplication,
               session);
    }
    for (std::size_t day = 0; day < detail.days.size(); ++day) {
        repeat(order, beyond(detail.days[day].applications.size(), 1), DetailKind::dayApplication, day);
    }
    repeat(order, detail.gaps.size(), DetailKind::gap);
    repeat(order, beyond(detail.entities.size(), kListHeadKept), DetailKind::entity);
    repeat(order, beyond(detail.applications.size(), kListHeadKept), DetailKind::application);
    repeat(order, detail.sessions.size(), DetailKind::session);
    repeat(order, detail.days.size(), DetailKind::day);
    repeat(order, std::min(detail.entities.size(), kListHeadKept), DetailKind::entity);
    repeat(order, std::min(detail.applications.size(), kListHeadKept), DetailKind::application);
    return order;
}

SummaryDetail withoutFirstDrops(const SummaryDetail& detail, const std::vector<DetailDrop>& order,
                                std::size_t count, OmittedDetail& omitted) {
    omitted = {};
    SummaryDetail trimmed = detail;
    // Gaps, sessions and days go from the front, and no drop after them
    // refers to their places: they are counted here and erased at once.
    for (std::size_t i = 0; i < count; ++i) {
        const DetailDrop& drop = order[i];
        switch (drop.kind) {
            case DetailKind::highlight: {
                auto& highlights = trimmed.sessions[drop.owner].highlights;
                std::erase_if(highlights, [&](const Highlight& highlight) { return highlight.rank == drop.rank; });
                ++omitted.highlights;
                break;
            }
            case DetailKind::sessionApplication:
                trimmed.sessions[drop.owner].applications.pop_back();
                ++omitted.sessionApplications;
                break;
            case DetailKind::dayApplication:
                trimmed.days[drop.owner].applications.pop_back();
                ++omitted.dayApplications;
                break;
            case DetailKind::gap:
                ++omitted.gaps;
                break;
            case DetailKind::entity:
                trimmed.entities.pop_back();
                ++omitted.entities;
                break;
            case DetailKind::application:
                trimmed.applications.pop_back();
                ++omitted.applications;
                break;
            case DetailKind::session:
                ++omitted.sessions;
                break;
            case DetailKind::day:
                ++omitted.days;
                break;
        }
    }
    const auto eraseFront = [](auto& list, std::int64_t dropped) {
        list.erase(list.begin(), list.begin() + static_cast<std::ptrdiff_t>(dropped));
    };
    eraseFront(trimmed.gaps, omitted.gaps);
    eraseFront(trimmed.sessions, omitted.sessions);
    eraseFront(trimmed.days, omitted.days);
    return trimmed;
}

}  // namespace VarnholtQueryLib
