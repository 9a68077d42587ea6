#include "summary/ActivityAccountant.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <unordered_set>
#include <utility>

#include "MomentBuckets.h"
#include "platform/LocalCalendar.h"
#include "redaction/DeduplicationService.h"
#include "selection/RowSelector.h"

namespace VarnholtQueryLib {

std::int64_t wholeSeconds(double seconds) { return std::llround(seconds); }

ActivityAccountant::ActivityAccountant(const LocalCalendar& calendar, AccountingRules rules, RowSelector* selector)
    : calendar_(calendar),
      rules_(std::move(rules)),
      selector_(selector),
      countsApplications_(rules_.sections.applications || rules_.sections.sessions || rules_.sections.days),
      covers_(rules_.idleSeconds, rules_.coverEnd,
              [this](ActivityRow& row, double cover) {
                  ++rangeRows_;
                  // A row that is not picked still covers its time: that
                  // time is simply not the picked rows'.
                  if (picks(row)) count(row, cover);
              }),
      entities_(rules_.kind) {
    if (rules_.sections.days) days_.emplace(calendar_, rules_.rangeStart, rules_.coverEnd);
    restart();
}

void ActivityAccountant::restart() {
    covers_.restart();
    previousTime_.reset();
    activeSeconds_ = 0;
    rows_ = 0;
    rangeRows_ = 0;
    firstActivity_.reset();
    lastActivity_.reset();
    applications_.clear();
    applicationByKey_.clear();
    entities_ = EntityTally(rules_.kind);
    sessions_.clear();
    if (days_) days_->restart();
    dayTallies_.assign(days_ ? days_->dates().size() : 0, DayTally{});
}

void ActivityAccountant::add(ActivityRow row) { covers_.add(std::move(row)); }

bool ActivityAccountant::picks(const ActivityRow& row) {
    return selector_ == nullptr || selector_->selects({row.rowid, row.apps, row.entities});
}

void ActivityAccountant::count(ActivityRow& row, double cover) {
    const bool startsSession = !previousTime_ || row.time - *previousTime_ > rules_.idleSeconds;
    previousTime_ = row.time;
    activeSeconds_ += cover;
    ++rows_;
    if (!firstActivity_) firstActivity_ = row.time;
    lastActivity_ = row.time;

    DayTally* day = nullptr;
    if (rules_.sections.days) {
        day = &dayOf(row.time);
        if (startsSession) ++day->sessionCount;
        if (day->rows == 0) day->firstActivity = row.time;
        day->lastActivity = row.time;
        day->activeSeconds += cover;
        ++day->rows;
    }
    SessionTally* session = nullptr;
    if (rules_.sections.sessions) {
        if (startsSession) {
            sessions_.push_back({});
            sessions_.back().start = row.time;
        }
        session = &sessions_.back();
        session->lastTime = row.time;
        session->lastCover = cover;
        session->activeSeconds += cover;
        ++session->rows;
    }

    if (countsApplications_) countApplications(row, cover, session, day);
    if (rules_.sections.entities) entities_.add(row.entities, row.time, cover);

    if (session != nullptr) {
        // A time without a moment (none that a range reaches) joins the
        // moment before it.
        const std::int64_t moment = RecentWorkTimelineCore::bucketStartOf(row.time, kMomentSeconds)
                                        .value_or(session->moments.empty() ? 0 : session->moments.back().start);
        if (session->moments.empty() || session->moments.back().start != moment) {
            session->moments.push_back({moment, 0, row.sequence, std::move(row.description)});
        }
        ++session->moments.back().rows;
    }
}

ActivityAccountant::DayTally& ActivityAccountant::dayOf(double time) {
    const std::size_t day = days_->dayOf(time);
    if (day == dayTallies_.size()) dayTallies_.emplace_back();
    return dayTallies_[day];
}

const std::string& ActivityAccountant::keyOf(const std::string& name) {
    auto found = keyByName_.find(name);
    if (found == keyByName_.end()) {
        found = keyByName_.emplace(name, DeduplicationService::nameKey(name)).first;
    }
    return found->second;
}

void ActivityAccountant::countApplications(const ActivityRow& row, double cover, SessionTally* session,
                                           DayTally* day) {
    std::vector<std::size_t> listed;
    for (const std::string& name : row.apps) {
        const std::string& key = keyOf(name);
        auto found = applicationByKey_.find(key);
        if (found == applicationByKey_.end()) {
            // Rows arrive oldest first, so the first spelling met is the
            // earliest row's.
            found = applicationByKey_.emplace(key, applications_.size()).first;
            applications_.push_back({name, 0, 0});
        }
        const std::size_t application = found->second;
        if (std::find(listed.begin(), listed.end(), application) != listed.end()) continue;
        listed.push_back(application);
        applications_[application].seconds += cover;
        ++applications_[application].observationCount;
        for (ApplicationSeconds* part : {session ? &session->applications : nullptr, day ? &day->applications : nullptr}) {
            if (part == nullptr) continue;
            Visibility& visibility = (*part)[application];
            visibility.seconds += cover;
            ++visibility.rows;
        }
    }
}

std::vector<ApplicationTime> ActivityAccountant::ranked(const ApplicationSeconds& seconds) const {
    std::vector<ApplicationTime> ranking;
    ranking.reserve(seconds.size());
    for (const auto& [application, visible] : seconds) {
        ranking.push_back({applications_[application].name, visible.seconds, visible.rows});
    }
    std::sort(ranking.begin(), ranking.end(),
              [](const ApplicationTime& a, const ApplicationTime& b) { return ranksBefore(a, b); });
    return ranking;
}

std::vector<Highlight> ActivityAccountant::highlightsOf(const SessionTally& session,
                                                        DescriptionSource& descriptions) const {
    std::vector<const Moment*> busiest;
    busiest.reserve(session.moments.size());
    for (const Moment& moment : session.moments) busiest.push_back(&moment);
    std::stable_sort(busiest.begin(), busiest.end(),
                     [](const Moment* a, const Moment* b) { return a->rows > b->rows; });

    std::vector<Highlight> highlights;
    std::unordered_set<std::string> shown;
    for (const Moment* moment : busiest) {
        if (highlights.size() == kHighlightsPerSession) break;
        std::string description = moment->firstDescription ? *moment->firstDescription
                                                            : descriptions.descriptionOf(moment->firstSequence);
        if (!shown.insert(description).second) continue;
        highlights.push_back({static_cast<double>(moment->start), static_cast<int>(highlights.size()),
                              std::move(description)});
    }
    std::sort(highlights.begin(), highlights.end(),
              [](const Highlight& a, const Highlight& b) { return a.momentStart < b.momentStart; });
    return highlights;
}

ActivityAccount ActivityAccountant::close(DescriptionSource& descriptions) {
    covers_.close();

    ActivityAccount account;
    account.activeSeconds = activeSeconds_;
    account.observationCount = rows_;
    account.rangeObservationCount = rangeRows_;
    account.firstActivity = firstActivity_;
    account.lastActivity = lastActivity_;
    for (const SessionTally& tally : sessions_) {
        ActivitySession session;
        session.start = tally.start;
        session.end = tally.lastTime + tally.lastCover;
        session.activeSeconds = tally.activeSeconds;
        session.observationCount = tally.rows;
        session.applications = ranked(tally.applications);
        session.highlights = highlightsOf(tally, descriptions);
        account.sessions.push_back(std::move(session));
    }
    if (rules_.sections.applications) {
        account.applications = applications_;
        std::sort(account.applications.begin(), account.applications.end(),
                  [](const ApplicationTime& a, const ApplicationTime& b) { return ranksBefore(a, b); });
    }
    account.entities = entities_.ranked();
    for (std::size_t place = 0; place < dayTallies_.size(); ++place) {
        const DayTally& tally = dayTallies_[place];
        ActivityDay day{days_->dates()[place], tally.activeSeconds, tally.rows, std::nullopt, std::nullopt,
                        tally.sessionCount, ranked(tally.applications)};
        if (tally.rows > 0) {
            day.firstActivity = tally.firstActivity;
            day.lastActivity = tally.lastActivity;
        }
        account.days.push_back(std::move(day));
    }
    return account;
}

}  // namespace VarnholtQueryLib
